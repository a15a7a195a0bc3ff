#include "scanners/lines/box_filter.h"

#include "scanners/lines/bw_loops.h"

namespace quillbay {

BoxFilter::BoxFilter(std::size_t width, std::size_t channels, std::size_t reach)
    : BandFilter(width * channels, reach), m_channels(channels), m_sums((width + 2 * reach) * channels) {}

void BoxFilter::enter(const std::uint8_t* entering, const std::uint8_t* leaving) {
  std::uint16_t* sums = m_sums.data() + reach() * m_channels;
  if (leaving)
    bw_loops::exchangeRow(entering, leaving, width(), sums);
  else
    bw_loops::addRow(entering, width(), sums);
}

const std::uint16_t* BoxFilter::columnSums() noexcept {
  const std::size_t margin = reach() * m_channels;
  std::uint16_t* first = m_sums.data() + margin;
  std::uint16_t* end = first + width();
  for (std::size_t i = 0; i < margin; ++i) {
    m_sums[i] = first[i % m_channels];
    end[i] = (end - m_channels)[i % m_channels];
  }
  return m_sums.data();
}

}  // namespace quillbay
