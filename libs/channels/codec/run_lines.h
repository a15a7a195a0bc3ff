#pragma once
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// Calls `take(first, end)` for each run of a list, cut to 0..width and to what follows the run before; `end` is
/// exclusive. Touching runs come one by one.
template <class Take>
void eachRun(const std::uint32_t* runs, std::int32_t width, Take take) {
  std::int64_t done = 0;
  for (; runs[0] != RunEnd; runs += 2) {
    const std::int64_t first = std::max(std::int64_t{static_cast<std::int32_t>(runs[0])}, done);
    if (first >= width) return;
    const std::int64_t end = std::min(std::int64_t{static_cast<std::int32_t>(runs[1])} + 1, std::int64_t{width});
    if (end <= first) continue;
    take(static_cast<std::int32_t>(first), static_cast<std::int32_t>(end));
    done = end;
  }
}

/// Sets `end - first` bits from `first` on; bit 7 is leftmost.
inline void setBits(std::uint8_t* bits, std::int32_t first, std::int32_t end) noexcept {
  const std::int32_t from = first >> 3, to = end >> 3;
  const auto head = static_cast<std::uint8_t>(0xff >> (first & 7));
  const auto tail = static_cast<std::uint8_t>(~(0xff >> (end & 7)));
  if (from == to) {
    bits[from] = static_cast<std::uint8_t>(bits[from] | (head & tail));
    return;
  }
  bits[from] = static_cast<std::uint8_t>(bits[from] | head);
  std::memset(bits + from + 1, 0xff, static_cast<std::size_t>(to - from - 1));
  if (tail) bits[to] = static_cast<std::uint8_t>(bits[to] | tail);
}

/// A run list as (width + 7) / 8 bytes, 1 is foreground.
inline void runsToBits(const std::uint32_t* runs, std::int32_t width, std::uint8_t* bits) {
  std::memset(bits, 0, (static_cast<std::size_t>(width) + 7) / 8);
  eachRun(runs, width, [bits](std::int32_t first, std::int32_t end) { setBits(bits, first, end); });
}

/// Appends the places where a line of bits changes its colour, the first one to black; an even number of them, so
/// that black up to the end changes at `width`.
inline void appendBitChanges(const std::uint8_t* bits, std::int32_t width, std::vector<std::int32_t>& changes) {
  std::uint64_t before = 0;  // the pixel left of the word
  for (std::int32_t x = 0; x < width; x += 64) {
    const std::int32_t pixels = std::min(64, width - x);
    std::uint64_t word = 0;
    std::uint8_t bytes[8] = {};
    std::memcpy(bytes, bits + x / 8, (static_cast<std::size_t>(pixels) + 7) / 8);
    for (const std::uint8_t byte : bytes) word = word << 8 | byte;
    if (pixels < 64) word &= ~(~std::uint64_t{0} >> pixels);
    std::uint64_t edges = word ^ (word >> 1 | before << 63);
    while (edges != 0) {
      const int lead = std::countl_zero(edges);
      changes.push_back(x + lead);
      edges &= ~(std::uint64_t{1} << 63 >> lead);
    }
    before = word & 1;
  }
  if (changes.size() % 2 != 0) changes.push_back(width);
}

/// The run list of a line of bits (1 is foreground), with its `RunEnd` and a zero word; `runs` has room for
/// width + 4 words.
inline void bitLineToRuns(const std::uint8_t* bits, std::int32_t width, std::uint32_t* runs) {
  std::int32_t x = 0;
  const auto skip = [&](bool set) {  // to the next pixel that is not `set`
    const std::uint8_t whole = set ? 0xff : 0;
    while (x < width) {
      if ((x & 7) == 0 && bits[x >> 3] == whole) {
        x += 8;
        continue;
      }
      if (((bits[x >> 3] >> (7 - (x & 7))) & 1) != (set ? 1 : 0)) return;
      ++x;
    }
    x = std::min(x, width);
  };
  for (;;) {
    skip(false);
    if (x >= width) break;
    *runs++ = static_cast<std::uint32_t>(x);
    skip(true);
    *runs++ = static_cast<std::uint32_t>(x - 1);
  }
  *runs++ = RunEnd;
  *runs = 0;
}

}  // namespace quillbay
