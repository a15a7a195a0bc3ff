// What tools with a shape do to a raster, beside a plain look at every pixel's centre.
#include "quillbay/raster_edit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "quillbay/errors.h"
#include "quillbay/palette.h"
#include "raster_tools.h"
#include "support/progress.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

constexpr KXRGBQUAD kInk{10, 30, 245, 0};  // an entry of `patternRaster`'s palettes

/// Even-odd, by a ray to the left.
bool holds(const CRPolygon& polygon, double x, double y) {
  bool inside = false;
  for (std::size_t i = 0; i < polygon.points.size(); ++i) {
    const CRPoint& a = polygon.points[i];
    const CRPoint& b = polygon.points[(i + 1) % polygon.points.size()];
    if ((a.y > y) != (b.y > y) && a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y) <= x) inside = !inside;
  }
  return inside;
}
bool holds(const CRCircle& circle, double x, double y) {
  return std::hypot(x - circle.center.x, y - circle.center.y) <= circle.radius;
}
bool holds(const CRRect& r, double x, double y) { return x >= r.left && x < r.right && y >= r.top && y < r.bottom; }
bool holds(const CRFrame& frame, double x, double y) {
  const double dx = x - frame.origin.x, dy = y - frame.origin.y, c = std::cos(frame.angle),
               s = std::sin(frame.angle);
  const double across = dx * c + dy * s, down = dy * c - dx * s;
  return across >= 0 && across < frame.width && down >= 0 && down < frame.height;
}

std::vector<RasterShape> someShapes(double width, double height) {
  std::mt19937 random(7);
  const auto at = [&] {
    std::uniform_real_distribution<double> x(-0.3 * width, 1.3 * width), y(-0.3 * height, 1.3 * height);
    const double across = x(random);
    return CRPoint{across, y(random)};
  };
  std::vector<RasterShape> shapes{CRPolygon{},
                                  CRPolygon{{{5, 5}, {20, 20}}},
                                  CRCircle{{9, 9}, 0},
                                  CRRect{3, 2, 17, 8},
                                  CRRect{-5, 4.5, width + 9, 4.5 + 1e-9},
                                  CRRect{-1e6, -1e6, 1e6, 1e6},
                                  CRRect{2 * width, 0, 3 * width, height}};
  for (const std::size_t corners : {3U, 4U, 9U, 60U}) {
    CRPolygon polygon;
    polygon.points.reserve(corners);
    for (std::size_t i = 0; i < corners; ++i) polygon.points.push_back(at());
    shapes.emplace_back(polygon);
  }
  for (const double radius : {0.3, 7.77, 31.3, 300.1}) shapes.emplace_back(CRCircle{at(), radius});
  for (const double angle : {0.2, 1.9, -2.6}) shapes.emplace_back(CRFrame{at(), 41.7, 22.3, angle});
  return shapes;
}

std::uint32_t pixelOf(KxColorSpace code, KXRGBQUAD c) {
  const std::uint32_t rgb = c.red * 65536U + c.green * 256U + c.blue,
                      bgr = c.blue * 65536U + c.green * 256U + c.red;
  switch (code) {
    case Four:
    case Palette: return c.red;  // what `patternRaster` has there
    case Grey: return greyOf(c.red, c.green, c.blue);
    case Rgb: return rgb;
    case Bgr: return bgr;
    case Rgba: return rgb << 8 | 255;
    case Bgra: return bgr << 8 | 255;
    default: return greyOf(c.red, c.green, c.blue) < 128 ? 1 : 0;
  }
}

