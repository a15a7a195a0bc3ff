#include "params/scan_values.h"

namespace quillbay {

KxColorSpace colorSpaceOfMode(std::int32_t mode) noexcept {
  if (isBitonalMode(mode)) return KxColorSpace::Bitonal;
  if (mode == kModeGrey) return KxColorSpace::Grey;
  return mode == kModePalette ? KxColorSpace::Palette : KxColorSpace::Rgb;
}

ColorClass colorClassOf(KxColorSpace colorSpace) noexcept {
  switch (colorSpace) {
    case KxColorSpace::Bitonal:
    case KxColorSpace::BitonalRle: return kClassBitonal;
    case KxColorSpace::Grey: return kClassGrey;
    case KxColorSpace::Palette: return kClassPalette;
    default: return kClassColor;
  }
}

const char* modeName(std::int32_t mode) noexcept {
  static constexpr const char* kNames[] = {"BW Threshold",     "BW Adaptive", "BW Copy Normal", "BW Copy Photo",
                                           "BW Copy Adaptive", "Greyscale",   "Palette",        "RGB"};
  return mode >= 0 && mode < 8 ? kNames[mode] : "";
}

const char* modeShortName(std::int32_t mode) noexcept {
  if (isBitonalMode(mode)) return "BW";
  switch (mode) {
    case kModeGrey: return "GreyScale";
    case kModePalette: return "Palette";
    case kModeRgb: return "RGB";
    default: return "";
  }
}

}  // namespace quillbay
