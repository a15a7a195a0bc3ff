#pragma once
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "rasters/run_lists.h"

/// Lines of bits in 64-bit words: pixel 0 is the highest bit of word 0, 1 is foreground.
namespace quillbay {

[[nodiscard]] constexpr std::size_t bitWords(std::int64_t pixels) noexcept {
  return static_cast<std::size_t>((pixels + 63) / 64);
}

/// Sets the pixels first..last.
inline void setBitRun(std::uint64_t* words, std::uint32_t first, std::uint32_t last) noexcept {
  const std::uint64_t head = ~std::uint64_t{0} >> (first & 63);
  const std::uint64_t tail = ~std::uint64_t{0} << (63 - (last & 63));
  std::uint64_t* w = words + first / 64;
  std::uint64_t* const end = words + last / 64;
  if (w == end) {
    *w |= head & tail;
    return;
  }
  *w++ |= head;
  while (w < end) *w++ = ~std::uint64_t{0};
  *w |= tail;
}

/// Calls `take(first, last)`, both inclusive, for each run of the pixels 0..width-1; bits beyond them are 0.
template <class Take>
void eachBitRun(const std::uint64_t* words, std::int64_t width, Take&& take) {
  constexpr std::uint64_t kFirst = std::uint64_t{1} << 63;
  std::int64_t first = -1;   // of a run that is open
  std::uint64_t before = 0;  // the pixel left of the word
  const auto count = static_cast<std::int64_t>(bitWords(width));
  for (std::int64_t i = 0; i < count; ++i) {
    std::uint64_t edges = words[i] ^ (words[i] >> 1 | before << 63);
    before = words[i] & 1;
    while (edges != 0) {
      const int lead = std::countl_zero(edges);
      edges &= ~(kFirst >> lead);
      const std::int64_t at = i * 64 + lead;
      if (first < 0) {
        first = at;
      } else {
        take(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(at - 1));
        first = -1;
      }
    }
  }
  if (first >= 0) take(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(width - 1));
}

/// The list's first run that does not end before pixel `x`.
[[nodiscard]] inline std::size_t firstRunFrom(const RunView& list, std::uint32_t x) noexcept {
  std::size_t low = 0, high = list.count;
  while (low < high) {
    const std::size_t middle = (low + high) / 2;
    if (list.runs[2 * middle + 1] < x) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

/// Calls `take(first, last)` for what of the list lies in begin..end-1, relative to `begin`.
template <class Take>
void eachRunWithin(const RunView& list, std::uint32_t begin, std::uint32_t end, Take&& take) {
  for (std::size_t i = firstRunFrom(list, begin); i < list.count && list.runs[2 * i] < end; ++i) {
    take(std::max(list.runs[2 * i], begin) - begin, std::min(list.runs[2 * i + 1], end - 1) - begin);
  }
}

/// Transposes 64 rows of 64 pixels: afterwards row i holds what was column i.
inline void transpose64(std::uint64_t (&rows)[64]) noexcept {
  std::uint64_t mask = 0x00000000FFFFFFFF;
  for (unsigned half = 32; half != 0; half /= 2, mask ^= mask << half) {
    for (unsigned i = 0; i < 64; i = ((i | half) + 1) & ~half) {
      const std::uint64_t swapped = (rows[i] ^ (rows[i | half] >> half)) & mask;
      rows[i] ^= swapped;
      rows[i | half] ^= swapped << half;
    }
  }
}

}  // namespace quillbay