TEST(RasterEdit, AShapeIsFilledAsItsPixelsCentresSay) {
  constexpr std::int32_t kWidth = 134, kHeight = 71;
  const auto shapes = someShapes(kWidth, kHeight);
  for (const KxColorSpace code : kCodes) {
    const auto source = patternRaster(code, kWidth, kHeight);
    const auto before = pixelsOf(*source);
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      for (const ShapePart part : {ShapePart::Inside, ShapePart::Outside}) {
        for (const KXRGBQUAD ink : {kInk, KXRGBQUAD{5, 15, 250, 0}}) {
          if (isRunList(code) && ink == kInk) continue;
          const KXRGBQUAD color = isRunList(code) && part == ShapePart::Outside ? KXRGBQUAD{250, 250, 250, 0} : ink;
          SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(code) << " shape " << i);
          const auto filled = FillShape(source.get(), shapes[i], part, color, nullptr);
          ASSERT_EQ(filled->GetSize(), source->GetSize());
          EXPECT_EQ(paletteOf(*filled), paletteOf(*source));
          EXPECT_EQ(filled.as<IRStorColors>()->GetBackground(), 0x8090A0U);
          auto expected = before;
          for (std::size_t p = 0; p < expected.size(); ++p) {
            const double x = static_cast<double>(p % kWidth) + 0.5, y = static_cast<double>(p / kWidth) + 0.5;
            const bool inside = std::visit([&](const auto& shape) { return holds(shape, x, y); }, shapes[i]);
            if (inside == (part == ShapePart::Inside)) expected[p] = pixelOf(code, color);
          }
          ASSERT_EQ(pixelsOf(*filled), expected);
        }
      }
    }
    EXPECT_EQ(pixelsOf(*source), before);
  }
}

