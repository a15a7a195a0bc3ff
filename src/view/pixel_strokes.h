#pragma once
#include <cstdint>
#include <vector>

#include "quillbay/view.h"

namespace quillbay {

/// Pixels in memory, rows from `area.top` on; what is drawn lies within `touched`.
struct StrokeTarget {
  std::uint32_t* pixels = nullptr;
  KxRect area;
  std::uint32_t color = 0;
  KxRect touched{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};

  [[nodiscard]] bool isTouched() const noexcept { return touched.left < touched.right; }
};

/// A stroke in whole device pixels: a line with both its ends, or a part of a circle.
///
/// Which pixels it has depends on nothing but the stroke: a picture that is painted piece by piece fits together.
struct PixelStroke {
  KxPoint from, to;             // of a line
  tagRPOINT center;             // of an arc
  double radius = -1;           // negative: a line
  double start = 0, sweep = 0;  // of an arc: radians, from the x axis to the y axis (down)
  std::int32_t width = 1;

  /// What bounds its pixels.
  [[nodiscard]] KxRect bounds() const noexcept;
  void draw(StrokeTarget& target) const;
};

}  // namespace quillbay
