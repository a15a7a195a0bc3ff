#include "scanners/lines/detail_filters.h"

#include <algorithm>

#include "scanners/lines/bw_loops.h"
#include "scanners/lines/color_loops.h"

namespace quillbay {

BlurFilter::BlurFilter(std::size_t width, std::size_t channels, std::size_t reach)
    : BandFilter(width * channels, reach),
      m_channels(channels),
      m_sums((width + 2 * reach) * channels),
      m_out(width * channels) {}

void BlurFilter::enter(const std::uint8_t* entering, const std::uint8_t* leaving) {
  std::uint16_t* sums = m_sums.data() + reach() * m_channels;
  if (leaving)
    bw_loops::exchangeRow(entering, leaving, width(), sums);
  else
    bw_loops::addRow(entering, width(), sums);
}

const std::uint8_t* BlurFilter::make() {
  const std::size_t margin = reach() * m_channels;
  std::uint16_t* first = m_sums.data() + margin;
  std::uint16_t* end = first + width();
  for (std::size_t i = 0; i < margin; ++i) {
    m_sums[i] = first[i % m_channels];
    end[i] = (end - m_channels)[i % m_channels];
  }
  colorLoops().means(m_sums.data(), width(), reach(), m_channels, m_out.data());
  return m_out.data();
}

SharpenFilter::SharpenFilter(std::size_t width, std::size_t channels, int weight)
    : BandFilter(width * channels, 1),
      m_channels(channels),
      m_weight(weight),
      m_columns((width + 2) * channels),
      m_out(width * channels) {}

const std::uint8_t* SharpenFilter::make() {
  const std::uint8_t* const rows[3] = {row(-1), row(0), row(1)};
  colorLoops().sharpen(rows, width(), m_channels, m_weight, m_columns.data(), m_out.data());
  return m_out.data();
}

}  // namespace quillbay
