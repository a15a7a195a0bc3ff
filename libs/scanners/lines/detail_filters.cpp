#include "scanners/lines/detail_filters.h"

#include "scanners/lines/color_loops.h"

namespace quillbay {

BlurFilter::BlurFilter(std::size_t width, std::size_t channels, std::size_t reach)
    : BoxFilter(width, channels, reach), m_out(width * channels) {}

const std::uint8_t* BlurFilter::make() {
  colorLoops().means(columnSums(), width(), reach(), channels(), m_out.data());
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
