#pragma once
#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "quillbay/color_space.h"

/// Run lists (`RunEnd` says what they are) and lines of bits: how a list is made valid, and how each becomes the
/// other. A packed line has (width + 7) / 8 bytes, bit 7 leftmost, 1 is foreground. Nothing here allocates or
/// locks.
namespace quillbay {

/// Calls `take(first, last)`, both inclusive, for each run that a list means on a line of `width` pixels; what is
/// taken ascends and lies in 0..width-1. Pixel indices count as signed: a run that ends left of the line is
/// dropped, the others are cut to the line, and the first that reaches the line's end is the last one. A run that
/// is turned round is dropped; one that begins within the run before begins after it. Touching runs come one by
/// one. Reads up to the list's `RunEnd`, not beyond.
template <class Take>
void eachRun(const std::uint32_t* runs, std::int32_t width, Take&& take) {
  std::int32_t next = 0;  // first pixel that a run may begin at
  for (; runs[0] != RunEnd; runs += 2) {
    const auto first = static_cast<std::int32_t>(runs[0]);
    const auto last = static_cast<std::int32_t>(runs[1]);
    if (last < 0) continue;
    const std::int32_t from = std::max(first, next);
    const std::int32_t to = std::min(last, width - 1);
    if (from <= to) {
      take(static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to));
      next = to + 1;
    }
    if (last >= width) return;
  }
}

/// The list of what `eachRun` takes, with its `RunEnd`; `out` may be `runs`, and takes at most as many words as the
/// list has. Returns the runs that are left.
inline std::size_t repairRuns(const std::uint32_t* runs, std::int32_t width, std::uint32_t* out) noexcept {
  std::size_t kept = 0;
  eachRun(runs, width, [&](std::uint32_t first, std::uint32_t last) {
    out[2 * kept] = first;
    out[2 * kept + 1] = last;
    ++kept;
  });
  out[2 * kept] = RunEnd;
  return kept;
}

/// Whether a list needs no repair. `*count` gets its runs, or, when it does, the runs before the first bad one.
[[nodiscard]] inline bool areValidRuns(const std::uint32_t* runs, std::int32_t width, std::size_t* count) noexcept {
  const auto end = static_cast<std::uint32_t>(width);
  std::uint32_t next = 0;  // the least first pixel that the next run may have
  std::size_t n = 0;
  bool valid = true;
  for (; valid && runs[2 * n] != RunEnd; ++n) {
    const std::uint32_t first = runs[2 * n], last = runs[2 * n + 1];
    valid = first >= next && last >= first && last < end;
    next = last + 1;
  }
  *count = valid ? n : n - 1;
  return valid;
}

/// Sets the pixels `first` to `last` of a line of bytes or words, whose highest bit is the leftmost pixel.
template <std::unsigned_integral Word>
void setBits(Word* line, std::uint32_t first, std::uint32_t last) noexcept {
  constexpr auto kAll = std::numeric_limits<Word>::max();
  constexpr auto kBits = static_cast<std::uint32_t>(std::numeric_limits<Word>::digits);
  const auto head = static_cast<Word>(kAll >> (first % kBits));
  const auto tail = static_cast<Word>(kAll << (kBits - 1 - last % kBits));
  Word* word = line + first / kBits;
  Word* const end = line + last / kBits;
  if (word == end) {
    *word = static_cast<Word>(*word | (head & tail));
    return;
  }
  *word = static_cast<Word>(*word | head);
  if (++word < end) std::fill(word, end, kAll);
  *end = static_cast<Word>(*end | tail);
}

/// A run list as a packed line.
inline void runsToBits(const std::uint32_t* runs, std::int32_t width, std::uint8_t* bits) noexcept {
  std::memset(bits, 0, (static_cast<std::size_t>(width) + 7) / 8);
  eachRun(runs, width, [bits](std::uint32_t first, std::uint32_t last) { setBits(bits, first, last); });
}

/// The bits of a word in the opposite order.
[[nodiscard]] inline std::uint64_t reverseBits(std::uint64_t v) noexcept {
  v = (v >> 1 & 0x5555555555555555U) | (v & 0x5555555555555555U) << 1;
  v = (v >> 2 & 0x3333333333333333U) | (v & 0x3333333333333333U) << 2;
  v = (v >> 4 & 0x0F0F0F0F0F0F0F0FU) | (v & 0x0F0F0F0F0F0F0F0FU) << 4;
  return __builtin_bswap64(v);
}

/// Which bit of a 64-bit word of pixels is the leftmost pixel.
enum class Leftmost { HighestBit, LowestBit };

