#include "stores/preview_stor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <thread>

#include "params/shared_scan_params.h"
#include "quillbay/run_list.h"
#include "stores/simple_stor.h"
#include "stores/view_stor.h"
#include "support/test_stripe.h"

namespace quillbay {
namespace {

using test::Bytes;
using test::Shape;

constexpr std::int32_t kScreen = 1280;

/// A page whose byte `i` of line `y` is `tone(i, y)`; for run lists, whether pixel `i` is black.
using Tone = std::function<int(std::int32_t, std::int32_t)>;

KxPtr<IScanBuffer> stripeOf(KxColorSpace cs, std::int32_t width, std::int32_t first, std::int32_t lines,
                            const Tone& tone, bool packed = false) {
  const auto stripe = test::newStripe(cs, width, Shape::Packed, 200);
  for (std::size_t i = 0; i < 256; ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    stripe->palette()[i] = {v, static_cast<std::uint8_t>(255 - v), static_cast<std::uint8_t>(v / 2), 9};
  }
  for (std::int32_t y = first; y < first + lines; ++y) {
    if (!isRunList(cs)) {
      Bytes line(fixedLineBytes(cs, width));
      for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = static_cast<std::uint8_t>(tone(static_cast<std::int32_t>(i), y));
      stripe->add(line);
      continue;
    }
    Bytes bits((static_cast<std::size_t>(width) + 7) / 8);
    for (std::int32_t x = 0; x < width; ++x)
      if (tone(x, y)) setBits(bits.data(), static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(x));
    test::Runs runs(static_cast<std::size_t>(width) + 3);
    bitsToRuns(bits.data(), width, runs.data());
    if (packed) {
      stripe->add(Bytes(4, 0xFF), bits);  // its run list is no list: nobody may ask for it
    } else {
      stripe->add(runs);
    }
  }
  return KxPtr<IScanBuffer>::share(stripe.get());
}

int shaded(std::int32_t i, std::int32_t y) { return (i * 7 + y * 31 + i / 11 * y) & 255; }

/// A store and what it joined.
struct Feed {
  explicit Feed(std::int32_t screen = kScreen)
      : store(KxPtr<CPreviewStor>::adopt(new CPreviewStor(screen, [this](auto picture) { joined = picture; }))) {}
  void add(KxColorSpace cs, std::int32_t width, std::int32_t lines, const Tone& tone = shaded,
           bool packed = false) {
    EXPECT_EQ(store->AddStripe(stripeOf(cs, width, at, lines, tone, packed).get()), 1);
    at += lines;
  }
  [[nodiscard]] std::array<double, 4> rect() const {
    std::array<double, 4> r{};
    store->GetRect(r.data());
    return r;
  }
  std::shared_ptr<const Picture> reset() {
    store->Reset();
    return joined;
  }

  std::shared_ptr<const Picture> joined;
  KxPtr<CPreviewStor> store;
  std::int32_t at = 0;
};

std::uint32_t pixelOf(const Picture& p, std::int32_t x, std::int32_t y) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, p.bytes.data() + static_cast<std::size_t>(y) * p.stride + static_cast<std::size_t>(x) * 4, 4);
  return pixel;
}

/// Red, green and blue of a source pixel.
std::array<double, 3> colorOf(KxColorSpace cs, const Tone& tone, std::int32_t x, std::int32_t y) {
  switch (cs) {
    case KxColorSpace::Rgb: return {double(tone(3 * x, y)), double(tone(3 * x + 1, y)), double(tone(3 * x + 2, y))};
    case KxColorSpace::Bgr: return {double(tone(3 * x + 2, y)), double(tone(3 * x + 1, y)), double(tone(3 * x, y))};
    case KxColorSpace::Palette: return {double(tone(x, y)), 255.0 - tone(x, y), double(tone(x, y) >> 1)};
    case KxColorSpace::Grey: return {double(tone(x, y)), double(tone(x, y)), double(tone(x, y))};
    default: return tone(x, y) ? std::array{0.0, 0.0, 0.0} : std::array{255.0, 255.0, 255.0};
  }
}

