#pragma once
#include "scanners/lines/bw_settings.h"

namespace quillbay {

/// What the modes of grey and colour (5-7) can be adjusted by, beside tone curves. The meanings:
/// - `saturation`, -100 to 100 per cent, modes 6 and 7: -100 leaves grey, 100 doubles a colour's distance from
/// grey.
/// - `sharpness` and `blur`: as in `BwSettings`, for each channel.
struct ColorSettings {
  int saturation = 0, sharpness = 0, blur = 0;
  bool operator==(const ColorSettings&) const = default;
};

inline constexpr BwRange kSaturationRange{0, -100, 100};
/// Colours of a palette that is not a lookup file's.
inline constexpr BwRange kPaletteCountRange{256, 8, 256};

}  // namespace quillbay
