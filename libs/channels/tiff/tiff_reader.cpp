#include "channels/tiff/tiff_reader.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

#include "channels/tiff/tiff_chain.h"
#include "quillbay/run_list.h"

namespace quillbay {
namespace {

constexpr std::uint32_t kMaxSide = 0x7ffffff0U;
constexpr std::uint64_t kMaxLineBytes = std::uint64_t{1} << 31;

/// What libtiff calls, with the position that it believes in and its last complaint.
struct Source {
  const QbFile* file = nullptr;
  std::int64_t position = 0;
  std::string complaint;
};

tmsize_t readSource(thandle_t handle, void* bytes, tmsize_t size) {
  auto* source = static_cast<Source*>(handle);
  const std::int64_t left = source->file->size(source->file->self) - source->position;
  const std::int64_t count = std::clamp<std::int64_t>(left, 0, size);
  if (count == 0) return 0;
  const int code = source->file->read(source->file->self, source->position, bytes, static_cast<std::size_t>(count));
  if (code != QB_OK) return -1;
  source->position += count;
  return count;
}

toff_t seekSource(thandle_t handle, toff_t offset, int whence) {
  auto* source = static_cast<Source*>(handle);
  const auto by = static_cast<std::int64_t>(offset);
  if (whence == SEEK_SET) source->position = by;
  if (whence == SEEK_CUR) source->position += by;
  if (whence == SEEK_END) source->position = source->file->size(source->file->self) + by;
  return static_cast<toff_t>(source->position);
}

__attribute__((format(printf, 4, 0))) int noteError(TIFF*, void* data, const char*, const char* format,
                                                    va_list arguments) {
  char text[300];
  std::vsnprintf(text, sizeof text, format, arguments);
  static_cast<Source*>(data)->complaint = text;
  return 1;
}

__attribute__((format(printf, 4, 0))) int ignoreWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

struct CloseTiff {
  void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

TiffPtr openTiff(Source* source) {
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteError, source);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreWarning, source);
  return TiffPtr(TIFFClientOpenExt(
      "page", "rm", source, readSource, [](thandle_t, void*, tmsize_t) -> tmsize_t { return -1; }, seekSource,
      [](thandle_t) { return 0; },
      [](thandle_t handle) {
        auto* from = static_cast<Source*>(handle);
        return static_cast<toff_t>(from->file->size(from->file->self));
      },
      nullptr, nullptr, options.get()));
}

template <class T>
T tag(TIFF* tiff, std::uint32_t id, T otherwise) {
  T value = otherwise;
  return TIFFGetFieldDefaulted(tiff, id, &value) ? value : otherwise;
}

/// One page, from its tags to its lines.
class PageReader {
 public:
  PageReader(TIFF* tiff, Source* source, const QbRasterSink& sink) : m_tiff(tiff), m_source(source), m_sink(sink) {}

  void read() {
    readTags();
    const bool separate = m_samples > 1 && m_planar == PLANARCONFIG_SEPARATE;
    const bool grey = m_photometric == PHOTOMETRIC_MINISBLACK || m_photometric == PHOTOMETRIC_MINISWHITE;
    if (separate || m_format != SAMPLEFORMAT_UINT) return readAsRgba();
    if (m_samples == 1 && m_bits == 1 && grey) return readBitonal();
    if (m_samples == 1 && m_photometric == PHOTOMETRIC_PALETTE && (m_bits == 4 || m_bits == 8))
      return readPalette();
    if (m_samples == 1 && grey && (m_bits == 4 || m_bits == 8 || m_bits == 16)) return readGrey();
    if (m_samples >= 3 && m_photometric == PHOTOMETRIC_RGB && (m_bits == 8 || m_bits == 16)) return readRgb();
    readAsRgba();
  }

