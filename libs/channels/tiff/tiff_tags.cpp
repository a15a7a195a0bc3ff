#include "channels/tiff/tiff_tags.h"

#include <tiff.h>

#include <algorithm>
#include <optional>

namespace quillbay {
namespace {

constexpr std::uint32_t kAlignedEndsOfLines = GROUP3OPT_FILLBITS;

std::uint16_t compressionTag(TiffCompression compression) {
  switch (compression) {
    case TiffCompression::PackBits: return COMPRESSION_PACKBITS;
    case TiffCompression::Lzw: return COMPRESSION_LZW;
    case TiffCompression::Deflate: return COMPRESSION_ADOBE_DEFLATE;
    case TiffCompression::Zstandard: return COMPRESSION_ZSTD;
    case TiffCompression::G4: return COMPRESSION_CCITTFAX4;
    case TiffCompression::G3: return COMPRESSION_CCITTFAX3;
    case TiffCompression::Jpeg: return COMPRESSION_JPEG;
    case TiffCompression::None: break;
  }
  return COMPRESSION_NONE;
}

bool isYcc(const StripFormat& format) {
  return format.compression == TiffCompression::Jpeg && format.samples() == 3;
}

std::uint16_t photometricTag(const StripFormat& format) {
  if (isRunList(format.colorSpace)) return PHOTOMETRIC_MINISWHITE;
  if (format.colorSpace == KxColorSpace::Palette) return PHOTOMETRIC_PALETTE;
  if (isYcc(format)) return PHOTOMETRIC_YCBCR;
  return format.samples() == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
}

/// Writes the tags of a picture in their order.
class Describer {
 public:
  Describer(const TiffPlan& plan, const TiffWords& words, const TiffImage& image, TiffDirectory* out)
      : m_plan(plan), m_format(plan.format), m_words(words), m_image(image), m_out(*out) {}

  void picture(std::uint32_t kind, const std::string& title) {
    const auto samples = static_cast<std::size_t>(m_format.samples());
    m_out.number(TIFFTAG_SUBFILETYPE, kind);
    m_out.number(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(m_image.width));
    m_out.number(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(m_image.lines));
    m_out.shorts(TIFFTAG_BITSPERSAMPLE,
                 std::vector<std::uint16_t>(samples, static_cast<std::uint16_t>(m_format.bitsPerSample())));
    m_out.shorts(TIFFTAG_COMPRESSION, {compressionTag(m_format.compression)});
    m_out.shorts(TIFFTAG_PHOTOMETRIC, {photometricTag(m_format)});
    m_out.shorts(TIFFTAG_FILLORDER, {FILLORDER_MSB2LSB});
    if (!title.empty()) m_out.text(TIFFTAG_DOCUMENTNAME, title);
  }

  /// `half` is how often the page was halved.
  void layout(unsigned half) {
    if (!m_plan.isTiled()) m_out.places(TIFFTAG_STRIPOFFSETS, m_image.offsets);
    m_out.shorts(TIFFTAG_ORIENTATION, {ORIENTATION_TOPLEFT});
    m_out.shorts(TIFFTAG_SAMPLESPERPIXEL, {static_cast<std::uint16_t>(m_format.samples())});
    if (!m_plan.isTiled()) {
      const bool isWhole = m_image.offsets.size() == 1;
      m_out.number(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(isWhole ? m_image.lines : m_plan.stripLines));
      m_out.places(TIFFTAG_STRIPBYTECOUNTS, m_image.sizes);
    }
    if (m_words.dpi > 0) {
      m_out.ratio(TIFFTAG_XRESOLUTION, m_words.dpi, 1U << half);
      m_out.ratio(TIFFTAG_YRESOLUTION, m_words.dpi, 1U << half);
    }
    m_out.shorts(TIFFTAG_PLANARCONFIG, {PLANARCONFIG_CONTIG});
    if (m_format.compression == TiffCompression::G3) m_out.number(TIFFTAG_GROUP3OPTIONS, kAlignedEndsOfLines);
    if (m_format.compression == TiffCompression::G4) m_out.number(TIFFTAG_GROUP4OPTIONS, 0);
    if (m_words.dpi > 0) m_out.shorts(TIFFTAG_RESOLUTIONUNIT, {RESUNIT_INCH});
  }

