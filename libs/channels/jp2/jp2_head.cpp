#include "channels/jp2/jp2_head.h"

#include <cmath>
#include <string>
#include <string_view>

#include "channels/jp2/jp2_encoder.h"

namespace quillbay {
namespace {

constexpr int kMostBoxes = 4096;
constexpr std::int64_t kMostBox = std::int64_t{1} << 16;  // of those that are read whole
constexpr std::size_t kMostComponents = 16;
constexpr std::int64_t kMostHeaderBytes = std::int64_t{1} << 20;
constexpr std::uint32_t kHeadStart = 0xff4f, kHeadSize = 0xff51, kHeadCoding = 0xff52,
                        kHeadComponentCoding = 0xff53;
constexpr std::uint32_t kHeadEnd = 0xff90;

[[noreturn]] void damagedHead(const char* what) {
  throw ModuleError(QB_E_DAMAGED, std::string("the file is damaged: ") + what);
}
[[noreturn]] void tooLarge(const char* what) {
  throw ModuleError(QB_E_REFUSED, std::string(what) + "; save it in smaller tiles, or as a TIFF file");
}

struct Box {
  std::string kind;
  std::int64_t begin = 0, end = 0;  // of its content
};

/// Walks the boxes of a part of the file.
class Boxes {
 public:
  Boxes(const EdgeFile& file, std::int64_t begin, std::int64_t end) : m_file(file), m_at(begin), m_end(end) {}
  bool next(Box* out) {
    if (m_end - m_at < 8 || ++m_count > kMostBoxes) return false;
    std::uint8_t head[16];
    m_file.read(m_at, head, 8);
    out->kind.assign(reinterpret_cast<const char*>(head + 4), 4);
    std::int64_t size = big32(head), headSize = 8;
    if (size == 1) {
      if (m_end - m_at < 16) return false;
      m_file.read(m_at + 8, head + 8, 8);
      if (head[8] & 0x80) damagedHead("a part of it has no possible length");
      size = std::int64_t{big32(head + 8)} << 32 | big32(head + 12);
      headSize = 16;
    }
    if (size == 0) size = m_end - m_at;
    if (size < headSize) damagedHead("a part of it has no possible length");
    out->begin = m_at + headSize;
    out->end = size > m_end - m_at ? m_end : m_at + size;  // a file that was cut off
    m_at = out->end;
    return true;
  }

 private:
  EdgeFile m_file;
  std::int64_t m_at, m_end;
  int m_count = 0;
};

std::vector<std::uint8_t> contentOf(const EdgeFile& file, const Box& box) {
  const std::int64_t size = box.end - box.begin;
  if (size > kMostBox) damagedHead("a part of its head is too long");
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (size > 0) file.read(box.begin, bytes.data(), bytes.size());
  return bytes;
}

void readColours(const std::vector<std::uint8_t>& bytes, Jp2Head* head) {
  if (head->colours != Jp2Head::Colours::Unknown || bytes.size() < 7 || bytes[0] != 1) return;
  switch (big32(bytes.data() + 3)) {
    case 16: head->colours = Jp2Head::Colours::Rgb; return;
    case 17: head->colours = Jp2Head::Colours::Grey; return;
    case 1:
    case 3:
    case 18: head->colours = Jp2Head::Colours::Ycc; return;
    case 12: head->colours = Jp2Head::Colours::Cmyk; return;
    default: head->colours = Jp2Head::Colours::Other;
  }
}

/// A palette of whole bytes, or of more bits, whose high ones count.
struct PaletteBox {
  std::size_t entries = 0, columns = 0;
  std::vector<std::uint8_t> values;
  explicit PaletteBox(const std::vector<std::uint8_t>& bytes) {
    if (bytes.size() < 3) return;
    const std::size_t count = big16(bytes.data());
    const std::size_t wide = bytes[2];
    std::size_t at = 3 + wide;
    if (count > 1024 || wide == 0 || bytes.size() < at) return;
    std::vector<std::uint8_t> found;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t c = 0; c < wide; ++c) {
        const unsigned bits = (bytes[3 + c] & 0x7fU) + 1;
        const std::size_t size = bits > 8 ? 2 : 1;
        if (bits > 16 || bytes.size() - at < size) return;
        const std::uint32_t value = size == 1 ? bytes[at] : big16(bytes.data() + at);
        const std::uint32_t most = (1U << bits) - 1;
        found.push_back(static_cast<std::uint8_t>((std::min(value, most) * 255 + most / 2) / most));
        at += size;
      }
    }
    values = std::move(found);
    entries = count;
    columns = wide;
  }
};

