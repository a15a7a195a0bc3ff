#include "rasters/straighten/row_band.h"

#include <cstring>
#include <new>

#include "quillbay/errors.h"
#include "quillbay/translation.h"

namespace quillbay {
namespace {

constexpr std::size_t kCacheLine = 64;

/// An odd number of cache lines: neighbouring lines of a column then lie in different sets of a cache.
std::size_t strideOf(std::size_t bytes) noexcept {
  const std::size_t lines = (bytes + 2 * RowBand::kPadding + kCacheLine - 1) / kCacheLine;
  return (lines | 1) * kCacheLine;
}

std::unique_ptr<std::uint8_t[]> allocate(std::size_t bytes) {
  try {
    return std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
  } catch (const std::bad_alloc&) {
    throw CXMemException(Supp_Translate(
        "There is not enough memory to straighten the page. Close other programs, or scan at a lower resolution."));
  }
}

}  // namespace

RowBand::RowBand(std::size_t bytes, std::int32_t capacity, std::uint8_t white)
    : m_bytes(bytes),
      m_stride(strideOf(bytes)),
      m_capacity(static_cast<std::size_t>(capacity)),
      m_white(white),
      m_memory(allocate(m_stride * (m_capacity + 1))),
      m_rows(m_memory.get() + kPadding),
      m_whiteRow(m_rows + m_capacity * m_stride) {
  whiten(m_whiteRow);
  std::memset(m_whiteRow, m_white, m_bytes);
}

void RowBand::whiten(std::uint8_t* row) const noexcept {
  std::memset(row - kPadding, m_white, kPadding);
  std::memset(row + m_bytes, m_white, kPadding);
}

std::uint8_t* RowBand::add() noexcept {
  const auto held = static_cast<std::size_t>(m_end - m_first);
  ++m_end;
  if (held == m_capacity) {
    std::uint8_t* const oldest = m_rows + m_firstPlace * m_stride;
    ++m_first;
    m_firstPlace = m_firstPlace + 1 == m_capacity ? 0 : m_firstPlace + 1;
    return oldest;
  }
  std::uint8_t* const unused = m_rows + held * m_stride;
  whiten(unused);
  return unused;
}

}  // namespace quillbay
