#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "quillbay/run_list.h"
#include "recording_sink.h"
#include "scanners/lines/box_filters.h"
#include "scanners/lines/bw_stage.h"
#include "scanners/lines/line_pipeline.h"

namespace quillbay {
namespace {

using testing::RecordingSink;

struct Page {
  int width, height;
  std::vector<int> grey;
  [[nodiscard]] int at(int x, int y) const {
    x = std::clamp(x, 0, width - 1);
    return grey[static_cast<std::size_t>(std::clamp(y, 0, height - 1) * width + x)];
  }
  template <class Function>
  [[nodiscard]] Page made(Function&& f) const {
    Page out = *this;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) out.grey[static_cast<std::size_t>(y * width + x)] = f(x, y);
    return out;
  }
};

Page noisyPage(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Page page{width, height, std::vector<int>(static_cast<std::size_t>(width * height))};
  for (int& v : page.grey) v = (random() & 3) == 0 ? static_cast<int>(random() & 255) : 150 + (random() & 31);
  return page;
}

// The modes as plain loops over a whole page.
int meanOf(const Page& p, int x, int y, int reach) {
  int sum = 0;
  for (int dy = -reach; dy <= reach; ++dy)
    for (int dx = -reach; dx <= reach; ++dx) sum += p.at(x + dx, y + dy);
  const int area = (2 * reach + 1) * (2 * reach + 1);
  return (sum + area / 2) / area;
}

Page sharpened(const Page& p, int weight) {
  return p.made([&](int x, int y) {
    int sum = 0;
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx) sum += p.at(x + dx, y + dy) * (2 - std::abs(dx)) * (2 - std::abs(dy));
    return std::clamp(p.at(x, y) + (((16 * p.at(x, y) - sum) * weight + 128) >> 8), 0, 255);
  });
}

Page screened(const Page& p, int level, int contrast) {
  Page errors = p.made([](int, int) { return 0; });
  Page out = errors;
  const auto give = [&](int x, int y, int error) {
    if (x >= 0 && x < p.width && y < p.height) errors.grey[static_cast<std::size_t>(y * p.width + x)] += error;
  };
  for (int y = 0; y < p.height; ++y) {
    const int step = y % 2 == 0 ? 1 : -1;
    for (int i = 0; i < p.width; ++i) {
      const int x = step > 0 ? i : p.width - 1 - i;
      const int tone = std::clamp((p.at(x, y) - level) * contrast / 100 + 128, 0, 255);
      const int value = 16 * tone + errors.at(x, y);
      const int white = value < 2048 ? 0 : 255;
      const int error = value - 16 * white;
      out.grey[static_cast<std::size_t>(y * p.width + x)] = white;
      const int ahead = error * 7 >> 4, back = error * 3 >> 4, down = error * 5 >> 4;
      give(x + step, y, ahead);
      give(x - step, y + 1, back);
      give(x, y + 1, down);
      give(x + step, y + 1, error - ahead - back - down);
    }
  }
  return out;
}

Page plain(Page p, int mode, int reach, const BwSettings& s) {
  if (s.blur > 0) p = p.made([q = p, &s](int x, int y) { return meanOf(q, x, y, s.blur); });
  const int weight = (s.sharpness < 0 ? 2 : 8) * s.sharpness + (mode == 2 ? 24 : 0);
  if (weight != 0) p = sharpened(p, weight);
  if (mode == 3) return screened(p, s.level, 115);
  const LevelTable limits = AdaptiveFilter::limits(s.level, s.suppression);
  return p.made([&](int x, int y) {
    const int limit = mode == 1 ? limits[static_cast<std::size_t>(meanOf(p, x, y, reach))] : s.level;
    return p.at(x, y) < limit ? 0 : 255;
  });
}

std::vector<std::uint8_t> scanned(const Page& page, int mode, std::uint32_t dpi, const BwSettings& settings,
                                  int stripeLines, RecordingSink* sink) {
  LinePipeline::Setup setup;
  setup.mode = mode;
  setup.width = page.width;
  setup.dpi = dpi;
  setup.threshold = settings.level;
  setup.bw = settings;
  setup.stripeLines = stripeLines;
  sink->started = 1;
  LinePipeline pipeline(setup, sink);
  const std::vector<std::uint8_t> bytes(page.grey.begin(), page.grey.end());
  EXPECT_EQ(pipeline.push(bytes.data(), static_cast<std::size_t>(page.width), page.height), 1);
  EXPECT_EQ(pipeline.flush(), 1);
  EXPECT_EQ(pipeline.flush(), 1);
  EXPECT_TRUE(sink->inOrder);
  EXPECT_EQ(sink->lineCount, page.height);
  return sink->bytes;
}

// What the pipeline made, black 0 and white 255.
Page pixelsOf(const Page& page, int mode, std::uint32_t dpi, const BwSettings& settings, int stripeLines = 3) {
  RecordingSink sink;
  const std::vector<std::uint8_t> bytes = scanned(page, mode, dpi, settings, stripeLines, &sink);
  Page out = page.made([](int, int) { return 255; });
  std::vector<std::uint32_t> words(bytes.size() / 4);
  std::memcpy(words.data(), bytes.data(), bytes.size());
  std::size_t i = 0;
  for (int y = 0; y < page.height; ++y, i += 2)
    for (; words[i] != RunEnd; i += 2)
      for (std::uint32_t x = words[i]; x <= words[i + 1]; ++x)
        out.grey[static_cast<std::size_t>(y * page.width) + x] = 0;
  return out;
}