void usePalette(const PaletteBox& palette, const std::vector<std::uint8_t>& uses, Jp2Head* head) {
  if (palette.entries == 0) return;
  std::array<std::size_t, 3> columns = {0, palette.columns > 1 ? 1U : 0U, palette.columns > 2 ? 2U : 0U};
  for (std::size_t i = 0; i < std::min<std::size_t>(uses.size() / 4, 3); ++i) {
    const std::uint8_t* use = uses.data() + 4 * i;
    if (big16(use) != 0 || use[2] != 1 || use[3] >= palette.columns)
      throw ModuleError(QB_E_REFUSED, "its palette is used in a way that is not read; save it in full colour");
    columns[i] = use[3];
    if (uses.size() < 12) columns = {use[3], use[3], use[3]};
  }
  head->paletteCount = static_cast<std::int32_t>(std::min<std::size_t>(palette.entries, 256));
  for (std::size_t i = 0; i < static_cast<std::size_t>(head->paletteCount); ++i) {
    for (std::size_t c = 0; c < 3; ++c) head->palette[4 * i + c] = palette.values[i * palette.columns + columns[c]];
  }
}

/// Which components are which colours, and which one is opacity.
void readChannels(const std::vector<std::uint8_t>& bytes, Jp2Head* head) {
  for (std::size_t at = 2; at + 6 <= bytes.size(); at += 6) {
    const auto component = static_cast<std::int32_t>(big16(bytes.data() + at));
    const std::uint32_t kind = big16(bytes.data() + at + 2), colour = big16(bytes.data() + at + 4);
    if (kind == 0 && colour >= 1 && colour <= 3) head->places[colour - 1] = component;
    if (kind == 1 || kind == 2) {
      head->opacity = component;
      head->isPremultiplied = kind == 2;
    }
  }
}

std::uint32_t readResolution(const std::vector<std::uint8_t>& bytes) {
  if (bytes.size() < 10 || big16(bytes.data() + 6) == 0) return 0;
  const auto exponent = static_cast<std::int8_t>(bytes[9]);
  const double perMetre =
      static_cast<double>(big16(bytes.data() + 4)) / big16(bytes.data() + 6) * std::pow(10.0, exponent);
  const double dpi = perMetre * 0.0254;
  return dpi >= 1 && dpi <= 100000 ? static_cast<std::uint32_t>(std::lround(dpi)) : 0;
}

void readDescription(const EdgeFile& file, const Box& whole, Jp2Head* head) {
  Boxes boxes(file, whole.begin, whole.end);
  PaletteBox palette({});
  std::vector<std::uint8_t> uses;
  for (Box box; boxes.next(&box);) {
    if (box.kind == "colr" && box.end - box.begin >= 7 && box.end - box.begin <= kMostBox)
      readColours(contentOf(file, box), head);
    if (box.kind == "pclr") palette = PaletteBox(contentOf(file, box));
    if (box.kind == "cmap") uses = contentOf(file, box);
    if (box.kind == "cdef") readChannels(contentOf(file, box), head);
    if (box.kind != "res ") continue;
    Boxes inner(file, box.begin, box.end);
    for (Box one; inner.next(&one);) {
      if (one.kind == "resc" || (one.kind == "resd" && head->dpi == 0))
        head->dpi = readResolution(contentOf(file, one));
    }
  }
  usePalette(palette, uses, head);
}

void readSize(const std::vector<std::uint8_t>& bytes, Jp2Head* head) {
  constexpr std::size_t kFixed = 36;
  if (bytes.size() < kFixed) damagedHead("it does not say its size");
  const std::uint8_t* at = bytes.data() + 2;
  head->right = big32(at);
  head->bottom = big32(at + 4);
  head->left = big32(at + 8);
  head->top = big32(at + 12);
  head->tileWidth = big32(at + 16);
  head->tileLines = big32(at + 20);
  head->tileLeft = big32(at + 24);
  head->tileTop = big32(at + 28);
  const std::size_t count = big16(at + 32);
  if (head->bottom == 0) throw ModuleError(QB_E_DAMAGED, "its head says 0 lines: it was never written to its end");
  if (count < 1 || bytes.size() < kFixed + 3 * count) damagedHead("it does not say what its pixels are");
  if (count > kMostComponents)
    throw ModuleError(QB_E_REFUSED, "it has " + std::to_string(count) +
                                        " colour planes, and 16 can be read; save it as grey or full colour");
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* c = bytes.data() + kFixed + 3 * i;
    if (c[1] == 0 || c[2] == 0) damagedHead("its pixels have no size");
    head->components.push_back({(c[0] & 0x7f) + 1, (c[0] & 0x80) != 0, c[1], c[2]});
  }
}

/// The blocks and precincts that a coding style asks for: the smallest of them in pixels.
void readCodingStyle(const std::uint8_t* style, std::size_t size, bool hasPrecincts, Jp2Head* head) {
  if (size < 5) damagedHead("it does not say how it is coded");
  const auto side = [](unsigned bits) { return std::int64_t{1} << std::min(bits, 15U); };
  head->blockPixels = std::min(head->blockPixels, side((style[1] & 15U) + 2) * side((style[2] & 15U) + 2));
  if (!hasPrecincts) return;
  for (std::size_t i = 5; i < size; ++i)
    head->blockPixels = std::min(head->blockPixels, side(style[i] & 15U) * side(style[i] >> 4U));
}

