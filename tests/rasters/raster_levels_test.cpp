#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "../support/temp_dir.h"
#include "raster_tools.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;

KxPtr<Surface> drawn(IRStor& raster, double scale, double offset = 0) {
  const auto side = [&](std::int32_t n) { return static_cast<std::int32_t>(std::ceil(n * scale + offset)); };
  auto picture = newSurface(side(raster.GetWidth()), side(raster.GetHeight()));
  KxPtr<IRStorDraw>::adopt(raster.GetDrawing())->Draw(picture.get(), {scale, scale, offset, offset}, nullptr);
  return picture;
}

KxPtr<IRStorLevels> levelsOf(IRStor& raster) { return query<IRStorLevels>(&raster); }

void append(IRStor& raster, std::int32_t lines) {
  const auto stripe = newStripe(raster.GetColorSpace(), raster.GetWidth());
  for (std::int32_t i = 0; i < 256; ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    stripe->palette()[static_cast<std::size_t>(i)] = {static_cast<std::uint8_t>(255 - v), v, 7, 0};
  }
  const std::int32_t height = raster.GetHeight();
  for (std::int32_t i = 0; i < lines; ++i) {
    if (isRunList(raster.GetColorSpace())) {
      stripe->add(patternRuns(raster.GetWidth(), height + i));
    } else {
      stripe->add(patternLine(fixedLineBytes(raster.GetColorSpace(), raster.GetWidth()), height + i));
    }
  }
  ASSERT_EQ(stripe->AddToRaster(height, &raster), 1);
}

int distance(std::uint32_t a, std::uint32_t b) {
  int most = 0;
  for (const int shift : {0, 8, 16, 24})
    most = std::max(most, std::abs(static_cast<int>(a >> shift & 255) - static_cast<int>(b >> shift & 255)));
  return most;
}

TEST(RasterLevels, AreTheExactAverages) {
  constexpr std::int32_t kWidth = 1003;  // no multiple: the last column covers fewer pixels
  constexpr std::int32_t kHeight = 781;  // the last row is drawn from finer levels or from lines
  for (const KxColorSpace code : {Grey, Rgb, Bgr, Rgba, Bgra, Palette, Four}) {
    const auto raster = new_IRStor(code, kWidth, 0, 300);
    append(*raster, kHeight);
    std::vector<KxPtr<Surface>> expected;  // what the lines themselves give
    for (int shift = 2; shift <= 5; ++shift) expected.push_back(drawn(*raster, 1.0 / (1 << shift)));
    ASSERT_EQ(levelsOf(*raster)->MakeLevels(-1), 1);
    EXPECT_GT(raster->GetLevelCount(), 2);
    for (int shift = 2; shift <= 5; ++shift) {
      const auto& want = *expected[static_cast<std::size_t>(shift - 2)];
      const auto got = drawn(*raster, 1.0 / (1 << shift));
      const std::size_t whole = static_cast<std::size_t>(want.size.width) * (kHeight >> shift);
      for (std::size_t i = 0; i < want.pixels.size(); ++i) {
        ASSERT_LE(distance(got->pixels[i], want.pixels[i]), i < whole && code != Four ? 0 : 1)
            << "code " << static_cast<int>(code) << " shift " << shift << " pixel " << i;
      }
    }
    const auto between = drawn(*raster, 0.09, 0.4);  // averages of averages
    const auto exact = [&] {
      const auto other = new_IRStor(code, kWidth, 0, 300);
      append(*other, kHeight);
      return drawn(*other, 0.09, 0.4);
    }();
    double sum = 0;
    for (std::size_t i = 0; i < exact->pixels.size(); ++i) sum += distance(between->pixels[i], exact->pixels[i]);
    EXPECT_LT(sum / static_cast<double>(exact->pixels.size()), 8) << "code " << static_cast<int>(code);
  }
}

TEST(RasterLevels, GrowWithTheStripesWhateverTheirHeight) {
  for (const KxColorSpace code : {Rgb, Palette, Bitonal}) {
    const auto whole = new_IRStor(code, 515, 0, 300);
    append(*whole, 700);
    levelsOf(*whole)->MakeLevels(-1);
    for (const std::int32_t lines : {1, 7, 64, 700}) {
      const auto raster = new_IRStor(code, 515, 0, 300);
      EXPECT_EQ(raster->GetLevelCount(), 0);
      levelsOf(*raster)->MakeLevels(0);
      while (raster->GetHeight() < 700) {
        append(*raster, std::min(lines, 700 - raster->GetHeight()));
        ASSERT_EQ(levelsOf(*raster)->GetLevelLines(), raster->GetHeight());
      }
      for (const double scale : {0.25, 0.11, 0.03})
        EXPECT_EQ(drawn(*raster, scale)->pixels, drawn(*whole, scale)->pixels) << lines << " " << scale;
    }
  }
}