/// The mean of what a pixel of the picture covers, pixel by pixel and in doubles.
std::array<double, 3> meanOf(KxColorSpace cs, const Tone& tone, KxSize scan, KxSize size, std::int32_t px,
                             std::int32_t py) {
  const double sx = double(scan.width) / size.width, sy = double(scan.height) / size.height;
  std::array<double, 3> sum{};
  for (auto y = std::int32_t(py * sy); y < scan.height && y < (py + 1) * sy; ++y) {
    const double down = std::min((py + 1) * sy, y + 1.0) - std::max(py * sy, double(y));
    for (auto x = std::int32_t(px * sx); x < scan.width && x < (px + 1) * sx; ++x) {
      const double across = std::min((px + 1) * sx, x + 1.0) - std::max(px * sx, double(x));
      const auto color = colorOf(cs, tone, x, y);
      for (std::size_t c = 0; c < 3; ++c) sum[c] += color[c] * across * down / (sx * sy);
    }
  }
  if (isRunList(cs)) {
    for (double& v : sum) v = 255 - std::min(255.0, (255 - v) * std::max({1.0, sx, sy}));
  }
  return sum;
}

TEST(PreviewStor, SmallStripesWaitForMoreThanEightReducedLines) {
  Feed feed;
  EXPECT_TRUE(feed.store->IsEmpty());
  EXPECT_EQ(feed.rect(), (std::array<double, 4>{0, 0, -1, -1}));
  std::array<double, 4> mm{1, 1, 1, 1};
  feed.store->GetRectMM(mm.data());
  EXPECT_EQ(mm, (std::array<double, 4>{}));
  feed.add(KxColorSpace::Grey, 10000, 50);  // 6.4 lines
  EXPECT_TRUE(feed.store->IsEmpty());
  feed.add(KxColorSpace::Grey, 10000, 50);  // 12.8
  EXPECT_FALSE(feed.store->IsEmpty());
  EXPECT_EQ(feed.rect(), (std::array<double, 4>{0, 0, 1279, 11}));
  feed.add(KxColorSpace::Grey, 10000, 100);  // 12.8 on top of 12
  EXPECT_EQ(feed.rect()[3], 23);
  feed.store->GetRectMM(mm.data());
  EXPECT_DOUBLE_EQ(mm[3], 23 * 25.4 / 200);
  feed.add(KxColorSpace::Grey, 10000, 62);  // 7.94 wait: they are part of the picture all the same
  EXPECT_EQ(feed.rect()[3], 23);
  const auto picture = feed.reset();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 1280);
  EXPECT_EQ(picture->height, 13 + 13 + 8) << "each picture's height is rounded";
  EXPECT_TRUE(feed.store->IsEmpty());
  EXPECT_EQ(feed.rect()[3], -1);
}

TEST(PreviewStor, ExactlyEightReducedLinesWait) {
  Feed feed(1000);
  feed.add(KxColorSpace::Grey, 10000, 80);
  EXPECT_TRUE(feed.store->IsEmpty());
  feed.add(KxColorSpace::Grey, 10000, 1);
  EXPECT_EQ(feed.rect()[3], 7);
  EXPECT_EQ(feed.reset()->height, 8);
}

TEST(PreviewStor, FinishShowsWhatWaitsAndAsksForNoRaster) {
  Feed feed;
  feed.add(KxColorSpace::Grey, 10000, 20);
  KxPtr<IRStor> raster;
  EXPECT_EQ(feed.store->Finish(raster.put(), 0, 0), 1);
  EXPECT_FALSE(raster);
  EXPECT_FALSE(feed.joined) << "the running picture stays";
  EXPECT_EQ(feed.rect()[3], 1);
  EXPECT_EQ(feed.store->Finish(nullptr, 0, 1), 1);
  ASSERT_TRUE(feed.joined);
  EXPECT_EQ(feed.joined->height, 3);
  EXPECT_TRUE(feed.store->IsEmpty());
}

