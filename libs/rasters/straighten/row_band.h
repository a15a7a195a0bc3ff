#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

namespace quillbay {

/// The last lines of a source, in a ring of equal places; lines that it does not hold are white. Left and right of
/// each line lie `kPadding` bytes of white, so that loops may read beyond the line's ends.
class RowBand {
 public:
  static constexpr std::size_t kPadding = 128;

  /// Room for `capacity` lines of `bytes` bytes. Throws CXMemException.
  RowBand(std::size_t bytes, std::int32_t capacity, std::uint8_t white);

  /// Where the next line is to be written; the oldest one makes room when all places are taken.
  [[nodiscard]] std::uint8_t* add() noexcept;
  /// Line `row` of the source, counted from its first one; white for all that is not held.
  [[nodiscard]] const std::uint8_t* row(std::int64_t row) const noexcept {
    if (row < m_first || row >= m_end) return m_whiteRow;
    auto place = static_cast<std::size_t>(row - m_first) + m_firstPlace;
    if (place >= m_capacity) place -= m_capacity;
    return m_rows + place * m_stride;
  }
  /// Lines that were added.
  [[nodiscard]] std::int64_t end() const noexcept { return m_end; }
  [[nodiscard]] std::int32_t held() const noexcept { return static_cast<std::int32_t>(m_end - m_first); }

 private:
  void whiten(std::uint8_t* row) const noexcept;

  const std::size_t m_bytes, m_stride, m_capacity;
  const std::uint8_t m_white;
  std::unique_ptr<std::uint8_t[]> m_memory;
  std::uint8_t* m_rows = nullptr;  // the first place's line, behind its padding
  std::uint8_t* m_whiteRow = nullptr;
  std::int64_t m_first = 0, m_end = 0;
  std::size_t m_firstPlace = 0;
};

}  // namespace quillbay
