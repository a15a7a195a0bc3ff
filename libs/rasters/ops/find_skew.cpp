#include <algorithm>
#include <numbers>

#include "rasters/ops/op_support.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/small_picture.h"

namespace quillbay {
namespace {

/// Pixels of the picture's shorter and longer side at most; of a long roll the middle is looked at.
constexpr double kShortSide = 2400, kLongSide = 6000;
/// Degrees.
constexpr float kRange = 15, kSweepStep = 0.5F, kPrecision = 0.005F;
/// Least ratio of the best to the worst alignment of lines.
constexpr float kLeastConfidence = 3;

/// Lines and edges as foreground: what is darker than its surroundings. A scanner's bed has none.
PixPtr inkOf(PIX* grey) {
  constexpr l_int32 kHalfWindow = 12;
  constexpr l_float32 kFactor = 0.3F;
  PIX* ink = nullptr;
  pixSauvolaBinarizeTiled(grey, kHalfWindow, kFactor, 1, 1, nullptr, &ink);
  return madePix(ink);
}

/// Degrees that straighten the horizontal lines, clockwise; to less than what shifts a line's end by half a pixel
/// all angles are the same to the search, which ends at one end of them.
std::optional<float> searchSkew(PIX* ink) {
  l_float32 angle = 0, confidence = 0;
  const l_ok failed = pixFindSkewSweepAndSearchScorePivot(ink, &angle, &confidence, nullptr, 4, 1, 0, kRange,
                                                          kSweepStep, kPrecision, L_SHEAR_ABOUT_CENTER);
  if (failed || confidence < kLeastConfidence) return std::nullopt;
  return angle;
}

/// The middle between both ends: of a picture and its mirror image the search finds one each.
std::optional<float> skewOf(PIX* ink) {
  const auto angle = searchSkew(ink);
  if (!angle) return std::nullopt;
  const auto mirrored = searchSkew(madePix(pixFlipLR(nullptr, ink)).get());
  return mirrored ? (*angle - *mirrored) / 2 : *angle;
}

}  // namespace

std::optional<double> findSkew(IRStor* source, IProgress* progress) {
  requireLines(source);
  const KxSize size{storedWidth(*source), source->GetHeight()};
  OpProgress step(progress, 4);
  if (std::min(size.width, size.height) < 64) return std::nullopt;
  const double scale = std::min(1.0, kShortSide / std::min(size.width, size.height));
  const auto most = static_cast<std::int32_t>(kLongSide / scale);
  const std::int32_t left = std::max(0, (size.width - most) / 2), top = std::max(0, (size.height - most) / 2);
  const KxRect part{left, top, size.width - left, size.height - top};
  const SmallPicture small = drawSmall(*source, part, scale, progress);
  if (!small.grey || !step.reached(2)) return std::nullopt;
  const PixPtr ink = inkOf(small.grey.get());
  if (!step.reached(3)) return std::nullopt;
  auto degrees = skewOf(ink.get());
  // Some pages have upright lines only.
  if (!degrees) degrees = skewOf(madePix(pixRotate90(ink.get(), 1)).get());
  if (!degrees || !step.reached(4)) return std::nullopt;
  return *degrees * std::numbers::pi / 180;
}

}  // namespace quillbay
