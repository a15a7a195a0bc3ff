/// The edges of a sheet, to parts of a pixel.
#include "analysis/sheet_edges.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "support/test_stripe.h"

namespace quillbay::test {
namespace {

constexpr double kRadian = std::numbers::pi / 180;

struct Lying {
  const char* name;
  int bed, paper, shadow;  ///< tones; the shadow's is that right beside the sheet
  double degrees;          ///< the turn that straightens it
  KxSize picture;
};

/// A sheet of 300.4 x 220.7 pixels about (260.3, 214.6), with a frame 14 pixels from its edges.
constexpr double kWide = 300.4, kHigh = 220.7;
constexpr tagRPOINT kMiddle{260.3, 214.6};

double toneOf(const Lying& lying, double x, double y) {
  const double c = std::cos(lying.degrees * kRadian), s = std::sin(lying.degrees * kRadian);
  const double dx = x - kMiddle.x, dy = y - kMiddle.y;
  const double u = std::abs(dx * c - dy * s), v = std::abs(dx * s + dy * c);
  const double inside = std::min(kWide / 2 - u, kHigh / 2 - v);
  if (inside >= 0) return std::abs(inside - 14) < 1.5 ? 30 : lying.paper;
  constexpr double kShadowPixels = 5;
  const double near = std::max(0.0, 1 + inside / kShadowPixels);
  return lying.bed + (lying.shadow - lying.bed) * near * near;
}

BoundStripes draw(const Lying& lying) {
  std::mt19937 random(7);
  const auto stripe = newStripe(KxColorSpace::Grey, lying.picture.width, Shape::Packed, 50);
  for (int y = 0; y < lying.picture.height; ++y) {
    Bytes row;
    for (int x = 0; x < lying.picture.width; ++x) {
      double sum = 0;
      for (int k = 0; k < 16; ++k) sum += toneOf(lying, x + (k % 4 + 0.5) / 4, y + (k / 4 + 0.5) / 4);
      const double noise = static_cast<double>(random() % 7) - 3;
      row.push_back(static_cast<std::uint8_t>(std::clamp(sum / 16 + noise, 0.0, 255.0)));
    }
    stripe->add(row);
  }
  BoundStripes stripes;
  EXPECT_TRUE(stripes.add(stripe.get()));
  return stripes;
}

TEST(SheetEdges, AreFoundToPartsOfAPixelOnAnyBed) {
  const Lying cases[] = {{"dark", 20, 240, 20, -5, {520, 430}},
                         {"dark, hardly turned", 20, 240, 20, 0.3, {520, 430}},
                         {"grey", 135, 240, 90, 3.3, {520, 430}},
                         {"white, with a shadow", 252, 242, 150, 2, {520, 430}},
                         {"light", 205, 240, 140, -1, {520, 430}}};
  for (const Lying& lying : cases) {
    SCOPED_TRACE(lying.name);
    const Sheet truth{kMiddle, kWide, kHigh, lying.degrees * kRadian};
    const tagRRECT box = boxAround(truth);
    // Bounds as the detector has them: too wide by some pixels, and not by the same at all sides.
    const KxRect bounds{static_cast<std::int32_t>(box.left) - 4, static_cast<std::int32_t>(box.top) - 2,
                        static_cast<std::int32_t>(box.right) + 5, static_cast<std::int32_t>(box.bottom) + 3};
    const auto found = fitSheet(draw(lying), bounds, truth.angle, 10);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->width, kWide, 0.4);
    EXPECT_NEAR(found->height, kHigh, 0.4);
    EXPECT_NEAR(found->centre.x, kMiddle.x, 0.3);
    EXPECT_NEAR(found->centre.y, kMiddle.y, 0.3);
  }
}

TEST(SheetEdges, ASheetAtTheEndOfThePictureLastsToItsEnd) {
  const Sheet truth{kMiddle, kWide, kHigh, 0.6 * kRadian};
  const tagRRECT box = boxAround(truth);
  const Lying lying{"", 20, 240, 20, 0.6, {520, static_cast<std::int32_t>(std::ceil(box.bottom))}};
  const KxRect bounds{static_cast<std::int32_t>(box.left) - 4, static_cast<std::int32_t>(box.top) - 2,
                      static_cast<std::int32_t>(box.right) + 5, lying.picture.height - 6};
  const auto found = fitSheet(draw(lying), bounds, truth.angle, 10);
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->height, kHigh, 1.2);
  EXPECT_NEAR(found->centre.y - found->height / 2, kMiddle.y - kHigh / 2, 0.4);
}

TEST(SheetEdges, WithoutEdgesBoundsStayAsTheyAre) {
  const Lying even{"", 200, 200, 200, 2, {520, 430}};
  Lying blank = even;
  blank.picture = {9, 4};
  EXPECT_FALSE(fitSheet(draw(blank), {0, 0, 9, 4}, 0.03, 10));
  EXPECT_FALSE(fitSheet(draw(even), {20, 20, 120, 80}, 0.03, 10)) << "nothing but bed";
  EXPECT_FALSE(fitSheet({}, {20, 20, 120, 80}, 0.03, 10));
}

}  // namespace
}  // namespace quillbay::test