 private:
  void readTags() {
    m_width = tag<std::uint32_t>(m_tiff, TIFFTAG_IMAGEWIDTH, 0);
    m_height = tag<std::uint32_t>(m_tiff, TIFFTAG_IMAGELENGTH, 0);
    if (m_width == 0 || m_height == 0 || m_width > kMaxSide || m_height > kMaxSide) {
      throw ModuleError(QB_E_DAMAGED, "the page says it is " + std::to_string(m_width) + " by " +
                                          std::to_string(m_height) + " pixels; the file is damaged");
    }
    m_bits = tag<std::uint16_t>(m_tiff, TIFFTAG_BITSPERSAMPLE, 1);
    m_samples = tag<std::uint16_t>(m_tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    m_photometric = tag<std::uint16_t>(m_tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    m_planar = tag<std::uint16_t>(m_tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    m_format = tag<std::uint16_t>(m_tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    const auto perUnit = static_cast<double>(tag<float>(m_tiff, TIFFTAG_XRESOLUTION, 0));
    const std::uint16_t unit = tag<std::uint16_t>(m_tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    const double dpi = unit == RESUNIT_CENTIMETER ? perUnit * 2.54 : perUnit;
    m_dpi = dpi >= 1 && dpi < 1e6 ? static_cast<std::uint32_t>(std::lround(dpi)) : 0;
  }

  [[noreturn]] void fail() const {
    const std::string detail = m_source->complaint.empty() ? "" : " (" + m_source->complaint + ")";
    throw ModuleError(QB_E_DAMAGED, "the page's lines cannot be read; the file is damaged" + detail);
  }

  void begin(KxColorSpace colorSpace, const std::uint8_t* palette = nullptr, std::int32_t count = 0) {
    answer(m_sink.begin(m_sink.self, static_cast<std::int32_t>(colorSpace), static_cast<std::int32_t>(m_width),
                        static_cast<std::int32_t>(m_height), m_dpi, palette, count));
  }
  void line(const void* bytes) { answer(m_sink.line(m_sink.self, static_cast<const std::uint8_t*>(bytes))); }
  static void answer(int code) {
    if (code != QB_OK) throw ModuleError(code, "");
  }

  /// Calls `take` with each line as the file has it, decompressed.
  void eachLine(const std::function<void(const std::uint8_t*)>& take) {
    if (TIFFIsTiled(m_tiff)) return eachTiledLine(take);
    const std::uint64_t size = TIFFScanlineSize64(m_tiff);
    if (size == 0 || size > kMaxLineBytes) fail();
    std::vector<std::uint8_t> buffer(size);
    for (std::uint32_t y = 0; y < m_height; ++y) {
      if (TIFFReadScanline(m_tiff, buffer.data(), y, 0) < 0) fail();
      take(buffer.data());
    }
  }

  void eachTiledLine(const std::function<void(const std::uint8_t*)>& take) {
    const std::uint32_t across = tag<std::uint32_t>(m_tiff, TIFFTAG_TILEWIDTH, 0);
    const std::uint32_t down = tag<std::uint32_t>(m_tiff, TIFFTAG_TILELENGTH, 0);
    const std::uint64_t tileLine = TIFFTileRowSize64(m_tiff), tileSize = TIFFTileSize64(m_tiff);
    if (across == 0 || down == 0 || tileLine == 0 || tileSize > kMaxLineBytes) fail();
    const std::uint64_t columns = (std::uint64_t{m_width} + across - 1) / across;
    if (columns * tileSize > kMaxLineBytes) fail();
    std::vector<std::uint8_t> tile(tileSize), rows(columns * tileLine * down);
    for (std::uint32_t y = 0; y < m_height; y += std::min(down, m_height - y)) {
      for (std::uint64_t column = 0; column < columns; ++column) {
        if (TIFFReadTile(m_tiff, tile.data(), static_cast<std::uint32_t>(column * across), y, 0, 0) < 0) fail();
        for (std::uint32_t i = 0; i < down; ++i) {
          std::memcpy(rows.data() + (i * columns + column) * tileLine, tile.data() + i * tileLine, tileLine);
        }
      }
      for (std::uint32_t i = 0; i < std::min(down, m_height - y); ++i) take(rows.data() + i * columns * tileLine);
    }
  }

  void readBitonal() {
    begin(KxColorSpace::Bitonal);
    const std::size_t bytes = (std::size_t{m_width} + 7) / 8;
    std::vector<std::uint32_t> runs(std::size_t{m_width} + 4);
    std::vector<std::uint8_t> black(bytes);
    const std::uint8_t flip = m_photometric == PHOTOMETRIC_MINISWHITE ? 0 : 0xff;
    eachLine([&](const std::uint8_t* from) {
      for (std::size_t i = 0; i < bytes; ++i) black[i] = from[i] ^ flip;
      bitsToRuns(black.data(), static_cast<std::int32_t>(m_width), runs.data());
      line(runs.data());
    });
  }

  void readPalette() {
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (!TIFFGetField(m_tiff, TIFFTAG_COLORMAP, &red, &green, &blue)) fail();
    const int count = 1 << m_bits;
    // Some programs store 8-bit values here.
    bool wide = false;
    for (int i = 0; i < count; ++i) wide = wide || red[i] > 255 || green[i] > 255 || blue[i] > 255;
    const int shift = wide ? 8 : 0;
    std::uint8_t palette[256 * 4] = {};
    for (int i = 0; i < count; ++i) {
      palette[4 * i] = static_cast<std::uint8_t>(red[i] >> shift);
      palette[4 * i + 1] = static_cast<std::uint8_t>(green[i] >> shift);
      palette[4 * i + 2] = static_cast<std::uint8_t>(blue[i] >> shift);
    }
    begin(KxColorSpace::Palette, palette, 256);
    readBytes(1, 0);
  }

  void readGrey() {
    begin(KxColorSpace::Grey);
    readBytes(m_bits == 4 ? 17 : 1, m_photometric == PHOTOMETRIC_MINISWHITE ? 0xff : 0);
  }

  /// Samples of 4, 8 or 16 bits as bytes; `scale` widens those of 4 bits.
  void readBytes(unsigned scale, std::uint8_t flip) {
    std::vector<std::uint8_t> out(m_width);
    eachLine([&](const std::uint8_t* from) {
      for (std::size_t i = 0; i < m_width; ++i) {
        unsigned value = from[i];
        if (m_bits == 4) value = (i % 2 ? from[i / 2] & 15U : from[i / 2] >> 4U) * scale;
        if (m_bits == 16) value = highByte(from, i);
        out[i] = static_cast<std::uint8_t>(value ^ flip);
      }
      line(out.data());
    });
  }

  static unsigned highByte(const std::uint8_t* samples, std::size_t i) {
    std::uint16_t value;
    std::memcpy(&value, samples + 2 * i, 2);
    return value >> 8U;
  }

  void readRgb() {
    begin(KxColorSpace::Rgb);
    std::vector<std::uint8_t> out(std::size_t{m_width} * 3);
    eachLine([&](const std::uint8_t* from) {
      if (m_bits == 8 && m_samples == 3) return line(from);
      for (std::size_t i = 0; i < m_width; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
          const std::size_t at = i * m_samples + c;
          out[3 * i + c] = static_cast<std::uint8_t>(m_bits == 8 ? from[at] : highByte(from, at));
        }
      }
      line(out.data());
    });
  }

  /// Any other kind of picture as libtiff shows it, one strip or row of tiles after the other.
  void readAsRgba() {
    char why[1024] = "";
    if (!TIFFRGBAImageOK(m_tiff, why)) {
      throw ModuleError(QB_E_REFUSED, std::string("this kind of picture cannot be read: ") + why);
    }
    const bool tiled = TIFFIsTiled(m_tiff) != 0;
    const std::uint32_t across = tiled ? tag<std::uint32_t>(m_tiff, TIFFTAG_TILEWIDTH, 0) : m_width;
    const std::uint32_t down = tiled
                                   ? tag<std::uint32_t>(m_tiff, TIFFTAG_TILELENGTH, 0)
                                   : std::min(tag<std::uint32_t>(m_tiff, TIFFTAG_ROWSPERSTRIP, m_height), m_height);
    if (across == 0 || down == 0 || std::uint64_t{across} * down * 4 > kMaxLineBytes ||
        std::uint64_t{m_width} * down * 3 > kMaxLineBytes) {
      fail();
    }
    begin(KxColorSpace::Rgb);
    std::vector<std::uint32_t> pixels(std::size_t{across} * down);
    std::vector<std::uint8_t> rows(std::size_t{m_width} * 3 * down);
    for (std::uint32_t y = 0; y < m_height; y += std::min(down, m_height - y)) {
      const std::uint32_t count = std::min(down, m_height - y);
      for (std::uint32_t x = 0; x < m_width; x += std::min(across, m_width - x)) {
        if (!(tiled ? TIFFReadRGBATile(m_tiff, x, y, pixels.data())
                    : TIFFReadRGBAStrip(m_tiff, y, pixels.data()))) {
          fail();
        }
        // libtiff has the bottom row first; of a last, short strip only the rows that it has.
        const std::uint32_t stored = tiled ? down : count;
        for (std::uint32_t i = 0; i < count; ++i) {
          const std::uint32_t* from = pixels.data() + std::size_t{stored - 1 - i} * across;
          std::uint8_t* to = rows.data() + (std::size_t{i} * m_width + x) * 3;
          for (std::uint32_t k = 0; k < std::min(across, m_width - x); ++k, to += 3) {
            to[0] = static_cast<std::uint8_t>(TIFFGetR(from[k]));
            to[1] = static_cast<std::uint8_t>(TIFFGetG(from[k]));
            to[2] = static_cast<std::uint8_t>(TIFFGetB(from[k]));
          }
        }
      }
      for (std::uint32_t i = 0; i < count; ++i) line(rows.data() + std::size_t{i} * m_width * 3);
    }
  }

  TIFF* m_tiff;
  Source* m_source;
  const QbRasterSink& m_sink;
  std::uint32_t m_width = 0, m_height = 0, m_dpi = 0;
  std::uint16_t m_bits = 1, m_samples = 1, m_photometric = 0, m_planar = 1, m_format = 1;
};

}  // namespace

TiffReader::TiffReader(const QbFile* file) : m_file(file) {
  const TiffState state = readTiffChain(EdgeFile(file), &m_offsets);
  if (state.pages == 0) throw ModuleError(QB_E_DAMAGED, "the file has no page");
}

void TiffReader::read(std::int32_t page, const QbRasterSink& sink) const {
  Source source{m_file, 0, {}};
  const TiffPtr tiff = openTiff(&source);
  if (!tiff || !TIFFSetSubDirectory(tiff.get(), m_offsets[static_cast<std::size_t>(page)])) {
    throw ModuleError(QB_E_DAMAGED, "the file is damaged: " + source.complaint);
  }
  PageReader(tiff.get(), &source, sink).read();
}

}  // namespace quillbay
