#include "palettes/nearest_colors.h"

#include <algorithm>
#include <limits>

#include "palettes/color_order.h"

namespace quillbay {
namespace {

constexpr int kCubeSide = 8;

constexpr std::int32_t square(std::int32_t v) noexcept { return v * v; }

/// Squared distances of an entry's channel from the eight levels that begin at `first`.
using Squares = std::array<std::int32_t, kCubeSide>;
Squares squaresFrom(std::int32_t first, std::int32_t value) noexcept {
  Squares squares;
  for (int i = 0; i < kCubeSide; ++i) squares[static_cast<std::size_t>(i)] = square(first + i - value);
  return squares;
}

/// How far a level is from the nearest and the farthest of the eight levels that begin at `first`.
constexpr std::int32_t nearSide(std::int32_t first, std::int32_t value) noexcept {
  return std::max({first - value, value - (first + kCubeSide - 1), 0});
}
constexpr std::int32_t farSide(std::int32_t first, std::int32_t value) noexcept {
  return std::max(value - first, first + kCubeSide - 1 - value);
}

}  // namespace

NearestColors::NearestColors(std::span<const KXRGBQUAD> palette)
    : m_count(std::min(palette.size(), kMaxEntries)),
      m_table(std::make_unique_for_overwrite<std::uint8_t[]>(kColorCount)) {
  for (std::size_t i = 0; i < m_count; ++i) {
    m_red[i] = palette[i].red;
    m_green[i] = palette[i].green;
    m_blue[i] = palette[i].blue;
  }
}

std::uint8_t NearestColors::nearest(KXRGBQUAD color) noexcept {
  const std::uint32_t place = colorPlace(color.red, color.green, color.blue);
  if (!m_isFilled[place / kCubeColors]) fillCube(place / kCubeColors);
  return m_table[place];
}

void NearestColors::mapRgb(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) noexcept {
  // Whether cubes are filled is asked once for some pixels, not for each.
  constexpr std::size_t kAtOnce = 64;
  std::uint32_t places[kAtOnce];
  while (count > 0) {
    const std::size_t n = std::min(count, kAtOnce);
    std::uint8_t areFilled = 1;
    for (std::size_t i = 0; i < n; ++i, rgb += 3) {
      places[i] = colorPlace(rgb[0], rgb[1], rgb[2]);
      areFilled &= m_isFilled[places[i] / kCubeColors];
    }
    for (std::size_t i = 0; i < n && !areFilled; ++i) {
      if (!m_isFilled[places[i] / kCubeColors]) fillCube(static_cast<std::uint32_t>(places[i] / kCubeColors));
    }
    for (std::size_t i = 0; i < n; ++i) out[i] = m_table[places[i]];
    out += n;
    count -= n;
  }
}

/// The entries that may be the nearest of a colour in the cube: those that are no farther from its nearest point
/// than the best entry is from its farthest.
std::size_t NearestColors::findCandidates(KXRGBQUAD corner, std::uint16_t* candidates) const noexcept {
  Channel nearest;
  std::int32_t leastFar = std::numeric_limits<std::int32_t>::max();
  for (std::size_t i = 0; i < m_count; ++i) {
    nearest[i] = square(nearSide(corner.red, m_red[i])) + square(nearSide(corner.green, m_green[i])) +
                 square(nearSide(corner.blue, m_blue[i]));
    const std::int32_t farthest = square(farSide(corner.red, m_red[i])) +
                                  square(farSide(corner.green, m_green[i])) +
                                  square(farSide(corner.blue, m_blue[i]));
    leastFar = std::min(leastFar, farthest);
  }
  std::size_t found = 0;
  for (std::size_t i = 0; i < m_count; ++i) {
    candidates[found] = static_cast<std::uint16_t>(i);
    found += nearest[i] <= leastFar;
  }
  return found;
}

void NearestColors::fillCube(std::uint32_t cube) noexcept {
  const std::uint32_t first = cube * std::uint32_t{kCubeColors};
  const KXRGBQUAD corner = colorAt(first);
  std::uint16_t candidates[kMaxEntries + 1];
  const std::size_t count = findCandidates(corner, candidates);
  // Distance and index in one number: the least is the nearest entry, and of equally near ones the earliest.
  std::array<std::int32_t, kCubeColors> best;
  best.fill(count == 0 ? 0 : std::numeric_limits<std::int32_t>::max());
  for (std::size_t c = 0; c < count; ++c) {
    const std::size_t entry = candidates[c];
    const Squares red = squaresFrom(corner.red, m_red[entry]), green = squaresFrom(corner.green, m_green[entry]),
                  blue = squaresFrom(corner.blue, m_blue[entry]);
    std::int32_t* row = best.data();
    for (const std::int32_t r : red) {
      for (const std::int32_t g : green) {
        const std::int32_t plane = (r + g) * 256 + static_cast<std::int32_t>(entry);
        for (std::size_t b = 0; b < kCubeSide; ++b) row[b] = std::min(row[b], plane + blue[b] * 256);
        row += kCubeSide;
      }
    }
  }
  for (std::uint32_t i = 0; i < kCubeColors; ++i) {
    const auto level = [i](unsigned shift) { return static_cast<std::uint8_t>(i >> shift & 7U); };
    m_table[first + colorPlace(level(6), level(3), level(0))] = static_cast<std::uint8_t>(best[i]);
  }
  m_isFilled[cube] = 1;
}

}  // namespace quillbay
