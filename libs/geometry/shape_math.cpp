#include "platform/shape_math.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace quillbay::shape {

double distance(const CRPoint& a, const CRPoint& b) noexcept { return std::hypot(b.x - a.x, b.y - a.y); }

double direction(const CRPoint& from, const CRPoint& to) noexcept {
  const double radians = std::atan2(to.y - from.y, to.x - from.x);
  return radians == -std::numbers::pi ? std::numbers::pi : radians;  // of a zero with a sign
}

CRRect spanned(const CRPoint& a, const CRPoint& b) noexcept {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

std::optional<CRCircle> circleThrough(const CRPoint& a, const CRPoint& b, const CRPoint& c) noexcept {
  // Where the bisectors of two chords from `a` meet.
  const double bx = b.x - a.x, by = b.y - a.y, cx = c.x - a.x, cy = c.y - a.y;
  const double cross = bx * cy - by * cx;
  const double b2 = bx * bx + by * by, c2 = cx * cx + cy * cy;
  if (!(std::abs(cross) > 8 * std::numeric_limits<double>::epsilon() * std::sqrt(b2) * std::sqrt(c2))) return {};
  const double x = (cy * b2 - by * c2) / (2 * cross), y = (bx * c2 - cx * b2) / (2 * cross);
  const double radius = std::hypot(x, y);
  if (!std::isfinite(radius)) return {};
  return CRCircle{{a.x + x, a.y + y}, radius};
}

double signedArea(const CRPolygon& polygon) noexcept {
  const auto& p = polygon.points;
  double twice = 0;
  for (std::size_t i = 2; i < p.size(); ++i) {
    twice += (p[i - 1].x - p[0].x) * (p[i].y - p[0].y) - (p[i].x - p[0].x) * (p[i - 1].y - p[0].y);
  }
  return twice / 2;
}

double perimeter(const CRPolygon& polygon) noexcept {
  const auto& p = polygon.points;
  double sum = polygon.closed && p.size() > 1 ? distance(p.back(), p.front()) : 0;
  for (std::size_t i = 1; i < p.size(); ++i) sum += distance(p[i - 1], p[i]);
  return sum;
}

std::array<CRPoint, 4> corners(const CRFrame& f) noexcept {
  const double c = std::cos(f.angle), s = std::sin(f.angle);
  const CRPoint right{f.origin.x + f.width * c, f.origin.y + f.width * s};
  const CRPoint up{-f.height * s, f.height * c};
  return {f.origin, right, {right.x + up.x, right.y + up.y}, {f.origin.x + up.x, f.origin.y + up.y}};
}

std::optional<CRFrame> frameOver(const CRPoint& from, const CRPoint& to, const CRPoint& third) noexcept {
  const double width = distance(from, to);
  if (!(width > 0)) return {};
  const double c = (to.x - from.x) / width, s = (to.y - from.y) / width;
  const double height = c * (third.y - from.y) - s * (third.x - from.x);
  CRFrame frame{from, width, std::abs(height), direction(from, to)};
  if (height < 0) frame.origin = {from.x - height * s, from.y + height * c};
  return frame;
}

CRPoint heldTo45(const CRPoint& origin, const CRPoint& at) noexcept {
  const double dx = at.x - origin.x, dy = at.y - origin.y;
  const double x = std::abs(dx), y = std::abs(dy);
  constexpr double kTan = std::numbers::sqrt2 - 1;  // of 22.5 degrees
  if (y <= kTan * x) return {at.x, origin.y};
  if (x <= kTan * y) return {origin.x, at.y};
  const double side = (x + y) / 2;
  return {origin.x + std::copysign(side, dx), origin.y + std::copysign(side, dy)};
}

std::optional<CRLine> clipped(const CRLine& line, const CRRect& area) noexcept {
  const double dx = line.to.x - line.from.x, dy = line.to.y - line.from.y;
  double first = 0, last = 1;
  // Liang and Barsky: for each side the part of the line before or behind it.
  const auto cut = [&](double step, double room) {
    if (step == 0) return room >= 0;
    const double t = room / step;
    if (step < 0) {
      first = std::max(first, t);
    } else {
      last = std::min(last, t);
    }
    return first <= last;
  };
  if (!cut(-dx, line.from.x - area.left) || !cut(dx, area.right - line.from.x) ||
      !cut(-dy, line.from.y - area.top) || !cut(dy, area.bottom - line.from.y)) {
    return {};
  }
  CRLine part = line;
  if (first > 0) part.from = {line.from.x + first * dx, line.from.y + first * dy};
  if (last < 1) part.to = {line.from.x + last * dx, line.from.y + last * dy};
  return part;
}

}  // namespace quillbay::shape
