#include "widgets/poly_outline.h"

#include <QPolygon>

namespace quillbay {

QRegion regionOf(const PolyEdges& edges) {
  QPolygon polygon;
  for (const PolyEdge& edge : edges) polygon << edge.start;
  const QRegion inner(polygon, Qt::OddEvenFill);
  QRegion wide;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) wide |= inner.translated(dx, dy);
  }
  return wide;
}

QRgb colourOf(const PolyEdge& edge, const PolyState& state) noexcept {
  if (state.selected) return edge.pressed;
  if (state.disabled && !state.focused) return edge.disabled;
  return state.hot ? edge.hot : edge.normal;
}

}  // namespace quillbay