void readCodestream(const EdgeFile& file, Jp2Head* head) {
  std::int64_t at = head->begin + 2;
  head->blockPixels = std::int64_t{1} << 20;
  bool isFirst = true;
  for (;; isFirst = false) {
    std::uint8_t marker[4];
    if (head->end - at < 4) throw ModuleError(QB_E_TRUNCATED, "");
    file.read(at, marker, sizeof marker);
    const std::uint32_t kind = big16(marker), size = big16(marker + 2);
    if (isFirst && kind != kHeadSize) damagedHead("it does not begin with its size");
    if (kind == kHeadEnd) break;
    if (kind < 0xff00 || size < 2 || at - head->begin > kMostHeaderBytes) damagedHead("its head makes no sense");
    if (head->end - at < 2 + std::int64_t{size}) throw ModuleError(QB_E_TRUNCATED, "");
    std::vector<std::uint8_t> bytes(size - 2);
    if (!bytes.empty()) file.read(at + 4, bytes.data(), bytes.size());
    if (kind == kHeadSize && isFirst) readSize(bytes, head);
    if (kind == kHeadCoding && bytes.size() > 5)
      readCodingStyle(bytes.data() + 5, bytes.size() - 5, (bytes[0] & 1) != 0, head);
    if (kind == kHeadComponentCoding && bytes.size() > 2)
      readCodingStyle(bytes.data() + 2, bytes.size() - 2, (bytes[1] & 1) != 0, head);
    at += 2 + std::int64_t{size};
  }
}

}  // namespace

Jp2Head readJp2Head(const EdgeFile& file) {
  Jp2Head head;
  std::uint8_t first[2] = {};
  head.end = file.size();
  if (head.end < 12) throw ModuleError(QB_E_TRUNCATED, "");
  file.read(0, first, sizeof first);
  if (big16(first) != kHeadStart) {
    Boxes boxes(file, 0, file.size());
    for (Box box; head.begin == 0;) {
      if (!boxes.next(&box)) throw ModuleError(QB_E_TRUNCATED, "");
      if (box.kind == "jp2h") readDescription(file, box, &head);
      if (box.kind != "jp2c") continue;
      head.begin = box.begin;
      head.end = box.end;
    }
    if (head.end - head.begin < 2) throw ModuleError(QB_E_TRUNCATED, "");
    file.read(head.begin, first, sizeof first);
    if (big16(first) != kHeadStart) damagedHead("there is no picture where it should begin");
  }
  readCodestream(file, &head);
  return head;
}

void checkJp2Limits(const Jp2Head& head) {
  constexpr std::int64_t kMostBytes = std::int64_t{1} << 30, kBlocksAnyway = std::int64_t{1} << 16;
  constexpr std::int64_t kMostBlocks = std::int64_t{1} << 20;
  constexpr std::int64_t kTileBytes = 7000, kTileComponentBytes = 1200;  // the library's
  const auto components = static_cast<std::int64_t>(head.components.size());
  if (head.width() < 1 || head.height() < 1 || head.right > INT32_MAX || head.bottom > INT32_MAX)
    damagedHead("it says a size that cannot be");
  checkLineBytes(static_cast<std::uint64_t>(head.width()) * 3);
  const std::int64_t wide = head.tileWidth, high = head.tileLines;
  if (wide < 1 || high < 1 || head.tileLeft > head.left || head.tileTop > head.top ||
      head.tileLeft + wide <= head.left || head.tileTop + high <= head.top) {
    damagedHead("its tiles lie elsewhere");
  }
  const std::int64_t columns = head.columns(), rows = head.rows();
  if (columns > kMostTiles || columns * rows > kMostTiles) damagedHead("it has more tiles than can be numbered");
  if (columns * rows * (kTileBytes + components * kTileComponentBytes) > kMostBytes)
    tooLarge("it has too many tiles for its colour planes");
  for (const Jp2Head::Component& c : head.components) {
    if (c.bits > 31) throw ModuleError(QB_E_REFUSED, "its pixels have more than 31 bits; save it with 8");
  }
  const std::int64_t tilePixels = std::min(wide, head.width()) * std::min(high, head.height());
  // One tile is decoded part by part, but what describes its blocks is made for all of it. Even paper takes some
  // bits of a block.
  const std::int64_t mostBlocks = kBlocksAnyway + 16 * (head.end - head.begin);
  if (tilePixels / head.blockPixels * components > std::min(mostBlocks, kMostBlocks))
    tooLarge("its tile is cut into too many blocks");
  if (!head.hasOneTile() && tilePixels * components * 4 > kMostBytes) tooLarge("its tiles are too large");
  const std::int64_t lines = std::min(head.hasOneTile() ? head.partLines() : high, head.height());
  if (head.width() * lines * std::max<std::int64_t>(components, 3) > kMostBytes)
    tooLarge("a row of its tiles is too large");
  if (head.colours == Jp2Head::Colours::Other)
    throw ModuleError(QB_E_REFUSED, "its colours are of a kind that is not read; save it in sRGB");
}

}  // namespace quillbay
