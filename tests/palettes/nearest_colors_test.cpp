#include "palettes/nearest_colors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "quillbay/palette.h"

namespace quillbay {
namespace {

using Palette = std::vector<KXRGBQUAD>;

std::size_t searched(const Palette& palette, KXRGBQUAD color) {
  std::size_t best = 0;
  for (std::size_t i = 1; i < palette.size(); ++i)
    if (colorDistance(palette[i], color) < colorDistance(palette[best], color)) best = i;
  return best;
}

/// Palettes in which entries are far apart, close together, and there twice.
Palette somePalette(std::mt19937& random, std::size_t count, unsigned levels, unsigned step) {
  Palette palette;
  const auto level = [&] { return static_cast<std::uint8_t>(std::min(random() % levels * step, 255UL)); };
  for (std::size_t i = 0; i < count; ++i) palette.push_back({level(), level(), level(), 0});
  return palette;
}

TEST(NearestColors, IsTheFullSearchWithTiesToTheEarlierEntry) {
  std::mt19937 random(11);
  struct Case {
    std::size_t count;
    unsigned levels, step;
  };
  const Case cases[] = {{256, 256, 1}, {256, 40, 2}, {256, 5, 64}, {16, 256, 1}, {2, 2, 255}, {1, 256, 1}};
  for (const Case& c : cases) {
    const Palette palette = somePalette(random, c.count, c.levels, c.step);
    NearestColors colors(palette);
    std::vector<std::uint8_t> rgb(3 * 5003), out(5003);
    for (std::uint8_t& v : rgb) v = static_cast<std::uint8_t>(random());
    colors.mapRgb(rgb.data(), out.size(), out.data());
    for (std::size_t i = 0; i < out.size(); ++i) {
      const KXRGBQUAD color{rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], 0};
      ASSERT_EQ(out[i], searched(palette, color)) << c.count << " entries, pixel " << i;
      ASSERT_EQ(colors.nearest(color), out[i]);
    }
    colors.mapRgb(rgb.data(), out.size(), rgb.data());
    EXPECT_TRUE(std::equal(out.begin(), out.end(), rgb.begin())) << "a line mapped in its own place";
  }
}

TEST(NearestColors, TakesPalettesWithoutEntriesAndWithTooMany) {
  NearestColors none({});
  EXPECT_EQ(none.nearest({200, 100, 50, 0}), 0);
  Palette many(300, KXRGBQUAD{0, 0, 0, 0});
  many[255] = {255, 255, 255, 0};
  many[256] = {250, 250, 250, 0};
  NearestColors colors(many);
  EXPECT_EQ(colors.nearest({200, 200, 200, 255}), 255);
  EXPECT_EQ(colors.nearest({250, 250, 250, 0}), 255) << "entries beyond 256 are not taken";
}

}  // namespace
}  // namespace quillbay
