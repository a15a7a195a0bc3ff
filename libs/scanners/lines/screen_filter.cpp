#include "scanners/lines/screen_filter.h"

#include <algorithm>

#include "scanners/lines/bw_loops.h"

namespace quillbay {

ScreenFilter::ScreenFilter(std::size_t width, int level, int contrast)
    : m_errors(width + 2), m_next(width + 2), m_out(width) {
  for (int v = 0; v < 256; ++v)
    m_tones[static_cast<std::size_t>(v)] =
        static_cast<std::uint8_t>(std::clamp((v - level) * contrast / 100 + 128, 0, 255));
}

const std::uint8_t* ScreenFilter::push(const std::uint8_t* row) {
  bw_loops::diffuse(row, m_out.size(), m_backwards, m_tones.data(), m_errors.data(), m_next.data(), m_out.data());
  m_backwards = !m_backwards;
  m_errors.swap(m_next);
  return m_out.data();
}

}  // namespace quillbay
