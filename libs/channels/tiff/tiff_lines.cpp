#include "channels/tiff/tiff_lines.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace quillbay {
namespace {

constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 29;  // of what is held of a page, each time

class PageOf {
 public:
  PageOf(TIFF* tiff, TiffSource& source)
      : m_tiff(tiff),
        m_source(source),
        m_width(tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0)),
        m_height(tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0)) {}

 protected:
  TIFF* m_tiff;
  TiffSource& m_source;
  std::uint32_t m_width, m_height;
  std::uint32_t m_next = 0;  // line
};

class StripLines final : public TiffLines, PageOf {
 public:
  StripLines(TIFF* tiff, TiffSource& source) : PageOf(tiff, source), m_bytes(TIFFScanlineSize64(tiff)) {
    if (m_bytes == 0) source.fail();
    checkLineBytes(m_bytes);
  }
  [[nodiscard]] std::size_t lineBytes() const noexcept override { return m_bytes; }
  void read(std::uint8_t* out, std::size_t size) override {
    if (size < m_bytes) m_whole.resize(m_bytes);
    std::uint8_t* line = size < m_bytes ? m_whole.data() : out;
    if (TIFFReadScanline(m_tiff, line, m_next++, 0) < 0) m_source.fail();
    if (line != out) std::memcpy(out, line, size);
  }

 private:
  std::uint64_t m_bytes;
  std::vector<std::uint8_t> m_whole;  // where less is wanted
};

/// Lines that become known some at a time.
class BandLines : public TiffLines, protected PageOf {
 public:
  using PageOf::PageOf;
  [[nodiscard]] std::size_t lineBytes() const noexcept override { return m_lineBytes; }
  void read(std::uint8_t* out, std::size_t size) override {
    if (m_next % m_bandLines == 0) readBand();
    std::memcpy(out, m_band.data() + (m_next % m_bandLines) * m_lineBytes, size);
    ++m_next;
  }

 protected:
  /// Fills the band from line `m_next` on.
  virtual void readBand() = 0;
  std::size_t m_lineBytes = 0;
  std::uint32_t m_bandLines = 1;
  std::vector<std::uint8_t> m_band;
};

class TileLines final : public BandLines {
 public:
  TileLines(TIFF* tiff, TiffSource& source)
      : BandLines(tiff, source),
        m_across(tiffTag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 0)),
        m_tileLine(TIFFTileRowSize64(tiff)) {
    m_bandLines = tiffTag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 0);
    const std::uint64_t tileBytes = TIFFTileSize64(tiff);
    if (m_across == 0 || m_bandLines == 0 || m_tileLine == 0 || tileBytes > kMostBytes) source.fail();
    m_columns = (std::uint64_t{m_width} + m_across - 1) / m_across;
    if (m_columns * tileBytes > kMostBytes) source.fail();
    m_lineBytes = m_columns * m_tileLine;
    checkLineBytes(m_lineBytes);
    m_tile.resize(tileBytes);
    m_band.resize(m_lineBytes * m_bandLines);
  }

 private:
  void readBand() override {
    for (std::uint64_t column = 0; column < m_columns; ++column) {
      const auto x = static_cast<std::uint32_t>(column * m_across);
      if (TIFFReadTile(m_tiff, m_tile.data(), x, m_next, 0, 0) < 0) m_source.fail();
      for (std::uint32_t i = 0; i < m_bandLines; ++i) {
        std::memcpy(m_band.data() + i * m_lineBytes + column * m_tileLine, m_tile.data() + i * m_tileLine,
                    m_tileLine);
      }
    }
  }

  std::uint32_t m_across;
  std::uint64_t m_tileLine, m_columns = 0;
  std::vector<std::uint8_t> m_tile;
};

class RgbaLines final : public BandLines {
 public:
  RgbaLines(TIFF* tiff, TiffSource& source)
      : BandLines(tiff, source), m_tiled(TIFFIsTiled(tiff) != 0), m_across(m_width) {
    char why[1024] = "";
    if (!TIFFRGBAImageOK(tiff, why)) {
      throw ModuleError(QB_E_REFUSED, std::string("this kind of picture cannot be read: ") + why);
    }
    // libtiff would turn each strip on its own.
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (m_tiled) m_across = tiffTag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 0);
    m_bandLines = m_tiled ? tiffTag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 0)
                          : std::min(tiffTag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, m_height), m_height);
    m_lineBytes = std::size_t{m_width} * 3;
    checkLineBytes(m_lineBytes);
    if (m_across == 0 || m_bandLines == 0 || std::uint64_t{m_across} * m_bandLines * 4 > kMostBytes ||
        m_lineBytes * m_bandLines > kMostBytes) {
      source.fail();
    }
    m_pixels.resize(std::size_t{m_across} * m_bandLines);
    m_band.resize(m_lineBytes * m_bandLines);
  }

 private:
  void readBand() override {
    const std::uint32_t count = std::min(m_bandLines, m_height - m_next);
    for (std::uint32_t x = 0; x < m_width; x += std::min(m_across, m_width - x)) {
      if (!(m_tiled ? TIFFReadRGBATile(m_tiff, x, m_next, m_pixels.data())
                    : TIFFReadRGBAStrip(m_tiff, m_next, m_pixels.data()))) {
        m_source.fail();
      }
      // libtiff has the bottom row first; of a last, short strip only the rows that it has.
      const std::uint32_t stored = m_tiled ? m_bandLines : count;
      for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t* from = m_pixels.data() + std::size_t{stored - 1 - i} * m_across;
        std::uint8_t* to = m_band.data() + (std::size_t{i} * m_width + x) * 3;
        for (std::uint32_t k = 0; k < std::min(m_across, m_width - x); ++k, to += 3) {
          to[0] = static_cast<std::uint8_t>(TIFFGetR(from[k]));
          to[1] = static_cast<std::uint8_t>(TIFFGetG(from[k]));
          to[2] = static_cast<std::uint8_t>(TIFFGetB(from[k]));
        }
      }
    }
  }

  bool m_tiled;
  std::uint32_t m_across;
  std::vector<std::uint32_t> m_pixels;
};

}  // namespace

std::unique_ptr<TiffLines> makeTiffLines(TIFF* tiff, TiffSource& source, TiffPixels pixels) {
  if (pixels == TiffPixels::Rgba) return std::make_unique<RgbaLines>(tiff, source);
  if (TIFFIsTiled(tiff)) return std::make_unique<TileLines>(tiff, source);
  return std::make_unique<StripLines>(tiff, source);
}

}  // namespace quillbay
