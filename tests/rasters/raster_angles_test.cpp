/// Turning by any angle, and what is found on a page.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "raster_tools.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

/// A pixel of a drawing that was turned clockwise about the picture's centre: 0 is dark, 1 is light.
using Drawing = double (*)(double x, double y);

double tableDrawing(double x, double y) {  // rows 37 pixels apart and a few columns, 2.5 pixels thick
  if (std::abs(x) > 360 || std::abs(y) > 260) return 1;
  const double row = std::abs(std::remainder(y, 37)), column = std::abs(std::remainder(x, 180));
  return std::clamp(std::min(row, column) - 0.75, 0.0, 1.0);
}

KxPtr<IRStor> drawTurned(KxColorSpace code, KxSize size, double radians, Drawing drawing) {
  const auto raster = new_IRStor(code, size.width, size.height, 100);
  const auto writer = contextOf(*raster, 1);
  const double c = std::cos(radians), s = std::sin(radians);
  for (std::int32_t y = 0; y < size.height; ++y) {
    Bytes line;
    Runs runs;
    for (std::int32_t x = 0; x < size.width; ++x) {
      const double dx = x + 0.5 - size.width / 2.0, dy = y + 0.5 - size.height / 2.0;
      const double light = drawing(dx * c + dy * s, dy * c - dx * s);
      line.insert(line.end(), static_cast<std::size_t>(bitsPerPixel(code) + 7) / 8,
                  static_cast<std::uint8_t>(light * 255));
      if (light < 0.5) runs.insert(runs.end(), 2, static_cast<std::uint32_t>(x));
    }
    runs.insert(runs.end(), {RunEnd, 0});
    writer->WriteLine(y, 0, size.width, isRunList(code) ? static_cast<const void*>(runs.data()) : line.data());
  }
  return raster;
}

TEST(RasterAngles, SkewIsFoundAndStraightened) {
  constexpr double kDegree = std::numbers::pi / 180;
  for (const double degrees : {-14.0, -3.1, -0.4, 0.0, 0.25, 2.0, 9.7}) {
    for (const KxColorSpace code : {Bitonal, Grey, Bgr}) {
      SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(code) << " degrees " << degrees);
      const auto source = drawTurned(code, {1000, 800}, degrees * kDegree, tableDrawing);
      const auto skew = findSkew(source.get(), nullptr);
      ASSERT_TRUE(skew);
      EXPECT_NEAR(*skew, -degrees * kDegree, 0.05 * kDegree);
      const auto straight = rotateRaster(source.get(), *skew, nullptr);
      EXPECT_NEAR(findSkew(straight.get(), nullptr).value_or(1), 0, 0.05 * kDegree);
      // The corners are white: nothing of the content is lost, nothing is added.
      const auto content = findContent(straight.get(), nullptr);
      ASSERT_TRUE(content);
      EXPECT_NEAR(content->right - content->left, 720 + 2 * 4, 6);
      EXPECT_NEAR(content->bottom - content->top, 518 + 2 * 4, 6);
    }
  }
  EXPECT_FALSE(findSkew(new_IRStor(Grey, 900, 700, 100).get(), nullptr));
}

TEST(RasterAngles, TurningBackGivesTheContentBack) {
  const auto wave = [](double x, double y) { return 0.5 + 0.3 * std::sin(x / 9) * std::cos(y / 7); };
  for (const KxColorSpace code : {Grey, Rgb, Rgba}) {
    const auto source = drawTurned(code, {301, 777}, 0, wave);
    for (const double angle : {0.02, 0.7, -2.2}) {
      const auto there = rotateRaster(source.get(), angle, nullptr);
      const auto back = rotateRaster(there.get(), -angle, nullptr);
      const std::size_t bytes = static_cast<std::size_t>(bitsPerPixel(code)) / 8;
      const std::int32_t left = (back->GetWidth() - 301) / 2, top = (back->GetHeight() - 777) / 2;
      double sum = 0;
      for (std::int32_t y = 10; y < 767; ++y) {
        const Bytes a = readLine(*source, y), b = readLine(*back, y + top);
        for (std::size_t i = 10 * bytes; i < 290 * bytes; ++i) {
          sum += std::abs(a[i] - b[i + static_cast<std::size_t>(left) * bytes]);
        }
      }
      EXPECT_LT(sum / (757.0 * 280 * static_cast<double>(bytes)), 3) << static_cast<int>(code) << " by " << angle;
      EXPECT_EQ(readLine(*there, 0)[0], 255);
      EXPECT_EQ(readLine(*there, there->GetHeight() - 1).back(), 255);
    }
  }
}

