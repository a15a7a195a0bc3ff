#include "rasters/ops/raster_ops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "quillbay/errors.h"
#include "raster_tools.h"
#include "support/progress.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

void expectSame(IRStor& a, IRStor& b) {
  EXPECT_EQ(a.GetColorSpace(), b.GetColorSpace());
  EXPECT_EQ(a.GetResolution(), b.GetResolution());
  EXPECT_EQ(query<IRStorColors>(&a)->GetBackground(), query<IRStorColors>(&b)->GetBackground());
  EXPECT_EQ(paletteOf(a), paletteOf(b));
  ASSERT_EQ(a.GetSize(), b.GetSize());
  EXPECT_EQ(pixelsOf(a), pixelsOf(b));
}

TEST(RasterOps, QuartersAreExact) {
  for (const KxColorSpace code : kCodes) {
    for (const KxSize size : {KxSize{1, 1}, {7, 4}, {129, 70}, {1000, 3}, {6, 4501}, {4502, 6}}) {
      if (code == Four && (size.width % 2 != 0 || size.height % 2 != 0)) continue;  // has no place for odd pixels
      SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(code) << " width " << size.width);
      const auto source = patternRaster(code, size.width, size.height);
      const auto before = pixelsOf(*source);
      const auto w = static_cast<std::size_t>(size.width), h = static_cast<std::size_t>(size.height);
      const auto right = rotateQuarters(source.get(), 1, nullptr);
      const auto turned = pixelsOf(*right);
      ASSERT_EQ(right->GetSize(), (KxSize{size.height, size.width}));
      for (std::size_t y = 0; y < h; ++y) {
        for (std::size_t x = 0; x < w; ++x)
          ASSERT_EQ(turned[x * h + h - 1 - y], before[y * w + x]) << x << " " << y;
      }
      const auto half = rotateQuarters(right.get(), 1, nullptr);
      expectSame(*half, *rotateQuarters(source.get(), -2, nullptr));
      expectSame(*rotateQuarters(half.get(), 1, nullptr), *rotateQuarters(source.get(), 3, nullptr));
      expectSame(*rotateQuarters(half.get(), 2, nullptr), *source);
      expectSame(*rotateQuarters(source.get(), 4, nullptr), *source);
    }
  }
}

TEST(RasterOps, OddNumbersOfFourBitLinesGetAWhiteColumn) {
  const auto source = patternRaster(Four, 4, 3);
  const auto turned = rotateQuarters(source.get(), 3, nullptr);
  ASSERT_EQ(turned->GetSize(), (KxSize{4, 4}));
  const auto pixels = pixelsOf(*turned);
  const auto before = pixelsOf(*source);
  for (std::size_t y = 0; y < 4; ++y) {
    for (std::size_t x = 0; x < 3; ++x) EXPECT_EQ(pixels[y * 4 + x], before[x * 4 + 3 - y]);
    EXPECT_EQ(pixels[y * 4 + 3], 15U);
  }
}

TEST(RasterOps, CropCutsAtItsEdges) {
  const auto runs = new_IRStor(Bitonal, 20, 2, 300);
  const Runs line{0, 4, 6, 6, 7, 12, 15, 19, RunEnd, 0};
  contextOf(*runs, 1)->WriteLine(1, 0, 20, line.data());
  struct Case {
    KxRect part;
    Runs expected;
  };
  const Case cases[] = {
      {{0, 0, 20, 2}, line},
      {{4, 1, 7, 2}, {0, 0, 2, 2, RunEnd, 0}},
      {{5, 1, 6, 2}, {RunEnd, 0}},
      {{8, 1, 12, 2}, {0, 3, RunEnd, 0}},
      {{12, 1, 16, 2}, {0, 0, 3, 3, RunEnd, 0}},
      {{-5, -9, 1, 99}, {0, 0, RunEnd, 0}},
  };
  for (const Case& c : cases) {
    const auto part = cropRaster(runs.get(), c.part, nullptr);
    EXPECT_EQ(readRuns(*part, part->GetHeight() - 1), c.expected) << c.part.left << ".." << c.part.right;
  }
  for (const KxRect& outside : {KxRect{20, 0, 30, 2}, {3, 0, 3, 2}, {0, 2, 20, 5}, {9, 0, 2, 2}}) {
    EXPECT_THROW((void)cropRaster(runs.get(), outside, nullptr), CXIFaceException) << outside.left;
  }
  for (const KxColorSpace code : kCodes) {
    SCOPED_TRACE(static_cast<int>(code));
    const auto source = patternRaster(code, 90, 50);
    const auto part = cropRaster(source.get(), {33, 7, 63, 44}, nullptr);
    ASSERT_EQ(part->GetSize(), (KxSize{30, 37}));
    const auto all = pixelsOf(*source), cut = pixelsOf(*part);
    for (std::size_t y = 0; y < 37; ++y) {
      for (std::size_t x = 0; x < 30; ++x) ASSERT_EQ(cut[y * 30 + x], all[(y + 7) * 90 + x + 33]);
    }
  }
}

