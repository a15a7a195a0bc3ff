#include "channels/bmp/bmp_head.h"

#include <bit>
#include <cmath>
#include <string>
#include <vector>

namespace quillbay {
namespace {

constexpr std::size_t kCoreHead = 12, kMostHead = 124;
constexpr std::uint32_t kRgb = 0, kRuns8 = 1, kRuns4 = 2, kFields = 3, kJpeg = 4, kPng = 5, kAlphaFields = 6;
constexpr std::int64_t kMostRunSide = std::int64_t{1} << 20;

[[noreturn]] void damagedBitmap(const char* what) {
  throw ModuleError(QB_E_DAMAGED, std::string("the file is damaged: ") + what);
}

BmpHead::Field fieldOf(std::uint32_t mask) {
  if (mask == 0) return {};
  const auto shift = static_cast<unsigned>(std::countr_zero(mask));
  const auto bits = static_cast<unsigned>(std::popcount(mask));
  // No gap, so that the bits are one number.
  if (shift + bits < 32 && (mask >> shift) + 1 != 1U << bits) damagedBitmap("a colour has bits apart");
  return {shift, bits};
}

/// The head as bytes; those that a shorter kind lacks are 0.
struct RawHead {
  std::array<std::uint8_t, kBmpFileHead + kMostHead> bytes{};
  std::size_t infoSize = 0;
  explicit RawHead(const EdgeFile& file) {
    constexpr std::size_t kFirst = kBmpFileHead + 4;
    if (file.size() < static_cast<std::int64_t>(kFirst)) throw ModuleError(QB_E_TRUNCATED, "");
    file.read(0, bytes.data(), kFirst);
    infoSize = little32(bytes.data() + kBmpFileHead);
    const bool isKnown = infoSize == kCoreHead || infoSize == 16 || (infoSize >= 40 && infoSize <= kMostHead);
    if (bytes[0] != 'B' || bytes[1] != 'M' || !isKnown) damagedBitmap("its head is of no known kind");
    if (file.size() < static_cast<std::int64_t>(kBmpFileHead + infoSize)) throw ModuleError(QB_E_TRUNCATED, "");
    file.read(static_cast<std::int64_t>(kFirst), bytes.data() + kFirst, infoSize - 4);
  }
  [[nodiscard]] const std::uint8_t* info() const noexcept { return bytes.data() + kBmpFileHead; }
  [[nodiscard]] bool isCore() const noexcept { return infoSize == kCoreHead; }
};

void readBmpSize(const RawHead& raw, BmpHead* head) {
  const std::uint8_t* info = raw.info();
  std::int64_t width = 0, height = 0;
  if (raw.isCore()) {
    width = little16(info + 4);
    height = little16(info + 6);
    head->bits = static_cast<int>(little16(info + 10));
  } else {
    width = static_cast<std::int32_t>(little32(info + 4));
    height = static_cast<std::int32_t>(little32(info + 8));
    head->bits = static_cast<int>(little16(info + 14));
  }
  head->isTopDown = height < 0;
  if (height < 0) height = -height;
  if (height == 0) damagedBitmap("its head says 0 lines: it was never written to its end");
  if (width < 1 || height > INT32_MAX) damagedBitmap("it says a size that cannot be");
  head->width = static_cast<std::int32_t>(width);
  head->height = static_cast<std::int32_t>(height);
  switch (head->bits) {
    case 1:
    case 2:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32: break;
    default: damagedBitmap("its pixels are of no known size");
  }
  const double dpi = static_cast<std::int32_t>(little32(info + 24)) * 0.0254;
  if (raw.infoSize >= kBmpInfoHead && dpi >= 0.5 && dpi < 1e6)
    head->dpi = static_cast<std::uint32_t>(std::lround(dpi));
}

/// Answers how many bytes of masks follow the head.
std::int64_t readBmpCoding(const EdgeFile& file, const RawHead& raw, BmpHead* head) {
  const std::uint32_t coding = raw.infoSize >= kBmpInfoHead ? little32(raw.info() + 16) : kRgb;
  const bool isDeep = head->bits == 16 || head->bits == 32;
  if (coding == kJpeg || coding == kPng)
    throw ModuleError(QB_E_REFUSED, "it wraps a picture of another kind; save it as a JPEG or PNG file");
  if (coding == kRuns8 || coding == kRuns4) {
    const bool isFitting = head->bits == (coding == kRuns8 ? 8 : 4) && !head->isTopDown;
    if (!isFitting) damagedBitmap("its coding does not fit its pixels");
    if (head->width > kMostRunSide || head->height > kMostRunSide)
      throw ModuleError(QB_E_REFUSED, "it is too large for a bitmap with runs; save it without compression");
    head->coding = coding == kRuns8 ? BmpHead::Coding::Runs8 : BmpHead::Coding::Runs4;
    return 0;
  }
  if (coding == kRgb) {
    if (head->bits == 16) head->fields = {{{10, 5}, {5, 5}, {0, 5}}};
    if (head->bits == 32) head->fields = {{{16, 8}, {8, 8}, {0, 8}}};
    return 0;
  }
  if ((coding != kFields && coding != kAlphaFields) || !isDeep) damagedBitmap("its coding is of no known kind");
  // The masks stand within longer heads, and behind the one of 40 bytes.
  std::array<std::uint8_t, 12> masks{};
  const std::int64_t at = kBmpFileHead + kBmpInfoHead;
  if (file.size() < at + static_cast<std::int64_t>(masks.size())) throw ModuleError(QB_E_TRUNCATED, "");
  file.read(at, masks.data(), masks.size());
  for (std::size_t c = 0; c < 3; ++c) {
    head->fields[c] = fieldOf(little32(masks.data() + 4 * c));
    if (head->bits == 16 && head->fields[c].shift + head->fields[c].bits > 16)
      damagedBitmap("a colour lies beside its pixel");
  }
  return raw.infoSize > kBmpInfoHead ? 0 : coding == kAlphaFields ? 16 : 12;
}

void readBmpPalette(const EdgeFile& file, const RawHead& raw, std::int64_t at, BmpHead* head) {
  if (head->bits > 8) return;
  const std::int64_t entry = raw.isCore() ? 3 : 4, most = std::int64_t{1} << head->bits;
  std::int64_t count = raw.infoSize >= kBmpInfoHead ? little32(raw.info() + 32) : 0;
  if (count == 0 || count > most) count = most;
  // Programs that leave entries out put the pixels there.
  count = std::min(count, std::max<std::int64_t>(head->pixelsAt - at, 0) / entry);
  if (count == 0) damagedBitmap("it has no colours");
  if (file.size() < at + count * entry) throw ModuleError(QB_E_TRUNCATED, "");
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count * entry));
  file.read(at, bytes.data(), bytes.size());
  head->paletteCount = static_cast<std::int32_t>(count);
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const std::uint8_t* from = bytes.data() + i * static_cast<std::size_t>(entry);
    for (std::size_t c = 0; c < 3; ++c) head->palette[4 * i + c] = from[2 - c];
  }
}

}  // namespace

