#include "analysis/scan_rectangle.h"

namespace quillbay {

namespace {
constexpr double kTolerance = 0.001;
}

tagRRECT computeScanRectangle(const ScanRectangleInput& in) noexcept {
  const double given = in.area.width();
  double left = in.area.left;
  double width = given;
  if (in.addWidthPercent != 0) width += in.addWidthPercent * width * 0.01;
  if (width - kTolerance <= in.minWidth) width = in.minWidth;
  if (width >= in.bedWidth - kTolerance) width = in.bedWidth;

  if (in.centre && !in.fragment && !in.areaWasFound) {
    left = in.bedWidth * 0.5 - width * 0.5;
  } else {
    left -= width * 0.5 - given * 0.5;
  }
  if (left - kTolerance <= 0) left = 0;
  if (left + width - kTolerance > in.bedWidth) left = in.bedWidth - width;
  return {left, in.area.top, left + width, in.area.bottom};
}

tagRRECT applyLengthRule(tagRRECT rect, std::int32_t scanType) noexcept {
  if (scanType == kAreaAutoWidth || scanType == kAreaFixedWidth) rect.bottom = rect.top;
  return rect;
}

tagRRECT boxOfSheet(const tagRRECT& scanned, const tagRRECT& found) noexcept {
  return {scanned.left, found.top, scanned.right, found.bottom};
}

}  // namespace quillbay