TEST(RasterOps, InvertTwiceIsTheOriginal) {
  for (const KxColorSpace code : kCodes) {
    SCOPED_TRACE(static_cast<int>(code));
    const auto source = patternRaster(code, 126, 40);
    const auto inverse = invertRaster(source.get(), nullptr);
    const auto before = pixelsOf(*source), after = pixelsOf(*inverse);
    const std::uint32_t flipped = isRunList(code)                ? 1
                                  : code == Grey                 ? 0xFF
                                  : code == Rgba || code == Bgra ? 0xFFFFFF00
                                  : bitsPerPixel(code) == 24     ? 0xFFFFFF
                                                                 : 0;
    for (std::size_t i = 0; i < before.size(); ++i) ASSERT_EQ(before[i] ^ after[i], flipped);
    if (flipped == 0) {
      EXPECT_EQ(paletteOf(*inverse)[5], (KXRGBQUAD{250, 240, 5, 0}));
    }
    expectSame(*invertRaster(inverse.get(), nullptr), *source);
  }
}

/// Dark pixels on a light page of 300 dpi: specks of up to 6 pixels, and what must stay.
const std::vector<KxRect>& specksOfPage() {
  static const std::vector<KxRect> specks{{0, 0, 1, 1},         {40, 40, 46, 46},   {63, 10, 65, 12},
                                          {100, 197, 103, 200}, {294, 90, 300, 91}, {150, 60, 151, 66}};
  return specks;
}
const std::vector<KxRect>& linesOfPage() {
  static const std::vector<KxRect> lines{
      {0, 20, 300, 21}, {80, 0, 81, 200}, {200, 100, 207, 107}, {120, 120, 127, 121}};
  return lines;
}

TEST(RasterOps, DespeckleRemovesSpecksAndKeepsLines) {
  for (const KxColorSpace code : {Bitonal, Four, Palette, Grey, Bgr, Rgba}) {
    SCOPED_TRACE(static_cast<int>(code));
    const auto draw = [code](bool specks) {
      const auto raster = new_IRStor(code, 300, 200, 300);
      if (const auto palette = raster.as<IPalContext>(); palette && code == Palette) {
        std::vector<KXRGBQUAD> greys(256);
        for (std::size_t i = 0; i < 256; ++i)
          greys[i].red = greys[i].green = greys[i].blue = static_cast<std::uint8_t>(i);
        palette->SetPalette(greys.data(), 256);
      }
      std::vector<std::vector<bool>> dark(200, std::vector<bool>(300));
      const auto fill = [&dark](const KxRect& r) {
        for (auto y = static_cast<std::size_t>(r.top); y < static_cast<std::size_t>(r.bottom); ++y) {
          for (auto x = static_cast<std::size_t>(r.left); x < static_cast<std::size_t>(r.right); ++x)
            dark[y][x] = true;
        }
      };
      std::for_each(linesOfPage().begin(), linesOfPage().end(), fill);
      if (specks) std::for_each(specksOfPage().begin(), specksOfPage().end(), fill);
      for (std::size_t i = 0; i < 60; ++i)
        dark[130 + i][220 + i] = true;  // one pixel thick, held together by corners
      const auto writer = contextOf(*raster, 1);
      for (std::size_t y = 0; y < 200; ++y) {
        Bytes line;
        Runs runs;
        for (std::size_t x = 0; x < 300; ++x) {
          if (dark[y][x]) runs.insert(runs.end(), 2, static_cast<std::uint32_t>(x));
          const auto pixel = static_cast<std::uint8_t>(dark[y][x] ? 0x11 : 0xEE);
          if (code != Four || x % 2 == 0)
            line.insert(line.end(), static_cast<std::size_t>(bitsPerPixel(code) + 7) / 8, pixel);
          if (code == Four && x % 2 == 1)
            line.back() = static_cast<std::uint8_t>((line.back() & 0xF0) | (pixel & 15));
        }
        runs.insert(runs.end(), {RunEnd, 0});
        writer->WriteLine(static_cast<std::int32_t>(y), 0, 300,
                          isRunList(code) ? static_cast<const void*>(runs.data()) : line.data());
      }
      return raster;
    };
    const auto clean = despeckleRaster(draw(true).get(), 0.5, nullptr);
    EXPECT_EQ(pixelsOf(*clean), pixelsOf(*draw(false)));
  }
  const auto fine = new_IRStor(Grey, 10, 10, 9600);
  EXPECT_THROW((void)despeckleRaster(fine.get(), 5, nullptr), CXIFaceException) << "1890 lines to be held";
  for (const double size : {0.0, -1.0, 10.5, std::nan("")}) {
    EXPECT_THROW((void)despeckleRaster(fine.get(), size, nullptr), CXIFaceException) << size;
  }
}