TEST(PreviewStor, AveragesAreasOfEveryColourSpaceAtAnyScale) {
  struct Case {
    std::int32_t width, lines;
  };
  const Tone grid = [](std::int32_t x, std::int32_t y) { return int(x % 9 < 2 || y % 7 == 3); };
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::BitonalRle, KxColorSpace::Palette,
                                KxColorSpace::Grey, KxColorSpace::Rgb, KxColorSpace::Bgr}) {
    const Tone& tone = isRunList(cs) ? grid : Tone(shaded);
    for (const Case& c :
         {Case{320, 9}, {1, 1}, {3, 2}, {111, 17}, {333, 40}, {1237, 97}, {3200, 90}, {9001, 701}}) {
      for (const bool packed : {false, true}) {
        if (packed && !isRunList(cs)) continue;
        SCOPED_TRACE(testing::Message() << int(cs) << " width " << c.width << (packed ? " packed" : ""));
        Feed feed(320);
        feed.add(cs, c.width, c.lines, tone, packed);
        const auto picture = feed.reset();
        ASSERT_TRUE(picture);
        const KxSize size{320, roundHalfUp(c.lines * 320.0 / c.width)};
        ASSERT_EQ((KxSize{picture->width, picture->height}), size);
        for (std::int32_t i = 0; i < 400; ++i) {
          const std::int32_t x = i * 97 % size.width, y = i * 31 % size.height;
          const auto want = meanOf(cs, tone, {c.width, c.lines}, size, x, y);
          const std::uint32_t got = pixelOf(*picture, x, y);
          ASSERT_EQ(got >> 24, 255U);
          for (std::uint32_t k = 0; k < 3; ++k)
            ASSERT_NEAR(got >> (16 - 8 * k) & 255, want[k], isRunList(cs) ? 6 : 1.5) << x << ',' << y;
        }
      }
    }
  }
}

TEST(PreviewStor, OtherColourSpacesAndStripesWithoutPixelsHaveNoPicture) {
  for (const KxColorSpace cs : {KxColorSpace::Four, KxColorSpace::Rgba, KxColorSpace::Bgra}) {
    Feed feed;
    for (int i = 0; i < 3; ++i) feed.add(cs, 1280, 100);
    EXPECT_TRUE(feed.store->IsEmpty());
    EXPECT_EQ(feed.rect()[3], -1);
    EXPECT_FALSE(feed.reset());
  }
  Feed feed;
  EXPECT_EQ(feed.store->AddStripe(nullptr), 0);
  feed.add(KxColorSpace::Grey, 0, 10);
  feed.add(KxColorSpace::Grey, 100, 0);
  EXPECT_FALSE(feed.reset());
}

// The darkness of a line of the picture, in black pixels.
double inkAcross(const Picture& p, std::int32_t y) {
  double dark = 0;
  for (std::int32_t x = 0; x < p.width; ++x) dark += 255 - (pixelOf(p, x, y) & 255);
  return dark / 255;
}

TEST(PreviewStor, ABlackLineOfOnePixelStaysWholeAndThinAtEveryPhase) {
  constexpr std::int32_t kWidth = 3333;  // 10.4 to one
  for (std::int32_t phase = 0; phase < 25; ++phase) {
    SCOPED_TRACE(phase);
    const std::int32_t at = 1000 + phase;
    for (const bool packed : {false, true}) {
      Feed upright(320), level(320);
      upright.add(
          KxColorSpace::Bitonal, kWidth, 100, [&](auto x, auto) { return int(x == at); }, packed);
      level.add(
          KxColorSpace::Bitonal, kWidth, 100, [&](auto, auto y) { return int(y == 30 + phase); }, packed);
      const auto columns = upright.reset(), rows = level.reset();
      for (std::int32_t y = 0; y < columns->height; ++y) ASSERT_NEAR(inkAcross(*columns, y), 1, 0.02);
      double dark = 0;
      for (std::int32_t y = 0; y < rows->height; ++y) dark += (255 - (pixelOf(*rows, 100, y) & 255)) / 255.0;
      ASSERT_NEAR(dark, 1, 0.05);
    }
  }
}

TEST(PreviewStor, TheHeightsOfStripesDoNotChangeThePictureOfAGroup) {
  for (const KxColorSpace cs : {KxColorSpace::Bitonal, KxColorSpace::Rgb}) {
    const Tone tone = cs == KxColorSpace::Rgb ? Tone(shaded) : [](auto x, auto y) { return int(x % 13 == y % 5); };
    std::optional<Bytes> first;
    for (const std::int32_t lines : {84, 42, 21, 1}) {  // 84 lines are the fewest that make a picture
      Feed feed(320);
      for (std::int32_t y = 0; y < 336; y += lines) feed.add(cs, 3320, lines, tone);
      const auto picture = feed.reset();
      if (!first) first = picture->bytes;
      EXPECT_TRUE(picture->bytes == *first) << lines;
    }
  }
}

