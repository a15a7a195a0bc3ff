#include "analysis/palette_cube.h"

#include <gtest/gtest.h>

#include <random>

#include "quillbay/errors.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

using Colors = std::vector<KXRGBQUAD>;

TEST(PaletteCube, FindsTheEntryForAColour) {
  const Colors greys = {{0, 0, 0, 0}, {20, 20, 20, 0}, {40, 40, 40, 0}, {255, 255, 255, 0}};
  struct Case {
    const char* why;
    int divisions;
    Colors palette;
    KXRGBQUAD color;
    std::uint32_t want;
  };
  const Case cases[] = {
      {"an exact match", 8, greys, {40, 40, 40, 0}, 2},
      {"exactly between two goes to the lower index", 8, greys, {10, 10, 10, 0}, 0},
      {"the lower index is not the darker colour", 8, {{20, 0, 0, 0}, {0, 0, 0, 0}}, {10, 0, 0, 0}, 0},
      {"the fourth byte does not count", 8, greys, {20, 20, 20, 255}, 1},
      {"white is in the last cell", 8, greys, {255, 255, 255, 0}, 3},
      {"a neighbour beyond the cell's border is seen", 8, {{33, 0, 0, 0}, {0, 0, 0, 0}}, {31, 0, 0, 0}, 0},
      {"a cell without entries falls back", 8, {{0, 0, 0, 0}, {255, 255, 255, 0}}, {200, 200, 200, 0}, 1},
      {"a tie in such a cell goes to the entry nearer to its centre, which is listed first",
       8,
       {{64, 16, 16, 0}, {16, 62, 16, 0}},
       {17, 15, 16, 0},
       1},
      {"the corners of a last cell are at 255",
       8,
       {{202, 183, 192, 0}, {133, 83, 237, 0}, {197, 159, 151, 0}},
       {247, 248, 126, 0},
       0},
      {"a single entry answers for everything", 8, {{9, 9, 9, 0}}, {255, 0, 255, 0}, 0},
      {"an empty palette answers 0", 8, {}, {1, 2, 3, 0}, 0},
      {"divisions that do not divide 256: the last values", 3, greys, {255, 255, 255, 0}, 3},
      {"one cell is a full search", 1, greys, {29, 29, 29, 0}, 1},
      {"red, green and blue are kept apart",
       8,
       {{255, 0, 0, 0}, {0, 255, 0, 0}, {0, 0, 255, 0}},
       {9, 9, 240, 0},
       2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(CPalletteCube(c.divisions, c.palette).Nearest(c.color), c.want);
  }
}

TEST(PaletteCube, IsExactWhereThePaletteIsDense) {
  // A 6-level grid has an entry within half a cell of every colour, so the candidates hold the nearest one.
  Colors grid;
  for (int b = 0; b < 6; ++b)
    for (int g = 0; g < 6; ++g)
      for (int r = 0; r < 6; ++r)
        grid.push_back({static_cast<std::uint8_t>(r * 51), static_cast<std::uint8_t>(g * 51),
                        static_cast<std::uint8_t>(b * 51), 0});
  const CPalletteCube cube(4, grid);
  const auto level = [](int v) { return static_cast<std::uint32_t>((v + 25) / 51); };
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    const int r = static_cast<int>(random() % 256), g = static_cast<int>(random() % 256),
              b = static_cast<int>(random() % 256);
    ASSERT_EQ(
        cube.Nearest({static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(b), 0}),
        level(b) * 36 + level(g) * 6 + level(r))
        << r << ' ' << g << ' ' << b;
  }
}

TEST(PaletteCube, FindsTheWhiteThatBlankLinesHave) {
  std::mt19937 random(5);
  for (int i = 0; i < 400; ++i) {
    Colors palette;
    const int least = i % 4 * 64;  // none, few or many entries near white
    for (int k = 0; k < 256; ++k) {
      const auto level = [&] {
        return static_cast<std::uint8_t>(least + static_cast<int>(random()) % (256 - least));
      };
      palette.push_back({level(), level(), i % 3 == 0 ? std::uint8_t{0} : level(), 0});
    }
    const auto distance = [&](std::size_t entry) { return colorDistance(palette[entry], {255, 255, 255, 0}); };
    // Equally near entries of a cell without any of its own may come in another order.
    EXPECT_EQ(distance(nearestWhite(palette)), distance(CPalletteCube(8, palette).Nearest({255, 255, 255, 0})))
        << i;
  }
  const Colors sparse{{0, 0, 0, 0}, {207, 255, 255, 0}, {210, 210, 210, 0}};
  EXPECT_EQ(nearestWhite(sparse), 2U) << "an entry in the cell of white goes before a nearer one beside it";
  EXPECT_EQ(CPalletteCube(8, sparse).Nearest({255, 255, 255, 0}), 2U);
}

TEST(PaletteCube, TakesItsLimits) {
  EXPECT_THROW(CPalletteCube(257, {}), CXException);
  EXPECT_THROW(CPalletteCube(0, {}), CXException);
  Colors many(600, KXRGBQUAD{0, 0, 0, 0});
  many[511] = {255, 255, 255, 0};
  many[512] = {200, 0, 0, 0};
  EXPECT_EQ(CPalletteCube(8, many).Nearest({255, 255, 255, 0}), 511u);
  EXPECT_EQ(CPalletteCube(8, many).Nearest({200, 0, 0, 0}), 0u) << "entries beyond 512 are not taken";
}

}  // namespace
}  // namespace quillbay