TEST(RasterOps, ManyOpenSpecksAreTrackedOverLongPages) {
  // Combs that join at their bottom only, and dots between them: components are renumbered many times.
  const auto source = new_IRStor(Bitonal, 1000, 3000, 300), expected = new_IRStor(Bitonal, 1000, 3000, 300);
  for (std::int32_t y = 0; y < 3000; ++y) {
    Runs comb, dots;
    for (std::uint32_t x = 0; x < 1000; x += 10) {
      const bool joined = y % 30 == 29;
      if (y % 30 > 3) comb.insert(comb.end(), {x, joined ? x + 9 : x + 1});
      if (y % 30 > 3) dots.insert(dots.end(), {x, joined ? x + 9 : x + 1});
      if (y % 30 > 3 && y % 4 == 0 && y % 30 < 27) dots.insert(dots.end(), {x + 4, x + 6});
    }
    for (Runs* runs : {&comb, &dots}) runs->insert(runs->end(), {RunEnd, 0});
    contextOf(*source, 1)->WriteLine(y, 0, 1000, dots.data());
    contextOf(*expected, 1)->WriteLine(y, 0, 1000, comb.data());
  }
  EXPECT_EQ(pixelsOf(*despeckleRaster(source.get(), 0.5, nullptr)), pixelsOf(*expected));
}

TEST(RasterOps, PalettePixelsAreTakenAsTheyAreWhenTurned) {
  const auto indexed = patternRaster(Palette, 300, 200);
  const auto turned = rotateRaster(indexed.get(), 0.4, nullptr);
  EXPECT_EQ(paletteOf(*turned), paletteOf(*indexed));
  const Bytes before = readLine(*indexed, 100), after = readLine(*turned, turned->GetHeight() / 2);
  EXPECT_EQ(after[static_cast<std::size_t>(turned->GetWidth()) / 2], before[150]);
}

TEST(RasterOps, ACancelGivesNothing) {
  using Op = KxPtr<IRStor> (*)(IRStor*, IProgress*);
  const Op ops[] = {
      [](IRStor* r, IProgress* p) {
        return cropRaster(r, {1, 1, 900, 2000}, p);
      },
      [](IRStor* r, IProgress* p) { return rotateQuarters(r, 1, p); },
      [](IRStor* r, IProgress* p) { return rotateQuarters(r, 2, p); },
      [](IRStor* r, IProgress* p) { return rotateRaster(r, 0.3, p); },
      [](IRStor* r, IProgress* p) { return invertRaster(r, p); },
      [](IRStor* r, IProgress* p) { return despeckleRaster(r, 0.5, p); },
  };
  for (const KxColorSpace code : {Bitonal, Grey}) {
    const auto source = patternRaster(code, 1000, 2100);
    for (std::size_t i = 0; i < std::size(ops); ++i) {
      for (const int limit : {0, kOpSteps / 3}) {
        Progress cancel(Progress::kNever, limit);
        EXPECT_FALSE(ops[i](source.get(), &cancel)) << "operation " << i;
        EXPECT_LT(cancel.position, kOpSteps);
      }
      Progress never;
      EXPECT_TRUE(ops[i](source.get(), &never)) << "operation " << i;
      EXPECT_EQ(never.position, kOpSteps);
    }
  }
}

}  // namespace
}  // namespace quillbay::test
