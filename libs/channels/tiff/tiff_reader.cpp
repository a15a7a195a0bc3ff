#include "channels/tiff/tiff_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "channels/tiff/tiff_chain.h"
#include "channels/tiff/tiff_lines.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

constexpr std::uint32_t kMaxSide = 0x7ffffff0U;

/// What the tags say of a page's pixels.
struct TiffShape {
  std::uint32_t width, height;
  std::uint16_t bits, samples, photometric, planar, format;

  explicit TiffShape(TIFF* tiff)
      : width(tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0)),
        height(tiffTag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0)),
        bits(tiffTag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1)),
        samples(tiffTag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1)),
        photometric(tiffTag<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE)),
        planar(tiffTag<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG)),
        format(tiffTag<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide) {
      throw ModuleError(QB_E_DAMAGED, "the page says it is " + std::to_string(width) + " by " +
                                          std::to_string(height) + " pixels; the file is damaged");
    }
    const auto compression = tiffTag<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (photometric != PHOTOMETRIC_YCBCR || compression != COMPRESSION_JPEG || planar != PLANARCONFIG_CONTIG)
      return;
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    photometric = PHOTOMETRIC_RGB;
  }
  [[nodiscard]] bool isGrey() const noexcept {
    return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
  }
  /// The code that its samples become; None when libtiff has to show them as colours.
  [[nodiscard]] KxColorSpace colorSpace() const noexcept {
    if ((samples > 1 && planar == PLANARCONFIG_SEPARATE) || format != SAMPLEFORMAT_UINT) return KxColorSpace::None;
    const bool single = samples == 1;
    const bool bytes = bits == 8 || bits == 16;
    if (single && bits == 1 && isGrey()) return KxColorSpace::Bitonal;
    if (single && photometric == PHOTOMETRIC_PALETTE && (bits == 4 || bits == 8)) return KxColorSpace::Palette;
    if (isGrey() && (bytes || (single && bits == 4))) return KxColorSpace::Grey;
    if (samples >= 3 && photometric == PHOTOMETRIC_RGB && bytes) return KxColorSpace::Rgb;
    return KxColorSpace::None;
  }
};

std::uint32_t dotsPerInch(TIFF* tiff) {
  const auto perUnit = static_cast<double>(tiffTag<float>(tiff, TIFFTAG_XRESOLUTION, 0));
  const std::uint16_t unit = tiffTag<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  if (unit == RESUNIT_NONE) return 0;
  const double dpi = unit == RESUNIT_CENTIMETER ? perUnit * 2.54 : perUnit;
  return dpi >= 1 && dpi < 1e6 ? static_cast<std::uint32_t>(std::lround(dpi)) : 0;
}

}  // namespace

/// One page, from its tags to its lines.
class TiffReader::Page {
 public:
  Page(const QbFile* file, std::uint64_t offset)
      : m_source(file), m_tiff(openTiff(m_source, offset)), m_shape(m_tiff.get()), m_space(m_shape.colorSpace()) {
    m_orientation = tiffTag<std::uint16_t>(m_tiff.get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const bool stored = m_space != KxColorSpace::None;
    m_lines = makeTiffLines(m_tiff.get(), m_source, stored ? TiffPixels::Stored : TiffPixels::Rgba);
    const bool isInverse = m_shape.isGrey() && m_shape.photometric == PHOTOMETRIC_MINISWHITE;
    const bool whiteIsOne = m_space == KxColorSpace::Bitonal && !isInverse;
    m_flip = whiteIsOne || (m_space == KxColorSpace::Grey && isInverse) ? 0xff : 0;
    m_used = lineBytes();
    m_direct = !stored || m_shape.bits == 1 || (m_shape.bits == 8 && m_shape.samples == samples());
    if (!m_direct) m_buffer.resize(m_lines->lineBytes());
    // A line of the file has what is taken of it.
    const std::uint64_t needed =
        m_direct ? m_used : (std::uint64_t{m_shape.width} * m_shape.samples * m_shape.bits) / 8;
    if (m_lines->lineBytes() < needed) m_source.fail();
  }

  void describe(QbPicture* out) const {
    *out = {};
    out->color_space = static_cast<std::int32_t>(m_space == KxColorSpace::None ? KxColorSpace::Rgb : m_space);
    out->width = static_cast<std::int32_t>(m_shape.width);
    out->height = static_cast<std::int32_t>(m_shape.height);
    out->dpi = dotsPerInch(m_tiff.get());
    out->orientation = m_orientation >= 1 && m_orientation <= 8 ? m_orientation : 1;
    if (m_space == KxColorSpace::Palette) describePalette(out);
  }

  void read(std::uint8_t* out) {
    if (m_direct) {
      m_lines->read(out, m_used);  // a row of tiles is wider
    } else {
      m_lines->read(m_buffer.data(), m_buffer.size());
      convert(out);
    }
    if (m_flip == 0) return;
    for (std::size_t i = 0; i < m_used; ++i) out[i] = static_cast<std::uint8_t>(out[i] ^ m_flip);
  }

 private:
  [[nodiscard]] std::size_t samples() const noexcept {
    return m_space == KxColorSpace::Rgb || m_space == KxColorSpace::None ? 3 : 1;
  }
  /// Bytes of a line as it is handed out.
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    const std::size_t width = m_shape.width;
    return m_space == KxColorSpace::Bitonal ? (width + 7) / 8 : width * samples();
  }

