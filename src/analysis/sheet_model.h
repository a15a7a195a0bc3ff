#pragma once
#include <cmath>

namespace quillbay {

/// An angle up to this, in radians, counts as none.
inline constexpr double kLeastSkew = 0.001;

/// Length of a portrait page to its width; not the square root of two.
inline constexpr double kSheetLength = 1.41428;

/// The width of the sheet that fills an upright box when it is turned by `angle` (radians, within 45 degrees). A
/// sheet of w x h, turned by a, fills a box of W = w cos a + h sin a and H = h cos a + w sin a; solved for w, with
/// h = (H cos a - W sin a) / ((cos a - sin^2 a) cos a). Below 0 where no sheet of this skew fills the box.
[[nodiscard]] inline double sheetWidth(double boxWidth, double boxHeight, double angle) noexcept {
  const double c = std::cos(std::abs(angle)), s = std::sin(std::abs(angle));
  const double height = (boxHeight * c - boxWidth * s) / ((c - s * s) * c);
  return (boxWidth - s * height) / c;
}

}  // namespace quillbay
