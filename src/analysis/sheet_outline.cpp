#include "analysis/sheet_outline.h"

#include <cmath>
#include <numbers>

#include "analysis/scan_rectangle.h"
#include "analysis/sheet_model.h"

namespace quillbay {

tagRPOINT moved(const tagRPOINT& from, const tagRPOINT& direction, double by) noexcept {
  return {from.x + direction.x * by, from.y + direction.y * by};
}

tagRPOINT Sheet::across() const noexcept { return {std::cos(angle), -std::sin(angle)}; }

tagRPOINT Sheet::down() const noexcept { return {std::sin(angle), std::cos(angle)}; }

std::array<tagRPOINT, 4> Sheet::corners() const noexcept {
  const tagRPOINT top = moved(centre, down(), -height / 2), bottom = moved(centre, down(), height / 2);
  const double half = width / 2;
  return {moved(top, across(), -half), moved(top, across(), half), moved(bottom, across(), half),
          moved(bottom, across(), -half)};
}

Sheet sheetIn(const tagRRECT& box, double angle, std::int32_t scanType) noexcept {
  const Sheet upright{{(box.left + box.right) / 2, (box.top + box.bottom) / 2}, box.width(), box.height(), 0};
  const double a = std::abs(angle);
  if (!(a > kLeastSkew) || a > std::numbers::pi / 4 + kLeastSkew) return upright;
  const double modelled = scanType == kAreaAutoWidth ? box.width() * kSheetLength : box.height();
  Sheet sheet = upright;
  sheet.angle = angle;
  sheet.width = sheetWidth(box.width(), modelled, a);
  sheet.height = (box.height() - sheet.width * std::sin(a)) / std::cos(a);
  if (!(sheet.width > 0) || !(sheet.height > 0)) return upright;
  // Straightening starts at the upper corner that lies on the side of the box.
  const double side = sheet.width * std::sin(a);
  const tagRPOINT corner =
      angle > 0 ? tagRPOINT{box.left, box.top + side} : tagRPOINT{box.right - sheet.width * std::cos(a), box.top};
  sheet.centre = moved(moved(corner, sheet.across(), sheet.width / 2), sheet.down(), sheet.height / 2);
  return sheet;
}

tagRRECT boxAround(const Sheet& sheet) noexcept {
  const double c = std::abs(std::cos(sheet.angle)), s = std::abs(std::sin(sheet.angle));
  const double halfWidth = (sheet.width * c + sheet.height * s) / 2;
  const double halfHeight = (sheet.height * c + sheet.width * s) / 2;
  return {sheet.centre.x - halfWidth, sheet.centre.y - halfHeight, sheet.centre.x + halfWidth,
          sheet.centre.y + halfHeight};
}

Sheet straightSheet(const ScanValues& v, double angle) noexcept {
  const tagRRECT scanned =
      computeScanRectangle({v.rcScan, v.addWidthPercent, v.bedWidth, v.minWidth, v.center != 0, false, true});
  return sheetIn(boxOfSheet(scanned, v.rcScan), angle, v.scanType);
}

}  // namespace quillbay
