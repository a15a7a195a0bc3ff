#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "quillbay/errors.h"
#include "quillbay/geometry.h"
#include "quillbay/run_list.h"
#include "scanners/sim/sim_image.h"

namespace quillbay {

namespace {

/// The first page of a TIFF: bitonal, grey, palette or RGB, of 8 or 16 bits, in strips or tiles.
class TiffRows final : public SimImageRows {
 public:
  explicit TiffRows(const std::string& path) : m_path(path), m_tiff(TIFFOpen(path.c_str(), "rm"), &TIFFClose) {
    if (!m_tiff) fail("cannot be read as a TIFF: check the file");
    readShape();
    readResolution();
    if (m_photometric == PHOTOMETRIC_PALETTE) readPalette();
    if (TIFFIsTiled(tiff()) != 0) {
      std::uint32_t w = 0;
      TIFFGetField(tiff(), TIFFTAG_TILEWIDTH, &w);
      TIFFGetField(tiff(), TIFFTAG_TILELENGTH, &m_tileLength);
      m_tileWidth = w;
      m_tile.resize(static_cast<std::size_t>(TIFFTileSize64(tiff())));
      const std::size_t across = (static_cast<std::size_t>(width) + w - 1) / w;
      m_tileRowBytes = static_cast<std::size_t>(TIFFTileRowSize64(tiff()));
      m_line.resize(across * m_tileRowBytes * m_tileLength);
    } else {
      m_line.resize(static_cast<std::size_t>(TIFFScanlineSize64(tiff())));
    }
  }

