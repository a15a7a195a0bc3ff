#pragma once
#include <cstddef>
#include <vector>

#include "palettes/color_histogram.h"

namespace quillbay {

/// A colour with the pixels that it stands for; or the mean of pixels whose colours lie close together.
struct ColorPoint {
  float red = 0, green = 0, blue = 0;
  float weight = 0;  ///< pixels
};

/// The squared distance of two colours; weights do not count.
[[nodiscard]] constexpr float squaredDistance(const ColorPoint& a, const ColorPoint& b) noexcept {
  const float red = a.red - b.red, green = a.green - b.green, blue = a.blue - b.blue;
  return red * red + green * green + blue * blue;
}

/// The colours of a histogram as at most `most` points (at least 512), in the order of `colorPlace`. Where there
/// are more colours than that, those of a cube (of 2, 4, ... 32 levels a side) become one point at their mean,
/// wherever the squared error that this hides is small, beside that of the whole picture: exact colours where the
/// pixels are, coarse ones where a few of them are spread.
[[nodiscard]] std::vector<ColorPoint> pointsOf(const ColorHistogram& histogram, std::size_t most);

}  // namespace quillbay
