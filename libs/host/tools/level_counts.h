#pragma once
#include <array>
#include <cstdint>

#include "host/tools/curve_set.h"
#include "quillbay/tools.h"

namespace quillbay {

/// How many pixels of a picture have each level.
using LevelCounts = std::array<std::uint32_t, 256>;

/// Of the three channels, and of the brightness for the common curve.
struct PictureLevels {
  std::array<LevelCounts, kCurveChannels> counts{};
};

[[nodiscard]] PictureLevels countLevels(const ToolPicture& picture);

/// Heights from 0 to 1 to draw counts with: by their square roots, so that few pixels are seen beside many; the few
/// levels of paper or bed that most pixels have reach the top together with those half as frequent.
[[nodiscard]] std::array<float, 256> barHeights(const LevelCounts& counts);

}  // namespace quillbay
