#pragma once
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quillbay/run_list.h"

namespace quillbay {

/// Lines of bits in a ring, of which a window is held that moves down; the lowest bit of a word is its leftmost
/// pixel. What is set above the window or beside the lines is dropped.
class BitBand {
 public:
  /// The most pixels that `setFew` sets.
  static constexpr std::int64_t kFew = 32;

  BitBand(std::int32_t width, std::int32_t lines)
      : m_width(width),
        m_words((static_cast<std::size_t>(width) + 63) / 64 + 1),
        m_mask(std::bit_ceil(static_cast<std::size_t>(lines)) - 1),
        m_bits(m_words * (m_mask + 1)) {}

  /// Lines that the ring has room for.
  [[nodiscard]] std::int64_t lines() const noexcept { return static_cast<std::int64_t>(m_mask) + 1; }
  /// The first line that is held.
  [[nodiscard]] std::int64_t first() const noexcept { return m_first; }
  void dropFirst() noexcept {
    std::fill_n(line(m_first), m_words, 0);
    ++m_first;
  }
  /// Calls `take(x)` for each place where the first line changes, as `eachBitChange` does.
  template <class Take>
  void eachChange(Take&& take) noexcept {
    const std::uint64_t* word = line(m_first);
    BitChanges<Leftmost::LowestBit> changes;
    const auto width = static_cast<std::uint32_t>(m_width);
    for (std::uint32_t x = 0; x < width; x += 64) changes.word(*word++, x, take);
    if (changes.endsInRun()) take(width);
  }

  /// Both ends inclusive.
  void set(std::int64_t y, std::int64_t from, std::int64_t to) noexcept {
    if (y < m_first) return;
    from = std::max<std::int64_t>(from, 0);
    to = std::min(to, m_width - 1);
    if (from > to) return;
    constexpr std::uint64_t kAll = ~std::uint64_t{0};
    std::uint64_t* word = line(y) + from / 64;
    std::uint64_t* const end = line(y) + to / 64;
    const std::uint64_t head = kAll << (from % 64), tail = kAll >> (63 - to % 64);
    if (word == end) {
      *word |= head & tail;
      return;
    }
    *word |= head;
    while (++word < end) *word = kAll;
    *end |= tail;
  }
  /// The same for up to `kFew` pixels, without a branch that depends on how they lie in a word, or whether there
  /// are any.
  void setFew(std::int64_t y, std::int64_t from, std::int64_t to) noexcept {
    if (y < m_first) return;
    const bool isEmpty = from > to;
    from = isEmpty ? 0 : from;
    to = isEmpty ? -1 : to;
    if (from < 0 || to >= m_width) return set(y, from, to);
    const std::int64_t count = to - from + 1;
    const std::uint64_t pixels = (std::uint64_t{1} << count) - 1;
    const auto at = static_cast<unsigned>(from % 64);
    std::uint64_t* const word = line(y) + from / 64;
    word[0] |= pixels << at;
    word[1] |= pixels >> 1 >> (63 - at);
  }
  void setPixel(std::int64_t y, std::int64_t x) noexcept {
    if (x < 0 || x >= m_width || y < m_first) return;
    line(y)[x / 64] |= std::uint64_t{1} << (x % 64);
  }

 private:
  [[nodiscard]] std::uint64_t* line(std::int64_t y) noexcept {
    return m_bits.data() + (static_cast<std::size_t>(y) & m_mask) * m_words;
  }

  const std::int64_t m_width;
  const std::size_t m_words, m_mask;  // a word more than the line has, for `setFew`
  std::vector<std::uint64_t> m_bits;
  std::int64_t m_first = 0;
};

}  // namespace quillbay
