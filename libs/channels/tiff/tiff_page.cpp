#include "channels/tiff/tiff_page.h"

#include <tiff.h>

#include <algorithm>
#include <cstdint>

#include "channels/tiff/tiff_directory.h"

namespace quillbay {
namespace {

constexpr std::int64_t kClassicLimit = 0xffffffffLL;
constexpr std::size_t kGatherBytes = std::size_t{256} << 10;
constexpr std::size_t kHeaderRoom = 16;  // a BigTIFF's header; a classic one leaves the second half unused
constexpr std::int32_t kLeastStripLines = 8;

const char* const kCompressions[] = {"auto", "None", "PackBits", "LZW", "Deflate", "Zstandard", "G4", nullptr};
const char* const kKinds[] = {"auto", "classic", "big", nullptr};
const char* const kPredictors[] = {"auto", "on", "off", nullptr};

enum Option { OptionCompression, OptionLevel, OptionPredictor, OptionKind, OptionStripBytes };

std::uint16_t compressionTag(TiffCompression compression) {
  switch (compression) {
    case TiffCompression::PackBits: return COMPRESSION_PACKBITS;
    case TiffCompression::Lzw: return COMPRESSION_LZW;
    case TiffCompression::Deflate: return COMPRESSION_ADOBE_DEFLATE;
    case TiffCompression::Zstandard: return COMPRESSION_ZSTD;
    case TiffCompression::G4: return COMPRESSION_CCITTFAX4;
    case TiffCompression::None: break;
  }
  return COMPRESSION_NONE;
}

/// Uncompressed bytes of `lines` lines, or the largest number.
std::int64_t pageBytes(std::size_t lineBytes, std::int64_t lines) {
  const auto bytes = static_cast<std::int64_t>(lineBytes);
  return lines > INT64_MAX / std::max<std::int64_t>(bytes, 1) ? INT64_MAX : lines * bytes;
}

/// Room for the tags and the lists of strips.
std::int64_t directoryBytes(std::int64_t lines, std::int32_t stripLines) { return 8192 + lines / stripLines * 8; }

}  // namespace

const QbOptionInfo kTiffOptions[] = {
    {"Compression",
     "auto: G4 for black and white, LZW for grey and colour. Deflate is smaller on maps and slower, Zstandard is "
     "small and fastest, but many programs cannot read it.",
     kCompressions, 0, 0, nullptr},
    {"Level", "Effort of Deflate (1 to 12) and Zstandard (1 to 19); 1 is fastest.", nullptr, 1, 19, "1"},
    {"Predictor", "Stores differences of neighbouring pixels with LZW, Deflate and Zstandard.", kPredictors, 0, 0,
     nullptr},
    {"TiffKind", "auto: BigTIFF if the file may exceed 4 GB, the length is unknown, or pages follow.", kKinds, 0, 0,
     nullptr},
    {"StripBytes", "Bytes per strip before compression, 4096 to 16777216.", nullptr, 4096, 16 << 20, "524288"},
    kProfileOption,
    {},
};

TiffPage::TiffPage(const EdgeFile& file, const TiffState& before, const QbPage& page, const QbOptions* options)
    : m_file(file),
      m_before(before),
      m_paged(page.paged != 0),
      m_dpi(page.dpi),
      m_software(page.software ? page.software : ""),
      m_dateTime(page.date_time ? page.date_time : "") {
  chooseFormat(page, options);
  chooseKind(page, options);
  if (m_format.colorSpace == KxColorSpace::Palette) {
    m_colorMap.resize(std::size_t{3} * 256);
    for (int i = 0; i < std::min(page.palette_count, 256); ++i) {
      for (int c = 0; c < 3; ++c) {
        m_colorMap[std::size_t{256} * static_cast<std::size_t>(c) + static_cast<std::size_t>(i)] =
            static_cast<std::uint16_t>(page.palette[4 * i + c] * 257);
      }
    }
  }
  if (m_format.compression != TiffCompression::None || !m_format.isVerbatim()) startEncoder();
  if (!m_before.started && m_file.size() != 0) {
    throw ModuleError(QB_E_REFUSED, "what an earlier page left could not be removed; choose another name");
  }
  // From here on the file changes.
  if (!m_before.started) {
    std::uint8_t header[kHeaderRoom] = {'I', 'I', 42};
    m_file.append(header, sizeof header);
  } else if (const std::int64_t odd = m_file.size() % 8; odd != 0) {
    const std::uint8_t zeros[8] = {};
    m_file.append(zeros, static_cast<std::size_t>(8 - odd));
  }
  m_dataAt = static_cast<std::uint64_t>(m_file.size());
}

void TiffPage::chooseFormat(const QbPage& page, const QbOptions* options) {
  m_format.colorSpace = static_cast<KxColorSpace>(page.color_space);
  m_format.width = page.width;
  const bool bitonal = isRunList(m_format.colorSpace);
  const int compression = optionChoice(options, kTiffOptions[OptionCompression]);
  // Of those that every program reads, LZW keeps up best with a fast scanner: 0.3 GB/s on two cores on noisy maps,
  // where Deflate gets 0.25 and PackBits saves nothing.
  m_format.compression = compression > 0 ? static_cast<TiffCompression>(compression - 1)
                         : bitonal       ? TiffCompression::G4
                                         : TiffCompression::Lzw;
  if (m_format.compression == TiffCompression::G4 && !bitonal) {
    throw ModuleError(QB_E_REFUSED, "G4 compression is for black-and-white pages only; choose another compression");
  }
  const bool differences = m_format.compression == TiffCompression::Lzw ||
                           m_format.compression == TiffCompression::Deflate ||
                           m_format.compression == TiffCompression::Zstandard;
  const bool tones = !bitonal && m_format.colorSpace != KxColorSpace::Palette;
  const int predictor = optionChoice(options, kTiffOptions[OptionPredictor]);
  m_format.predictor = differences && tones && predictor != 2;
  m_format.level =
      optionNumber(options, kTiffOptions[OptionLevel], m_format.compression == TiffCompression::Deflate ? 12 : 19);
  const int stripBytes = optionNumber(options, kTiffOptions[OptionStripBytes]);
  const auto lines = static_cast<std::int64_t>(static_cast<std::size_t>(stripBytes) / m_format.lineBytes());
  m_stripLines = static_cast<std::int32_t>(std::max<std::int64_t>(lines, kLeastStripLines));
}

void TiffPage::chooseKind(const QbPage& page, const QbOptions* options) {
  const Kind kind = static_cast<Kind>(optionChoice(options, kTiffOptions[OptionKind]));
  const std::int64_t raw = pageBytes(m_format.lineBytes(), page.expected_lines);
  const std::int64_t room = kClassicLimit - m_file.size() - directoryBytes(page.expected_lines, m_stripLines);
  const bool fits = page.expected_lines > 0 && raw <= room;
  if (m_before.started) {
    m_big = m_before.big;
  } else {
    m_big = kind == Kind::Big || (kind == Kind::Auto && (m_paged || !fits));
    m_mayGrow = kind == Kind::Auto;
  }
  if (m_big || m_mayGrow || page.expected_lines <= 0 || fits) return;
  throw ModuleError(QB_E_REFUSED,
                    m_before.started
                        ? "the page may not fit into this classic TIFF, whose limit is 4 GB; choose a new file"
                        : "the page may not fit into a classic TIFF, whose limit is 4 GB; set TiffKind to auto "
                          "or big, or scan at a lower resolution");
}

void TiffPage::startEncoder() {
  BandPipeline::Setup setup;
  setup.bandLines = m_stripLines;
  setup.makeEncoder = [format = m_format] { return makeStripEncoder(format); };
  setup.deliver = [this](const ByteBuffer& strip) { appendStrip(strip.data(), strip.size()); };
  m_pipeline = std::make_unique<BandPipeline>(std::move(setup));
}

void TiffPage::checkRoom(std::int64_t more) const {
  if (m_big || m_mayGrow) return;
  if (m_file.size() + more + directoryBytes(m_lines, m_stripLines) * 2 <= kClassicLimit) return;
  throw ModuleError(
      QB_E_REFUSED,
      "the file would exceed 4 GB, the limit of a classic TIFF; choose a new file with TiffKind auto or big");
}

void TiffPage::appendStrip(const std::uint8_t* bytes, std::size_t size) {
  checkRoom(static_cast<std::int64_t>(size));
  m_stripOffsets.push_back(static_cast<std::uint64_t>(m_file.size()));
  m_stripSizes.push_back(size);
  m_file.append(bytes, size);
}

/// Lines that go as they are: one write for what lies together in memory.
void TiffPage::appendGathered() {
  const std::size_t lineBytes = m_format.lineBytes();
  m_pieces.clear();
  m_gathered.eachLine([&](const std::uint8_t* line) {
    if (!m_pieces.empty()) {
      QbPiece& last = m_pieces.back();
      if (static_cast<const std::uint8_t*>(last.bytes) + last.size == line) {
        last.size += lineBytes;
        return;
      }
    }
    m_pieces.push_back({line, lineBytes});
  });
  checkRoom(static_cast<std::int64_t>(lineBytes) * m_gathered.lines());
  m_file.append(m_pieces.data(), static_cast<int>(m_pieces.size()));
  m_gathered.clear();
}

void TiffPage::write(const QbBlock& block) {
  m_lines += block.lines;
  if (m_pipeline) return m_pipeline->push(block);
  m_gathered.add(block, 0, block.lines);
  if (static_cast<std::size_t>(m_gathered.lines()) * m_format.lineBytes() >= kGatherBytes) appendGathered();
}

void TiffPage::listStrips(std::vector<std::uint64_t>* offsets, std::vector<std::uint64_t>* sizes) const {
  if (m_pipeline) {
    *offsets = m_stripOffsets;
    *sizes = m_stripSizes;
    return;
  }
  const std::uint64_t lineBytes = m_format.lineBytes();
  for (std::int64_t line = 0; line < m_lines; line += m_stripLines) {
    offsets->push_back(m_dataAt + static_cast<std::uint64_t>(line) * lineBytes);
    sizes->push_back(static_cast<std::uint64_t>(std::min<std::int64_t>(m_stripLines, m_lines - line)) * lineBytes);
  }
}

void TiffPage::describePicture(TiffDirectory& tags) const {
  const auto samples = static_cast<std::size_t>(m_format.samples());
  const bool bitonal = isRunList(m_format.colorSpace);
  const bool palette = m_format.colorSpace == KxColorSpace::Palette;
  tags.number(TIFFTAG_SUBFILETYPE, m_paged ? FILETYPE_PAGE : 0);
  tags.number(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(m_format.width));
  tags.number(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(m_lines));
  tags.shorts(TIFFTAG_BITSPERSAMPLE,
              std::vector<std::uint16_t>(samples, static_cast<std::uint16_t>(m_format.bitsPerSample())));
  tags.shorts(TIFFTAG_COMPRESSION, {compressionTag(m_format.compression)});
  const int photometric = bitonal        ? PHOTOMETRIC_MINISWHITE
                          : palette      ? PHOTOMETRIC_PALETTE
                          : samples == 3 ? PHOTOMETRIC_RGB
                                         : PHOTOMETRIC_MINISBLACK;
  tags.shorts(TIFFTAG_PHOTOMETRIC, {static_cast<std::uint16_t>(photometric)});
  tags.shorts(TIFFTAG_FILLORDER, {FILLORDER_MSB2LSB});
}

std::vector<std::uint8_t> TiffPage::directory(std::uint64_t at, bool big, std::uint64_t* ifd,
                                              std::uint64_t* link) const {
  std::vector<std::uint64_t> offsets, sizes;
  listStrips(&offsets, &sizes);
  TiffDirectory tags(big, m_before.bigEndian);
  describePicture(tags);
  tags.places(TIFFTAG_STRIPOFFSETS, offsets);
  tags.shorts(TIFFTAG_ORIENTATION, {ORIENTATION_TOPLEFT});
  tags.shorts(TIFFTAG_SAMPLESPERPIXEL, {static_cast<std::uint16_t>(m_format.samples())});
  tags.number(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(m_stripLines));
  tags.places(TIFFTAG_STRIPBYTECOUNTS, sizes);
  if (m_dpi > 0) {
    tags.ratio(TIFFTAG_XRESOLUTION, m_dpi, 1);
    tags.ratio(TIFFTAG_YRESOLUTION, m_dpi, 1);
  }
  tags.shorts(TIFFTAG_PLANARCONFIG, {PLANARCONFIG_CONTIG});
  if (m_format.compression == TiffCompression::G4) tags.number(TIFFTAG_GROUP4OPTIONS, 0);
  if (m_dpi > 0) tags.shorts(TIFFTAG_RESOLUTIONUNIT, {RESUNIT_INCH});
  // 0: how many pages there will be is not known.
  if (m_paged) {
    const auto number = static_cast<std::uint16_t>(std::min(m_before.pages, 65535));
    tags.shorts(TIFFTAG_PAGENUMBER, {number, 0});
  }
  if (!m_software.empty()) tags.text(TIFFTAG_SOFTWARE, m_software);
  if (!m_dateTime.empty()) tags.text(TIFFTAG_DATETIME, m_dateTime);
  if (m_format.predictor) tags.shorts(TIFFTAG_PREDICTOR, {PREDICTOR_HORIZONTAL});
  if (!m_colorMap.empty()) tags.shorts(TIFFTAG_COLORMAP, m_colorMap);
  return tags.build(at, ifd, link);
}

void TiffPage::patchLink(std::uint64_t ifd, bool big) {
  std::uint8_t bytes[kHeaderRoom] = {};
  if (m_before.started) {
    const int size = big ? 8 : 4;
    putNumber(bytes, size, m_before.bigEndian, ifd);
    m_file.patch(m_before.linkAt, bytes, static_cast<std::size_t>(size));
    return;
  }
  bytes[0] = bytes[1] = 'I';
  bytes[2] = big ? 43 : 42;
  if (big) bytes[4] = 8;
  putNumber(bytes + (big ? 8 : 4), big ? 8 : 4, false, ifd);
  m_file.patch(0, bytes, sizeof bytes);
}

TiffState TiffPage::finish() {
  if (m_lines > 0xffffffffLL) {
    throw ModuleError(QB_E_REFUSED, "the page has more lines than a TIFF can hold; scan it in parts");
  }
  if (m_pipeline) {
    m_pipeline->finish();
  } else if (m_gathered.lines() > 0) {
    appendGathered();
  }
  if (const std::int64_t odd = m_file.size() % 8; odd != 0) {
    const std::uint8_t zeros[8] = {};
    m_file.append(zeros, static_cast<std::size_t>(8 - odd));
  }
  const auto at = static_cast<std::uint64_t>(m_file.size());
  bool big = m_big;
  std::uint64_t ifd = 0, link = 0;
  std::vector<std::uint8_t> bytes = directory(at, big, &ifd, &link);
  if (!big && static_cast<std::int64_t>(at + bytes.size()) > kClassicLimit) {
    if (!m_mayGrow) checkRoom(INT32_MAX);
    big = true;
    bytes = directory(at, big, &ifd, &link);
  }
  m_file.append(bytes.data(), bytes.size());
  patchLink(ifd, big);
  TiffState after = m_before;
  after.started = true;
  after.big = big;
  after.linkAt = static_cast<std::int64_t>(link);
  ++after.pages;
  return after;
}

}  // namespace quillbay
