#include <algorithm>

#include "rasters/ops/op_support.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/skew_search.h"
#include "rasters/ops/small_picture.h"

namespace quillbay {
namespace {

/// Pixels of the picture's shorter and longer side at most; of a long roll the middle is looked at.
constexpr double kSkewShortSide = 2400, kSkewLongSide = 6000;

/// Lines and edges as foreground: what is darker than its surroundings. A scanner's bed has none.
PixPtr inkOf(PIX* grey) {
  constexpr l_int32 kHalfWindow = 12;
  constexpr l_float32 kFactor = 0.3F;
  PIX* ink = nullptr;
  pixSauvolaBinarizeTiled(grey, kHalfWindow, kFactor, 1, 1, nullptr, &ink);
  return madePix(ink);
}

}  // namespace

std::optional<double> findSkew(IRStor* source, IProgress* progress) {
  requireLines(source);
  const KxSize size{storedWidth(*source), source->GetHeight()};
  OpProgress step(progress, 4);
  if (std::min(size.width, size.height) < 64) return std::nullopt;
  const double scale = std::min(1.0, kSkewShortSide / std::min(size.width, size.height));
  const auto most = static_cast<std::int32_t>(kSkewLongSide / scale);
  const std::int32_t left = std::max(0, (size.width - most) / 2), top = std::max(0, (size.height - most) / 2);
  const KxRect part{left, top, size.width - left, size.height - top};
  const SmallPicture small = drawSmall(*source, part, scale, progress);
  if (!small.grey || !step.reached(2)) return std::nullopt;
  const PixPtr ink = inkOf(small.grey.get());
  if (!step.reached(3)) return std::nullopt;
  const auto skew = searchSkew(ink.get(), 1);
  return step.reached(4) ? skew : std::nullopt;
}

}  // namespace quillbay
