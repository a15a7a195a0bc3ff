#include "preview/frame_rules.h"

#include <algorithm>
#include <utility>

namespace quillbay {

namespace {

constexpr double kTolerance = 0.001;
constexpr double kLeastHeight = 1.0;
constexpr std::int32_t kHalfHandle = 3;
constexpr double kStep = 1, kLargeStep = 10;

bool exceeds(double value, double limit) { return value - kTolerance > limit; }

void shift(tagRRECT& r, double dx, double dy) {
  r.left += dx;
  r.right += dx;
  r.top += dy;
  r.bottom += dy;
}

bool contains(const KxRect& r, std::int32_t x, std::int32_t y) {
  return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}

}  // namespace

tagRRECT settledFrame(tagRRECT r, const tagRRECT& a, double minWidth, double minHeight) noexcept {
  if (r.left > r.right) std::swap(r.left, r.right);
  if (r.top > r.bottom) std::swap(r.top, r.bottom);
  if (!exceeds(r.width(), minWidth)) r.right = r.left + minWidth;
  if (!exceeds(r.height(), minHeight)) r.bottom = r.top + minHeight;
  if (r.height() >= a.height() - kTolerance) {
    r.top = a.top;
    r.bottom = a.bottom;
  }
  if (r.width() >= a.width() - kTolerance) {
    r.left = a.left;
    r.right = a.right;
  }
  if (!exceeds(r.height(), kLeastHeight)) r.bottom = r.top + kLeastHeight;
  if (!exceeds(r.top, a.top)) shift(r, 0, a.top - r.top);
  if (!exceeds(r.left, a.left)) shift(r, a.left - r.left, 0);
  if (exceeds(r.right, a.right)) shift(r, a.right - r.right, 0);
  if (exceeds(r.bottom, a.bottom)) shift(r, 0, a.bottom - r.bottom);
  return r;
}

tagRRECT centredFrame(const tagRRECT& frame, const tagRPOINT& at) noexcept {
  tagRRECT r = frame;
  shift(r, at.x - (frame.left + frame.right) / 2, at.y - (frame.top + frame.bottom) / 2);
  return r;
}

KxRect handleOf(const KxRect& f, int zone) noexcept {
  if (zone == kWhole) return f;
  const std::int32_t midX = f.left + (f.right - f.left) / 2, midY = f.top + (f.bottom - f.top) / 2;
  const bool isLeft = zone == kTopLeft || zone == kBottomLeft || zone == kLeft;
  const bool isRight = zone == kTopRight || zone == kBottomRight || zone == kRight;
  const bool isTop = zone >= kTopLeft && zone <= kTopRight;
  const bool isBottom = zone >= kBottomRight && zone <= kBottomLeft;
  const std::int32_t x = isLeft ? f.left : isRight ? f.right : midX;
  const std::int32_t y = isTop ? f.top : isBottom ? f.bottom : midY;
  return {x - kHalfHandle, y - kHalfHandle, x + kHalfHandle, y + kHalfHandle};
}

int zoneAt(const KxRect& frame, std::int32_t x, std::int32_t y) noexcept {
  for (int zone = kWhole; zone >= kTopLeft; --zone) {
    if (contains(handleOf(frame, zone), x, y)) return zone;
  }
  return kNoZone;
}

int zoneAt(const KxRect& preview, const KxRect* fragment, std::int32_t x, std::int32_t y) noexcept {
  if (const int zone = zoneAt(preview, x, y); zone != kNoZone || !fragment) return zone;
  const int zone = zoneAt(*fragment, x, y);
  return zone == kNoZone ? kNoZone : zone + kFragmentZones;
}

tagRRECT dragged(tagRRECT f, int zone, const tagRPOINT& start, const tagRPOINT& at) noexcept {
  if (zone == kWhole) {
    shift(f, at.x - start.x, at.y - start.y);
    return f;
  }
  if (zone == kTopLeft || zone == kBottomLeft || zone == kLeft) f.left = at.x;
  if (zone == kTopRight || zone == kBottomRight || zone == kRight) f.right = at.x;
  if (zone >= kTopLeft && zone <= kTopRight) f.top = at.y;
  if (zone >= kBottomRight && zone <= kBottomLeft) f.bottom = at.y;
  return f;
}

tagRRECT stepped(tagRRECT f, FrameStep step, bool large, bool resizes) noexcept {
  const double size = large ? kLargeStep : kStep;
  const double by = step == FrameStep::Left || step == FrameStep::Up ? -size : size;
  const bool across = step == FrameStep::Left || step == FrameStep::Right;
  if (!resizes) {
    shift(f, across ? by : 0, across ? 0 : by);
    return f;
  }
  double& edge = across ? f.right : f.bottom;
  // It does not pass the other edge: that would turn the frame over.
  edge = std::max(edge + by, across ? f.left : f.top);
  return f;
}

std::optional<ActiveFrame> nextFrame(ActiveFrame now, bool hasFragment, bool hasSheet, bool forward) noexcept {
  const int step = forward ? 1 : -1, last = static_cast<int>(ActiveFrame::Sheet);
  for (int at = static_cast<int>(now) + step; at >= 0 && at <= last; at += step) {
    const auto frame = static_cast<ActiveFrame>(at);
    const bool isThere = frame == ActiveFrame::Preview || (frame == ActiveFrame::Fragment ? hasFragment : hasSheet);
    if (isThere) return frame;
  }
  return std::nullopt;
}

std::array<KxPoint, 6> dashOutline(const KxRect& f, int phase) noexcept {
  const std::int32_t right = std::max(f.left, f.right - 1), bottom = std::max(f.top, f.bottom - 1);
  const KxPoint start{std::min(f.left + phase, right), f.top};
  return {start, {right, f.top}, {right, bottom}, {f.left, bottom}, {f.left, f.top}, start};
}

}  // namespace quillbay