TEST(RasterEdit, AnOutlineOfManyPointsIsFilledBothWays) {
  CRPolygon outline;
  outline.points.reserve(100'000);
  for (int i = 0; i < 100'000; ++i) {
    const double angle = i * 0.0317, r = 40 + 30 * std::sin(i * 1.7);
    outline.points.push_back({64 + r * std::cos(angle), 50 + r * std::sin(angle)});
  }
  const auto source = new_IRStor(Bitonal, 128, 100, 300);
  const auto ink = FillShape(source.get(), outline, ShapePart::Inside, {}, nullptr);
  const auto rest = FillShape(ink.get(), outline, ShapePart::Outside, {}, nullptr);
  for (const std::uint32_t pixel : pixelsOf(*rest)) ASSERT_EQ(pixel, 1U);
  const auto none = FillShape(ink.get(), outline, ShapePart::Inside, {255, 255, 255, 0}, nullptr);
  for (const std::uint32_t pixel : pixelsOf(*none)) ASSERT_EQ(pixel, 0U);
}

TEST(RasterEdit, APaletteGetsTheColourWhenAnEntryIsFree) {
  constexpr KXRGBQUAD kNew{250, 250, 251, 0};
  for (const bool isFull : {false, true}) {
    const auto source = patternRaster(Palette, 64, 64);
    Bytes line(64);
    for (std::size_t y = 0; y < 4; ++y) {
      // Every entry but 200 is used, or that, too.
      for (std::size_t x = 0; x < 64; ++x) line[x] = static_cast<std::uint8_t>(64 * y + x);
      if (!isFull && y == 3) line[200 - 192] = 199;
      contextOf(*source, 1)->WriteLine(static_cast<std::int32_t>(y), 0, 64, line.data());
    }
    for (std::int32_t y = 4; y < 64; ++y) contextOf(*source, 1)->WriteLine(y, 0, 64, Bytes(64, 7).data());
    const auto filled = FillShape(source.get(), CRRect{1, 10, 2, 11}, ShapePart::Inside, kNew, nullptr);
    const auto palette = paletteOf(*filled);
    const std::size_t entry = readLine(*filled, 10)[1];
    EXPECT_EQ(palette[entry] == kNew, !isFull);
    if (!isFull) {
      EXPECT_EQ(entry, 200U);
    }
    for (std::size_t i = 0; i < 256; ++i) {
      if (i != entry || isFull) {
        EXPECT_EQ(palette[i], paletteOf(*source)[i]);
      }
      EXPECT_GE(colorDistance(paletteOf(*source)[i], kNew), isFull ? colorDistance(palette[entry], kNew) : 0);
    }
  }
}

/// Some 37 MB: several blocks of lines.
KxPtr<IRStor> longRaster() { return patternRaster(Rgb, 2048, 6000); }

TEST(RasterEdit, ALongPageSharesWhatDidNotChange) {
  for (const std::int64_t budget : {std::int64_t{0}, std::int64_t{10} << 20}) {
    const ScopedBudget scoped(budget, "/var/tmp");
    auto source = longRaster();
    const std::int64_t bytes = source->GetByteCount();
    auto one = FillShape(source.get(), CRRect{10, 3000, 20, 3005}, ShapePart::Inside, {1, 2, 3, 0}, nullptr);
    EXPECT_LT(one->GetByteCount(), bytes / 4);
    auto two = FillShape(one.get(), CRRect{10, 30, 20, 35}, ShapePart::Inside, {4, 5, 6, 0}, nullptr);
    EXPECT_LT(two->GetByteCount(), bytes / 4);
    // While they are shared nobody writes the lines; what comes after them may grow.
    const Bytes other(6144, 9);
    EXPECT_EQ(source->IsReadOnly() + one->IsReadOnly() + two->IsReadOnly(), 3);
    EXPECT_EQ(contextOf(*source, 1)->WriteLine(0, 0, 2048, other.data()), 0);
    EXPECT_EQ(contextOf(*two, 1)->WriteLine(0, 0, 2048, other.data()), 0);
    EXPECT_EQ(two.as<IRStorAddStripe>()->AddLines(0, 5, 1), 0);
    EXPECT_EQ(two.as<IRStorAddStripe>()->AddLines(0, 6000, 1), 1);
    one = {};
    EXPECT_EQ(source->IsReadOnly(), 1);
    EXPECT_LT(two->GetByteCount(), bytes / 4 + (8 << 20));  // a block that only `one` had is its own now
    source = {};
    EXPECT_GE(two->GetByteCount(), bytes);  // nobody else counts them any more
    for (std::int32_t y = 0; y < 6000; ++y) {
      Bytes expected = patternLine(6144, y);
      const bool isOne = y >= 3000 && y < 3005, isTwo = y >= 30 && y < 35;
      for (std::size_t x = 10; (isOne || isTwo) && x < 20; ++x) {
        for (std::size_t c = 0; c < 3; ++c) expected[3 * x + c] = static_cast<std::uint8_t>((isOne ? 1 : 4) + c);
      }
      ASSERT_EQ(readLine(*two, y), expected) << y;
    }
    EXPECT_EQ(readLine(*two, 6000), Bytes(6144, 255));
  }
  const auto source = longRaster();
  { const auto shared = FillShape(source.get(), CRRect{1, 1, 2, 2}, ShapePart::Inside, {}, nullptr); }
  EXPECT_EQ(contextOf(*source, 1)->WriteLine(0, 0, 2048, Bytes(6144, 9).data()), 1);
}

TEST(RasterEdit, CancelEndsIt) {
  for (const KxColorSpace code : {Bitonal, Palette, Rgb}) {
    const auto source = patternRaster(code, 300, 20000);
    const CRRect all{0, 0, 300, 20000};
    Progress whole;
    EXPECT_TRUE(FillShape(source.get(), all, ShapePart::Inside, {9, 9, 9, 0}, &whole));
    EXPECT_EQ(whole.position, kEditSteps);
    EXPECT_TRUE(whole.rises);
    Progress half(Progress::kNever, kEditSteps / 2);
    EXPECT_FALSE(FillShape(source.get(), all, ShapePart::Inside, {9, 9, 9, 0}, &half));
    EXPECT_LT(half.position, kEditSteps * 3 / 4);
    Progress none(0);
    KXRGBQUAD color{7, 7, 7, 0};
    EXPECT_EQ(ColorAround(source.get(), all, ShapePart::Outside, &none, &color), 0);
    EXPECT_FALSE(CropToFrame(source.get(), {{20, 20}, 200, 9000, 0.01}, &none));
  }
}

TEST(RasterEdit, TheColourAroundIsThatBesideTheOutline) {
  constexpr KXRGBQUAD kPaper{230, 220, 200, 0}, kStain{90, 60, 30, 0}, kBed{40, 40, 40, 0},
      kWhite{255, 255, 255, 0};
  // A stain on paper, that on a bed; lines cross the paper.
  const CRCircle stain{{300, 250}, 80};
  const CRFrame paper{{120, 60}, 420, 380, 0.1};
  for (const KxColorSpace code : kCodes) {
    SCOPED_TRACE(static_cast<int>(code));
    auto page = new_IRStor(code, 700, 500, 100);
    if (const auto context = page.as<IPalContext>(); context && code != Grey) {
      const KXRGBQUAD palette[16] = {kBed, kStain, kPaper, kWhite};
      context->SetPalette(palette, 16);
    }
    page = FillShape(page.get(), CRRect{0, 0, 700, 500}, ShapePart::Inside, kBed, nullptr);
    page = FillShape(page.get(), paper, ShapePart::Inside, kPaper, nullptr);
    for (int x = 0; x < 700; x += 12) {
      page = FillShape(page.get(), CRRect{x + 0.0, 0, x + 3.0, 500}, ShapePart::Inside, kBed, nullptr);
    }
    page = FillShape(page.get(), stain, ShapePart::Inside, kStain, nullptr);
    const auto as = [&](KXRGBQUAD c) {
      const std::uint8_t grey = greyOf(c.red, c.green, c.blue);
      if (code == Grey) return KXRGBQUAD{grey, grey, grey, 0};
      return !isRunList(code) ? c : grey < 128 ? KXRGBQUAD{} : kWhite;
    };
    const struct {
      RasterShape shape;
      ShapePart part;
      KXRGBQUAD color;
    } cases[] = {
        {stain, ShapePart::Inside, kPaper},
        {stain, ShapePart::Outside, kStain},
        {paper, ShapePart::Inside, kBed},
        {paper, ShapePart::Outside, kPaper},
        // Level sides count, the raster's own edge does not, and where nothing is, it is white.
        {CRRect{290, 10, 310, 30}, ShapePart::Inside, kBed},
        {CRRect{-50, -50, 900, 900}, ShapePart::Inside, kWhite},
        {CRRect{-50, -50, 900, 900}, ShapePart::Outside, kWhite},
        {CRPolygon{}, ShapePart::Inside, kWhite},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
      KXRGBQUAD color;
      ASSERT_EQ(ColorAround(page.get(), cases[i].shape, cases[i].part, nullptr, &color), 1);
      EXPECT_EQ(color, as(cases[i].color)) << i << ": " << +color.red << " " << +color.green << " " << +color.blue;
    }
  }
}

TEST(RasterEdit, AFrameAlongTheAxesKeepsItsPixels) {
  constexpr double kQuarter = std::numbers::pi / 2;
  const struct {
    CRFrame frame;
    KxRect pixels;
  } cases[] = {
      {{{10, 20}, 30, 40, 0}, {10, 20, 40, 60}},
      {{{10.49, 20.5}, 30, 40, 0}, {10, 21, 40, 61}},
      {{{-7, -8}, 30, 40, 1e-9}, {0, 0, 23, 32}},
      {{{100, 50}, 1e6, 1e6, 0}, {100, 50, 160, 90}},
      // The base line drawn along another side: what is above stays above.
      {{{50, 10}, 40, 30, kQuarter}, {20, 10, 50, 50}},
      {{{50, 70}, 30, 40, 2 * kQuarter}, {20, 30, 50, 70}},
      {{{20, 50}, 40, 30, -kQuarter}, {20, 10, 50, 50}},
      {{{20, 50}, 40, 30, 3 * kQuarter}, {20, 10, 50, 50}},
  };
  for (const KxColorSpace code : {Bitonal, Four, Rgb}) {
    const auto source = patternRaster(code, 160, 90);
    for (const auto& c : cases) {
      const auto cropped = CropToFrame(source.get(), c.frame, nullptr);
      SCOPED_TRACE(testing::Message() << static_cast<int>(code) << " " << c.frame.angle << " " << c.frame.origin.x);
      const KxRect& r = c.pixels;
      ASSERT_EQ(cropped->GetSize(), (KxSize{r.right - r.left, r.bottom - r.top}));
      EXPECT_EQ(cropped->GetResolution(), 300U);
      EXPECT_EQ(paletteOf(*cropped), paletteOf(*source));
      if (code == Four && (r.right - r.left) % 2 != 0) continue;  // has no place for the last pixel
      const auto all = pixelsOf(*source), part = pixelsOf(*cropped);
      for (std::int32_t y = r.top; y < r.bottom; ++y) {
        for (std::int32_t x = r.left; x < r.right; ++x) {
          ASSERT_EQ(part[static_cast<std::size_t>((y - r.top) * (r.right - r.left) + x - r.left)],
                    all[static_cast<std::size_t>(y * 160 + x)]);
        }
      }
    }
    for (const CRFrame& nothing : {CRFrame{{200, 10}, 30, 40, 0},
                                   {{10, 10}, 0.2, 40, 0},
                                   {{-90, -90}, 40, 40, 0.3},
                                   {{std::nan(""), 0}, 40, 40, 0}}) {
      EXPECT_THROW((void)CropToFrame(source.get(), nothing, nullptr), CXIFaceException);
    }
  }
}

TEST(RasterEdit, ATurnedFrameIsStraightenedAndClipped) {
  for (const KxColorSpace code : kCodes) {
    for (const double angle : {0.3, -0.7, 2.0, -2.9}) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(code) << " " << angle);
      auto page = new_IRStor(code, 400, 400, 300);
      const double c = std::cos(angle), s = std::sin(angle);
      // Its middle is the page's.
      const CRFrame ink{{200 - 60 * c + 30 * s, 200 - 60 * s - 30 * c}, 120, 60, angle};
      page = FillShape(page.get(), ink, ShapePart::Inside, {}, nullptr);
      const auto cropped = CropToFrame(page.get(), ink, nullptr);
      const bool isTurned = std::abs(std::remainder(angle, std::numbers::pi)) > std::numbers::pi / 4;
      const KxSize size = isTurned ? KxSize{60, 120} : KxSize{120, 60};
      ASSERT_EQ(cropped->GetSize(), size);
      const auto pixels = pixelsOf(*cropped);
      const std::uint32_t dark = pixels[static_cast<std::size_t>(size.width) * 30 + 30];
      for (std::int32_t y = 2; y < size.height - 2; ++y) {
        for (std::int32_t x = 2; x < size.width - 2; ++x)
          ASSERT_EQ(pixels[static_cast<std::size_t>(y * size.width + x)], dark) << x << " " << y;
      }
      // A frame that reaches far beyond the page ends where the page does.
      const CRFrame wide{{200 - 5000 * c, 200 - 5000 * s}, 10000, 60, angle};
      const KxSize part = CropToFrame(page.get(), wide, nullptr)->GetSize();
      EXPECT_LE(std::max(part.width, part.height), 570);
      EXPECT_GE(std::max(part.width, part.height), 400);
    }
  }
}

