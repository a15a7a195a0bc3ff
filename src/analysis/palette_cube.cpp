#include "analysis/palette_cube.h"

#include <algorithm>
#include <string>

#include "quillbay/errors.h"
#include "quillbay/palette.h"

namespace quillbay {

namespace {

constexpr int kFarthest = 0x30000;  // above every distance: 3 * 255^2 is less

std::uint8_t toByte(int value) noexcept { return static_cast<std::uint8_t>(std::min(value, 255)); }

}  // namespace

CPalletteCube::CPalletteCube(int divisions, std::span<const KXRGBQUAD> palette) : m_divisions(divisions) {
  if (divisions < 1 || divisions > 256)
    throw CXException("A palette cube has 1 to 256 divisions, not " + std::to_string(divisions) + ".");
  m_width = 256 / divisions;
  const auto taken = palette.first(std::min(palette.size(), kMaxEntries));
  m_palette.assign(taken.begin(), taken.end());

  const auto n = static_cast<std::size_t>(divisions);
  m_begin.reserve(n * n * n + 1);
  for (int blue = 0; blue < divisions; ++blue)
    for (int green = 0; green < divisions; ++green)
      for (int red = 0; red < divisions; ++red) fillCell(red, green, blue);
  m_begin.push_back(static_cast<std::uint32_t>(m_candidates.size()));
}

CPalletteCube::Range CPalletteCube::widened(int cell) const noexcept {
  const int first = cell * m_width;
  const bool last = cell == m_divisions - 1;
  return {first - (cell > 0 ? m_width / 2 : 0), last ? 255 : first + m_width - 1 + m_width / 2};
}

int CPalletteCube::cellOf(std::uint8_t value) const noexcept { return std::min(value / m_width, m_divisions - 1); }

void CPalletteCube::fillCell(int red, int green, int blue) {
  const auto begin = static_cast<std::uint32_t>(m_candidates.size());
  m_begin.push_back(begin);
  const Range r = widened(red), g = widened(green), b = widened(blue);
  const auto within = [](Range range, int value) { return value >= range.low && value <= range.high; };
  for (std::size_t i = 0; i < m_palette.size(); ++i) {
    const KXRGBQUAD& entry = m_palette[i];
    if (within(r, entry.red) && within(g, entry.green) && within(b, entry.blue))
      m_candidates.push_back(static_cast<Index>(i));
  }
  if (m_candidates.size() == begin) fillEmptyCell(red, green, blue);
}

void CPalletteCube::fillEmptyCell(int red, int green, int blue) {
  const auto begin = static_cast<std::ptrdiff_t>(m_candidates.size());
  const int r = red * m_width, g = green * m_width, b = blue * m_width;
  const int half = m_width / 2;
  m_candidates.push_back(searchAll({toByte(r + half), toByte(g + half), toByte(b + half), 0}));
  for (const int addBlue : {0, m_width}) {
    for (const int addGreen : {0, m_width}) {
      for (const int addRed : {0, m_width}) {
        const Index found = searchAll({toByte(r + addRed), toByte(g + addGreen), toByte(b + addBlue), 0});
        if (std::find(m_candidates.begin() + begin, m_candidates.end(), found) == m_candidates.end())
          m_candidates.push_back(found);
      }
    }
  }
}

CPalletteCube::Index CPalletteCube::searchAll(KXRGBQUAD color) const noexcept {
  int best = kFarthest;
  std::size_t found = 0;
  for (std::size_t i = 0; i < m_palette.size() && best != 0; ++i) {
    const int d = colorDistance(m_palette[i], color);
    if (d >= best) continue;
    best = d;
    found = i;
  }
  return static_cast<Index>(found);
}

std::uint32_t CPalletteCube::Nearest(KXRGBQUAD color) const noexcept {
  const auto n = static_cast<std::size_t>(m_divisions);
  const auto cell =
      (static_cast<std::size_t>(cellOf(color.blue)) * n + static_cast<std::size_t>(cellOf(color.green))) * n +
      static_cast<std::size_t>(cellOf(color.red));
  if (m_palette.empty()) return 0;
  const std::uint32_t begin = m_begin[cell], end = m_begin[cell + 1];
  if (end - begin == 1) return m_candidates[begin];
  int best = kFarthest;
  Index found = 0;
  for (std::uint32_t i = begin; i < end && best != 0; ++i) {
    const int d = colorDistance(m_palette[m_candidates[i]], color);
    if (d >= best) continue;
    best = d;
    found = m_candidates[i];
  }
  return found;
}

}  // namespace quillbay
