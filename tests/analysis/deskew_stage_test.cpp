/// Straightening of a scan's stripes: the layout of the sheet, the stripes that are handed on.
#include "analysis/deskew_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "stores/scan_buffer.h"
#include "support/test_stripe.h"

namespace quillbay::test {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr std::uint32_t kDpi = 100;

/// A sheet in millimetres that needs a turn by `degrees`, and the upright box around it.
struct Sheet {
  double width, height, degrees;
  [[nodiscard]] double sine() const { return std::sin(std::abs(degrees) * kDegree); }
  [[nodiscard]] double cosine() const { return std::cos(degrees * kDegree); }
  [[nodiscard]] double boxWidth() const { return width * cosine() + height * sine(); }
  [[nodiscard]] double boxHeight() const { return height * cosine() + width * sine(); }
  [[nodiscard]] StraighteningBasis basis() const {
    return {degrees * kDegree, {13, 20, 13 + boxWidth(), 20 + boxHeight()}, 0};
  }
};

double pixels(double mm) { return mmToPixels(mm, kDpi); }

/// The scan of a light sheet with a dark frame 10 mm from its edges, on a bed of middle grey.
std::vector<Bytes> scanOf(const Sheet& sheet) {
  const auto columns = static_cast<int>(std::lround(pixels(sheet.boxWidth())));
  const auto rows = static_cast<int>(std::lround(pixels(sheet.boxHeight())));
  // The scan shows the sheet turned the other way.
  const double c = sheet.cosine(), s = std::sin(sheet.degrees * kDegree);
  std::vector<Bytes> out;
  for (int y = 0; y < rows; ++y) {
    Bytes row;
    for (int x = 0; x < columns; ++x) {
      const double dx = x + 0.5 - pixels(sheet.boxWidth()) / 2, dy = y + 0.5 - pixels(sheet.boxHeight()) / 2;
      const double px = std::abs(dx * c - dy * s), py = std::abs(dx * s + dy * c);
      const double edge = std::min(pixels(sheet.width) / 2 - px, pixels(sheet.height) / 2 - py);
      const bool isFrame = std::abs(edge - pixels(10)) < 1.5;
      row.push_back(edge < 0 ? 128 : isFrame ? 0 : 255);
    }
    out.push_back(row);
  }
  return out;
}

struct Result {
  std::vector<Bytes> lines;
  std::vector<std::int32_t> stripes;  // their lines
  std::int32_t width = 0;
};

void collect(const KxPtr<IScanBuffer>& stripe, Result& to) {
  if (!stripe) return;
  KxSize size;
  stripe->GetSize(&size);
  to.width = size.width;
  to.stripes.push_back(size.height);
  EXPECT_EQ(stripe->GetResolution(), kDpi);
  for (int i = 0; i < size.height; ++i) to.lines.emplace_back(stripe->GetLine(i), stripe->GetLine(i) + size.width);
}

Result straightened(DeskewStage& stage, const StraighteningBasis& basis, const std::vector<Bytes>& rows,
                    std::size_t stripeLines) {
  Result out;
  stage.Begin(basis);
  for (std::size_t y = 0; y < rows.size(); y += stripeLines) {
    const auto stripe =
        newStripe(KxColorSpace::Grey, static_cast<std::int32_t>(rows[0].size()), Shape::Packed, kDpi);
    for (std::size_t i = y; i < std::min(rows.size(), y + stripeLines); ++i) stripe->add(rows[i]);
    collect(stage.Pass(stripe.get(), 0), out);
  }
  collect(stage.Pass(nullptr, 0), out);
  EXPECT_FALSE(stage.Pass(nullptr, 0));
  return out;
}

TEST(DeskewLayout, IsThatOfTheSheetInItsBox) {
  for (const Sheet& sheet : {Sheet{210, 297, 3}, Sheet{841, 1189, 2}, Sheet{420, 297, 5}, Sheet{600, 3000, 1}}) {
    for (const double sign : {1.0, -1.0}) {
      StraighteningBasis basis = sheet.basis();
      basis.skew *= sign;
      const auto layout = layoutOf(basis, kDpi);
      ASSERT_TRUE(layout);
      EXPECT_NEAR(layout->width, pixels(sheet.width), 1);
      EXPECT_EQ(layout->offset.width,
                sign > 0 ? 0 : std::floor(pixels(sheet.boxWidth()) - pixels(sheet.width) + 0.5));
      EXPECT_NEAR(layout->offset.height,
                  (pixels(sheet.boxWidth()) - pixels(sheet.width)) * std::tan(std::abs(basis.skew)) / 2, 1);
    }
  }
  // "Auto Width": the area's length does not matter.
  const StraighteningBasis wide{0.03, {0, 0, 300, 1}, 1}, wider{0.03, {0, 0, 300, 300 * 1.41428}, 0};
  EXPECT_EQ(layoutOf(wide, 200), layoutOf(wider, 200));
}

TEST(DeskewStage, WithoutASkewStripesPassAsTheyAre) {
  DeskewStage stage(newScanBuffer);
  // No sheet turned by 0.2 fills so long an area.
  for (const double skew : {0.0, 0.0008, -0.001, 0.001, 0.2, -0.2, 1.2, std::nan("")}) {
    stage.Begin({skew, {0, 0, 100, 1000}, 0});
    const auto stripe = newStripe(KxColorSpace::Grey, 5);
    stripe->add(Bytes(5, 1));
    EXPECT_EQ(stage.Pass(stripe.get(), 7).get(), stripe.get()) << skew;
    EXPECT_FALSE(stage.Pass(nullptr, 0));
  }
}

/// The column or line of the frame's first dark pixel in a line of tones, to parts of a pixel.
double frameAt(const std::vector<int>& tones) {
  double sum = 0, weight = 0;
  for (std::size_t i = 20; i < 60; ++i) {
    sum += static_cast<double>(i) * (255 - tones[i]);
    weight += 255 - tones[i];
  }
  return sum / weight;
}

TEST(DeskewStage, ASheetComesOutCroppedAndStraight) {
  DeskewStage stage(newScanBuffer);
  for (const double degrees : {0.4, -0.4, 2.0, -2.0, 5.0, -5.0}) {
    SCOPED_TRACE(degrees);
    const Sheet sheet{210, 297, degrees};
    const auto rows = scanOf(sheet);
    const Result all = straightened(stage, sheet.basis(), rows, rows.size());
    EXPECT_NEAR(all.width, pixels(210), 2);
    EXPECT_NEAR(static_cast<double>(all.lines.size()), pixels(297), 3);
    // The frame runs along both edges, at the same distance.
    const auto down = [&](std::size_t column) {
      std::vector<int> tones;
      for (std::size_t y = 0; y < 60; ++y) tones.push_back(all.lines[y][column]);
      return frameAt(tones);
    };
    const auto across = [&](std::size_t line) {
      return frameAt({all.lines[line].begin(), all.lines[line].begin() + 60});
    };
    EXPECT_NEAR(down(100), pixels(10), 2.5);
    EXPECT_NEAR(across(100), pixels(10), 2.5);
    EXPECT_NEAR((down(700) - down(100)) / 600 / kDegree, 0, 0.05);
    EXPECT_NEAR((across(1000) - across(100)) / 900 / kDegree, 0, 0.05);
    // Between the edges, less a millimetre, and the frame there is no bed.
    const std::size_t height = all.lines.size();
    for (std::size_t y = 4; y + 4 < height; ++y) {
      const Bytes& line = all.lines[y];
      const auto isLight = [](int v) { return v == 255; };
      const bool isMargin = y < 30 || y + 30 > height;
      ASSERT_TRUE(std::all_of(line.begin() + 4, isMargin ? line.end() - 4 : line.begin() + 30, isLight)) << y;
      ASSERT_TRUE(std::all_of(line.end() - 30, line.end() - 4, isLight)) << y;
    }
    for (const std::size_t stripeLines : {1U, 37U, 500U}) {
      const Result parts = straightened(stage, sheet.basis(), rows, stripeLines);
      EXPECT_EQ(parts.lines, all.lines);
      for (std::size_t i = 0; i + 1 < parts.stripes.size(); ++i) EXPECT_GE(parts.stripes[i], 128);
    }
  }
}

TEST(DeskewStage, AShortScanIsHandedOnAtItsEnd) {
  DeskewStage stage(newScanBuffer);
  std::vector<Bytes> rows(100, Bytes(200, 9));
  const Result result = straightened(stage, {0.02, {0, 0, 50.8, 25.4}, 0}, rows, 10);
  ASSERT_EQ(result.stripes.size(), 1U);
  EXPECT_NEAR(result.stripes[0], 100 - 198 * 0.02, 2);
  // An area whose size hardly a sheet of this skew has: no line is read beyond its end.
  for (const tagRRECT& area : {tagRRECT{0, 0, 50.8, 0}, tagRRECT{0, 0, 5080, 1}, tagRRECT{0, 0, 0, 5080}}) {
    for (const double skew : {0.7, -0.7, 0.05, -0.05}) {
      const Result odd = straightened(stage, {skew, area, 0}, rows, 10);
      EXPECT_GE(odd.width, 1);
      EXPECT_LE(odd.width, 270);
    }
  }
}

}  // namespace
}  // namespace quillbay::test
