#include "analysis/bound_detect.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "analysis/bound_skew.h"
#include "plain_bounds.h"
#include "stores/scan_buffer.h"

namespace quillbay {
namespace {

using test::GreyImage;

using Random = std::mt19937;

int below(Random& random, int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }

// A turned sheet on a bed, both with noise; it may lie across the borders.
void paintSheet(GreyImage* image, Random& random) {
  const double angle = (below(random, 201) - 100) * 0.005, c = std::cos(angle), s = std::sin(angle);
  const double x0 = below(random, image->width + 1), y0 = below(random, image->height + 1);
  const double halfWidth = 1 + below(random, image->width), halfHeight = 1 + below(random, image->height);
  const int bed = below(random, 256), paper = below(random, 256), noise = 1 + below(random, 9);
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < image->width; ++x) {
      const double u = (x - x0) * c + (y - y0) * s, v = (y - y0) * c - (x - x0) * s;
      const bool inside = std::abs(u) < halfWidth && std::abs(v) < halfHeight;
      image->pixels[static_cast<std::size_t>(y * image->width + x)] =
          static_cast<std::uint8_t>(std::min(255, (inside ? paper : bed) + below(random, noise)));
    }
  }
}

GreyImage randomImage(int width, int height, int kind, Random& random) {
  GreyImage image{width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width * height))};
  const int base = below(random, 255), period = 1 + below(random, 40), high = below(random, 256);
  if (kind == 0) {
    paintSheet(&image, random);
    return image;
  }
  int n = 0;
  for (auto& pixel : image.pixels) {
    const int x = n++ % width;
    int value = 0;
    if (kind == 1) value = below(random, 256);
    if (kind == 2) value = below(random, 2) * 255;
    if (kind == 3) value = x / period % 2 == 0 ? base : high;  // edges of every strength, alone and in pairs
    if (kind == 4) value = base + (below(random, 50) == 0);    // one unit too low runs on through the whole row
    if (kind == 5) value = x < 3 ? base : base + 1;
    if (kind == 6) value = below(random, 30) == 0 ? high : base;
    if (kind == 7) value = high % 2 == 0 ? 0 : 255;
    pixel = static_cast<std::uint8_t>(value);
  }
  return image;
}

std::vector<RowExtent> fastExtents(const GreyImage& image, int threshold, const BoundRowLoops& loops) {
  std::vector<RowExtent> extents(static_cast<std::size_t>(image.height));
  RowExtentFinder finder(image.width, threshold, loops);
  const auto row = [&](int y) { return image.pixels.data() + static_cast<std::ptrdiff_t>(y) * image.width; };
  finder.begin(row(0));
  for (int y = 1; y + 1 < image.height; ++y) {
    extents[static_cast<std::size_t>(y)] = finder.extentOf(row(y), row(y + 1));
  }
  return extents;
}

TEST(BoundExtents, EqualThoseFoundStepByStep) {
  constexpr int kThresholds[] = {127, 10, 192, 0, 254, 60, 160, 230, 255, 300, -1};
  Random random(17);
  int found = 0;
  for (int n = 0; n < 5600; ++n) {
    const int width = n % 100 == 99 ? 1000 + below(random, 3000) : 1 + n % 600;
    const int height = n % 50 == 7 ? 60 : 1 + below(random, 12);
    const GreyImage image = randomImage(width, height, n / 7 % 8, random);
    const int threshold = kThresholds[static_cast<std::size_t>(below(random, 11))];
    const auto expected = test::plainExtents(image, threshold);
    for (const auto* loops : {&plainBoundRowLoops(), &boundRowLoops()}) {
      ASSERT_EQ(fastExtents(image, threshold, *loops) == expected, true)
          << "image " << n << ", " << width << " x " << height << ", threshold " << threshold;
    }
    if (!uniteExtents(expected, width)) continue;
    ++found;
    if (n % 3 == 0) {
      ASSERT_EQ(searchSkew(expected), test::plainSkew(expected)) << "image " << n;
    }
  }
  EXPECT_GT(found, 1000);
  EXPECT_LT(found, 5000);
}

TEST(BoundSkew, OfTurnedSheetsEqualsTheSearchOverAllPoints) {
  Random random(5);
  for (int degrees20 = -920; degrees20 <= 920; degrees20 += 37) {
    const double angle = degrees20 / 20.0 * 3.14159265358979 / 180;
    // The content turned by -angle: the box is smallest when it is turned back.
    std::vector<RowExtent> extents(900);
    for (int y = 0; y < 900; ++y) {
      for (int x = 0; x < 900; ++x) {
        const double u = (x - 450) * std::cos(angle) - (y - 450) * std::sin(angle);
        const double v = (x - 450) * std::sin(angle) + (y - 450) * std::cos(angle);
        if (std::abs(u) > 200 || std::abs(v) > 350) continue;
        RowExtent& row = extents[static_cast<std::size_t>(y)];
        row = {std::min(row.left, x), std::max(row.right, x + below(random, 2))};
      }
    }
    const double found = searchSkew(extents);
    EXPECT_EQ(found, test::plainSkew(extents));
    if (std::abs(degrees20) < 100) {
      EXPECT_NEAR(found, angle, 0.003);
    }
  }
}