  void describePalette(QbPicture* out) const {
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (!TIFFGetField(m_tiff.get(), TIFFTAG_COLORMAP, &red, &green, &blue)) {
      throw ModuleError(QB_E_DAMAGED, "the page lacks its palette; the file is damaged");
    }
    KXRGBQUAD entries[256];
    narrowPalette(red, green, blue, std::size_t{1} << m_shape.bits, entries);
    out->palette_count = 256;
    std::memcpy(out->palette, entries, sizeof entries);
  }

  /// Samples of 4 or 16 bits, and pixels with more samples than are shown.
  void convert(std::uint8_t* out) const noexcept {
    const std::uint8_t* from = m_buffer.data();
    const std::size_t width = m_shape.width, taken = samples(), stored = m_shape.samples;
    if (m_shape.bits == 4) {
      const unsigned scale = m_space == KxColorSpace::Grey ? 17 : 1;
      for (std::size_t i = 0; i < width; ++i) {
        const unsigned value = i % 2 ? from[i / 2] & 15U : from[i / 2] >> 4U;
        out[i] = static_cast<std::uint8_t>(value * scale);
      }
      return;
    }
    if (m_shape.bits == 16 && taken == stored) return highBytes(from, width * taken, out);
    for (std::size_t i = 0; i < width; ++i) {
      for (std::size_t c = 0; c < taken; ++c) {
        const std::size_t at = i * stored + c;
        *out++ = m_shape.bits == 8 ? from[at] : highByte(from, at);
      }
    }
  }

  TiffSource m_source;
  TiffPtr m_tiff;
  TiffShape m_shape;
  KxColorSpace m_space;
  std::uint16_t m_orientation = 1;
  std::unique_ptr<TiffLines> m_lines;
  std::uint8_t m_flip = 0;
  bool m_direct = false;   // the file's bytes are the line's
  std::size_t m_used = 0;  // bytes of a line
  std::vector<std::uint8_t> m_buffer;
};

TiffReader::TiffReader(const QbFile* file) : m_file(file) {
  try {
    if (readTiffChain(EdgeFile(file), &m_offsets).pages == 0) {
      throw ModuleError(QB_E_DAMAGED, "the file has no page");
    }
  } catch (const ModuleError& e) {
    if (m_offsets.empty() || e.code() == QB_E_FILE) throw;
    m_broken = e;
  }
}
TiffReader::~TiffReader() = default;

void TiffReader::openPage(std::int32_t page, QbPicture* out) {
  m_page = nullptr;
  const auto i = static_cast<std::size_t>(page);
  if (i >= m_offsets.size() && m_broken) throw ModuleError(*m_broken);
  m_page = std::make_unique<Page>(m_file, m_offsets[i]);
  m_page->describe(out);
}

void TiffReader::readLine(std::uint8_t* out) { m_page->read(out); }

}  // namespace quillbay
