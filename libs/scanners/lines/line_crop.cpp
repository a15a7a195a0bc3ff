#include "scanners/lines/line_crop.h"

namespace quillbay {

namespace {

std::size_t sampleBytes(DeviceSamples samples) noexcept {
  switch (samples) {
    case DeviceSamples::Grey16: return 2;
    case DeviceSamples::Rgb8: return 3;
    case DeviceSamples::Rgb16: return 6;
    default: return 1;
  }
}

}  // namespace

LineCrop::LineCrop(const PageCut& cut, DeviceSamples samples) : m_cut(cut) {
  const auto left = static_cast<std::size_t>(cut.left);
  m_offset = samples == DeviceSamples::Bits ? left / 8 : left * sampleBytes(samples);
  if (samples != DeviceSamples::Bits) return;
  m_shift = cut.left % 8;
  if (m_shift) m_bits.resize((static_cast<std::size_t>(cut.width) + 7) / 8);
}

const std::uint8_t* LineCrop::take(const std::uint8_t* line) noexcept {
  const std::int64_t y = m_line++;
  if (y < m_cut.top || (m_cut.lines >= 0 && y >= m_cut.top + m_cut.lines)) return nullptr;
  line += m_offset;
  if (!m_shift) return line;
  // The byte behind the last one is read only where it holds pixels that are wanted.
  const std::size_t held = (static_cast<std::size_t>(m_shift + m_cut.width) + 7) / 8;
  for (std::size_t i = 0; i < m_bits.size(); ++i) {
    const int next = i + 1 < held ? line[i + 1] : 0;
    m_bits[i] = static_cast<std::uint8_t>(line[i] << m_shift | next >> (8 - m_shift));
  }
  return m_bits.data();
}

}  // namespace quillbay
