#include "view/pixel_strokes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillbay {
namespace {

/// Fills the pixels `left`..`right` - 1 of the rows `top`..`bottom` - 1 as far as the target has them.
void fillPixels(StrokeTarget& t, std::int64_t left, std::int64_t top, std::int64_t right, std::int64_t bottom) {
  const KxRect& a = t.area;
  const auto l = static_cast<std::int32_t>(std::max<std::int64_t>(left, a.left));
  const auto r = static_cast<std::int32_t>(std::min<std::int64_t>(right, a.right));
  const auto first = static_cast<std::int32_t>(std::max<std::int64_t>(top, a.top));
  const auto end = static_cast<std::int32_t>(std::min<std::int64_t>(bottom, a.bottom));
  if (l >= r || first >= end) return;
  for (std::int32_t y = first; y < end; ++y) {
    std::fill_n(t.pixels + std::int64_t{y - a.top} * (a.right - a.left) + (l - a.left), r - l, t.color);
  }
  t.touched = {std::min(t.touched.left, l), std::min(t.touched.top, first), std::max(t.touched.right, r),
               std::max(t.touched.bottom, end)};
}

/// The nearest integer to numerator / denominator (> 0), halves upward.
std::int64_t nearest(std::int64_t numerator, std::int64_t denominator) noexcept {
  const std::int64_t doubled = 2 * numerator + denominator, by = 2 * denominator;
  const std::int64_t quotient = doubled / by;
  return doubled % by < 0 ? quotient - 1 : quotient;
}

/// The pixels of a line along its longer axis: for each step one across, `width` thick.
template <class Put>
void walk(std::int64_t fromAlong, std::int64_t toAlong, std::int64_t fromAcross, std::int64_t toAcross,
          std::int64_t first, std::int64_t end, Put&& put) {
  const std::int64_t length = toAlong - fromAlong, rise = toAcross - fromAcross;
  for (std::int64_t i = std::max(fromAlong, first); i <= std::min(toAlong, end - 1); ++i) {
    put(i, fromAcross + (length == 0 ? 0 : nearest((i - fromAlong) * rise, length)));
  }
}

void drawStraight(StrokeTarget& t, KxPoint a, KxPoint b, std::int32_t width) {
  const std::int32_t before = (width - 1) / 2;
  for (const KxPoint& end : {a, b}) {  // square ends, so that corners are whole
    const std::int64_t x = std::int64_t{end.x} - before, y = std::int64_t{end.y} - before;
    fillPixels(t, x, y, x + width, y + width);
  }
  const std::int64_t dx = std::int64_t{b.x} - a.x, dy = std::int64_t{b.y} - a.y;
  if (dy == 0 || dx == 0) {
    const std::int64_t x = std::int64_t{std::min(a.x, b.x)} - before, y = std::int64_t{std::min(a.y, b.y)} - before;
    fillPixels(t, x, y, x + width + std::abs(dx), y + width + std::abs(dy));
  } else if (std::abs(dx) >= std::abs(dy)) {
    if (dx < 0) std::swap(a, b);
    walk(a.x, b.x, a.y, b.y, t.area.left, t.area.right,
         [&](std::int64_t x, std::int64_t y) { fillPixels(t, x, y - before, x + 1, y - before + width); });
  } else {
    if (dy < 0) std::swap(a, b);
    walk(a.y, b.y, a.x, b.x, t.area.top, t.area.bottom,
         [&](std::int64_t y, std::int64_t x) { fillPixels(t, x - before, y, x - before + width, y + 1); });
  }
}

/// Along each axis where the circle is flat to it, so that it has no holes and is one pixel thin.
void drawRound(StrokeTarget& t, const PixelStroke& s) {
  const std::int32_t before = (s.width - 1) / 2;
  const bool whole = std::abs(s.sweep) >= 2 * std::numbers::pi;
  const double first = s.sweep < 0 ? s.start + s.sweep : s.start;
  const auto isPart = [&](double dx, double dy) {
    if (whole) return true;
    double turn = std::fmod(std::atan2(dy, dx) - first, 2 * std::numbers::pi);
    if (turn < 0) turn += 2 * std::numbers::pi;
    return turn <= std::abs(s.sweep);
  };
  const double flat = s.radius * std::numbers::sqrt2 / 2;
  const auto limit = [](double v, std::int32_t low, std::int32_t high) {
    return static_cast<std::int32_t>(std::clamp<double>(v, low, high));
  };
  const auto each = [&](double center, double across, std::int32_t low, std::int32_t high, auto&& put) {
    const std::int32_t begin = limit(std::floor(center - flat), low, high);
    const std::int32_t end = limit(std::ceil(center + flat) + 1, low, high);
    for (std::int32_t i = begin; i < end; ++i) {
      const double off = i - center;
      const double side = std::sqrt(std::max(0.0, s.radius * s.radius - off * off));
      for (const double reach : {-side, side}) {
        const double place = across + reach;
        if (std::abs(place) < 1e9) put(i, std::int64_t{roundHalfUp(place)}, off, reach);
      }
    }
  };
  each(s.center.x, s.center.y, t.area.left, t.area.right,
       [&](std::int64_t x, std::int64_t y, double dx, double dy) {
         if (isPart(dx, dy)) fillPixels(t, x, y - before, x + 1, y - before + s.width);
       });
  each(s.center.y, s.center.x, t.area.top, t.area.bottom,
       [&](std::int64_t y, std::int64_t x, double dy, double dx) {
         if (isPart(dx, dy)) fillPixels(t, x - before, y, x - before + s.width, y + 1);
       });
}

}  // namespace

KxRect PixelStroke::bounds() const noexcept {
  const auto clampToInt = [](double v) { return static_cast<std::int32_t>(std::clamp(v, -1e9, 1e9)); };
  if (radius < 0) {
    return {std::min(from.x, to.x) - width, std::min(from.y, to.y) - width, std::max(from.x, to.x) + width + 1,
            std::max(from.y, to.y) + width + 1};
  }
  const double reach = radius + width + 1;
  return {clampToInt(center.x - reach), clampToInt(center.y - reach), clampToInt(center.x + reach + 1),
          clampToInt(center.y + reach + 1)};
}

void PixelStroke::draw(StrokeTarget& target) const {
  const KxRect b = bounds();
  const KxRect& a = target.area;
  if (b.left >= a.right || b.right <= a.left || b.top >= a.bottom || b.bottom <= a.top) return;
  if (radius < 0) {
    drawStraight(target, from, to, width);
  } else {
    drawRound(target, *this);
  }
}

}  // namespace quillbay
