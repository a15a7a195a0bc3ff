#include <cmath>
#include <new>
#include <numbers>
#include <span>

#include "platform/binarization.h"
#include "quillbay/errors.h"
#include "quillbay/palette.h"
#include "quillbay/translation.h"
#include "rasters/straighten/run_rotator.h"
#include "rasters/straighten/tone_rotator.h"

namespace quillbay {
namespace {

constexpr double kMostAngle = 60 * std::numbers::pi / 180;

std::uint8_t whiteOf(KxColorSpace colorSpace, const KXRGBQUAD* palette) {
  switch (colorSpace) {
    case KxColorSpace::Four:
      return palette ? static_cast<std::uint8_t>(nearestWhite(std::span(palette, 16))) : std::uint8_t{15};
    case KxColorSpace::Palette:
      return palette ? static_cast<std::uint8_t>(nearestWhite(std::span(palette, 256))) : std::uint8_t{0};
    default: return 255;
  }
}

}  // namespace

KxPtr<IDynamicRasterSampler> CreateDynamicRasterRotator(KxColorSpace colorSpace, std::int32_t sourceWidth,
                                                        KxSize offset, double angle, IRasterFiller* output,
                                                        const KXRGBQUAD* palette) {
  if (!(std::abs(angle) < kMostAngle))
    throw CXIFaceException(Supp_Translate("The page is turned too far to be straightened while it is scanned."));
  if (sourceWidth <= 0 || !output)
    throw CXIFaceException(Supp_Translate("There are no lines that could be straightened."));
  const StraightenFrame frame(sourceWidth, offset, angle);
  try {
    if (isRunList(colorSpace)) return KxPtr<IDynamicRasterSampler>::adopt(new RunRotator(frame, output));
    return KxPtr<IDynamicRasterSampler>::adopt(
        new ToneRotator(colorSpace, frame, whiteOf(colorSpace, palette), output));
  } catch (const std::bad_alloc&) {
    throw CXMemException(Supp_Translate(
        "There is not enough memory to straighten the page. Close other programs, or scan at a lower resolution."));
  }
}

}  // namespace quillbay
