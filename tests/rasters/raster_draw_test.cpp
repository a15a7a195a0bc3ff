#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "raster_tools.h"
#include "support/progress.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr std::uint32_t kBlack = 0xFF000000;

int draw(IRStor& raster, Surface& target, const CRDirectTfm& tfm, IProgress* progress = nullptr) {
  return KxPtr<IRStorDraw>::adopt(raster.GetDrawing())->Draw(&target, tfm, progress);
}

KxPtr<IRStor> rasterOf(KxColorSpace code, std::int32_t width, const std::vector<Bytes>& lines,
                       const std::vector<std::pair<std::size_t, KXRGBQUAD>>& palette = {}) {
  const auto stripe = newStripe(code, width);
  for (const auto& [i, color] : palette) stripe->palette()[i] = color;
  for (const Bytes& line : lines) stripe->add(line);
  KxPtr<IRStor> raster;
  EXPECT_EQ(stripe->CreateRaster(raster.put()), 1);
  return raster;
}

std::uint32_t grey(std::uint32_t v) { return 0xFF000000 | v << 16 | v << 8 | v; }

TEST(RasterDraw, LinesOnePixelThickStayBlackAndThinAt20To1) {
  constexpr std::int32_t kSize = 400;
  const auto across = new_IRStor(Bitonal, kSize, kSize, 300);
  const auto down = new_IRStor(Bitonal, kSize, kSize, 300);
  const auto slanted = new_IRStor(Bitonal, kSize, kSize, 300);
  for (std::uint32_t i = 0; i < kSize; ++i) {
    const Runs atColumn{107, 107, RunEnd};
    const Runs atDiagonal{i, i, RunEnd};
    contextOf(*down, 1)->WriteLine(static_cast<std::int32_t>(i), 0, kSize, atColumn.data());
    contextOf(*slanted, 1)->WriteLine(static_cast<std::int32_t>(i), 0, kSize, atDiagonal.data());
  }
  const Runs whole{0, kSize - 1, RunEnd};
  contextOf(*across, 1)->WriteLine(107, 0, kSize, whole.data());
  const auto a = newSurface(20, 20);
  const auto d = newSurface(20, 20);
  const auto s = newSurface(20, 20);
  const CRDirectTfm tfm{0.05, 0.05, 0, 0};
  ASSERT_EQ(draw(*across, *a, tfm), 1);
  ASSERT_EQ(draw(*down, *d, tfm), 1);
  ASSERT_EQ(draw(*slanted, *s, tfm), 1);
  for (std::int32_t y = 0; y < 20; ++y) {
    Pixels column(20, kWhite);
    column[5] = kBlack;
    Pixels diagonal(20, kWhite);
    diagonal[static_cast<std::size_t>(y)] = kBlack;
    EXPECT_EQ(a->row(y), Pixels(20, y == 5 ? kBlack : kWhite)) << y;
    EXPECT_EQ(d->row(y), column) << y;
    EXPECT_EQ(s->row(y), diagonal) << y;
  }
}

TEST(RasterDraw, ThinLinesKeepTheirInkAtOddReductions) {
  // Wherever a line lies, also between two device pixels, the ink of its row is that of one black pixel.
  const auto raster = new_IRStor(Bitonal, 1000, 30, 300);
  for (const double scale : {1 / 20.3, 1 / 7.1, 1 / 333.0, 0.9, -1 / 20.3}) {
    for (const std::uint32_t x : {0U, 19U, 20U, 21U, 507U, 999U}) {
      const Runs line{x, x, RunEnd};
      for (std::int32_t i = 0; i < 30; ++i) contextOf(*raster, 1)->WriteLine(i, 0, 1000, line.data());
      const auto target = newSurface(1000, 1);
      ASSERT_EQ(draw(*raster, *target, {scale, std::abs(scale), scale < 0 ? 900.0 : 0.0, 0}), 1);
      double ink = 0;
      for (const std::uint32_t p : target->pixels) ink += p == kUntouched ? 0 : 255 - (p & 255);
      EXPECT_NEAR(ink, 255, 3) << scale << " " << x;
    }
  }
}

