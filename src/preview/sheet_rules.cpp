#include "preview/sheet_rules.h"

#include <algorithm>
#include <cmath>

#include "analysis/sheet_model.h"
#include "view/view_transform.h"

namespace quillbay {

namespace {

constexpr double kHandleReach = 5, kEdgeReach = 4;  // pixels around a handle and beside an edge
constexpr double kKnobRoom = 18;                    // pixels from the upper edge, to its inner side
constexpr double kLeastSide = 10;                   // mm

tagRPOINT between(const tagRPOINT& a, const tagRPOINT& b) noexcept { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

double dot(const tagRPOINT& a, const tagRPOINT& b) noexcept { return a.x * b.x + a.y * b.y; }

bool isNear(const tagRPOINT& p, double x, double y) noexcept {
  return std::abs(p.x - x) <= kHandleReach && std::abs(p.y - y) <= kHandleReach;
}

double distance(const tagRPOINT& a, const tagRPOINT& b, const tagRPOINT& p) noexcept {
  const tagRPOINT way{b.x - a.x, b.y - a.y};
  const double length = dot(way, way);
  const double t = length > 0 ? std::clamp(dot({p.x - a.x, p.y - a.y}, way) / length, 0.0, 1.0) : 0;
  return std::hypot(a.x + t * way.x - p.x, a.y + t * way.y - p.y);
}

Sheet moved(Sheet sheet, const tagRPOINT& by) noexcept {
  sheet.centre.x += by.x;
  sheet.centre.y += by.y;
  return sheet;
}

/// One side changes by `by`; its edge at `end` (1 right or lower, -1 left or upper) moves, the other one stays.
void stretch(Sheet& sheet, double& side, const tagRPOINT& direction, double by, int end) noexcept {
  const double change = std::max(by * end, kLeastSide - side);
  side += change;
  sheet = moved(sheet, {direction.x * change / 2 * end, direction.y * change / 2 * end});
}

/// The angle of the way from the sheet's centre to `p`, in the convention of straightening.
double angleTo(const Sheet& sheet, const tagRPOINT& p) noexcept {
  return std::atan2(-(p.x - sheet.centre.x), -(p.y - sheet.centre.y));
}

}  // namespace

SheetPlaces placesOf(const Sheet& sheet, const CRTfm& view) noexcept {
  SheetPlaces out;
  const auto corners = sheet.corners();
  for (std::size_t i = 0; i < 4; ++i) out.corners[i] = view::toClient(view, corners[i]);
  for (std::size_t i = 0; i < 4; ++i) {
    out.handles[2 * i] = out.corners[i];
    out.handles[2 * i + 1] = between(out.corners[i], out.corners[(i + 1) % 4]);
  }
  const tagRPOINT top = out.handles[kTop], bottom = out.handles[kBottom];
  const double length = std::hypot(bottom.x - top.x, bottom.y - top.y);
  const double part = length > 0 ? std::min(kKnobRoom / length, 0.5) : 0;
  out.knob = {top.x + (bottom.x - top.x) * part, top.y + (bottom.y - top.y) * part};
  return out;
}

int sheetZoneAt(const SheetPlaces& places, double x, double y) noexcept {
  if (isNear(places.knob, x, y)) return kSheetZones + kTurn;
  for (int zone = kTopLeft; zone < kWhole; ++zone) {
    if (isNear(places.handles[static_cast<std::size_t>(zone)], x, y)) return kSheetZones + zone;
  }
  for (std::size_t i = 0; i < 4; ++i) {
    if (distance(places.corners[i], places.corners[(i + 1) % 4], {x, y}) <= kEdgeReach) return kSheetZones + kWhole;
  }
  return kNoZone;
}

Sheet draggedSheet(const Sheet& before, int zone, const tagRPOINT& start, const tagRPOINT& at) noexcept {
  const tagRPOINT by{at.x - start.x, at.y - start.y};
  if (zone == kWhole) return moved(before, by);
  if (zone == kTurn) return turnedSheet(before, angleTo(before, at) - angleTo(before, start));
  Sheet sheet = before;
  const tagRPOINT across = before.across(), down = before.down();
  const bool isLeft = zone == kTopLeft || zone == kBottomLeft || zone == kLeft;
  const bool isRight = zone == kTopRight || zone == kBottomRight || zone == kRight;
  const bool isTop = zone >= kTopLeft && zone <= kTopRight;
  const bool isBottom = zone >= kBottomRight && zone <= kBottomLeft;
  if (isLeft || isRight) stretch(sheet, sheet.width, across, dot(by, across), isLeft ? -1 : 1);
  if (isTop || isBottom) stretch(sheet, sheet.height, down, dot(by, down), isTop ? -1 : 1);
  return sheet;
}

Sheet turnedSheet(Sheet sheet, double by) noexcept {
  sheet.angle = std::clamp(sheet.angle + by, -kMostTurn, kMostTurn);
  return sheet;
}

Sheet steppedSheet(const Sheet& sheet, FrameStep step, bool large, bool resizes) noexcept {
  // A frame of the sheet's own edges takes the step; its corner is where it starts.
  const tagRRECT own = stepped({0, 0, sheet.width, sheet.height}, step, large, resizes);
  if (!resizes) return moved(sheet, {own.left, own.top});
  const bool isAcross = step == FrameStep::Left || step == FrameStep::Right;
  const tagRPOINT direction = isAcross ? sheet.across() : sheet.down();
  const double by = isAcross ? own.right - sheet.width : own.bottom - sheet.height;
  return draggedSheet(sheet, isAcross ? kRight : kBottom, {}, {direction.x * by, direction.y * by});
}

DetectedArea correctedArea(const Sheet& sheet, const ScanValues& values) noexcept {
  DetectedArea area;
  area.by = DetectedBy::User;
  area.angle = std::abs(sheet.angle) > kLeastSkew ? sheet.angle : 0;
  tagRRECT box = boxAround(sheet);
  const double right = std::max(0.0, box.right - values.bedWidth), left = std::max(0.0, -box.left);
  const double dx = left > 0 ? left : -right, dy = std::max(0.0, -box.top);
  box = {std::max(0.0, box.left + dx), box.top + dy, std::min(values.bedWidth, box.right + dx), box.bottom + dy};
  area.box = box;
  const Sheet held = sheetIn(box, area.angle, values.scanType);
  area.sheet = {held.width, held.height};
  return area;
}

}  // namespace quillbay
