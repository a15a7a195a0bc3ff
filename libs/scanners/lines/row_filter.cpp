#include "scanners/lines/row_filter.h"

#include <cstring>

namespace quillbay {

BandFilter::BandFilter(std::size_t width, std::size_t reach)
    : m_width(width), m_reach(reach), m_size(2 * reach + 1), m_waiting(reach), m_rows(m_size * width) {}

const std::uint8_t* BandFilter::row(std::ptrdiff_t offset) const noexcept {
  const auto index = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_taken - 1 - m_reach) + offset);
  return m_rows.data() + index % m_size * m_width;
}

void BandFilter::enter(const std::uint8_t* /*entering*/, const std::uint8_t* /*leaving*/) {}

void BandFilter::take(const std::uint8_t* row) {
  std::uint8_t* place = m_rows.data() + m_taken % m_size * m_width;
  enter(row, m_taken >= m_size ? place : nullptr);
  std::memmove(place, row, m_width);  // of a band of one row, the last row is in its place already
  ++m_taken;
}

const std::uint8_t* BandFilter::push(const std::uint8_t* row) {
  if (m_taken == 0)
    for (std::size_t i = 0; i < m_reach; ++i) take(row);
  take(row);
  return m_taken >= m_size ? make() : nullptr;
}

const std::uint8_t* BandFilter::drain() {
  while (m_taken > 0 && m_waiting > 0) {
    --m_waiting;
    take(row(static_cast<std::ptrdiff_t>(m_reach)));
    if (m_taken >= m_size) return make();
  }
  return nullptr;
}

}  // namespace quillbay