TEST(RasterAngles, ThinBitonalLinesStayWholeWhenTurned) {
  const auto source = new_IRStor(Bitonal, 1200, 900, 300);
  const auto writer = contextOf(*source, 1);
  for (const std::int32_t y : {0, 300, 899}) writer->WriteLine(y, 0, 1200, Runs{0, 1199, RunEnd, 0}.data());
  for (const double angle : {0.001, 0.03, -0.5}) {
    const auto turned = rotateRaster(source.get(), angle, nullptr);
    std::vector<int> dark(static_cast<std::size_t>(turned->GetWidth()), 0);
    for (std::int32_t y = 0; y < turned->GetHeight(); ++y) {
      const Runs runs = readRuns(*turned, y);
      for (std::size_t i = 0; i < runCount(runs.data()); ++i) {
        for (std::uint32_t x = runs[2 * i]; x <= runs[2 * i + 1]; ++x) ++dark[x];
      }
    }
    const auto skipped = static_cast<std::ptrdiff_t>(std::abs(std::sin(angle)) * 900) + 3;
    for (auto d = dark.begin() + skipped; d < dark.end() - skipped; ++d) {
      ASSERT_TRUE(*d >= 3 && *d <= 6) << *d << " in column " << d - dark.begin() << " by " << angle;
    }
  }
}

TEST(RasterAngles, ContentIsFoundOnAnyBed) {
  struct Case {
    const char* name;
    std::uint8_t bed, paper;
    KxRect sheet;
  };
  const Case cases[] = {{"dark bed", 20, 235, {100, 150, 800, 600}},
                        {"dark bed, paper at the top", 20, 235, {60, 0, 940, 600}},
                        {"light bed", 200, 240, {100, 150, 800, 600}},
                        {"white bed", 255, 230, {200, 10, 700, 690}},
                        {"paper in a corner", 15, 240, {0, 0, 700, 500}}};
  for (const Case& c : cases) {
    const auto raster = new_IRStor(Grey, 1000, 700, 100);
    const auto writer = contextOf(*raster, 1);
    for (std::int32_t y = 0; y < 700; ++y) {
      Bytes line(1000, c.bed);
      const bool paper = y >= c.sheet.top && y < c.sheet.bottom;
      if (paper) std::fill(line.begin() + c.sheet.left, line.begin() + c.sheet.right, c.paper);
      if (y == 650) line[950] = 128;                                                      // dust
      if (y == 300) std::fill(line.begin() + 300, line.begin() + 600, std::uint8_t{30});  // a line on the paper
      writer->WriteLine(y, 0, 1000, line.data());
    }
    const auto found = findContent(raster.get(), nullptr);
    ASSERT_TRUE(found) << c.name;
    const KxRect wanted{std::max(0, c.sheet.left - 4), std::max(0, c.sheet.top - 4), c.sheet.right + 4,
                        c.sheet.bottom + 4};
    for (const auto& [a, b] : {std::pair{found->left, wanted.left},
                               {found->top, wanted.top},
                               {found->right, wanted.right},
                               {found->bottom, wanted.bottom}}) {
      EXPECT_NEAR(a, b, 4) << c.name;
    }
  }
  EXPECT_FALSE(findContent(new_IRStor(Grey, 900, 700, 100).get(), nullptr));
  EXPECT_FALSE(findContent(new_IRStor(Bitonal, 900, 700, 100).get(), nullptr));
  for (const int size : {1, 2, 9, 31}) {  // a few pixels have an answer as well, whichever
    const auto dark = new_IRStor(Grey, size, 31, 100);
    const Bytes line(static_cast<std::size_t>(size), 20);
    for (int y = 0; y < 31; ++y) contextOf(*dark, 1)->WriteLine(y, 0, size, line.data());
    EXPECT_NO_THROW((void)findContent(dark.get(), nullptr)) << size;
  }
}

}  // namespace
}  // namespace quillbay::test
