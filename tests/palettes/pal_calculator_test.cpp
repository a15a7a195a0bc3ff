#include "platform/pal_calculator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "palettes/color_order.h"
#include "palettes/nearest_colors.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

using Palette = std::vector<KXRGBQUAD>;
constexpr KXRGBQUAD kUntouched{1, 2, 3, 4};

/// Lines of pixels R, G, B.
struct Picture24 {
  std::int32_t width, height;
  std::vector<std::uint8_t> rgb;
  [[nodiscard]] const std::uint8_t* row(std::int32_t y) const {
    return rgb.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 3;
  }
};

KxPtr<IRStor> rasterOf(const Picture24& picture, std::int32_t top, std::int32_t lines) {
  auto raster = new_IRStor(KxColorSpace::Rgb, picture.width, lines, 100);
  const auto writer = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  for (std::int32_t y = 0; y < lines; ++y) writer->WriteLine(y, 0, picture.width, picture.row(top + y));
  return raster;
}

Palette paletteOf(IPalCalculator& calculator, int count) {
  Palette palette(300, kUntouched);
  EXPECT_EQ(calculator.Calculate(count, palette.data(), nullptr, 0), 1);
  EXPECT_EQ(std::count(palette.begin() + count, palette.end(), kUntouched), 300 - count) << "beyond the count";
  palette.resize(static_cast<std::size_t>(count));
  return palette;
}

Palette paletteOf(const Picture24& picture, int count) {
  const auto calculator = new_PalCalculator();
  EXPECT_EQ(calculator->AddRaster(rasterOf(picture, 0, picture.height).get(), nullptr), 1);
  return paletteOf(*calculator, count);
}

/// A map as a scanner sees it: paper, woods, water and ink with soft edges, noise, and a thin line of red.
Picture24 drawMap(std::int32_t side, double noise) {
  constexpr double kInks[][3] = {{236, 232, 220}, {196, 222, 176}, {168, 200, 226}, {150, 96, 44}, {36, 34, 32}};
  std::mt19937 random(9);
  std::normal_distribution<double> grain(0, noise);
  Picture24 picture{side, side, {}};
  for (std::int32_t y = 0; y < side; ++y) {
    for (std::int32_t x = 0; x < side; ++x) {
      const double wave = std::sin(x * 0.021) + std::cos(y * 0.017);
      const double* ground = kInks[wave > 0.9 ? 1 : wave < -0.9 ? 2 : 0];
      const double* ink = kInks[(x / 50 + y / 70) % 3 ? 3 : 4];
      const double line = std::clamp(2 - 60 * std::abs(std::remainder(wave, 0.3)), 0.0, 1.0);
      const bool isRed = x == side / 3 + y / 9;
      constexpr double kRed[] = {200, 30, 40};
      for (int c = 0; c < 3; ++c) {
        const double level = isRed ? kRed[c] : ground[c] + line * (ink[c] - ground[c]);
        picture.rgb.push_back(static_cast<std::uint8_t>(std::clamp(level + grain(random) + 0.5, 0.0, 255.0)));
      }
    }
  }
  return picture;
}

/// Decibels of the picture with each pixel at its nearest entry.
double qualityOf(const Picture24& picture, const Palette& palette) {
  NearestColors nearest(palette);
  double error = 0;
  for (std::size_t i = 0; i < picture.rgb.size(); i += 3) {
    const std::uint8_t* p = picture.rgb.data() + i;
    const KXRGBQUAD entry = palette[nearest.nearest({p[0], p[1], p[2], 0})];
    error += std::pow(entry.red - p[0], 2) + std::pow(entry.green - p[1], 2) + std::pow(entry.blue - p[2], 2);
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(picture.rgb.size()) / error);
}

