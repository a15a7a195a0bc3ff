#include "printing/halftone.h"

#include <algorithm>
#include <array>

namespace quillbay {
namespace {

/// Bayer's matrix of 8 x 8 (B. E. Bayer, 1973) as thresholds from 2 to 254.
constexpr auto kPattern = [] {
  std::array<std::array<std::uint8_t, 8>, 8> pattern{};
  for (unsigned y = 0; y < 8; ++y) {
    for (unsigned x = 0; x < 8; ++x) {
      unsigned rank = 0;
      for (unsigned bit = 0; bit < 3; ++bit) {
        const unsigned a = (x ^ y) >> bit & 1, b = y >> bit & 1;
        rank |= (a << 1 | b) << (4 - 2 * bit);
      }
      pattern[y][x] = static_cast<std::uint8_t>(rank * 4 + 2);
    }
  }
  return pattern;
}();

/// Packs what `isBlack(x)` says of each pixel.
template <class IsBlack>
void packLine(std::size_t width, std::uint8_t* bits, IsBlack&& isBlack) {
  for (std::size_t x = 0; x < width; x += 8) {
    unsigned byte = 0;
    const std::size_t count = std::min<std::size_t>(8, width - x);
    for (std::size_t i = 0; i < count; ++i) byte |= (isBlack(x + i) ? 128U : 0U) >> i;
    bits[x / 8] = static_cast<std::uint8_t>(byte);
  }
}

}  // namespace

Halftone::Halftone(PrintHalftone method, std::int64_t width, int threshold)
    : m_method(method), m_width(static_cast<std::size_t>(width)), m_threshold(threshold) {
  if (method != PrintHalftone::Diffusion) return;
  m_errors.resize(m_width + 2);
  m_next.resize(m_width + 2);
}

void Halftone::convert(const std::uint8_t* grey, std::uint8_t* bits) {
  switch (m_method) {
    case PrintHalftone::Ordered: byPattern(grey, bits); break;
    case PrintHalftone::Diffusion: byDiffusion(grey, bits); break;
    default: byThreshold(grey, bits);
  }
  ++m_line;
}

void Halftone::byThreshold(const std::uint8_t* grey, std::uint8_t* bits) const {
  packLine(m_width, bits, [&](std::size_t x) { return grey[x] < m_threshold; });
}

void Halftone::byPattern(const std::uint8_t* grey, std::uint8_t* bits) const {
  const auto& row = kPattern[m_line % 8];
  packLine(m_width, bits, [&](std::size_t x) { return grey[x] < row[x % 8]; });
}

/// The weights of Floyd and Steinberg (1976), every second line from right to left. Full black and white take no
/// error on: specks in white paper would be ink that nobody drew.
void Halftone::byDiffusion(const std::uint8_t* grey, std::uint8_t* bits) {
  std::fill(m_next.begin(), m_next.end(), 0);
  std::fill_n(bits, (m_width + 7) / 8, std::uint8_t{0});
  const bool isReversed = m_line % 2 != 0;
  const std::ptrdiff_t step = isReversed ? -1 : 1;
  int ahead = 0;  // error for the next pixel of the line
  for (std::size_t i = 0; i < m_width; ++i) {
    const std::size_t x = isReversed ? m_width - 1 - i : i;
    const int value = grey[x] * 16 + m_errors[x + 1] + ahead;
    const bool isBlack = grey[x] == 0 || (grey[x] != 255 && value < 128 * 16);
    ahead = 0;
    if (isBlack) bits[x / 8] = static_cast<std::uint8_t>(bits[x / 8] | 128U >> (x % 8));
    if (grey[x] == 0 || grey[x] == 255) continue;
    const int error = isBlack ? value : value - 255 * 16;
    const auto below = static_cast<std::ptrdiff_t>(x) + 1;
    ahead = error * 7 / 16;
    m_next[static_cast<std::size_t>(below - step)] += error * 3 / 16;
    m_next[static_cast<std::size_t>(below)] += error * 5 / 16;
    m_next[static_cast<std::size_t>(below + step)] += error / 16;
  }
  std::swap(m_errors, m_next);
}

}  // namespace quillbay