  void coding() {
    if (m_format.predictor) m_out.shorts(TIFFTAG_PREDICTOR, {PREDICTOR_HORIZONTAL});
    if (!m_words.colorMap.empty()) m_out.shorts(TIFFTAG_COLORMAP, m_words.colorMap);
    if (!m_plan.isTiled()) return;
    m_out.number(TIFFTAG_TILEWIDTH, static_cast<std::uint32_t>(m_plan.tileSize));
    m_out.number(TIFFTAG_TILELENGTH, static_cast<std::uint32_t>(m_plan.tileSize));
    m_out.places(TIFFTAG_TILEOFFSETS, m_image.offsets);
    m_out.places(TIFFTAG_TILEBYTECOUNTS, m_image.sizes);
  }

  void jpeg() {
    if (m_format.compression != TiffCompression::Jpeg) return;
    m_out.bytes(TIFFTAG_JPEGTABLES, jpegTables(jpegFormatOf(m_format)));
    if (!isYcc(m_format)) return;
    const std::uint16_t step = m_format.isHalved ? 2 : 1;
    m_out.shorts(TIFFTAG_YCBCRSUBSAMPLING, {step, step});
    m_out.shorts(TIFFTAG_YCBCRPOSITIONING, {YCBCRPOSITION_CENTERED});
    m_out.ratios(TIFFTAG_REFERENCEBLACKWHITE, {0, 255, 128, 255, 128, 255});
  }

 private:
  const TiffPlan& m_plan;
  const StripFormat& m_format;
  const TiffWords& m_words;
  const TiffImage& m_image;
  TiffDirectory& m_out;
};

std::string textOf(const char* text) { return text ? text : ""; }

}  // namespace

TiffWords::TiffWords(const QbPage& page)
    : paged(page.paged != 0),
      dpi(page.dpi),
      software(textOf(page.software)),
      dateTime(textOf(page.date_time)),
      title(textOf(page.title)) {
  if (page.icc) icc.assign(page.icc, page.icc + page.icc_size);
  if (static_cast<KxColorSpace>(page.color_space) != KxColorSpace::Palette) return;
  colorMap.resize(std::size_t{3} * 256);
  for (int i = 0; i < std::min(page.palette_count, 256); ++i) {
    for (int c = 0; c < 3; ++c) {
      colorMap[std::size_t{256} * static_cast<std::size_t>(c) + static_cast<std::size_t>(i)] =
          static_cast<std::uint16_t>(page.palette[4 * i + c] * 257);
    }
  }
}

void describePage(const TiffPlan& plan, const TiffWords& words, const TiffImage& image, const TiffPageTags& tags,
                  TiffDirectory* out) {
  Describer describer(plan, words, image, out);
  describer.picture(words.paged ? FILETYPE_PAGE : 0, words.title);
  describer.layout(0);
  // 0: how many pages there will be is not known.
  if (words.paged) {
    out->shorts(TIFFTAG_PAGENUMBER, {static_cast<std::uint16_t>(std::min(tags.number, 65535)), 0});
  }
  if (!words.software.empty()) out->text(TIFFTAG_SOFTWARE, words.software);
  if (!words.dateTime.empty()) out->text(TIFFTAG_DATETIME, words.dateTime);
  describer.coding();
  if (!tags.levels.empty()) out->places(TIFFTAG_SUBIFD, tags.levels);
  describer.jpeg();
  if (!words.icc.empty()) out->bytes(TIFFTAG_ICCPROFILE, words.icc);
}

void describeLevel(const TiffPlan& plan, const TiffWords& words, const TiffImage& image, unsigned level,
                   TiffDirectory* out) {
  Describer describer(plan, words, image, out);
  describer.picture(FILETYPE_REDUCEDIMAGE, "");
  describer.layout(level);
  describer.coding();
  describer.jpeg();
}

}  // namespace quillbay