TEST(RasterEdit, AnEdgeIsTurnedToTheNearestAxis) {
  const struct {
    CRPoint to;
    double degrees;  // clockwise
  } edges[] = {{{10, 0}, 0},         {{0, -5}, 0},        {{100, 10}, -5.7106},  {{-100, -10}, -5.7106},
               {{100, -10}, 5.7106}, {{10, 100}, 5.7106}, {{-10, -100}, 5.7106}, {{0, 0}, 0}};
  for (const auto& edge : edges) {
    EXPECT_NEAR(TurnToAxis({{3, 4}, {3 + edge.to.x, 4 + edge.to.y}}) * 180 / std::numbers::pi, edge.degrees, 1e-3)
        << edge.to.x << " " << edge.to.y;
  }
  // The turned sheet is whole, and the edge is level.
  auto page = new_IRStor(Bitonal, 500, 300, 300);
  page = FillShape(page.get(), CRPolygon{{{50, 100}, {450, 140}, {450, 400}, {50, 400}}}, ShapePart::Inside, {},
                   nullptr);
  const auto turned = TurnRaster(page.get(), TurnToAxis({{450, 140}, {50, 100}}), nullptr);
  const double turn = std::atan(0.1);
  EXPECT_EQ(turned->GetWidth(), std::ceil(500 * std::cos(turn) + 300 * std::sin(turn)));
  EXPECT_EQ(turned->GetHeight(), std::ceil(500 * std::sin(turn) + 300 * std::cos(turn)));
  const auto pixels = pixelsOf(*turned);
  const auto topAt = [&](std::size_t x) {
    std::size_t y = 0;
    while (!pixels[y * static_cast<std::size_t>(turned->GetWidth()) + x]) ++y;
    return static_cast<double>(y);
  };
  for (const std::size_t x : {150U, 250U, 350U, 420U}) EXPECT_NEAR(topAt(x), topAt(200), 1) << x;
}

}  // namespace
}  // namespace quillbay::test
