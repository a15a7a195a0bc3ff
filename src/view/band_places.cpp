#include "view/band_places.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/shape_math.h"

namespace quillbay {
namespace {

using Element = CRPolyVector::Element;

/// A piece of a slanted line covers about so many pixels across: smaller ones are more to paint than they spare.
constexpr double kPiecePixels = 24;
constexpr double kMostPieces = 64;

bool touches(const CRRect& a, const CRRect& b) {
  return a.left <= b.right && b.left <= a.right && a.top <= b.bottom && b.top <= a.bottom;
}

void linePlaces(const CRLine& line, const CRRect& visible, double pixel, std::vector<CRRect>* places) {
  const auto clipped = shape::clipped(line, visible);
  if (!clipped) return;
  const CRLine part = *clipped;
  const double dx = part.to.x - part.from.x, dy = part.to.y - part.from.y;
  const int count = static_cast<int>(
      std::clamp(std::ceil(std::min(std::abs(dx), std::abs(dy)) / (kPiecePixels * pixel)), 1.0, kMostPieces));
  const auto at = [&](int i) { return CRPoint{part.from.x + dx * i / count, part.from.y + dy * i / count}; };
  for (int i = 0; i < count; ++i) places->push_back(shape::spanned(at(i), at(i + 1)));
}

/// Pieces end where the circle is level or upright: their corners bound them.
void circlePlaces(const CRCircle& circle, const CRRect& visible, double pixel, std::vector<CRRect>* places) {
  constexpr int kQuadrants = 4;
  constexpr double kMostPerQuadrant = 32;
  const int count = kQuadrants * static_cast<int>(std::clamp(std::ceil(circle.radius / (kPiecePixels * pixel)), 1.0,
                                                             kMostPerQuadrant));
  const auto at = [&](int i) {
    const double angle = 2 * std::numbers::pi * i / count;
    return CRPoint{circle.center.x + circle.radius * std::cos(angle),
                   circle.center.y + circle.radius * std::sin(angle)};
  };
  for (int i = 0; i < count; ++i) {
    const CRRect place = shape::spanned(at(i), at(i + 1));
    if (touches(place, visible)) places->push_back(place);
  }
}

void elementPlaces(const Element& e, const CRRect& visible, double pixel, std::vector<CRRect>* places) {
  switch (e.type) {
    case CRPolyVector::Type::Line: linePlaces({e.from, e.to}, visible, pixel, places); break;
    case CRPolyVector::Type::Arc:
    case CRPolyVector::Type::Circle: circlePlaces({e.from, e.radius}, visible, pixel, places); break;
    case CRPolyVector::Type::Point:
    case CRPolyVector::Type::Path: break;
  }
}

}  // namespace

void placesOfDifference(const CRPolyVector& before, const CRPolyVector& now, const CRRect& visible, double pixel,
                        std::vector<CRRect>* places) {
  const auto& a = before.elements();
  const auto& b = now.elements();
  const std::size_t both = std::min(a.size(), b.size());
  // One may have elements more, at its end or somewhere in it: what is equal from either end has not changed.
  std::size_t tail = 0;
  if (a.size() != b.size()) {
    const auto differs = std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(both), b.begin()).first;
    const auto head = static_cast<std::size_t>(differs - a.begin());
    while (tail < both - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) ++tail;
  }
  const auto add = [&](const std::vector<Element>& own, const std::vector<Element>& other) {
    for (std::size_t i = 0; i < own.size() - tail; ++i) {
      if (i >= other.size() - tail || own[i] != other[i]) elementPlaces(own[i], visible, pixel, places);
    }
  };
  add(a, b);
  add(b, a);
}

void elementsIn(const CRPolyVector& drawing, const CRRect& area, CRPolyVector* out) {
  out->clear();
  for (const Element& e : drawing.elements()) {
    const bool isLine = e.type == CRPolyVector::Type::Line;
    const CRRect bounds =
        isLine ? shape::spanned(e.from, e.to)
               : CRRect{e.from.x - e.radius, e.from.y - e.radius, e.from.x + e.radius, e.from.y + e.radius};
    if (touches(bounds, area)) out->addElement(e);
  }
}

}  // namespace quillbay
