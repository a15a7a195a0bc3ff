#include "analysis/auto_detector.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "stores/scan_buffer.h"
#include "support/progress.h"

namespace quillbay {
namespace {

/// Answers what a test wants, and notes what it is told.
class FakeDetect final : public CKxUnknownImpl<IBoundDetect> {
 public:
  int Reset() override { return stripes = 0, ++resets; }
  int AddStripe(IScanBuffer*) override { return ++stripes, 1; }
  int Detect(std::int32_t bounds[4], double* angle, std::int32_t* height) override {
    if (!finds) return 0;
    for (int i = 0; i < 4; ++i) bounds[i] = 100 * (i + 1);
    *angle = 0.02;
    *height = 500;
    return 1;
  }
  bool finds = true;
  int resets = 0, stripes = 0;
};

/// A grey picture, as stripes of up to 50 lines.
struct TestPicture {
  std::int32_t width, height;
  std::vector<std::uint8_t> pixels;
  TestPicture(std::int32_t w, std::int32_t h, int tone)
      : width(w),
        height(h),
        pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), static_cast<std::uint8_t>(tone)) {}
  std::uint8_t& at(std::int32_t x, std::int32_t y) {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
  void fill(KxRect r, int tone) {
    for (std::int32_t y = r.top; y < r.bottom; ++y)
      for (std::int32_t x = r.left; x < r.right; ++x) at(x, y) = static_cast<std::uint8_t>(tone);
  }
  void addNoise(int strength) {
    std::mt19937 random(5);
    for (auto& p : pixels)
      p = static_cast<std::uint8_t>(std::clamp(
          static_cast<int>(p) + static_cast<int>(random() % static_cast<unsigned>(2 * strength + 1)) - strength, 0,
          255));
  }
};

void give(CAutoDetector& detector, TestPicture& picture, std::uint32_t dpi) {
  IScanSink* sink = detector.sink();
  sink->ScanStarted(KxColorSpace::Grey, picture.width, picture.height, dpi);
  for (std::int32_t top = 0; top < picture.height; top += 50) {
    const std::int32_t lines = std::min(50, picture.height - top);
    const auto stripe =
        KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(dpi, {picture.width, lines}, KxColorSpace::Grey, nullptr));
    for (std::int32_t y = 0; y < lines; ++y) stripe->AddLine(y, &picture.at(0, top + y));
    sink->StripeArrived(top, stripe.get(), 0);
  }
  sink->ScanEnded(1);
}

std::optional<FoundBounds> found(TestPicture picture) {
  CAutoDetector detector;
  detector.begin(100, nullptr);
  give(detector, picture, 100);
  return detector.detect(&panelBoundServices(), false);
}

TEST(AutoDetector, FeedsItsDetectorAndTellsMillimetres) {
  const auto fake = KxPtr<FakeDetect>::adopt(new FakeDetect);
  CAutoDetector detector(KxPtr<IBoundDetect>::share(fake.get()));
  test::Progress progress;
  detector.begin(100, &progress);
  EXPECT_EQ(detector.resolution(), 100U);
  EXPECT_FALSE(detector.hasFinished());
  const int resets = fake->resets;
  TestPicture picture(40, 120, 200);
  give(detector, picture, 50);  // the device's own resolution
  EXPECT_EQ(fake->resets, resets + 1) << "a scan that starts drops what was there";
  EXPECT_EQ(fake->stripes, 3);
  EXPECT_EQ(progress.position, 30);
  EXPECT_TRUE(detector.hasFinished());
  EXPECT_FALSE(detector.hasFinished()) << "the flag is taken";
  const auto bounds = detector.detect(nullptr, true);
  ASSERT_TRUE(bounds);
  EXPECT_EQ(detector.result(), 1);
  EXPECT_EQ(bounds->angle, 0.02);
  EXPECT_DOUBLE_EQ(bounds->box.left, 100 * 25.4 / 50);
  EXPECT_DOUBLE_EQ(bounds->box.bottom, 400 * 25.4 / 50);

  detector.begin(100, nullptr);
  detector.sink()->ScanEnded(2);
  EXPECT_TRUE(detector.hasFinished()) << "whatever the code";
  fake->finds = false;
  EXPECT_FALSE(detector.detect(&panelBoundServices(), true));
  EXPECT_EQ(detector.result(), 0);
}