/// Heckbert's median cut: the box with the longest side is cut at its median.
Palette medianCut(const Picture24& picture, std::size_t count) {
  struct Pixel {
    std::uint8_t channel[3];
  };
  using Box = std::vector<Pixel>;
  const auto longest = [](const Box& box) {
    std::pair<int, std::size_t> side{-1, 0};
    for (std::size_t c = 0; c < 3; ++c) {
      const auto [low, high] = std::minmax_element(
          box.begin(), box.end(), [c](const Pixel& a, const Pixel& b) { return a.channel[c] < b.channel[c]; });
      side = std::max(side, {high->channel[c] - low->channel[c], c});
    }
    return side;
  };
  std::vector<Box> boxes(1);
  for (std::size_t i = 0; i < picture.rgb.size(); i += 3)
    boxes[0].push_back({{picture.rgb[i], picture.rgb[i + 1], picture.rgb[i + 2]}});
  while (boxes.size() < count) {
    const auto box = std::max_element(boxes.begin(), boxes.end(),
                                      [&](const Box& a, const Box& b) { return longest(a) < longest(b); });
    const std::size_t c = longest(*box).second;
    const auto middle = box->begin() + static_cast<std::ptrdiff_t>(box->size() / 2);
    std::nth_element(box->begin(), middle, box->end(),
                     [c](const Pixel& a, const Pixel& b) { return a.channel[c] < b.channel[c]; });
    Box upper(middle, box->end());
    box->erase(middle, box->end());
    boxes.push_back(std::move(upper));
  }
  Palette palette;
  for (const Box& box : boxes) {
    double sum[3] = {};
    for (const Pixel& p : box)
      for (std::size_t c = 0; c < 3; ++c) sum[c] += p.channel[c];
    const auto mean = [&](std::size_t c) {
      return static_cast<std::uint8_t>(std::lround(sum[c] / static_cast<double>(box.size())));
    };
    palette.push_back({mean(0), mean(1), mean(2), 0});
  }
  return palette;
}

TEST(PalCalculator, IsTheSameWhateverTheStripes) {
  const Picture24 picture = drawMap(300, 3);
  for (const int count : {16, 256}) {
    const Palette whole = paletteOf(picture, count);
    for (const std::int32_t lines : {1, 7, 128}) {
      const auto calculator = new_PalCalculator();
      for (std::int32_t top = (picture.height - 1) / lines * lines; top >= 0; top -= lines) {
        const auto stripe = rasterOf(picture, top, std::min(lines, picture.height - top));
        EXPECT_EQ(calculator->AddRaster(stripe.get(), nullptr), 1);
      }
      EXPECT_EQ(paletteOf(*calculator, count), whole) << count << " colours, stripes of " << lines;
      EXPECT_EQ(paletteOf(*calculator, count), whole) << "calculated again";
    }
  }
}

TEST(PalCalculator, FillsExactlyTheCount) {
  const auto calculator = new_PalCalculator();
  calculator->AddRaster(rasterOf(drawMap(120, 6), 0, 120).get(), nullptr);
  for (const int count : {1, 2, 3, 8, 17, 255, 256}) {
    std::set<std::uint32_t> different;
    for (const KXRGBQUAD& c : paletteOf(*calculator, count)) {
      EXPECT_EQ(c.reserved, 0);
      different.insert(colorPlace(c.red, c.green, c.blue));
    }
    EXPECT_EQ(different.size(), static_cast<std::size_t>(count));
  }
  Palette palette(257, kUntouched);
  for (const int count : {0, -1, 257}) EXPECT_EQ(calculator->Calculate(count, palette.data(), nullptr, 0), 0);
  EXPECT_EQ(calculator->Calculate(8, nullptr, nullptr, 0), 0);
  EXPECT_EQ(std::count(palette.begin(), palette.end(), kUntouched), 257);
}

TEST(PalCalculator, KeepsEveryColourOfAPictureWithFew) {
  const Palette colors = {{0, 0, 0, 0}, {255, 0, 0, 0}, {10, 200, 30, 0}, {11, 200, 30, 0}, {255, 255, 255, 0}};
  Picture24 picture{5, 1, {}};
  for (const KXRGBQUAD& c : colors) picture.rgb.insert(picture.rgb.end(), {c.red, c.green, c.blue});
  for (const int count : {5, 6, 16, 256}) {
    const Palette palette = paletteOf(picture, count);
    for (const KXRGBQUAD& c : colors) EXPECT_EQ(std::count(palette.begin(), palette.end(), c), 1) << count;
    EXPECT_NE(palette.back(), KXRGBQUAD{}) << count << ": black at the end looks unused";
  }
  const Palette none = paletteOf(*new_PalCalculator(), 8);
  EXPECT_EQ(none.back(), (KXRGBQUAD{255, 255, 255, 0})) << "nothing was counted";
}

