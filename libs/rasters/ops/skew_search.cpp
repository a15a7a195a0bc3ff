#include "rasters/ops/skew_search.h"

#include <numbers>

namespace quillbay {
namespace {

/// Degrees.
constexpr float kRange = 15, kSweepStep = 0.5F, kPrecision = 0.005F;
/// Least ratio of the best to the worst alignment of lines.
constexpr float kLeastConfidence = 3;
constexpr int kSweepReduction = 4;

/// Degrees that straighten the horizontal lines, clockwise; to less than what shifts a line's end by half a pixel
/// all angles are the same to the search, which ends at one end of them.
std::optional<float> searchOneWay(PIX* ink, int reduction) {
  l_float32 angle = 0, confidence = 0;
  const l_ok failed =
      pixFindSkewSweepAndSearchScorePivot(ink, &angle, &confidence, nullptr, kSweepReduction, reduction, 0, kRange,
                                          kSweepStep, kPrecision, L_SHEAR_ABOUT_CENTER);
  if (failed || confidence < kLeastConfidence) return std::nullopt;
  return angle;
}

/// The middle between both ends: of a picture and its mirror image the search finds one each.
std::optional<float> searchBothWays(PIX* ink, int reduction) {
  const auto angle = searchOneWay(ink, reduction);
  if (!angle) return std::nullopt;
  const auto mirrored = searchOneWay(madePix(pixFlipLR(nullptr, ink)).get(), reduction);
  return mirrored ? (*angle - *mirrored) / 2 : *angle;
}

}  // namespace

std::optional<double> searchSkew(PIX* ink, int reduction) {
  auto degrees = searchBothWays(ink, reduction);
  // Some pages have upright lines only.
  if (!degrees) degrees = searchBothWays(madePix(pixRotate90(ink, 1)).get(), reduction);
  if (!degrees) return std::nullopt;
  return *degrees * std::numbers::pi / 180;
}

}  // namespace quillbay