TEST(PreviewStor, AStripeOfAnotherKindStartsAPictureOfItsOwn) {
  Feed feed(400);
  feed.add(KxColorSpace::Grey, 4000, 50, [](auto, auto) { return 0; });
  feed.add(KxColorSpace::Grey, 2000, 50, [](auto, auto) { return 90; });
  feed.add(KxColorSpace::Bitonal, 2000, 90, [](auto, auto) { return 0; });
  const auto picture = feed.reset();
  ASSERT_EQ((KxSize{picture->width, picture->height}), (KxSize{400, 5 + 5 + 9}));
  EXPECT_EQ(pixelOf(*picture, 399, 2), 0xFF000000U);
  EXPECT_EQ(pixelOf(*picture, 199, 7), 0xFF5A5A5AU);
  EXPECT_EQ(pixelOf(*picture, 200, 7), 0xFFFFFFFFU) << "beside a narrower one";
  EXPECT_EQ(pixelOf(*picture, 0, 12), 0xFFFFFFFFU);
}

TEST(PreviewStor, MemoryStaysBounded) {
  constexpr std::int64_t kMostBytes = std::int64_t{8 << 20} * 4;
  struct Case {
    std::int32_t width, lines;
    int times;
  };
  for (const Case& c : {Case{1, 500, 3}, {2, 4000, 40}, {640, 3000, 8}}) {
    SCOPED_TRACE(c.width);
    Feed feed(640);
    const Tone tone = [](auto, std::int32_t y) { return y % 2 * 200; };
    for (int i = 0; i < c.times; ++i) feed.add(KxColorSpace::Grey, c.width, c.lines, tone);
    EXPECT_EQ(feed.rect()[3] + 1, double(c.lines) * c.times * 640 / c.width) << "lines are counted all the same";
    const auto picture = feed.reset();
    EXPECT_LE(static_cast<std::int64_t>(picture->bytes.size()), kMostBytes);
    EXPECT_EQ(picture->width, 640);
    double mean = 0;
    for (std::int32_t y = 0; y < picture->height; ++y) mean += pixelOf(*picture, 320, y) & 255;
    EXPECT_NEAR(mean / picture->height, 100, 1);
  }
}

/// Pixels to draw on, in a colour that pictures have nowhere.
class Screen final : public CKxUnknownImpl<IRasterDC, IRasterDCMode> {
 public:
  static constexpr std::uint32_t kUntouched = 0x12345678;
  Screen(std::int32_t width, std::int32_t height, int mode = 8)
      : m_size{width, height}, clip{0, 0, width, height}, m_mode(mode) {
    m_pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), kUntouched);
  }
  KxSize GetDeviceSize() override { return m_size; }
  KxRect GetClip() override { return clip; }
  std::uint32_t* GetRow(std::int32_t y) override {
    return m_pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.width);
  }
  int GetStretchMode() override { return m_mode; }

  std::uint32_t at(std::int32_t x, std::int32_t y) { return GetRow(y)[x]; }
  [[nodiscard]] std::size_t touched() const {
    return static_cast<std::size_t>(
        std::count_if(m_pixels.begin(), m_pixels.end(), [](auto p) { return p != kUntouched; }));
  }

 private:
  std::vector<std::uint32_t> m_pixels;
  KxSize m_size;

 public:
  KxRect clip;

 private:
  int m_mode;
};

KxPtr<Screen> newScreen(std::int32_t width, std::int32_t height, int mode = 8) {
  return KxPtr<Screen>::adopt(new Screen(width, height, mode));
}

/// A page of 400 x 100 reduced pixels in several pictures, dark at the top left, lighter to the right and down.
struct Ramp : Feed {
  Ramp() : Feed(400) {
    for (int i = 0; i < 10; ++i) add(KxColorSpace::Grey, 4000, 100, [](auto x, auto y) { return x / 40 + y / 10; });
  }
};

TEST(PreviewStor, TheStartOfALongRollStaysAsFineAsItsEnd) {
  constexpr std::int32_t kBand = 64;  // lines of one tone
  std::vector<KxPtr<IScanBuffer>> stripes;
  for (std::int32_t y = 0; y < 2 * kBand; y += 2)
    stripes.push_back(stripeOf(KxColorSpace::Grey, 256, y, 2, [](auto, auto l) { return l < kBand ? 0 : 255; }));
  Feed feed(2048);  // a stripe is 16 reduced lines, and 4,096 of them are kept
  for (std::size_t i = 0; i < 20000; ++i) feed.store->AddStripe(stripes[i % stripes.size()].get());
  // A row for each 16 lines.
  const auto screen = newScreen(1, 2500);
  feed.store->PaintScan(screen.get(), {1.0 / 256, 1.0 / 16, 0, 0});
  int light = 0, dark = 0;
  for (std::int32_t y = 0; y < 2500; ++y) {
    light += (screen->at(0, y) & 255) > 220 ? 1 : 0;
    dark += (screen->at(0, y) & 255) < 35 ? 1 : 0;
  }
  EXPECT_GT(light, 750);
  EXPECT_GT(dark, 750);
}

