#pragma once
#include <QPoint>
#include <QRegion>
#include <QRgb>
#include <vector>

namespace quillbay {

/// An edge of a polygonal button: from one point to another in the button's logical pixels, with its colours.
struct PolyEdge {
  QPoint start, end;
  QRgb normal = 0, pressed = 0, further = 0, disabled = 0, hot = 0;
};
using PolyEdges = std::vector<PolyEdge>;

/// What a button looks like now.
struct PolyState {
  bool selected = false;  ///< pressed, or checked
  bool disabled = false;
  bool focused = false;
  bool hot = false;  ///< the pointer is over it
};

/// The polygon of the edges' start points, filled by the odd-even rule and widened by one pixel to all eight sides.
/// Empty without edges.
[[nodiscard]] QRegion regionOf(const PolyEdges& edges);

/// An edge's colour: pressed when selected, disabled when disabled and not focused, hot under the pointer, normal
/// otherwise.
[[nodiscard]] QRgb colourOf(const PolyEdge& edge, const PolyState& state) noexcept;

}  // namespace quillbay
