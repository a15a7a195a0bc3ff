#include "scanners/sim/sim_soil.h"

#include <algorithm>
#include <cmath>

#include "scanners/sim/sim_pen.h"

namespace quillbay {

namespace {

// Each cell of the bed has one speck, which lies within it.
constexpr double kSpeckCellMm = 24.5;
constexpr double kStreakEveryMm = 75;
constexpr double kLeastRadiusMm = 0.05, kMostRadiusMm = 0.25;
constexpr std::size_t kNoiseCount = 1 << 16;  // a power of two

void change(std::uint8_t* pixel, int channels, int by) noexcept {
  for (int c = 0; c < channels; ++c) pixel[c] = static_cast<std::uint8_t>(std::clamp(pixel[c] + by, 0, 255));
}

}  // namespace

SimSoil::SimSoil(const Kind& kind, std::uint64_t seed, double scale, std::int32_t left, std::int32_t right)
    : m_dust(kind.dust), m_seed(mixSeeds(seed, 0x736F696C)), m_scale(scale), m_left(left), m_right(right) {
  SimRandom random(m_seed);
  if (kind.noise > 0) {
    m_noise.resize(kNoiseCount);
    for (auto& n : m_noise) {
      const double bell = random.unit() + random.unit() + random.unit() - 1.5;
      n = static_cast<std::int16_t>(std::lround(bell / 1.5 * kind.noise));
    }
  }
  m_streaks.resize(static_cast<std::size_t>(std::max(0, right - left)));
  if (m_dust) makeStreaks(m_seed);
}

void SimSoil::makeStreaks(std::uint64_t seed) {
  const double every = kStreakEveryMm * m_scale;
  for (auto n = static_cast<std::int64_t>(m_left / every); static_cast<double>(n) * every < m_right; ++n) {
    SimRandom random(mixSeeds(seed, static_cast<std::uint64_t>(n)));
    const auto x = static_cast<std::int32_t>((static_cast<double>(n) + random.unit()) * every);
    const auto tone = static_cast<std::int16_t>(random.below(25) - 10);
    if (x >= m_left && x < m_right) m_streaks[static_cast<std::size_t>(x - m_left)] = tone;
  }
}

void SimSoil::enterCells(std::int64_t row) {
  m_cellRow = row;
  m_specks.clear();
  const double cell = kSpeckCellMm * m_scale, most = kMostRadiusMm * m_scale;
  for (auto column = static_cast<std::int64_t>(m_left / cell); static_cast<double>(column) * cell < m_right;
       ++column) {
    SimRandom random(mixSeeds(m_seed, static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(column)));
    const double x = static_cast<double>(column) * cell + random.between(most, cell - most);
    const double y = static_cast<double>(row) * cell + random.between(most, cell - most);
    m_specks.push_back({x, y, random.between(kLeastRadiusMm, kMostRadiusMm) * m_scale, 15 + random.below(65)});
  }
}

void SimSoil::paint(const SimRow& row, std::int64_t y, std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  if (!m_noise.empty()) {
    std::uint64_t at =
        (static_cast<std::uint64_t>(y) * 0x9E3779B97F4A7C15U >> 32) + static_cast<std::uint64_t>(from);
    for (std::int32_t x = from; x < to; ++x, ++at) {
      const int streak = m_streaks[static_cast<std::size_t>(x - m_left)];
      change(row.at(x), row.channels, streak + m_noise[at % kNoiseCount]);
    }
  }
  if (!m_dust) return;
  const double middle = static_cast<double>(y) + 0.5;
  const auto cells = static_cast<std::int64_t>(std::floor(middle / (kSpeckCellMm * m_scale)));
  if (cells != m_cellRow) enterCells(cells);
  for (const Speck& speck : m_specks) {
    const double dy = middle - speck.y;
    if (std::abs(dy) > speck.radius) continue;
    const double half = std::sqrt(speck.radius * speck.radius - dy * dy);
    const auto first = std::max(from, static_cast<std::int32_t>(std::ceil(speck.x - half - 0.5)));
    const auto last = std::min(to - 1, static_cast<std::int32_t>(std::floor(speck.x + half - 0.5)));
    for (std::int32_t x = first; x <= last; ++x) change(row.at(x), row.channels, speck.tone);
  }
}

}  // namespace quillbay