TEST(AutoDetector, LooksAgainWhereThereIsLessThanTheSheet) {
  TestPicture faint(600, 500, 200);  // an edge too faint for the usual threshold
  faint.fill({100, 80, 420, 400}, 226);
  faint.addNoise(2);
  TestPicture half(600, 500, 60);  // one that is strong above, and faint below
  half.fill({100, 80, 420, 200}, 200);
  half.fill({100, 200, 420, 400}, 86);
  TestPicture bordering(600, 500, 30);  // a sheet that touches the bed's left edge
  bordering.fill({0, 80, 420, 400}, 220);
  for (TestPicture* picture : {&faint, &half, &bordering}) {
    const auto bounds = found(*picture);
    ASSERT_TRUE(bounds);
    EXPECT_TRUE(bounds->atSecondLook);
    constexpr double kMm = 0.254, kNear = 1.0;
    EXPECT_NEAR(bounds->box.left, (picture == &bordering ? 0 : 100) * kMm, kNear);
    EXPECT_NEAR(bounds->box.top, 80 * kMm, kNear);
    EXPECT_NEAR(bounds->box.right, 420 * kMm, kNear);
    EXPECT_NEAR(bounds->box.bottom, 400 * kMm, kNear);
  }
}

TEST(AutoDetector, DirtOnTheBedIsNoDocument) {
  TestPicture dirty(600, 500, 60);
  dirty.fill({100, 80, 420, 400}, 200);
  for (std::int32_t y = 6; y < 490; y += 37) {  // specks of a millimetre
    for (std::int32_t x = 6 + y % 29; x < 590; x += 41) {
      if (dirty.at(x, y) == 60) dirty.fill({x, y, x + 4, y + 4}, 78);
    }
  }
  dirty.addNoise(6);
  const auto bounds = found(dirty);
  ASSERT_TRUE(bounds);
  constexpr double kMm = 0.254, kNear = 1.5;
  EXPECT_NEAR(bounds->box.left, 100 * kMm, kNear);
  EXPECT_NEAR(bounds->box.top, 80 * kMm, kNear);
  EXPECT_NEAR(bounds->box.right, 420 * kMm, kNear);
  EXPECT_NEAR(bounds->box.bottom, 400 * kMm, kNear);
}

/// A long prescan is searched while it arrives, and finds the same.
TEST(AutoDetector, KeepsOnlyTheBeginningOfARoll) {
  TestPicture roll(400, 900, 40);
  roll.fill({100, 80, 320, 730}, 210);
  roll.addNoise(3);
  const auto whole = found(roll);
  ASSERT_TRUE(whole);
  CAutoDetector detector(new_IBoundDetect(), 400 * 120);
  detector.begin(100, nullptr, BoundSettings{});
  give(detector, roll, 100);
  const auto last = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(100, {400, 1}, KxColorSpace::Grey, nullptr));
  const auto references = last->AddRef();
  detector.sink()->StripeArrived(900, last.get(), 0);
  EXPECT_EQ(last->AddRef(), references + 1) << "a later stripe is not kept";
  last->Release();
  last->Release();
  const auto bounds = detector.detect(&panelBoundServices(), false);
  ASSERT_TRUE(bounds);
  EXPECT_EQ(detector.result(), 1);
  EXPECT_NEAR(bounds->box.left, whole->box.left, 1.5);
  EXPECT_NEAR(bounds->box.top, whole->box.top, 1.5);
  EXPECT_NEAR(bounds->box.right, whole->box.right, 1.5);
  EXPECT_NEAR(bounds->box.bottom, whole->box.bottom, 1.5);
  CAutoDetector kept(new_IBoundDetect(), 400 * 120);  // exactly what bound detection finds in one piece
  kept.begin(100, nullptr);
  give(kept, roll, 100);
  kept.sink()->StripeArrived(900, last.get(), 0);
  const auto exact = kept.detect(nullptr, false);
  ASSERT_TRUE(exact);
  EXPECT_EQ(bounds->box, exact->box);
}

TEST(AutoDetector, TakesAnyPicture) {
  for (const KxSize size : {KxSize{600, 400}, KxSize{600, 1}, KxSize{600, 2}, KxSize{8, 400}, KxSize{1, 1}}) {
    for (const int tone : {0, 255}) EXPECT_FALSE(found(TestPicture(size.width, size.height, tone)));
    TestPicture noise(size.width, size.height, 128);
    std::mt19937 random(3);
    for (auto& p : noise.pixels) p = random() % 2 ? 255 : 0;
    const auto bounds = found(noise);  // anything, within the picture
    if (!bounds) continue;
    EXPECT_GE(bounds->box.left, 0);
    EXPECT_LE(bounds->box.right, size.width * 0.254 + 1e-9);
    EXPECT_LE(bounds->box.bottom, size.height * 0.254 + 1e-9);
  }
  CAutoDetector detector;
  detector.begin(100, nullptr);
  EXPECT_FALSE(detector.detect(&panelBoundServices(), true)) << "nothing was delivered";
}

}  // namespace
}  // namespace quillbay
