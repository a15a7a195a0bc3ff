#include "channels/jp2/jp2_encoder.h"

#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

#include "channels/jp2/tile_tolerance.h"

namespace quillbay {
namespace {

constexpr std::uint32_t kStartOfTilePart = 0xff90;
constexpr std::size_t kTilePartHead = 12;
constexpr std::int32_t kMostResolutions = 6;

struct FreeCodec {
  void operator()(opj_codec_t* codec) const noexcept { opj_destroy_codec(codec); }
};
struct FreeStream {
  void operator()(opj_stream_t* stream) const noexcept { opj_stream_destroy(stream); }
};
struct FreeImage {
  void operator()(opj_image_t* image) const noexcept { opj_image_destroy(image); }
};
using Codec = std::unique_ptr<opj_codec_t, FreeCodec>;
using Stream = std::unique_ptr<opj_stream_t, FreeStream>;
using Image = std::unique_ptr<opj_image_t, FreeImage>;

/// Coded bytes behind those that are already there.
class CodedBytes {
 public:
  void start(ByteBuffer& out, std::size_t room) {
    m_out = &out;
    m_room = room;
    m_bytes = out.room(room);
    m_begin = m_at = m_end = 0;
  }
  /// The next picture begins at `used`.
  void startAt(std::size_t used) noexcept { m_begin = m_at = m_end = used; }
  [[nodiscard]] std::uint8_t* begin() const noexcept { return m_bytes + m_begin; }
  [[nodiscard]] std::size_t size() const noexcept { return m_end - m_begin; }

  /// A stream of the library's that writes here.
  Stream stream() {
    Stream made(opj_stream_create(std::size_t{64} << 10, OPJ_STREAM_WRITE));
    if (!made) throw std::bad_alloc();
    opj_stream_set_user_data(made.get(), this, nullptr);
    opj_stream_set_write_function(made.get(), [](void* from, OPJ_SIZE_T size, void* self) {
      return static_cast<CodedBytes*>(self)->write(from, size) ? size : static_cast<OPJ_SIZE_T>(-1);
    });
    opj_stream_set_skip_function(made.get(), [](OPJ_OFF_T bytes, void* self) -> OPJ_OFF_T {
      auto* to = static_cast<CodedBytes*>(self);
      return to->moveTo(static_cast<OPJ_OFF_T>(to->m_at - to->m_begin) + bytes) ? bytes : -1;
    });
    opj_stream_set_seek_function(made.get(), [](OPJ_OFF_T offset, void* self) -> OPJ_BOOL {
      return static_cast<CodedBytes*>(self)->moveTo(offset) ? OPJ_TRUE : OPJ_FALSE;
    });
    return made;
  }

 private:
  bool write(const void* from, std::size_t size) noexcept {
    if (size > m_room - m_at) {
      const std::size_t more = m_at + size + m_room / 2;
      try {
        m_bytes = m_out->grow(m_end, more);
      } catch (const std::bad_alloc&) {
        return false;
      }
      m_room = more;
    }
    std::memcpy(m_bytes + m_at, from, size);
    m_at += size;
    m_end = std::max(m_end, m_at);
    return true;
  }
  bool moveTo(OPJ_OFF_T offset) noexcept {
    if (offset < 0 || static_cast<std::size_t>(offset) > m_end - m_begin) return false;
    m_at = m_begin + static_cast<std::size_t>(offset);
    return true;
  }

  ByteBuffer* m_out = nullptr;
  std::uint8_t* m_bytes = nullptr;
  std::size_t m_room = 0, m_begin = 0, m_at = 0, m_end = 0;
};

/// Where the bytes of a pixel are.
struct PixelBytes {
  std::size_t step = 1;
  std::array<std::size_t, 3> at{};
};

PixelBytes pixelBytes(KxColorSpace colorSpace) noexcept {
  switch (colorSpace) {
    case KxColorSpace::Rgb: return {3, {0, 1, 2}};
    case KxColorSpace::Bgr: return {3, {2, 1, 0}};
    case KxColorSpace::Rgba: return {4, {0, 1, 2}};
    case KxColorSpace::Bgra: return {4, {2, 1, 0}};
    default: return {1, {0, 0, 0}};
  }
}

class Jp2Encoder final : public IBandEncoder {
 public:
  explicit Jp2Encoder(const Jp2Format& format) : m_format(format), m_pixel(pixelBytes(format.colorSpace)) {}