TEST(RasterLevels, FollowWhatIsWrittenLater) {
  const auto make = [](bool early) {
    const auto raster = new_IRStor(Palette, 300, 0, 300);
    append(*raster, 500);
    if (early) levelsOf(*raster)->MakeLevels(-1);
    const Bytes line(300, 200);
    for (const std::int32_t i : {3, 250, 499}) contextOf(*raster, 1)->WriteLine(i, 0, 300, line.data());
    raster.as<IRStorAddStripe>()->AddLines(0, 490, 20);
    append(*raster, 33);
    std::vector<KXRGBQUAD> colors(256, {10, 20, 30, 0});
    colors[200] = {250, 0, 0, 0};
    raster.as<IPalContext>()->SetPalette(colors.data(), 256);
    levelsOf(*raster)->MakeLevels(-1);
    return raster;
  };
  const auto late = make(false);
  const auto early = make(true);
  for (const double scale : {0.25, 0.06}) EXPECT_EQ(drawn(*early, scale)->pixels, drawn(*late, scale)->pixels);
}

TEST(RasterLevels, ThinLinesKeepTheirInk) {
  const auto raster = new_IRStor(Bitonal, 4000, 2048, 300);
  for (const std::uint32_t x : {0U, 1007U, 2047U, 3900U}) {
    const Runs line{x, x, RunEnd};
    for (std::int32_t i = 0; i < 2048; ++i) contextOf(*raster, 1)->WriteLine(i, 0, 4000, line.data());
    ASSERT_EQ(levelsOf(*raster)->MakeLevels(-1), 1);
    for (const double scale : {1 / 8.0, 1 / 11.3, 1 / 20.0, 1 / 63.0}) {
      const auto picture = drawn(*raster, scale);
      double ink = 0;
      int darkest = 255;
      for (std::int32_t i = 0; i < picture->size.width; ++i) {
        const auto tone = static_cast<int>(picture->GetRow(5)[i] & 255);
        ink += 255 - tone;
        darkest = std::min(darkest, tone);
      }
      EXPECT_NEAR(ink, 255, 6) << x << " " << scale;
      EXPECT_LE(darkest, 132) << x << " " << scale;
    }
  }
}

TEST(RasterLevels, UnfinishedOnesAreDrawnFromSinglePixels) {
  const auto raster = new_IRStor(Grey, 4000, 0, 300);
  append(*raster, 4000);
  ASSERT_EQ(levelsOf(*raster)->MakeLevels(0), 0) << "a slice made all of it";
  const auto picture = drawn(*raster, 1 / 16.0);
  const auto at = [&](std::int32_t x, std::int32_t y) { return picture->GetRow(y)[x] & 255; };
  EXPECT_EQ(at(10, 240), patternLine(4000, 240 * 16 + 7)[167]);
  EXPECT_NEAR(at(10, 0), 127, 40);
}

TEST(RasterLevels, CountToTheBudgetAndTakeLessThanTheRaster) {
  const TempDir folder;
  for (const KxColorSpace code : {Grey, Rgb, Palette, Bitonal, Four}) {
    const std::size_t bytes = std::size_t{2000} * 2000 * static_cast<std::size_t>(bitsPerPixel(code)) / 8;
    {
      const auto raster = new_IRStor(code, 2000, 0, 300);
      append(*raster, 2000);
      const std::int64_t before = rasterMemoryInUse();
      levelsOf(*raster)->MakeLevels(-1);
      const std::int64_t taken = levelsOf(*raster)->GetLevelBytes();
      EXPECT_GE(rasterMemoryInUse() - before, taken);
      EXPECT_LT(taken, static_cast<std::int64_t>(bytes)) << static_cast<int>(code);
      EXPECT_GT(taken, 0);
    }
    const ScopedBudget nothing(1, folder.path());
    const auto raster = new_IRStor(code, 2000, 0, 300);
    levelsOf(*raster)->MakeLevels(0);
    append(*raster, 2000);
    EXPECT_EQ(rasterMemoryInUse(), 0);
    EXPECT_EQ(levelsOf(*raster)->GetLevelLines(), 2000);
  }
}

TEST(RasterLevels, AreDrawnAndMadeBesideTheWriter) {
  for (const KxColorSpace code : {Rgb, Bitonal}) {
    const auto raster = new_IRStor(code, 900, 0, 300);
    append(*raster, 600);
    std::atomic<bool> done{false};
    std::thread writer([&] {
      while (raster->GetHeight() < 3000) append(*raster, 20);
      done = true;
    });
    std::thread maker([&] {
      while (!done) levelsOf(*raster)->MakeLevels(1);
    });
    while (!done) drawn(*raster, 0.07);
    writer.join();
    maker.join();
    levelsOf(*raster)->MakeLevels(-1);
    const auto whole = new_IRStor(code, 900, 0, 300);
    append(*whole, 3000);
    levelsOf(*whole)->MakeLevels(-1);
    EXPECT_EQ(drawn(*raster, 0.07)->pixels, drawn(*whole, 0.07)->pixels);
  }
}

}  // namespace
}  // namespace quillbay::test
