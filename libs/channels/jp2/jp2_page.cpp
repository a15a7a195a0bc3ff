#include "channels/jp2/jp2_page.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "channels/jp2/jp2_boxes.h"

namespace quillbay {
namespace {

constexpr std::uint8_t kEndOfCodestream[] = {0xff, 0xd9};
constexpr std::int64_t kTilePixels = std::int64_t{1} << 20;
constexpr std::int64_t kBandBytes = std::int64_t{8} << 20;
constexpr std::int32_t kLeastTileLines = 256, kMostTileSide = 16384;
constexpr std::size_t kMostRemark = 1000;
constexpr const char* kCodings[] = {"lossless", "quality", "ratio", nullptr};
constexpr QbOptionInfo kCoding = {"Coding", "Coding: lossless, by quality, or by ratio.", kCodings, 0, 0, nullptr};
constexpr QbOptionInfo kQuality = {
    "Quality", "Quality, as of a JPEG: 1 (smallest file) to 100; for coding by quality.", nullptr, 1, 100, "90"};
constexpr QbOptionInfo kRatio = {
    "Ratio", "Uncompressed size over the file's, 2 to 200; for coding by ratio.", nullptr, 2, 200, "10"};

/// The error of a JPEG of this quality in scans, measured: it follows the step of its numbers.
double decibelsOf(int quality) noexcept {
  const double step = quality < 50 ? 50.0 / quality : 2 - quality / 50.0;
  return 33.5 - 9 * std::log10(std::max(step, 0.01));
}

/// A tile row is held while it is coded: the wider the page, the fewer lines. A page that is announced longer than
/// the numbers of tiles reach gets larger ones.
void chooseTiles(Jp2Format* format, std::int64_t expectedLines) {
  const std::int64_t lineBytes = std::int64_t{format->width} * format->samples();
  std::int32_t lines = 1024;
  while (lines > kLeastTileLines && lines * lineBytes > kBandBytes) lines /= 2;
  auto width = static_cast<std::int32_t>(kTilePixels / lines);
  const auto reach = [&] { return kMostTiles / ((format->width + width - 1) / width) * lines; };
  while (width < std::min(kMostTileSide, format->width) && reach() < expectedLines) width *= 2;
  while (lines < kMostTileSide && reach() < expectedLines) lines *= 2;
  format->tileWidth = std::min(width, format->width);
  format->tileLines = lines;
}

bool hasSignature(const std::uint8_t* head) noexcept {
  constexpr std::array<std::uint8_t, 8> kSignature = {0, 0, 0, 12, 'j', 'P', ' ', ' '};
  return std::equal(kSignature.begin(), kSignature.end(), head);
}

}  // namespace

const QbOptionInfo kJp2Options[] = {kCoding, kQuality, kRatio, kProfileOption, {}};
const QbOptionInfo kCodestreamOptions[] = {kCoding, kQuality, kRatio, {}};

bool Jp2Page::isFinishedIn(const EdgeFile& file) {
  std::array<std::uint8_t, kBoxHeight + 4> head{};
  if (file.size() < static_cast<std::int64_t>(head.size())) return false;
  file.read(0, head.data(), head.size());
  return big32(head.data() +
               (hasSignature(head.data()) ? static_cast<std::size_t>(kBoxHeight) : kMainHeaderHeight)) != 0;
}

Jp2Page::Jp2Page(const EdgeFile& file, const QbPage& page, const QbOptions* options, bool hasBoxes)
    : m_file(file), m_hasBoxes(hasBoxes) {
  if (m_file.size() != 0) throw ModuleError(QB_E_REFUSED, "a JPEG 2000 file holds one page; choose another name");
  m_format.colorSpace = static_cast<KxColorSpace>(page.color_space);
  m_format.width = page.width;
  const bool isPalette = m_format.colorSpace == KxColorSpace::Palette;
  if (isRunList(m_format.colorSpace) || (isPalette && !hasBoxes)) {
    throw ModuleError(QB_E_REFUSED, hasBoxes
                                        ? "a JPEG 2000 file holds grey, palettes or full colour; choose one of "
                                          "these modes, or a TIFF file"
                                        : "a JPEG 2000 codestream holds grey or full colour; choose one of "
                                          "these modes, or a .jp2 file");
  }
  const auto coding = static_cast<Jp2Format::Coding>(optionChoice(options, kCoding));
  // The numbers of a palette's entries bear no error.
  m_format.coding = isPalette ? Jp2Format::Coding::Lossless : coding;
  m_format.decibels = decibelsOf(optionNumber(options, kQuality));
  m_format.ratio = optionNumber(options, kRatio);
  m_format.remark = std::string_view(page.software ? page.software : "").substr(0, kMostRemark);
  chooseTiles(&m_format, page.expected_lines);
  checkLines(std::max<std::int64_t>(page.expected_lines, 1));

  if (hasBoxes) {
    // What the option says without a file of its own is what the boxes can say shorter, and more readers know.
    const std::string profile = optionText(options, kProfileOption.key, kProfileOption.otherwise);
    const bool isOwn =
        page.icc && page.icc_size > 0 && ::strcasecmp(profile.c_str(), kProfileOption.otherwise) != 0;
    const std::vector<std::uint8_t> boxes = jp2Boxes(page, m_format, isOwn);
    m_file.append(boxes.data(), boxes.size());
  }
  BandPipeline::Setup setup;
  setup.bandLines = m_format.tileLines;
  setup.depth = 1;
  setup.makeEncoder = [format = m_format] { return makeJp2Encoder(format); };
  setup.deliver = [this](const ByteBuffer& band) { takeBand(band); };
  m_pipeline = std::make_unique<BandPipeline>(std::move(setup));
}

void Jp2Page::checkLines(std::int64_t lines) const {
  const std::int64_t most = kMostTiles / m_format.columns() * m_format.tileLines;
  if (lines <= most) return;
  throw ModuleError(QB_E_REFUSED, "a JPEG 2000 file of this width holds " + std::to_string(most) +
                                      " lines, and the page has " + std::to_string(lines) +
                                      "; scan to a TIFF file, or at a lower resolution");
}

void Jp2Page::takeBand(const ByteBuffer& band) {
  if (m_heightAt != 0) return m_file.append(band.data(), band.size());
  std::vector<std::uint8_t> head(band.data(), band.data() + mainHeaderSize(band.data(), band.size()));
  describePage(head.data(), m_format, 0);
  m_heightAt = m_file.size() + static_cast<std::int64_t>(kMainHeaderHeight);
  const QbPiece pieces[] = {{head.data(), head.size()}, {band.data() + head.size(), band.size() - head.size()}};
  m_file.append(pieces, 2);
}

void Jp2Page::write(const QbBlock& block) {
  m_lines += block.lines;
  checkLines(m_lines);
  m_pipeline->push(block);
}

void Jp2Page::finish() {
  m_pipeline->finish();
  if (m_heightAt == 0) throw ModuleError(QB_E_REFUSED, "a page without lines cannot be a JPEG 2000 file");
  m_file.append(kEndOfCodestream, sizeof kEndOfCodestream);
  std::uint8_t height[4];
  putBig32(height, static_cast<std::uint32_t>(m_lines));
  // The codestream's first: a file whose box says its height is whole.
  m_file.patch(m_heightAt, height, sizeof height);
  if (m_hasBoxes) m_file.patch(kBoxHeight, height, sizeof height);
}

}  // namespace quillbay