  void encode(const Band& band, ByteBuffer& out) override {
    m_rows.clear();
    band.eachLine([this](const std::uint8_t* line) { m_rows.push_back(line); });
    // A quarter of the pixels' bytes is what a lossy scan takes at most.
    m_coded.start(out, (std::size_t{64} << 10) + m_rows.size() * static_cast<std::size_t>(m_format.width) *
                                                     static_cast<std::size_t>(m_format.samples()) / 4);
    const auto row = static_cast<std::uint32_t>(band.first() / m_format.tileLines);
    const auto columns = static_cast<std::uint32_t>(m_format.columns());
    std::size_t used = 0;
    for (std::uint32_t column = 0; column < columns; ++column) {
      m_coded.startAt(used);
      const auto left = static_cast<std::int32_t>(column) * m_format.tileWidth;
      code(left, std::min(m_format.width - left, m_format.tileWidth), static_cast<std::uint32_t>(band.first()));
      used += keepTilePart(row * columns + column);
    }
    out.setSize(used);
  }

 private:
  /// Leaves the tile-part of the picture that was coded, and its main header if it is the page's first. Answers
  /// their bytes.
  std::size_t keepTilePart(std::uint32_t tile) const {
    std::uint8_t* bytes = m_coded.begin();
    const std::size_t head = mainHeaderSize(bytes, m_coded.size());
    if (head == 0 || m_coded.size() - head < kTilePartHead) fail("no tile-part came out");
    const std::size_t size = big32(bytes + head + 6);
    if (size < kTilePartHead || size > m_coded.size() - head) fail("a tile-part of an unknown kind came out");
    putBig16(bytes + head + 4, tile);
    if (tile == 0) return head + size;
    std::memmove(bytes, bytes + head, size);
    return size;
  }

  /// Codes the tile as a picture; it lies at its place on the page's canvas.
  void code(std::int32_t left, std::int32_t width, std::uint32_t top) {
    m_complaint.clear();
    Image image = imageOf(left, width, top);
    const Codec codec(opj_create_compress(OPJ_CODEC_J2K));
    if (!codec) throw std::bad_alloc();
    opj_set_error_handler(
        codec.get(), [](const char* text, void* self) { static_cast<std::string*>(self)->append(text); },
        &m_complaint);
    opj_cparameters_t parameters = parametersFor(*image);
    parameters.cp_comment = m_format.remark.data();
    const Stream stream = m_coded.stream();
    const bool isCoded = opj_setup_encoder(codec.get(), &parameters, image.get()) &&
                         opj_start_compress(codec.get(), image.get(), stream.get()) &&
                         opj_encode(codec.get(), stream.get()) && opj_end_compress(codec.get(), stream.get());
    if (!isCoded) fail(m_complaint);
  }

  Image imageOf(std::int32_t left, std::int32_t width, std::uint32_t top) const {
    std::array<opj_image_cmptparm_t, 3> parts{};
    const auto samples = static_cast<std::uint32_t>(m_format.samples());
    for (opj_image_cmptparm_t& part : parts) {
      part.dx = part.dy = 1;
      part.w = static_cast<std::uint32_t>(width);
      part.h = static_cast<std::uint32_t>(m_rows.size());
      part.x0 = static_cast<std::uint32_t>(left);
      part.y0 = top;
      part.prec = 8;
    }
    Image image(opj_image_create(samples, parts.data(), samples == 1 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB));
    if (!image) throw std::bad_alloc();
    image->x0 = static_cast<std::uint32_t>(left);
    image->y0 = top;
    image->x1 = image->x0 + static_cast<std::uint32_t>(width);
    image->y1 = image->y0 + static_cast<std::uint32_t>(m_rows.size());
    for (std::uint32_t c = 0; c < samples; ++c) {
      OPJ_INT32* to = image->comps[c].data;
      for (const std::uint8_t* row : m_rows) {
        const std::uint8_t* from = row + m_pixel.step * static_cast<std::size_t>(left) + m_pixel.at[c];
        for (std::int32_t x = 0; x < width; ++x, from += m_pixel.step) *to++ = *from;
      }
    }
    return image;
  }

