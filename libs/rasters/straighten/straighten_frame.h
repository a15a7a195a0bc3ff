#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "quillbay/geometry.h"

namespace quillbay {

/// Where the pixels of straightened lines lie in the source; `CreateDynamicRasterRotator` says what the offset
/// means. Places are from pixel centre to pixel centre.
class StraightenFrame {
 public:
  StraightenFrame(std::int32_t sourceWidth, KxSize offset, double angle)
      : cosine(std::cos(angle)), sine(std::sin(angle)), width(sourceWidth) {
    const double s = std::abs(sine);
    // Along the side edge on which the sheet's upper corner lies.
    const double side = width * s - 2.0 * offset.height * cosine;
    const double along = sine >= 0 ? offset.width : offset.width - width;
    const double left = (sine >= 0 ? 0 : width) + along * cosine;
    const double top = side - along * sine;
    m_side = side;
    x0 = left + (cosine + sine) / 2 - 0.5;
    y0 = top + (cosine - sine) / 2 - 0.5;
    lineWidth = static_cast<std::int32_t>(std::ceil(width / cosine)) + 1;
  }

  /// Of the source's place of pixel 0 of line `y`.
  [[nodiscard]] double startX(std::int64_t y) const noexcept { return x0 + static_cast<double>(y) * sine; }
  [[nodiscard]] double startY(std::int64_t y) const noexcept { return y0 + static_cast<double>(y) * cosine; }

  /// Lines of a source of so many lines.
  [[nodiscard]] std::int64_t lines(std::int64_t sourceLines) const noexcept {
    const double lines = (static_cast<double>(sourceLines) - m_side) / cosine;
    return std::max<std::int64_t>(0, static_cast<std::int64_t>(std::floor(lines + 0.5)));
  }

  /// Source lines that a line of the output crosses, or lines of the output that one of the source crosses.
  [[nodiscard]] std::int32_t crossed() const noexcept {
    return static_cast<std::int32_t>(std::ceil(lineWidth * std::abs(sine)));
  }

  double cosine, sine;
  std::int32_t width;
  std::int32_t lineWidth;  ///< of the output
  double x0 = 0, y0 = 0;   ///< the source's place of the output's first pixel

 private:
  double m_side = 0;
};

}  // namespace quillbay