TEST(PreviewStor, PaintsEnlargedShrunkAndMirrored) {
  struct Case {
    CRDirectTfm tfm;
    KxRect filled;
  };
  for (const int mode : {8, 0}) {
    for (const Case& c : {Case{{1, 1, 0, 0}, {0, 0, 400, 100}},
                          {{0.5, -0.5, 10, 60}, {10, 10, 210, 60}},
                          {{-2.5, 1.5, 1010, 5}, {10, 5, 1010, 155}},
                          {{0.04, 0.04, 3, 3}, {3, 3, 19, 7}},
                          {{1, 0.25, 0, -5}, {0, 0, 400, 20}}}) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << " scale " << c.tfm.scaleX << ", " << c.tfm.scaleY);
      Ramp feed;
      const auto screen = newScreen(1020, 160, mode);
      feed.store->Paint(screen.get(), &c.tfm);
      const KxRect& f = c.filled;
      EXPECT_EQ(screen->touched(), std::size_t(f.right - f.left) * std::size_t(f.bottom - f.top));
      for (std::int32_t y = f.top; y < f.bottom; y += 3) {
        for (std::int32_t x = f.left; x < f.right; x += 7) {
          const double px = (x + 0.5 - c.tfm.offsetX) / c.tfm.scaleX, py = (y + 0.5 - c.tfm.offsetY) / c.tfm.scaleY;
          const std::uint32_t pixel = screen->at(x, y);
          ASSERT_EQ(pixel >> 24, 255U);
          ASSERT_NEAR(pixel & 255, px / 4 + py, 2) << x << ',' << y;
        }
      }
    }
  }
}

TEST(PreviewStor, PaintsWithinTheClipAndNothingWithoutASize) {
  Ramp feed;
  const auto screen = newScreen(500, 200);
  screen->clip = {100, 50, 120, 60};
  const CRDirectTfm same, none{0, 1, 0, 0}, far{1, 1, 5000, 0},
      broken{1, 1, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()};
  feed.store->Paint(screen.get(), &same);
  EXPECT_EQ(screen->touched(), 200U);
  EXPECT_NE(screen->at(100, 50), Screen::kUntouched);
  const auto empty = newScreen(500, 200);
  for (const CRDirectTfm& tfm : {none, far, broken}) feed.store->Paint(empty.get(), &tfm);
  feed.store->Paint(empty.get(), nullptr);
  feed.store->Paint(nullptr, &same);
  EXPECT_EQ(empty->touched(), 0U);
}

TEST(PreviewStor, InkStaysDarkWhenThePictureIsShrunkFurther) {
  Feed feed(400);
  feed.add(KxColorSpace::Bitonal, 4000, 1000, [](auto x, auto) { return int(x == 1234); });
  const auto screen = newScreen(100, 25);
  const CRDirectTfm quarter{0.25, 0.25, 0, 0};
  feed.store->Paint(screen.get(), &quarter);
  for (std::int32_t y = 0; y < 25; ++y) {
    double dark = 0;
    for (std::int32_t x = 0; x < 100; ++x) dark += (255 - (screen->at(x, y) & 255)) / 255.0;
    EXPECT_NEAR(dark, 1, 0.1);
  }
}

TEST(PreviewStor, InkOfALongRollIsAsDarkAtItsStartAsAtItsEnd) {
  std::vector<KxPtr<IScanBuffer>> stripes;
  for (std::int32_t y = 0; y < 400; y += 2)
    stripes.push_back(stripeOf(KxColorSpace::Bitonal, 256, y, 2, [](auto, auto line) { return int(line == 100); }));
  Feed feed(2048);
  for (std::size_t i = 0; i < 10000; ++i) feed.store->AddStripe(stripes[i % stripes.size()].get());
  const auto screen = newScreen(1, 50);  // a row for one black line
  feed.store->PaintScan(screen.get(), {8, 1.0 / 400, 0, 0});
  double early = 0, late = 0;
  for (std::int32_t y = 1; y < 11; ++y) {
    early += 255 - (screen->at(0, y) & 255);
    late += 255 - (screen->at(0, 49 - y) & 255);
  }
  EXPECT_NEAR(early, 2550, 300);
  EXPECT_NEAR(late, 2550, 300);
}

