#pragma once

namespace quillbay {

/// What a black-and-white mode (0-4) can be adjusted by. The meanings:
/// - `level`, 0-255: grey below it becomes black, so that a higher one gives a darker page. "BW Adaptive": the
///   lightness that separates paper from dark sheets and solid ink; "BW Copy Photo" and "BW Copy Adaptive":
///   brightness.
/// - `suppression`, 0-100 per cent, modes 1 and 4: how far the level follows the background around a pixel.
/// - `sharpness`, -8 to 8: below 0 softens (-8: the mean of 3 x 3 pixels), above sharpens.
/// - `blur`, 0-4: pixels to each side of which a pixel becomes the mean, against noise and printed screens.
struct BwSettings {
  int level = 128, suppression = 0, sharpness = 0, blur = 0;
  bool operator==(const BwSettings&) const = default;

  [[nodiscard]] bool filters() const noexcept { return sharpness != 0 || blur != 0; }
};

struct BwRange {
  int initial, least, most;
};

inline constexpr BwRange kSuppressionRange{85, 0, 100};
inline constexpr BwRange kSharpnessRange{0, -8, 8};
inline constexpr BwRange kBlurRange{0, 0, 4};
/// Of a black-and-white mode.
[[nodiscard]] constexpr BwRange levelRange(int mode) noexcept { return {mode == 1 ? 64 : 128, 0, 255}; }
/// Whether a mode has a background suppression.
[[nodiscard]] constexpr bool suppressesBackground(int mode) noexcept { return mode == 1 || mode == 4; }

}  // namespace quillbay
