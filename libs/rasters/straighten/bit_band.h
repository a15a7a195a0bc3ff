#pragma once
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quillbay/run_list.h"
#include "rasters/ops/bit_lines.h"

namespace quillbay {

/// Lines of bits in a ring, of which a window is held that moves down. What is set outside the window or beside the
/// lines is dropped.
class BitBand {
 public:
  BitBand(std::int32_t width, std::int32_t lines)
      : m_width(width),
        m_words(bitWords(width)),
        m_mask(std::bit_ceil(static_cast<std::size_t>(lines)) - 1),
        m_bits(m_words * (m_mask + 1)) {}

  /// Lines that the ring has room for.
  [[nodiscard]] std::int64_t lines() const noexcept { return static_cast<std::int64_t>(m_mask) + 1; }
  /// The first line that is held.
  [[nodiscard]] std::int64_t first() const noexcept { return m_first; }
  [[nodiscard]] const std::uint64_t* firstLine() const noexcept { return line(m_first); }
  void dropFirst() noexcept {
    std::fill_n(line(m_first), m_words, 0);
    ++m_first;
  }

  /// Both ends inclusive.
  void set(std::int64_t y, std::int64_t from, std::int64_t to) noexcept {
    if (from < 0) from = 0;
    if (to >= m_width) to = m_width - 1;
    if (from > to || y < m_first) return;
    setBits(line(y), static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to));
  }
  void setPixel(std::int64_t y, std::int64_t x) noexcept {
    if (x < 0 || x >= m_width || y < m_first) return;
    line(y)[x / 64] |= std::uint64_t{1} << (63 - x % 64);
  }

 private:
  [[nodiscard]] std::uint64_t* line(std::int64_t y) noexcept {
    return m_bits.data() + (static_cast<std::size_t>(y) & m_mask) * m_words;
  }
  [[nodiscard]] const std::uint64_t* line(std::int64_t y) const noexcept {
    return m_bits.data() + (static_cast<std::size_t>(y) & m_mask) * m_words;
  }

  const std::int64_t m_width;
  const std::size_t m_words, m_mask;
  std::vector<std::uint64_t> m_bits;
  std::int64_t m_first = 0;
};

}  // namespace quillbay