  opj_cparameters_t parametersFor(const opj_image_t& image) const {
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.numresolution = m_format.resolutions();
    parameters.tcp_mct = m_format.samples() == 3 ? 1 : 0;
    parameters.tcp_numlayers = 1;
    // One tile from the canvas's corner on, and large enough for the resolutions.
    parameters.tile_size_on = OPJ_TRUE;
    parameters.cp_tdx = std::max(static_cast<int>(image.x1), 1 << kMostResolutions);
    parameters.cp_tdy = std::max(static_cast<int>(image.y1), 1 << kMostResolutions);
    parameters.irreversible = m_format.coding == Jp2Format::Coding::Lossless ? 0 : 1;
    if (m_format.coding == Jp2Format::Coding::Quality) {
      parameters.cp_fixed_quality = 1;
      parameters.tcp_distoratio[0] = static_cast<float>(decibelsFor(image));
    } else {
      parameters.cp_disto_alloc = 1;
      parameters.tcp_rates[0] =
          m_format.coding == Jp2Format::Coding::Ratio ? static_cast<float>(m_format.ratio) : 0;
    }
    return parameters;
  }

  /// The library counts the error of the whole tile.
  [[nodiscard]] double decibelsFor(const opj_image_t& image) const {
    constexpr double kPeak = 255.0 * 255.0, kLeastError = 1e-3;
    const opj_image_comp_t& part = image.comps[image.numcomps == 3 ? 1 : 0];
    const double most = kPeak / std::pow(10, m_format.decibels / 10);
    const double error = tileTolerance(part.data, part.w, part.h, most);
    return 10 * std::log10(kPeak / std::max(error, kLeastError));
  }

  [[noreturn]] static void fail(const std::string& why) {
    throw std::runtime_error("JPEG 2000 failed on a row of tiles: " + why);
  }

  Jp2Format m_format;
  PixelBytes m_pixel;
  std::vector<const std::uint8_t*> m_rows;
  CodedBytes m_coded;
  std::string m_complaint;
};

}  // namespace

void putBig16(std::uint8_t* to, std::uint32_t value) noexcept {
  to[0] = static_cast<std::uint8_t>(value >> 8);
  to[1] = static_cast<std::uint8_t>(value);
}

void putBig32(std::uint8_t* to, std::uint32_t value) noexcept {
  putBig16(to, value >> 16);
  putBig16(to + 2, value & 0xffff);
}

std::uint32_t big16(const std::uint8_t* from) noexcept { return std::uint32_t{from[0]} << 8 | from[1]; }
std::uint32_t big32(const std::uint8_t* from) noexcept { return big16(from) << 16 | big16(from + 2); }

std::int32_t Jp2Format::resolutions() const noexcept {
  std::int32_t count = kMostResolutions;
  while (count > 1 && 1 << (count - 1) > std::min({tileWidth, tileLines, width})) --count;
  return count;
}

std::size_t mainHeaderSize(const std::uint8_t* bytes, std::size_t size) noexcept {
  for (std::size_t at = 2; at + 4 <= size;) {
    if (big16(bytes + at) == kStartOfTilePart) return at;
    at += 2 + big16(bytes + at + 2);
  }
  return 0;
}

void describePage(std::uint8_t* header, const Jp2Format& format, std::uint32_t height) noexcept {
  std::uint8_t* size = header + kMainHeaderHeight - 4;
  const std::uint32_t numbers[] = {static_cast<std::uint32_t>(format.width),
                                   height,
                                   0,
                                   0,  // where the page begins on its canvas
                                   static_cast<std::uint32_t>(format.tileWidth),
                                   static_cast<std::uint32_t>(format.tileLines),
                                   0,
                                   0};  // where the tiles begin
  for (const std::uint32_t number : numbers) {
    putBig32(size, number);
    size += 4;
  }
}

std::unique_ptr<IBandEncoder> makeJp2Encoder(const Jp2Format& format) {
  return std::make_unique<Jp2Encoder>(format);
}

}  // namespace quillbay