TEST(PreviewStor, StripesArriveWhileItIsPaintedAndReset) {
  Feed feed(400);
  std::atomic<bool> done = false;
  std::vector<KxPtr<IScanBuffer>> stripes;
  stripes.reserve(8);
  for (std::int32_t i = 0; i < 8; ++i) stripes.push_back(stripeOf(KxColorSpace::Grey, 4000, i * 50, 50, shaded));
  std::thread scanner([&] {
    for (std::size_t i = 0; i < 400; ++i) feed.store->AddStripe(stripes[i % stripes.size()].get());
    done = true;
  });
  const auto screen = newScreen(400, 300);
  const CRDirectTfm tfm{1, 0.2, 0, 0};
  std::int64_t rows = 0;
  for (int i = 0; !done; ++i) {
    feed.store->Paint(screen.get(), &tfm);
    const auto before = feed.rect()[3];
    ASSERT_GE(feed.rect()[3], before);
    if (i % 16 == 15 && feed.reset()) rows += std::exchange(feed.joined, nullptr)->height;
  }
  scanner.join();
  if (feed.reset()) rows += feed.joined->height;
  EXPECT_GE(rows, 400 * 5 - 10) << "nothing is lost";
}

TEST(PreviewStor, TheJoinedPictureIsThatOfTheCurrentMode) {
  const auto params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  const std::vector<std::pair<std::int32_t, std::size_t>> classes{{0, 0}, {4, 0}, {5, 1}, {6, 2}, {7, 3}, {8, 0}};
  for (const auto& [mode, colorClass] : classes) {
    params->pictures = {};
    params->quiet().currMode = mode;
    const auto store = newPreviewStor(kScreen, *params);
    store->AddStripe(stripeOf(KxColorSpace::Grey, 2000, 0, 20, shaded).get());
    store->Reset();
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(params->pictures[i] != nullptr, i == colorClass) << mode;
  }
  const auto shown = params->pictures[0];
  newPreviewStor(kScreen, *params)->Reset();
  EXPECT_EQ(params->pictures[0], shown) << "an empty page replaces no picture";
}

TEST(ViewStor, PaintsThePictureWhereItsLinesWereScanned) {
  const auto picture = KxPtr<CPreviewStor>::adopt(new CPreviewStor(320));
  const auto store = KxPtr<CViewStor>::adopt(new CViewStor(CViewStor::Raster::None, picture));
  EXPECT_TRUE(store->IsEmpty());
  // 10.1 reduced lines, of which the extent counts 10: the picture would get shorter and shorter.
  const Tone tone = [](auto, std::int32_t y) { return y / 10 % 256; };
  for (std::int32_t i = 0; i < 20; ++i)
    store->AddStripe(stripeOf(KxColorSpace::Grey, 3200, i * 101, 101, tone).get());
  double rect[4], mm[4];
  store->GetRect(rect);
  store->GetRectMM(mm);
  EXPECT_EQ(rect[2], 3199);
  EXPECT_EQ(rect[3], 2019);
  EXPECT_DOUBLE_EQ(mm[3], 2019 * 25.4 / 200);
  const auto screen = newScreen(320, 205);
  const CRDirectTfm tfm{0.1, 0.1, 0, 0};
  store->AddStripe(stripeOf(KxColorSpace::Grey, 3200, 2020, 30, tone).get());  // too few for a picture
  KxPtr<IRStor> raster;
  store->Finish(raster.put(), 0, 0);
  const auto early = newScreen(320, 205);
  store->Paint(early.get(), &tfm);
  EXPECT_EQ(early->touched(), 320U * 202U) << "who asks for the raster does not end the page";
  store->Finish(nullptr, 0, 0);
  store->Paint(screen.get(), &tfm);
  EXPECT_EQ(screen->touched(), 320U * 205U);
  for (std::int32_t y = 1; y < 204; ++y) EXPECT_NEAR(screen->at(7, y) & 255, y, 1.5);
}

}  // namespace
}  // namespace quillbay
