#include "scanners/lines/box_filters.h"

#include <algorithm>
#include <numeric>

#include "scanners/lines/bw_loops.h"

namespace quillbay {

namespace {

// A limit keeps this distance from the mean, so that noise and dirt do not cross it.
constexpr int kLeastGap = 10;
constexpr int kGapShare = 8;  // of the mean

constexpr std::size_t kPaperStep = 16;          // pixels between places of the envelope
constexpr double kPaperFallPerMm = 1.5;         // levels
constexpr std::int32_t kLeastPaper = 112;       // darker is no paper, but solid ink or the bed
constexpr std::int32_t kPaperShareOf256 = 236;  // paper at this share of its mean is white, against its noise

LevelTable sameLevels() {
  LevelTable table;
  std::iota(table.begin(), table.end(), std::uint8_t{0});
  return table;
}

}  // namespace

LevelTable AdaptiveFilter::limits(int level, int suppression) {
  LevelTable table;
  for (int mean = 0; mean < 256; ++mean) {
    const int gap = std::max(kLeastGap, mean / kGapShare);
    const int followed = level + (mean - level) * suppression / 100;
    const int limit = mean >= level ? std::min(followed, mean - gap) : std::max(followed, mean + gap);
    table[static_cast<std::size_t>(mean)] = static_cast<std::uint8_t>(std::clamp(limit, 0, 255));
  }
  return table;
}

AdaptiveFilter::AdaptiveFilter(std::size_t width, std::size_t reach, int level, int suppression)
    : BoxFilter(width, 1, reach), m_limits(limits(level, suppression)), m_out(width) {}

const std::uint8_t* AdaptiveFilter::make() {
  bw_loops::windowMeans(columnSums(), width(), reach(), m_limits.data(), m_out.data());
  bw_loops::blackBelow(row(0), m_out.data(), width(), m_out.data());
  return m_out.data();
}

PaperFilter::PaperFilter(std::size_t width, std::size_t reach, std::uint32_t dpi, int suppression)
    : BoxFilter(width, 1, reach),
      m_same(sameLevels()),
      m_fall(std::max(1, static_cast<std::int32_t>(256 * 25.4 * kPaperFallPerMm / std::max(dpi, 1U)))),
      m_paper(width / kPaperStep + 2),
      m_out(width) {
  for (std::int32_t paper = 0; paper < 256; ++paper) {
    const std::int32_t followed = std::max(255 - (255 - paper) * suppression / 100, kLeastPaper);
    const std::int32_t white = std::max(followed * (25600 - suppression * (256 - kPaperShareOf256)) / 25600, 1);
    m_gains[static_cast<std::size_t>(paper)] = 255 * 256 / white;
  }
}

void PaperFilter::follow() noexcept {
  const std::uint8_t* mean = m_out.data();
  for (std::size_t i = 0; i < m_paper.size(); ++i) {
    const std::int32_t here = mean[std::min(i * kPaperStep, width() - 1)] * 256;
    m_paper[i] = std::max(here, m_paper[i] - m_fall);
  }
  const std::int32_t fall = m_fall * static_cast<std::int32_t>(kPaperStep);
  for (std::size_t i = 1; i < m_paper.size(); ++i) m_paper[i] = std::max(m_paper[i], m_paper[i - 1] - fall);
  for (std::size_t i = m_paper.size() - 1; i > 0; --i) m_paper[i - 1] = std::max(m_paper[i - 1], m_paper[i] - fall);
}

const std::uint8_t* PaperFilter::make() {
  bw_loops::windowMeans(columnSums(), width(), reach(), m_same.data(), m_out.data());
  follow();
  const auto gain = [&](std::size_t i) { return m_gains[static_cast<std::size_t>(m_paper[i] / 256)]; };
  for (std::size_t x = 0, i = 0; x < width(); x += kPaperStep, ++i)
    bw_loops::applyGain(row(0) + x, std::min(kPaperStep, width() - x), gain(i), gain(i + 1), kPaperStep,
                        m_out.data() + x);
  return m_out.data();
}

}  // namespace quillbay
