#include "palettes/fill_palette.h"

#include <algorithm>
#include <cstdint>

namespace quillbay {
namespace {

void addMissing(KXRGBQUAD color, std::size_t count, std::vector<KXRGBQUAD>& palette) {
  if (palette.size() >= count || std::find(palette.begin(), palette.end(), color) != palette.end()) return;
  palette.push_back(color);
}

}  // namespace

void fillPalette(std::size_t count, std::vector<KXRGBQUAD>& palette) {
  addMissing({255, 255, 255, 0}, count, palette);
  addMissing({0, 0, 0, 0}, count, palette);
  // A grid of 9 levels has 729 colours, more than a palette.
  for (int steps = 1; palette.size() < count && steps <= 8; steps *= 2) {
    const auto level = [steps](int step) { return static_cast<std::uint8_t>(step * 255 / steps); };
    for (int red = 0; red <= steps; ++red)
      for (int green = 0; green <= steps; ++green)
        for (int blue = 0; blue <= steps; ++blue)
          addMissing({level(red), level(green), level(blue), 0}, count, palette);
  }
}

}  // namespace quillbay