TEST(RasterDraw, TonesAverageAreas) {
  struct Case {
    const char* what;
    KxPtr<IRStor> raster;
    CRDirectTfm tfm;
    Pixels row;
  };
  const Bytes oddWidth = {0, 90, 255};
  const auto speck = new_IRStor(Bitonal, 20, 20, 300);
  contextOf(*speck, 1)->WriteLine(3, 0, 20, Runs{3, 3, RunEnd}.data());
  const Case cases[] = {
      {"grey 2:1", rasterOf(Grey, 4, {{0, 100, 20, 20}, {100, 0, 20, 41}}), {0.5, 0.5, 0, 0}, {grey(50), grey(25)}},
      {"grey 3:2", rasterOf(Grey, 3, {oddWidth}), {2 / 3.0, 1, 0, 0}, {grey(30), grey(200)}},
      {"grey mirrored", rasterOf(Grey, 3, {oddWidth}), {-2 / 3.0, 1, 2, 0}, {grey(200), grey(30)}},
      {"many lines", rasterOf(Grey, 1, std::vector<Bytes>(70000, Bytes{201})), {1, 1 / 70000.0, 0, 0}, {grey(201)}},
      {"R, G, B", rasterOf(Rgb, 2, {{255, 0, 10, 1, 100, 10}}), {0.5, 1, 0, 0}, {0xFF80320A}},
      {"B, G, R", rasterOf(Bgr, 2, {{255, 0, 10, 1, 100, 10}}), {0.5, 1, 0, 0}, {0xFF0A3280}},
      {"R, G, B, A", rasterOf(Rgba, 2, {{255, 0, 10, 7, 1, 100, 10, 9}}), {0.5, 1, 0, 0}, {0xFF80320A}},
      {"B, G, R, A", rasterOf(Bgra, 2, {{255, 0, 10, 7, 1, 100, 10, 9}}), {0.5, 1, 0, 0}, {0xFF0A3280}},
      {"palette colours, not indices",
       rasterOf(Palette, 2, {{1, 9}}, {{1, {200, 0, 0, 0}}, {9, {0, 100, 0, 0}}}),
       {0.5, 1, 0, 0},
       {0xFF643200}},
      {"a speck of ink: 1/400 of the area, 20 times as dark", speck, {0.05, 0.05, 0, 0}, {grey(255 - 13)}},
      {"4 bits", rasterOf(Four, 4, {{0x0F, 0x33}}), {0.5, 1, 0, 0}, {grey(128), grey(51)}},
      {"the last part of a pixel", rasterOf(Grey, 3, {{10, 30, 77}}), {0.5, 1, 0, 0}, {grey(20), grey(77)}},
  };
  for (const Case& c : cases) {
    const auto target = newSurface(static_cast<std::int32_t>(c.row.size()), 1);
    ASSERT_EQ(draw(*c.raster, *target, c.tfm), 1);
    EXPECT_EQ(target->pixels, c.row) << c.what;
  }
}

TEST(RasterDraw, EvenAreasKeepTheirValueAtAnyReduction) {
  const auto raster = rasterOf(Rgb, 97, std::vector<Bytes>(801, Bytes(291, 173)));
  for (const double scale : {0.013, 0.1, 1 / 3.0, 0.77, 0.999, 1.0, 2.6}) {
    const auto target = newSurface(300, 2200);
    ASSERT_EQ(draw(*raster, *target, {scale, scale * 0.9, 3.3, 1.7}), 1);
    for (const std::uint32_t p : target->pixels) ASSERT_TRUE(p == grey(173) || p == kUntouched) << scale;
    EXPECT_EQ(target->row(2)[4], grey(173)) << scale;
  }
}

TEST(RasterDraw, EnlargingShowsSourcePixels) {
  const auto tones = rasterOf(Grey, 2, {{10, 20}, {30, 40}});
  const auto ink = new_IRStor(Bitonal, 2, 2, 300);
  const Runs left{0, 0, RunEnd};
  contextOf(*ink, 1)->WriteLine(0, 0, 2, left.data());
  const CRDirectTfm tfm{3, 2, 1, 0};
  const std::uint32_t u = kUntouched;
  const auto t = newSurface(8, 4);
  ASSERT_EQ(draw(*tones, *t, tfm), 1);
  EXPECT_EQ(t->row(1), (Pixels{u, grey(10), grey(10), grey(10), grey(20), grey(20), grey(20), u}));
  EXPECT_EQ(t->row(3), (Pixels{u, grey(30), grey(30), grey(30), grey(40), grey(40), grey(40), u}));
  const auto i = newSurface(8, 4);
  ASSERT_EQ(draw(*ink, *i, tfm), 1);
  EXPECT_EQ(i->row(1), (Pixels{u, kBlack, kBlack, kBlack, kWhite, kWhite, kWhite, u}));
  EXPECT_EQ(i->row(2), (Pixels{u, kWhite, kWhite, kWhite, kWhite, kWhite, kWhite, u}));
}

TEST(RasterDraw, AClipShowsItsPartOfTheWholePictureAndNothingElse) {
  for (const KxColorSpace code : {Rgb, Bitonal}) {
    const auto raster = new_IRStor(code, 300, 200, 300);
    for (std::int32_t i = 0; i < 200; ++i) {
      const Runs runs = patternRuns(300, i);
      const Bytes bytes = patternLine(900, i);
      contextOf(*raster, 1)
          ->WriteLine(i, 0, 300,
                      code == Rgb ? static_cast<const void*>(bytes.data()) : static_cast<const void*>(runs.data()));
    }
    for (const CRDirectTfm& tfm : {CRDirectTfm{0.31, 0.27, -4.2, 3.9}, CRDirectTfm{1.7, 1.1, -50, -20}}) {
      const auto whole = newSurface(100, 70);
      const auto part = newSurface(100, 70);
      part->clip = {13, 11, 57, 400};  // reaches beyond the surface
      ASSERT_EQ(draw(*raster, *whole, tfm), 1);
      ASSERT_EQ(draw(*raster, *part, tfm), 1);
      for (std::int32_t y = 0; y < 70; ++y) {
        Pixels expected(100, kUntouched);
        const Pixels all = whole->row(y);
        if (y >= 11) std::copy(all.begin() + 13, all.begin() + 57, expected.begin() + 13);
        ASSERT_EQ(part->row(y), expected) << y;
      }
    }
  }
}

TEST(RasterDraw, ACancelledDrawingAnswersSo) {
  Progress cancelled(0);
  const auto raster = new_IRStor(Grey, 10, 10, 300);
  const auto target = newSurface(10, 10);
  EXPECT_EQ(draw(*raster, *target, {}, &cancelled), 0);
  EXPECT_EQ(target->pixels, Pixels(100, kUntouched));
}

}  // namespace
}  // namespace quillbay::test
