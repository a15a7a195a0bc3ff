#include "analysis/bound_skew.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "analysis/sheet_model.h"

namespace quillbay {

namespace {

constexpr double kStep = 0.0008726646259972223;   // 0.05 degrees
constexpr double kMostSkew = 0.7853981633975001;  // 45 degrees
constexpr double kPatience = 0.08726646259972222;
constexpr double kLargest = 2147483647.0, kSmallest = -2147483648.0;

struct Point {
  std::int32_t x, y;
};

// Adds a point to one side's chain, whose points go down. Takes out points that no rotation makes outermost: those
// inside the hull, and those between two others of one column, since the rounded products are monotone. Points on a
// slanting edge stay: rounding may put any of them outermost. `side`: 1 keeps the left hull, -1 the right one.
void add(std::vector<Point>* chain, Point p, int side) {
  while (chain->size() >= 2) {
    const Point a = (*chain)[chain->size() - 2], b = chain->back();
    const std::int64_t turn = std::int64_t{b.x - a.x} * (p.y - a.y) - std::int64_t{p.x - a.x} * (b.y - a.y);
    const bool isInside = side * turn > 0;
    if (!isInside && (turn != 0 || a.x != p.x)) break;
    chain->pop_back();
  }
  chain->push_back(p);
}

std::vector<Point> outermost(std::span<const RowExtent> extents) {
  std::vector<Point> left, right;
  for (std::size_t y = 0; y < extents.size(); ++y) {
    if (extents[y].isEmpty()) continue;
    add(&left, {extents[y].left, static_cast<std::int32_t>(y)}, 1);
    add(&right, {extents[y].right, static_cast<std::int32_t>(y)}, -1);
  }
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

double boxArea(std::span<const Point> points, double angle) noexcept {
  const double c = std::cos(angle), s = std::sin(angle);
  double left = kLargest, top = kLargest, right = kSmallest, bottom = kSmallest;
  for (const Point p : points) {
    const double x = p.x * c - p.y * s, y = p.x * s + p.y * c;
    left = std::min(left, x);
    right = std::max(right, x);
    top = std::min(top, y);
    bottom = std::max(bottom, y);
  }
  return (bottom - top) * (right - left);
}

struct Best {
  double area = kLargest, angle = 0;
};

void sweep(std::span<const Point> points, double angle, double step, Best* best) noexcept {
  int misses = 0;
  for (; std::abs(angle) <= kMostSkew; angle += step) {
    const double area = boxArea(points, angle);
    if (area < best->area) {
      *best = {area, angle};
      misses = 0;
    } else if (++misses * kStep > kPatience) {
      return;
    }
  }
}

}  // namespace

double searchSkew(std::span<const RowExtent> extents) {
  const auto points = outermost(extents);
  Best best;
  sweep(points, 0, kStep, &best);
  sweep(points, -kStep, -kStep, &best);
  return best.angle;
}

void widenToPage(KxRect* bounds, double angle) noexcept {
  const double boxWidth = bounds->right - bounds->left, boxHeight = bounds->bottom - bounds->top;
  const double width = sheetWidth(boxWidth, boxHeight, angle), length = width * kSheetLength;
  // The page's corners, turned about the first one.
  const double c = std::cos(angle), s = std::sin(angle);
  const double x[] = {0, width * c, width * c - length * s, -length * s};
  const double pageBox = *std::max_element(x, x + 4) - *std::min_element(x, x + 4);
  const double each = std::trunc(std::abs(boxWidth - pageBox) * 0.5 + 0.5);
  constexpr double kRoom = 1 << 30;  // scans are narrower
  if (!(each < kRoom)) return;
  bounds->left -= static_cast<std::int32_t>(each);
  bounds->right += static_cast<std::int32_t>(each);
}

}  // namespace quillbay
