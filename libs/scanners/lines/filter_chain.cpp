#include "scanners/lines/filter_chain.h"

namespace quillbay {

const std::uint8_t* FilterChain::pushInto(std::size_t index, const std::uint8_t* row) {
  for (; row && index < m_filters.size(); ++index) row = m_filters[index]->push(row);
  return row;
}

const std::uint8_t* FilterChain::drain() {
  for (std::size_t i = 0; i < m_filters.size(); ++i)
    while (const std::uint8_t* row = m_filters[i]->drain())
      if (const std::uint8_t* made = pushInto(i + 1, row)) return made;
  return nullptr;
}

}  // namespace quillbay