bool BmpHead::isBitonal() const noexcept {
  if (bits != 1 || paletteCount != 2) return false;
  const auto isTone = [this](std::size_t entry, std::uint8_t tone) {
    return palette[entry] == tone && palette[entry + 1] == tone && palette[entry + 2] == tone;
  };
  return (isTone(0, 0) && isTone(4, 255)) || (isTone(0, 255) && isTone(4, 0));
}

bool BmpHead::isGrey() const noexcept {
  if (bits != 8 || paletteCount != 256) return false;
  for (std::size_t i = 0; i < palette.size(); ++i) {
    if (i % 4 != 3 && palette[i] != i / 4) return false;
  }
  return true;
}

BmpHead readBmpHead(const EdgeFile& file) {
  BmpHead head;
  const RawHead raw(file);
  readBmpSize(raw, &head);
  head.pixelsAt = little32(raw.bytes.data() + 10);
  const std::int64_t masks = readBmpCoding(file, raw, &head);
  const std::int64_t headEnd = static_cast<std::int64_t>(kBmpFileHead + raw.infoSize) + masks;
  if (head.pixelsAt < headEnd) damagedBitmap("its pixels lie within its head");
  readBmpPalette(file, raw, headEnd, &head);
  if (head.pixelsAt >= file.size()) throw ModuleError(QB_E_TRUNCATED, "");
  return head;
}

}  // namespace quillbay
