#include "channels/jpeg/jpeg_page.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quillbay {
namespace {

constexpr std::size_t kBandPixels = std::size_t{512} << 10;
constexpr std::uint8_t kEnd[] = {0xff, 0xd9};
constexpr std::uint8_t kLastRestart[] = {0xff, 0xd0 + kRestartCycle - 1};
constexpr std::uint8_t kComment = 0xfe, kProfile = 0xe2;  // markers
constexpr std::size_t kMostComment = 1000;
constexpr const char* kDepths[] = {"full", "half", nullptr};

std::string tooMany(const char* what, std::int64_t count) {
  return "a JPEG holds at most " + std::to_string(kMostJpegSide) + ' ' + what + ", and the page has " +
         std::to_string(count) + "; scan to a TIFF file, or at a lower resolution";
}

}  // namespace

const QbOptionInfo kJpegOptions[] = {
    {"Quality", "Quality: 1 (smallest file) to 100; 90 is the default.", nullptr, 1, 100, "90"},
    {"Colour", "Resolution of the colours: full, or half for smaller files.", kDepths, 0, 0, nullptr},
    kProfileOption,
    {},
};

bool JpegPage::isFinishedIn(const EdgeFile& file) {
  std::uint8_t end[2];
  if (file.size() < 4) return false;
  file.read(file.size() - 2, end, sizeof end);
  return std::equal(std::begin(kEnd), std::end(kEnd), end);
}

void JpegPage::appendSegment(std::uint8_t marker, std::string_view head, std::string_view data) {
  const std::size_t size = 2 + head.size() + data.size();
  m_extras.insert(m_extras.end(),
                  {0xff, marker, static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size & 255)});
  m_extras.insert(m_extras.end(), head.begin(), head.end());
  m_extras.insert(m_extras.end(), data.begin(), data.end());
}

/// The profile in pieces, each with its number, from 1, and their count.
void JpegPage::appendProfile(const std::uint8_t* icc, std::size_t size) {
  constexpr std::size_t kPiece = 65533 - 14;
  const std::string_view profile(reinterpret_cast<const char*>(icc), size);
  const std::size_t count = (size + kPiece - 1) / kPiece;
  if (count > 255)
    throw ModuleError(QB_E_REFUSED, "the colour profile is too large for a JPEG; choose another one");
  for (std::size_t i = 0; i < count; ++i) {
    std::string head("ICC_PROFILE");
    head += {'\0', static_cast<char>(i + 1), static_cast<char>(count)};
    appendSegment(kProfile, head, profile.substr(i * kPiece, kPiece));
  }
}

JpegPage::JpegPage(const EdgeFile& file, const QbPage& page, const QbOptions* options) : m_file(file) {
  if (m_file.size() != 0) throw ModuleError(QB_E_REFUSED, "a JPEG file holds one page; choose another name");
  const auto colorSpace = static_cast<KxColorSpace>(page.color_space);
  if (colorSpace != KxColorSpace::Grey && bitsPerPixel(colorSpace) < 24) {
    throw ModuleError(QB_E_REFUSED, "a JPEG holds grey or full colour; choose one of these modes, or a TIFF file");
  }
  if (page.width > kMostJpegSide) throw ModuleError(QB_E_REFUSED, tooMany("pixels to a line", page.width));
  if (page.expected_lines > kMostJpegSide) throw ModuleError(QB_E_REFUSED, tooMany("lines", page.expected_lines));
  m_format = {colorSpace, page.width, page.dpi, optionNumber(options, kJpegOptions[0]),
              optionChoice(options, kJpegOptions[1]) == 1};
  if (page.icc) appendProfile(page.icc, page.icc_size);
  const std::string_view software = page.software ? page.software : "";
  if (!software.empty()) appendSegment(kComment, {}, software.substr(0, kMostComment));
  BandPipeline::Setup setup;
  const std::int32_t cycle = m_format.blockLines() * kRestartCycle;
  const auto cycles = static_cast<std::int32_t>(kBandPixels / static_cast<std::size_t>(m_format.width)) / cycle;
  setup.bandLines = cycle * std::max(cycles, 1);
  setup.depth = bandDepth(std::int64_t{m_format.width} * (m_format.isColour() ? 3 : 1) * setup.bandLines);
  setup.makeEncoder = [format = m_format] { return makeJpegEncoder(format); };
  setup.deliver = [this](const ByteBuffer& band) { takeBand(band); };
  m_pipeline = std::make_unique<BandPipeline>(std::move(setup));
}

/// Everything of the first band's head, with a height of 0 and, behind the density, the profile and what wrote the
/// file.
void JpegPage::appendHead(const std::uint8_t* head, const JpegParts& parts) {
  constexpr std::size_t kDensityEnd = 20;  // the start marker, and a segment of 16 bytes behind its marker
  std::vector<std::uint8_t> bytes(head, head + parts.coded);
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(parts.height), 2, std::uint8_t{0});
  bytes.insert(bytes.begin() + kDensityEnd, m_extras.begin(), m_extras.end());
  m_file.append(bytes.data(), bytes.size());
  m_heightAt = static_cast<std::int64_t>(parts.height + m_extras.size());
}

void JpegPage::takeBand(const ByteBuffer& band) {
  const JpegParts parts = partsOf(band.data(), band.size());
  if (m_heightAt == 0) {
    appendHead(band.data(), parts);
    m_file.append(band.data() + parts.coded, parts.size);
    return;
  }
  const QbPiece pieces[] = {{kLastRestart, sizeof kLastRestart}, {band.data() + parts.coded, parts.size}};
  m_file.append(pieces, 2);
}

void JpegPage::write(const QbBlock& block) {
  QbBlock room = block;
  room.lines = static_cast<std::int32_t>(std::min<std::int64_t>(block.lines, kMostJpegSide - m_lines));
  m_lines += room.lines;
  if (room.lines > 0) m_pipeline->push(room);
  if (room.lines < block.lines) throw ModuleError(QB_E_FULL, tooMany("lines", m_lines + block.lines - room.lines));
}

void JpegPage::finish() {
  m_pipeline->finish();
  if (m_heightAt == 0) throw ModuleError(QB_E_REFUSED, "a page without lines cannot be a JPEG");
  m_file.append(kEnd, sizeof kEnd);
  const std::uint8_t height[] = {static_cast<std::uint8_t>(m_lines >> 8), static_cast<std::uint8_t>(m_lines & 255)};
  m_file.patch(m_heightAt, height, sizeof height);
}

}  // namespace quillbay