  void readRow(std::uint8_t* out) override {
    const std::uint8_t* line = m_tileWidth != 0 ? tiledLine() : plainLine();
    ++m_row;
    const auto pixels = static_cast<std::size_t>(width);
    if (m_bits == 1) {
      bitsToBytes(line, pixels, 255, 0, out);  // 1 is black, unless the file says otherwise
      if (m_photometric == PHOTOMETRIC_MINISBLACK)
        for (std::size_t i = 0; i < pixels; ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
      return;
    }
    const std::size_t bytes = m_bits / 8;
    const auto at = [&](std::size_t sample) {
      if (bytes == 1) return line[sample];
      std::uint16_t wide = 0;
      std::memcpy(&wide, line + 2 * sample, 2);
      return static_cast<std::uint8_t>(wide >> 8);
    };
    if (m_photometric == PHOTOMETRIC_PALETTE) {
      for (std::size_t i = 0; i < pixels; ++i) std::memcpy(out + 3 * i, &m_palette[3 * std::size_t{line[i]}], 3);
      return;
    }
    const bool inverse = m_photometric == PHOTOMETRIC_MINISWHITE;
    for (std::size_t i = 0; i < pixels; ++i)
      for (std::size_t c = 0; c < static_cast<std::size_t>(channels); ++c) {
        const std::uint8_t v = at(i * m_samples + c);
        *out++ = inverse ? static_cast<std::uint8_t>(~v) : v;
      }
  }

 private:
  [[nodiscard]] TIFF* tiff() const noexcept { return m_tiff.get(); }
  [[noreturn]] void fail(const std::string& what) const {
    throw CXFileException("The image \"" + m_path + "\" " + what + ".", m_path);
  }
  void readShape() {
    std::uint32_t w = 0;
    std::uint32_t h = 0;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetField(tiff(), TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(tiff(), TIFFTAG_IMAGELENGTH, &h);
    TIFFGetFieldDefaulted(tiff(), TIFFTAG_BITSPERSAMPLE, &m_bits);
    TIFFGetFieldDefaulted(tiff(), TIFFTAG_SAMPLESPERPIXEL, &m_samples);
    TIFFGetFieldDefaulted(tiff(), TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetField(tiff(), TIFFTAG_COMPRESSION, &compression);
    if (TIFFGetField(tiff(), TIFFTAG_PHOTOMETRIC, &m_photometric) == 0) fail("does not tell its colours");
    if (m_photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG) {
      TIFFSetField(tiff(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      m_photometric = PHOTOMETRIC_RGB;
    }
    if (w < 1 || h < 1 || w > INT32_MAX / 8 || h > INT32_MAX / 2) fail("has a damaged size");
    width = static_cast<std::int32_t>(w);
    height = static_cast<std::int32_t>(h);
    const bool rgb = m_photometric == PHOTOMETRIC_RGB && m_samples >= 3;
    const bool grey = m_photometric == PHOTOMETRIC_MINISBLACK || m_photometric == PHOTOMETRIC_MINISWHITE;
    const bool palette = m_photometric == PHOTOMETRIC_PALETTE && m_bits == 8 && m_samples == 1;
    const bool depth = m_bits == 8 || m_bits == 16 || (m_bits == 1 && grey && m_samples == 1);
    if (!depth || !(rgb || grey || palette) || (planar != PLANARCONFIG_CONTIG && m_samples > 1))
      fail(
          "holds pixels that the simulated scanner does not read: give a bitonal, grey, palette or RGB TIFF of 8 "
          "or "
          "16 bits");
    channels = rgb || palette ? 3 : 1;
  }
  void readResolution() {
    float x = 0;
    std::uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tiff(), TIFFTAG_RESOLUTIONUNIT, &unit);
    if (TIFFGetField(tiff(), TIFFTAG_XRESOLUTION, &x) == 0 || !(x > 0) || unit == RESUNIT_NONE) return;
    dpi = unit == RESUNIT_CENTIMETER ? static_cast<double>(x) * kMmPerInch / 10 : static_cast<double>(x);
  }
  void readPalette() {
    std::uint16_t* colour[3] = {};
    if (TIFFGetField(tiff(), TIFFTAG_COLORMAP, &colour[0], &colour[1], &colour[2]) == 0) fail("lacks its palette");
    for (std::size_t i = 0; i < 256; ++i)
      for (std::size_t c = 0; c < 3; ++c) m_palette[3 * i + c] = static_cast<std::uint8_t>(colour[c][i] >> 8);
  }
  const std::uint8_t* plainLine() {
    if (TIFFReadScanline(tiff(), m_line.data(), m_row, 0) < 0) fail("is damaged in row " + std::to_string(m_row));
    return m_line.data();
  }
  // The rows of a band of tiles are laid side by side once, then handed out.
  const std::uint8_t* tiledLine() {
    const std::size_t lineBytes = m_line.size() / m_tileLength;
    const std::uint32_t inside = m_row % m_tileLength;
    if (inside == 0) {
      for (std::uint32_t x = 0; x < static_cast<std::uint32_t>(width); x += m_tileWidth) {
        if (TIFFReadTile(tiff(), m_tile.data(), x, m_row, 0, 0) < 0)
          fail("is damaged in row " + std::to_string(m_row));
        const std::size_t place = x / m_tileWidth * m_tileRowBytes;
        for (std::size_t y = 0; y < m_tileLength; ++y)
          std::memcpy(m_line.data() + y * lineBytes + place, m_tile.data() + y * m_tileRowBytes, m_tileRowBytes);
      }
    }
    return m_line.data() + inside * lineBytes;
  }

  std::string m_path;
  std::unique_ptr<TIFF, void (*)(TIFF*)> m_tiff;
  std::uint16_t m_bits = 1, m_samples = 1, m_photometric = 0;
  std::uint32_t m_row = 0, m_tileWidth = 0, m_tileLength = 1;
  std::size_t m_tileRowBytes = 0;
  std::vector<std::uint8_t> m_line, m_tile;
  std::uint8_t m_palette[768] = {};
};

}  // namespace

std::unique_ptr<SimImageRows> openTiffRows(const std::string& path) { return std::make_unique<TiffRows>(path); }

}  // namespace quillbay
