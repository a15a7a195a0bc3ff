#include "channels/tiff/tiff_page.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "channels/tiff/tiff_directory.h"

namespace quillbay {
namespace {

constexpr std::int64_t kClassicLimit = 0xffffffffLL;
constexpr std::size_t kGatherBytes = std::size_t{256} << 10;
constexpr std::size_t kHeaderRoom = 16;  // a BigTIFF's header; a classic one leaves the second half unused
constexpr std::uint64_t kMostJoined = std::uint64_t{1} << 30;
constexpr std::int64_t kMostTiffLines = 0xffffffffLL;

void checkLines(std::int64_t lines) {
  if (lines <= kMostTiffLines) return;
  throw ModuleError(QB_E_REFUSED,
                    "a TIFF page holds at most " + std::to_string(kMostTiffLines) + " lines; scan it in parts");
}

}  // namespace

TiffPage::TiffPage(const EdgeFile& file, const TiffState& before, const QbPage& page, const QbOptions* options)
    : m_file(file), m_before(before), m_plan(planTiff(page, options)), m_words(page), m_images(1) {
  m_images[0].width = page.width;
  checkLines(page.expected_lines);
  chooseKind(page.expected_lines);
  if (m_plan.isTiled()) {
    startTiles(page);
  } else if (m_plan.format.compression != TiffCompression::None || !m_plan.format.isVerbatim()) {
    startStrips();
  }
  if (!m_before.started && m_file.size() != 0) {
    throw ModuleError(QB_E_REFUSED, "what an earlier page left could not be removed; choose another name");
  }
  // From here on the file changes.
  if (!m_before.started) {
    std::uint8_t header[kHeaderRoom] = {'I', 'I', 42};
    m_file.append(header, sizeof header);
  } else {
    align();
  }
  m_dataAt = static_cast<std::uint64_t>(m_file.size());
}

void TiffPage::chooseKind(std::int64_t expectedLines) {
  const std::int64_t room = kClassicLimit - m_file.size() - static_cast<std::int64_t>(m_words.icc.size());
  const bool fits = expectedLines > 0 && m_plan.bytesOf(expectedLines) <= room;
  if (m_before.started) {
    m_big = m_before.big;
  } else {
    m_big = m_plan.kind == TiffKind::Big || (m_plan.kind == TiffKind::Auto && (m_words.paged || !fits));
    m_mayGrow = m_plan.kind == TiffKind::Auto;
  }
  const bool isFull = room < m_plan.bytesOf(1);
  if (m_big || m_mayGrow || fits || (expectedLines <= 0 && !isFull)) return;
  throw ModuleError(QB_E_REFUSED,
                    m_before.started
                        ? "the page may not fit into this classic TIFF, whose limit is 4 GB; choose a new file"
                        : "the page may not fit into a classic TIFF, whose limit is 4 GB; set TiffKind to auto "
                          "or big, or scan at a lower resolution");
}

void TiffPage::startStrips() {
  BandPipeline::Setup setup;
  setup.bandLines = m_plan.stripLines;
  setup.makeEncoder = [format = m_plan.format] { return makeStripEncoder(format); };
  setup.deliver = [this](const ByteBuffer& strip) { appendPart(0, strip.data(), strip.size()); };
  m_pipeline = std::make_unique<BandPipeline>(std::move(setup));
}

void TiffPage::startTiles(const QbPage& page) {
  TilePyramid::Setup setup;
  setup.format = m_plan.format;
  setup.tileSize = m_plan.tileSize;
  setup.hasLevels = m_plan.hasLevels;
  setup.palette.resize(static_cast<std::size_t>(std::clamp(page.palette_count, 0, 256)));
  for (std::size_t i = 0; i < setup.palette.size(); ++i) {
    setup.palette[i] = {page.palette[4 * i], page.palette[4 * i + 1], page.palette[4 * i + 2], 0};
  }
  setup.deliver = [this](std::size_t level, const ByteBuffer& tile) {
    appendPart(level, tile.data(), tile.size());
  };
  m_pyramid = std::make_unique<TilePyramid>(std::move(setup));
}

void TiffPage::checkRoom(std::int64_t more) const {
  if (m_big || m_mayGrow) return;
  const std::int64_t strips = m_plan.isTiled() ? 0 : m_lines / m_plan.stripLines;
  const std::int64_t tags = tagBytes(m_images.size(), m_parts + static_cast<std::uint64_t>(strips));
  if (m_file.size() + more + 2 * tags + static_cast<std::int64_t>(m_words.icc.size()) <= kClassicLimit) return;
  throw ModuleError(
      QB_E_REFUSED,
      "the file would exceed 4 GB, the limit of a classic TIFF; choose a new file with TiffKind auto or big");
}

void TiffPage::appendPart(std::size_t level, const std::uint8_t* bytes, std::size_t size) {
  checkRoom(static_cast<std::int64_t>(size));
  if (m_images.size() <= level) m_images.resize(level + 1);
  m_images[level].offsets.push_back(static_cast<std::uint64_t>(m_file.size()));
  m_images[level].sizes.push_back(size);
  ++m_parts;
  m_file.append(bytes, size);
}

/// Lines that go as they are: one write for what lies together in memory.
void TiffPage::appendGathered() {
  const std::size_t lineBytes = m_plan.format.lineBytes();
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

/// Directories, and what they point to, begin at multiples of 8.
void TiffPage::align() {
  const std::uint8_t zeros[8] = {};
  if (const std::int64_t odd = m_file.size() % 8; odd != 0) m_file.append(zeros, static_cast<std::size_t>(8 - odd));
}

void TiffPage::write(const QbBlock& block) {
  m_lines += block.lines;
  checkLines(m_lines);
  if (m_pyramid) return m_pyramid->push(block);
  if (m_pipeline) return m_pipeline->push(block);
  m_gathered.add(block, 0, block.lines);
  if (static_cast<std::size_t>(m_gathered.lines()) * m_plan.format.lineBytes() >= kGatherBytes) appendGathered();
}

void TiffPage::listPlainStrips() {
  const std::uint64_t lineBytes = m_plan.format.lineBytes();
  TiffImage& page = m_images[0];
  for (std::int64_t line = 0; line < m_lines; line += m_plan.stripLines) {
    page.offsets.push_back(m_dataAt + static_cast<std::uint64_t>(line) * lineBytes);
    page.sizes.push_back(static_cast<std::uint64_t>(std::min<std::int64_t>(m_plan.stripLines, m_lines - line)) *
                         lineBytes);
  }
}

/// Group 3 in one strip, since fax programs expect that: its lines stand alone, and its strips one behind another.
void TiffPage::joinStrips() {
  TiffImage& page = m_images[0];
  const auto size = static_cast<std::uint64_t>(m_file.size()) - m_dataAt;
  if (page.sizes.empty() || size > kMostJoined) return;
  page.offsets = {m_dataAt};
  page.sizes = {size};
}

void TiffPage::finishPixels() {
  m_images[0].lines = m_lines;
  if (m_pyramid) {
    m_pyramid->finish();
    const std::vector<TilePyramid::Size> sizes = m_pyramid->sizes();
    m_images.resize(sizes.size());
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      m_images[i].width = sizes[i].width;
      m_images[i].lines = sizes[i].lines;
    }
    return;
  }
  if (m_pipeline) {
    m_pipeline->finish();
    if (m_plan.format.compression == TiffCompression::G3) joinStrips();
    return;
  }
  if (m_gathered.lines() > 0) appendGathered();
  listPlainStrips();
}

/// The levels first, since the page's directory says where theirs are.
TiffPage::Directories TiffPage::directories(std::uint64_t at, bool big) const {
  Directories all;
  TiffPageTags tags{m_before.pages, {}};
  const auto append = [&](const TiffDirectory& directory) {
    all.bytes.resize((all.bytes.size() + 7) / 8 * 8);
    const std::vector<std::uint8_t> bytes = directory.build(at + all.bytes.size(), &all.page, &all.link);
    all.bytes.insert(all.bytes.end(), bytes.begin(), bytes.end());
  };
  for (std::size_t i = 1; i < m_images.size(); ++i) {
    TiffDirectory level(big, m_before.bigEndian);
    describeLevel(m_plan, m_words, m_images[i], static_cast<unsigned>(i), &level);
    append(level);
    tags.levels.push_back(all.page);
  }
  TiffDirectory page(big, m_before.bigEndian);
  describePage(m_plan, m_words, m_images[0], tags, &page);
  append(page);
  return all;
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
  finishPixels();
  align();
  const auto at = static_cast<std::uint64_t>(m_file.size());
  bool big = m_big;
  Directories all = directories(at, big);
  if (!big && static_cast<std::int64_t>(at + all.bytes.size()) > kClassicLimit) {
    if (!m_mayGrow) checkRoom(INT32_MAX);
    big = true;
    all = directories(at, big);
  }
  m_file.append(all.bytes.data(), all.bytes.size());
  patchLink(all.page, big);
  TiffState after = m_before;
  after.started = true;
  after.big = big;
  after.linkAt = static_cast<std::int64_t>(all.link);
  ++after.pages;
  return after;
}

}  // namespace quillbay