/// Finds where a line changes between background and foreground, word by word.
template <Leftmost order>
class BitChanges {
 public:
  /// Calls `take(x)` for each change among the next 64 pixels, the first of which is `firstPixel`.
  template <class Take>
  void word(std::uint64_t pixels, std::uint32_t firstPixel, Take&& take) {
    constexpr bool kLow = order == Leftmost::LowestBit;
    std::uint64_t changes = pixels ^ (kLow ? pixels << 1 | m_before : pixels >> 1 | m_before << 63);
    m_before = kLow ? pixels >> 63 : pixels & 1;
    if (changes == 0) return;
    // The lowest bit is cleared in two steps, the highest one in a long chain of them.
    if constexpr (!kLow) changes = reverseBits(changes);
    for (; changes != 0; changes &= changes - 1) {
      take(firstPixel + static_cast<std::uint32_t>(std::countr_zero(changes)));
    }
  }
  /// The last pixel of the last word is foreground.
  [[nodiscard]] bool endsInRun() const noexcept { return m_before != 0; }

 private:
  std::uint64_t m_before = 0;  // the pixel left of the next word
};

/// Eight bytes of a packed line as a word whose highest bit is the leftmost pixel.
[[nodiscard]] inline std::uint64_t loadBits(const std::uint8_t* bits) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, bits, sizeof word);
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

/// Calls `take(x)` for each place where a packed line changes, the first one to foreground; an even number of
/// times, since foreground up to the end changes at `width`.
template <class Take>
void eachBitChange(const std::uint8_t* bits, std::int32_t width, Take&& take) {
  const auto pixels = static_cast<std::uint32_t>(std::max(width, 0));
  BitChanges<Leftmost::HighestBit> changes;
  std::uint32_t x = 0;
  for (; x + 64 <= pixels; x += 64) changes.word(loadBits(bits + x / 8), x, take);
  if (const std::uint32_t rest = pixels - x; rest != 0) {
    std::uint8_t last[8] = {};
    std::memcpy(last, bits + x / 8, (rest + 7) / 8);
    changes.word(loadBits(last) & ~(~std::uint64_t{0} >> rest), x, take);
  }
  if (changes.endsInRun()) take(pixels);
}

/// The same for a line of words, whose highest bits are leftmost; bits beyond the width are 0.
template <class Take>
void eachBitChange(const std::uint64_t* words, std::int32_t width, Take&& take) {
  const auto pixels = static_cast<std::uint32_t>(std::max(width, 0));
  BitChanges<Leftmost::HighestBit> changes;
  for (std::uint32_t x = 0; x < pixels; x += 64) changes.word(*words++, x, take);
  if (changes.endsInRun()) take(pixels);
}

/// Writes a run list from the places where a line changes.
class RunListWriter {
 public:
  /// `runs` has room for width + 3 words.
  explicit RunListWriter(std::uint32_t* runs) noexcept : m_runs(runs) {}
  void operator()(std::uint32_t change) noexcept {
    m_runs[m_count] = change - static_cast<std::uint32_t>(m_count & 1);
    ++m_count;
  }
  /// Ends a run that is open at `width`, then the list, by `RunEnd` and a zero word. Returns the runs.
  std::size_t finish(std::uint32_t width) noexcept {
    if (m_count & 1) (*this)(width);
    m_runs[m_count] = RunEnd;
    m_runs[m_count + 1] = 0;
    return m_count / 2;
  }

 private:
  std::uint32_t* m_runs;
  std::size_t m_count = 0;
};

/// The run list of a packed line, with `RunEnd` and a zero word; `runs` has room for width + 3 words. Returns the
/// runs.
inline std::size_t bitsToRuns(const std::uint8_t* bits, std::int32_t width, std::uint32_t* runs) noexcept {
  RunListWriter writer(runs);
  eachBitChange(bits, width, [&writer](std::uint32_t x) { writer(x); });
  return writer.finish(static_cast<std::uint32_t>(std::max(width, 0)));
}

/// A byte for each of `count` pixels of a packed line: `zero` or `one`.
inline void bitsToBytes(const std::uint8_t* bits, std::size_t count, std::uint8_t zero, std::uint8_t one,
                        std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned mask = 0U - ((static_cast<unsigned>(bits[i / 8]) >> (7 - i % 8)) & 1U);
    out[i] = static_cast<std::uint8_t>(zero ^ (mask & static_cast<unsigned>(zero ^ one)));
  }
}

}  // namespace quillbay