TEST(PalCalculator, CountsTheAreaOfEveryKindOfColourLines) {
  struct Case {
    KxColorSpace code;
    std::vector<std::uint8_t> pixel;  // of the colour 1, 2, 3, or of grey 1
    KXRGBQUAD want;
  };
  const Case cases[] = {{KxColorSpace::Rgb, {1, 2, 3}, {1, 2, 3, 0}},
                        {KxColorSpace::Bgr, {3, 2, 1}, {1, 2, 3, 0}},
                        {KxColorSpace::Rgba, {1, 2, 3, 99}, {1, 2, 3, 0}},
                        {KxColorSpace::Bgra, {3, 2, 1, 99}, {1, 2, 3, 0}},
                        {KxColorSpace::Grey, {1}, {1, 1, 1, 0}}};
  for (const Case& c : cases) {
    const auto raster = new_IRStor(c.code, 4, 4, 100);  // white around two pixels of the colour
    const auto writer = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
    for (const std::int32_t y : {2, 3}) writer->WriteLine(y, 3, 1, c.pixel.data());
    const auto calculator = new_PalCalculator();
    const KxRect beyond{3, 2, 9, 9}, nothing{4, 0, 4, 4};
    EXPECT_EQ(calculator->AddRaster(raster.get(), &beyond), 1);
    EXPECT_EQ(calculator->AddRaster(raster.get(), &nothing), 1);
    EXPECT_EQ(paletteOf(*calculator, 2), (Palette{c.want, {255, 255, 255, 0}})) << static_cast<int>(c.code);
    calculator->Clear();
    EXPECT_EQ(paletteOf(*calculator, 2), (Palette{{0, 0, 0, 0}, {255, 255, 255, 0}})) << "after Clear";
  }
  const auto calculator = new_PalCalculator();
  EXPECT_EQ(calculator->AddRaster(new_IRStor(KxColorSpace::Bitonal, 4, 4, 100).get(), nullptr), 0);
  EXPECT_EQ(calculator->AddRaster(nullptr, nullptr), 0);
}

TEST(PalCalculator, IsMuchBetterThanAMedianCut) {
  const Picture24 picture = drawMap(400, 3);
  for (const int count : {8, 16, 64, 256}) {
    const double plain = qualityOf(picture, medianCut(picture, static_cast<std::size_t>(count)));
    EXPECT_GT(qualityOf(picture, paletteOf(picture, count)), plain + 2) << count;
  }
}

TEST(PalCalculator, GivesAThinRedLineAnEntry) {
  constexpr KXRGBQUAD kRed{200, 30, 40, 0};
  struct Case {
    int count;
    double noise;
  };
  for (const Case& c : {Case{10, 3}, Case{12, 9}, Case{16, 9}}) {
    const Palette palette = paletteOf(drawMap(700, c.noise), c.count);  // the line has a thousandth of the pixels
    const int off = colorDistance(palette[NearestColors(palette).nearest(kRed)], kRed);
    EXPECT_LT(off, 10 * 10) << c.count << " colours, noise " << c.noise;
  }
}

TEST(PalCalculator, TakesNoMoreMemoryForALongerPicture) {
  const auto pagesInUse = [] {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident;
  };
  std::mt19937 random(3);
  Picture24 picture{4000, 250, std::vector<std::uint8_t>(3000000)};
  for (std::uint8_t& v : picture.rgb) v = static_cast<std::uint8_t>(random());
  const auto raster = rasterOf(picture, 0, 250);
  const auto calculator = new_PalCalculator();
  calculator->AddRaster(raster.get(), nullptr);
  const long before = pagesInUse();
  for (int i = 0; i < 9; ++i) calculator->AddRaster(raster.get(), nullptr);
  EXPECT_LT(pagesInUse() - before, 512) << "pages of memory for ten times the lines";
}

}  // namespace
}  // namespace quillbay
