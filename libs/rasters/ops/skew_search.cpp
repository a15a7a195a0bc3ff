#include "rasters/ops/skew_search.h"

#include <cmath>
#include <numbers>

namespace quillbay {
namespace {

/// Degrees.
constexpr float kRange = 15, kSweepStep = 0.5F, kPrecision = 0.005F;
/// Around an angle that is known already, and how far from it another finding may be.
constexpr float kNearRange = 1, kSame = 0.2F;
/// Least ratio of the best to the worst alignment of lines.
constexpr float kLeastConfidence = 3;
constexpr int kSweepReduction = 4;

struct Finding {
  l_float32 angle = 0, confidence = 0;
};

/// Degrees that straighten the horizontal lines, clockwise; to less than what shifts a line's end by half a pixel
/// all angles are the same to the search, which ends at one end of them.
std::optional<Finding> searchAround(PIX* ink, int reduction, float centre, float range) {
  Finding found;
  const l_ok failed =
      pixFindSkewSweepAndSearchScorePivot(ink, &found.angle, &found.confidence, nullptr, kSweepReduction, reduction,
                                          centre, range, kSweepStep, kPrecision, L_SHEAR_ABOUT_CENTER);
  if (failed) return std::nullopt;
  return found;
}

/// The middle between both ends: of a picture and its mirror image the search finds one each.
std::optional<float> searchBothWays(PIX* ink, int reduction) {
  const auto found = searchAround(ink, reduction, 0, kRange);
  if (!found || found->confidence < kLeastConfidence) return std::nullopt;
  const PixPtr mirror = madePix(pixFlipLR(nullptr, ink));
  const auto mirrored = searchAround(mirror.get(), reduction, -found->angle, kNearRange);
  const bool isSame = mirrored && std::abs(found->angle + mirrored->angle) < kSame;
  return isSame ? (found->angle - mirrored->angle) / 2 : found->angle;
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
