#include "palettes/color_histogram.h"

#include <limits>

#include "quillbay/errors.h"
#include "quillbay/translation.h"

namespace quillbay {

void ColorHistogram::clear() noexcept {
  m_table.reset();
  m_isUsed.clear();
  m_total = 0;
}

/// Zeroed memory that the system hands out page by page, as it is touched.
void ColorHistogram::allocate() {
  m_isUsed.assign(kCubes, 0);
  m_table.reset(static_cast<std::uint32_t*>(std::calloc(kColorCount, sizeof(std::uint32_t))));
  if (!m_table)
    throw CXMemException(Supp_Translate(
        "There is no memory to count the colours of a picture (64 MiB). Close other programs and try again."));
}

void ColorHistogram::add(const std::uint8_t* pixels, std::size_t count, const PixelLayout& layout) {
  if (!m_table) allocate();
  const auto [red, green, blue, step] = layout;
  std::uint32_t* const table = m_table.get();
  std::uint8_t* const isUsed = m_isUsed.data();
  for (std::size_t i = 0; i < count; ++i, pixels += step) {
    const std::uint32_t place = colorPlace(pixels[red], pixels[green], pixels[blue]);
    isUsed[place / kCubeColors] = 1;
    const std::uint32_t before = table[place];
    table[place] = before + (before != std::numeric_limits<std::uint32_t>::max());
  }
  m_total += count;
}

std::vector<KXRGBQUAD> ColorHistogram::colors(std::size_t most) const {
  std::vector<KXRGBQUAD> found;
  for (std::size_t c = 0; c < kCubes; ++c) {
    if (!isUsed(c)) continue;
    const auto counts = cube(c);
    for (std::size_t i = 0; i < kCubeColors; ++i) {
      if (counts[i] == 0) continue;
      if (found.size() == most) return found;
      found.push_back(colorAt(static_cast<std::uint32_t>(c * kCubeColors + i)));
    }
  }
  return found;
}

}  // namespace quillbay