int blackIn(const Page& p, int left, int top, int right, int bottom) {
  int count = 0;
  for (int y = top; y < bottom; ++y)
    for (int x = left; x < right; ++x) count += p.at(x, y) == 0;
  return count;
}

TEST(BwModes, MakeWhatThePlainLoopsMake) {
  const BwSettings all[] = {{128, 0, 0, 0}, {90, 85, 3, 0}, {160, 100, -8, 2}, {128, 40, 8, 4}, {0, 0, 0, 1}};
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 40}, {2, 3}, {33, 1}, {70, 45}})
    for (const int mode : {0, 1, 2, 3})
      for (const BwSettings& s : all) {
        SCOPED_TRACE(::testing::Message() << width << " x " << height << ", mode " << mode << ", level " << s.level
                                          << ", sharpness " << s.sharpness << ", blur " << s.blur);
        const Page page = noisyPage(width, height, 7);
        const Page made = pixelsOf(page, mode, 100, s);
        ASSERT_EQ(made.grey, plain(page, mode, 10, s).grey);
      }
}

TEST(BwModes, StripesMakeNoDifference) {
  for (const auto& [width, height] : {std::pair{1, 90}, {301, 90}, {40, 5}})
    for (int mode = 0; mode < 5; ++mode) {
      const BwSettings settings{120, suppressesBackground(mode) ? 85 : 0, 2, 1};
      const Page page = noisyPage(width, height, 3);
      RecordingSink whole;
      const auto wanted = scanned(page, mode, 300, settings, 1000, &whole);
      for (const int lines : {1, 2, 17}) {
        RecordingSink sink;
        EXPECT_EQ(scanned(page, mode, 300, settings, lines, &sink), wanted) << "mode " << mode << ", " << lines;
      }
    }
}

// Paper from light to dark with a stain, and a line of one pixel, darker than its surroundings by a fifth.
TEST(BwModes, AdaptiveKeepsThinLinesOnUnevenPaper) {
  const auto page = Page{600, 120, std::vector<int>(72000)}.made([](int x, int y) {
    const int paper = (x > 200 && x < 300 ? 170 : 230) - x / 5;
    return y == 60 ? paper * 4 / 5 : paper;
  });
  const Page level = pixelsOf(page, 0, 300, {128, 0, 0, 0});
  const Page adaptive = pixelsOf(page, 1, 300, {64, 85, 0, 0});
  EXPECT_GT(blackIn(adaptive, 0, 60, 600, 61), 560) << "it fades only in the light beside the stain";
  EXPECT_LT(blackIn(level, 0, 60, 190, 61), 10) << "the threshold loses the line in the light";
  EXPECT_GT(blackIn(level, 520, 0, 600, 50), 3000) << "and makes the shadow black";
  const int dirt = blackIn(adaptive, 0, 0, 600, 60) + blackIn(adaptive, 0, 61, 600, 120);
  EXPECT_LT(dirt, 600 * 120 / 20) << "paper stays white but for the stain's rim";
}

TEST(BwModes, AdaptiveKeepsLightLinesOnDarkSheetsAndSolidInk) {
  const auto page = Page{200, 200, std::vector<int>(40000)}.made([](int x, int y) {
    const int sheet = 60 + x / 10;
    return y == 100 ? sheet + 45 : sheet;
  });
  const Page made = pixelsOf(page, 1, 300, {110, 85, 0, 0});
  EXPECT_EQ(blackIn(made, 0, 100, 200, 101), 0);
  EXPECT_EQ(blackIn(made, 0, 0, 200, 100), 200 * 100);
}

TEST(BwModes, CopiesKeepPaleLinesOrTones) {
  const auto pale = Page{64, 64, std::vector<int>(4096)}.made([](int x, int) { return x == 30 ? 140 : 190; });
  EXPECT_EQ(blackIn(pixelsOf(pale, 0, 300, {128, 0, 0, 0}), 0, 0, 64, 64), 0);
  EXPECT_EQ(blackIn(pixelsOf(pale, 2, 300, {128, 0, 0, 0}), 0, 0, 64, 64), 64);
  for (const int grey : {0, 64, 128, 192, 255}) {
    const auto flat = Page{100, 100, std::vector<int>(10000, grey)};
    const int black = blackIn(pixelsOf(flat, 3, 300, {128, 0, 0, 0}), 0, 0, 100, 100);
    EXPECT_NEAR(black, 10000 * std::clamp(128 - (grey - 128) * 115 / 100, 0, 255) / 255, 150) << grey;
    // Paper of any grey that is suppressed is white; what it is darker than stays a tone.
    const auto half = flat.made([&](int x, int) { return x < 50 ? 200 : grey; });
    const Page copy = pixelsOf(half, 4, 100, {128, 100, 0, 0});
    EXPECT_EQ(blackIn(copy, 0, 0, 40, 100), 0) << grey;
    EXPECT_EQ(blackIn(copy, 60, 10, 100, 100) > 2000, grey <= 64) << grey;
  }
}

}  // namespace
}  // namespace quillbay