TEST(BoundSkew, GoesOnForAHundredStepsThatBringNothing) {
  // Each has a smaller box 101 steps beyond the best one before.
  std::vector<RowExtent> a(53), b(15), c(58);
  a[0] = {26, 39};
  a[24] = {21, 117};
  a[52] = {44, 172};
  b[0] = {95, 127};
  b[14] = {129, 155};
  c[0] = {17, 17};
  c[51] = {1, 23};
  c[57] = {4, 22};
  for (const auto& extents : {a, b, c}) {
    EXPECT_NE(searchSkew(extents), 0);
    EXPECT_EQ(searchSkew(extents), test::plainSkew(extents));
  }
}

// What the detector gets of the world in these tests.
BoundSettings s_settings;
double s_serviceAngle = 0;
int s_binarized = 0;
bool s_canBinarize = true;

// A bitonal raster whose only use is to be asked for its skew.
KxPtr<IRStor> binarize(IRStor* source, IProgress*) {
  ++s_binarized;
  std::vector<std::uint8_t> line(static_cast<std::size_t>(source->GetWidth()));
  const auto lines = KxPtr<IAccessContext>::adopt(source->GetAccessContext(0, 0));
  EXPECT_EQ(lines->ReadLine(source->GetHeight() - 1, 0, source->GetWidth(), line.data()), 1);
  EXPECT_EQ(lines->ReadLine(source->GetHeight(), 0, source->GetWidth(), line.data()), 0);
  return s_canBinarize ? new_IRStor(KxColorSpace::Bitonal, 1, 1, 100) : KxPtr<IRStor>{};
}

struct Answer {
  int result;
  std::int32_t bounds[4]{-1, -1, -1, -1};
  double angle = -1;
  std::int32_t height = -1;
};

Answer detect(IBoundDetect* detector) {
  Answer a{};
  a.result = detector->Detect(a.bounds, &a.angle, &a.height);
  return a;
}

KxPtr<CIScanBuffer> stripeOf(const GreyImage& image, int from, int to, KxColorSpace colorSpace) {
  auto stripe = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(100, {image.width, to - from}, colorSpace, nullptr));
  for (int y = from; y < to; ++y) {
    const std::uint8_t* row = image.pixels.data() + static_cast<std::ptrdiff_t>(y) * image.width;
    std::vector<std::uint32_t> runs;
    for (int x = 0; x < image.width; ++x) {
      if (row[x] >= 128) continue;
      if (runs.empty() || runs.back() + 1 != static_cast<std::uint32_t>(x)) {
        runs.insert(runs.end(), 2, static_cast<std::uint32_t>(x));
      }
      runs.back() = static_cast<std::uint32_t>(x);
    }
    runs.push_back(RunEnd);
    stripe->AddLine(y - from, isRunList(colorSpace) ? reinterpret_cast<const std::uint8_t*>(runs.data()) : row);
  }
  return stripe;
}

// Black, with a white sheet of columns 100 to 299 and rows 50 to 249, that `angle` straightens.
GreyImage sheet(double angle = 0) {
  GreyImage image{400, 300, {}};
  const double c = std::cos(angle), s = std::sin(angle);
  for (int n = 0; n < 400 * 300; ++n) {
    const double x = n % 400 - 199.5, y = n / 400 - 149.5;
    const bool inside = std::abs(x * c - y * s) < 100 && std::abs(x * s + y * c) < 100;
    image.pixels.push_back(inside ? 255 : 0);
  }
  return image;
}

class BoundDetect : public testing::TestWithParam<KxColorSpace> {
 protected:
  void SetUp() override {
    s_settings = {};
    s_serviceAngle = 0;
    s_binarized = 0;
    s_canBinarize = true;
  }
  void feed(const GreyImage& image) {
    for (int y = 0; y < image.height; y += 64) {
      m_detector->AddStripe(stripeOf(image, y, std::min(y + 64, image.height), GetParam()).get());
    }
  }
  const KxPtr<IBoundDetect> m_detector = KxPtr<IBoundDetect>::adopt(
      new CIBoundDetect({[] { return s_settings; }, new_IRStor, binarize, [](IRStor*) { return s_serviceAngle; }}));
};

