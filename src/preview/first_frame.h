#pragma once
#include "quillbay/geometry.h"

namespace quillbay {

/// The aspect ratio of the first frame where no view tells its own.
inline constexpr double kFirstFrameAspect = 0.25;

/// The preview frame of a new scan area: half as wide as the area, at least `minWidth`, centred at its top, with
/// the height that `aspect` (height / width) gives, at least `minHeight`. It may be larger than the area.
/// Millimetres.
[[nodiscard]] inline tagRRECT firstFrame(const tagRRECT& area, double aspect, double minWidth,
                                         double minHeight) noexcept {
  constexpr double kTolerance = 0.001;
  double width = area.width() * 0.5;
  if (width - kTolerance <= minWidth) width = minWidth;
  double height = area.width() * 0.5 * aspect;
  if (height - kTolerance <= minHeight) height = minHeight;
  const double left = area.left + (area.width() * 0.5 - width * 0.5);
  return {left, area.top, left + width, area.top + height};
}

}  // namespace quillbay
