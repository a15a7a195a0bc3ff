#include "host/tools/level_counts.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "quillbay/palette.h"

namespace quillbay {

namespace {
constexpr std::size_t kCutLevels = 4;  // that may be higher than what is shown
}  // namespace

PictureLevels countLevels(const ToolPicture& picture) {
  PictureLevels levels;
  auto& [common, red, green, blue] = levels.counts;
  for (std::int32_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.pixels + picture.stride * static_cast<std::size_t>(y);
    for (std::int32_t x = 0; x < picture.width; ++x) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, row + static_cast<std::size_t>(x) * sizeof pixel, sizeof pixel);
      const std::uint32_t r = pixel >> 16 & 0xff, g = pixel >> 8 & 0xff, b = pixel & 0xff;
      ++red[r];
      ++green[g];
      ++blue[b];
      ++common[greyOf(r, g, b)];
    }
  }
  return levels;
}

std::array<float, 256> barHeights(const LevelCounts& counts) {
  LevelCounts sorted = counts;
  std::nth_element(sorted.begin(), sorted.end() - 1 - kCutLevels, sorted.end());
  const std::uint32_t usual = sorted[sorted.size() - 1 - kCutLevels];
  const std::uint32_t most = *std::max_element(counts.begin(), counts.end());
  // With fewer levels than are cut off, such as in a picture of two colours, all are shown as they are.
  const float top = static_cast<float>(usual > 0 ? std::min(most, usual * 2) : most);
  std::array<float, 256> heights{};
  for (std::size_t i = 0; i < counts.size(); ++i)
    heights[i] = top > 0 ? std::min(1.F, std::sqrt(static_cast<float>(counts[i]) / top)) : 0;
  return heights;
}

}  // namespace quillbay