TEST_P(BoundDetect, FindsASheetThatComesInStripesOnce) {
  feed(sheet());
  const Answer a = detect(m_detector.get());
  ASSERT_EQ(a.result, 1);
  const auto expected = uniteExtents(test::plainExtents(sheet(), 127), 400);
  EXPECT_EQ((KxRect{a.bounds[0], a.bounds[1], a.bounds[2], a.bounds[3]}), *expected);
  EXPECT_NEAR(a.bounds[0], 100, 6);
  EXPECT_NEAR(a.bounds[3], 250, 2);
  EXPECT_EQ(a.angle, 0);
  EXPECT_EQ(a.height, 300);
  EXPECT_EQ(s_binarized, 0);
  const Answer again = detect(m_detector.get());
  EXPECT_EQ(again.result, 0);
  EXPECT_EQ(again.angle, -1) << "without stripes nothing is written";
}

TEST_P(BoundDetect, WritesOnlyTheAngleWhenItFindsNothing) {
  for (const auto& [width, height] : {std::pair{400, 300}, {8, 300}, {400, 2}, {1, 1}}) {
    for (const int tone : {0, 255}) {
      const auto count = static_cast<std::size_t>(width * height);
      feed({width, height, std::vector<std::uint8_t>(count, static_cast<std::uint8_t>(tone))});
      const Answer a = detect(m_detector.get());
      EXPECT_EQ(a.result, 0);
      EXPECT_EQ(a.angle, 0);
      EXPECT_EQ(a.bounds[0], -1);
      EXPECT_EQ(a.height, -1);
    }
  }
  feed(sheet());
  m_detector->Reset();
  EXPECT_EQ(detect(m_detector.get()).result, 0);
}

TEST_P(BoundDetect, WidensOnlyTurnedPagesOfAutomaticWidth) {
  s_settings.deskew = true;
  for (const std::int32_t type : {kAreaAutoWidth, kAreaFixedWidth}) {
    s_settings.scanType = type;
    const GreyImage image = sheet(0.06);
    feed(image);
    const Answer a = detect(m_detector.get());
    ASSERT_EQ(a.result, 1);
    const auto extents = test::plainExtents(image, 127);
    auto expected = *uniteExtents(extents, 400);
    ASSERT_EQ(a.angle, test::plainSkew(extents));
    ASSERT_NEAR(a.angle, 0.06, 0.01);
    if (type == kAreaAutoWidth) widenToPage(&expected, a.angle);
    EXPECT_EQ(a.bounds[0], expected.left);
    EXPECT_EQ(a.bounds[2], expected.right);
  }
  EXPECT_EQ(s_binarized, GetParam() == KxColorSpace::Grey ? 2 : 0);
}

TEST_P(BoundDetect, TakesTheServicesAngleUnlessItIsNone) {
  const auto own = test::plainSkew(test::plainExtents(sheet(), 127));
  for (const auto& [service, expected] : {std::pair{0.02, 0.02}, {-0.02, -0.02}, {0.0005, own}, {0.0, own}}) {
    s_settings.deskew = true;
    s_serviceAngle = service;
    feed(sheet());
    EXPECT_EQ(detect(m_detector.get()).angle, expected);
  }
  s_canBinarize = false;
  s_serviceAngle = 0.02;
  feed(sheet());
  const Answer a = detect(m_detector.get());
  EXPECT_EQ(a.result, 1);
  EXPECT_EQ(a.angle, GetParam() == KxColorSpace::Grey ? 0 : 0.02) << "run lists need no binarising";
}

INSTANTIATE_TEST_SUITE_P(Lines, BoundDetect, testing::Values(KxColorSpace::Grey, KxColorSpace::Bitonal),
                         [](const auto& p) { return p.param == KxColorSpace::Grey ? "Grey" : "Runs"; });

TEST(BoundPage, IsTheUprightBoxOfAPortraitPage) {
  // 600 x 848.568 turned by 3 degrees; its box stays as it is, a wider box too, and a narrower one is widened.
  for (const double degrees : {3.0, -3.0}) {
    const double a = degrees * 3.14159265358979 / 180, c = std::cos(a), s = std::sin(std::abs(a));
    const int width = static_cast<int>(std::lround(600 * c + 848.568 * s));
    const int height = static_cast<int>(std::lround(600 * s + 848.568 * c));
    KxRect box{100, 0, 100 + width, height};
    widenToPage(&box, a);
    EXPECT_NEAR(box.left, 100, 1);
    EXPECT_NEAR(box.right, 100 + width, 1);
    KxRect longer{10, 0, 10 + width, height + 300};
    widenToPage(&longer, a);
    EXPECT_LT(longer.left, 10);
    EXPECT_EQ(longer.right - (10 + width), 10 - longer.left);
    EXPECT_EQ(longer.bottom, height + 300);
  }
  KxRect empty{5, 5, 5, 5};
  widenToPage(&empty, 0.7);
  EXPECT_EQ(empty.right - 5, 5 - empty.left);
}

}  // namespace
}  // namespace quillbay
