#pragma once
/// Shapes in a document: millimetres, y pointing up.
#include <cmath>
#include <vector>

#include "quillbay/geometry.h"

namespace quillbay {

using CRPoint = tagRPOINT;
/// A rectangle along the axes; normalised: left <= right, top <= bottom (so `bottom` is the upper edge on the
/// screen).
using CRRect = tagRRECT;

/// A segment between two points.
struct CRLine {
  CRPoint from, to;
  bool operator==(const CRLine&) const = default;
  [[nodiscard]] double length() const noexcept { return std::hypot(to.x - from.x, to.y - from.y); }
};

/// A rectangle that may be turned: from `origin`, `width` along `angle` and `height` to its left (anticlockwise).
/// `angle` is in radians from the x axis, anticlockwise; the sides are not negative.
struct CRFrame {
  CRPoint origin;
  double width = 0, height = 0, angle = 0;
  bool operator==(const CRFrame&) const = default;
};

struct CRCircle {
  CRPoint center;
  double radius = 0;
  bool operator==(const CRCircle&) const = default;
};

/// A line of segments through its points; a closed one also joins the last point with the first.
struct CRPolygon {
  std::vector<CRPoint> points;
  bool closed = true;
  bool operator==(const CRPolygon&) const = default;
};

}  // namespace quillbay
