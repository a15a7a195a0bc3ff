#include "tools/outline_area.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace desktop {

namespace {

using quillbay::CRPoint;

/// A segment that is not level, upper end first.
struct Slant {
  CRPoint top, bottom;
  [[nodiscard]] double at(double y) const { return top.x + (y - top.y) * (bottom.x - top.x) / (bottom.y - top.y); }
};

std::vector<Slant> slantsOf(const std::vector<CRPoint>& points) {
  std::vector<Slant> slants;
  slants.reserve(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const CRPoint& a = points[i];
    const CRPoint& b = points[(i + 1) % points.size()];
    if (a.y != b.y) slants.push_back(a.y < b.y ? Slant{a, b} : Slant{b, a});
  }
  std::sort(slants.begin(), slants.end(), [](const Slant& a, const Slant& b) { return a.top.y < b.top.y; });
  return slants;
}

/// Where two segments change sides between two heights that both have.
std::optional<double> crossing(const Slant& a, const Slant& b) {
  const double top = std::max(a.top.y, b.top.y), bottom = std::min(a.bottom.y, b.bottom.y);
  if (top >= bottom) return std::nullopt;
  const double before = a.at(top) - b.at(top), after = a.at(bottom) - b.at(bottom);
  if (!((before < 0 && after > 0) || (before > 0 && after < 0))) return std::nullopt;
  return top + (bottom - top) * before / (before - after);
}

/// Calls `take(next, active)` for each segment, downwards, with those before it that reach its height.
template <class Take>
void sweep(const std::vector<Slant>& slants, Take&& take) {
  std::vector<const Slant*> active;
  for (const Slant& next : slants) {
    std::erase_if(active, [&](const Slant* s) { return s->bottom.y <= next.top.y; });
    take(next, active);
    active.push_back(&next);
  }
}

/// The heights between which no segment ends or crosses another.
std::vector<double> heightsOf(const std::vector<Slant>& slants) {
  std::vector<double> heights;
  heights.reserve(2 * slants.size());
  sweep(slants, [&](const Slant& next, const std::vector<const Slant*>& active) {
    heights.push_back(next.top.y);
    heights.push_back(next.bottom.y);
    for (const Slant* other : active) {
      if (const auto y = crossing(next, *other)) heights.push_back(*y);
    }
  });
  std::sort(heights.begin(), heights.end());
  heights.erase(std::unique(heights.begin(), heights.end()), heights.end());
  return heights;
}

}  // namespace

/// Between two heights the outline's parts are trapeziums, as wide on average as in their middle.
double outlineArea(const quillbay::CRPolygon& outline) {
  const std::vector<Slant> slants = slantsOf(outline.points);
  const std::vector<double> heights = heightsOf(slants);
  std::vector<const Slant*> active;
  std::vector<double> crossings;
  double area = 0;
  std::size_t next = 0;
  for (std::size_t i = 0; i + 1 < heights.size(); ++i) {
    const double top = heights[i], height = heights[i + 1] - top;
    std::erase_if(active, [top](const Slant* s) { return s->bottom.y <= top; });
    for (; next < slants.size() && slants[next].top.y <= top; ++next) active.push_back(&slants[next]);
    crossings.clear();
    for (const Slant* s : active) crossings.push_back(s->at(top + height / 2));
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t c = 0; c + 1 < crossings.size(); c += 2) area += (crossings[c + 1] - crossings[c]) * height;
  }
  return area;
}

}  // namespace desktop
