/// Skew is found and taken out in one convention of angles; the threshold between two classes of tones.
#include <algorithm>
#include <functional>

#include "straighten_tools.h"

namespace quillbay::test {
namespace {

using enum KxColorSpace;
constexpr std::int32_t kWidth = 1400, kHeight = 1700;

/// A sheet with lines of text on a dark bed, turned clockwise; rows of tones.
std::vector<Bytes> sheetRows(double degrees) {
  const double c = std::cos(degrees * kDegree), s = std::sin(degrees * kDegree);
  const auto tone = [](double x, double y) {
    if (std::abs(x) > 520 || std::abs(y) > 660) return 30;
    const bool isLine = std::abs(x) < 440 && std::abs(y) < 600 && std::abs(std::remainder(y, 48)) < 8;
    return isLine && std::fmod(std::abs(x) + 3 * std::floor(y / 48), 21) < 13 ? 60 : 235;
  };
  std::vector<Bytes> rows;
  for (int y = 0; y < kHeight; ++y) {
    Bytes row;
    for (int x = 0; x < kWidth; ++x) {
      const double dx = x - kWidth / 2, dy = y - kHeight / 2;
      row.push_back(static_cast<std::uint8_t>(tone(dx * c + dy * s, dy * c - dx * s)));
    }
    rows.push_back(row);
  }
  return rows;
}

KxPtr<IRStor> greyRaster(const std::vector<Bytes>& rows, std::int32_t width) {
  const auto raster = new_IRStor(Grey, width, static_cast<std::int32_t>(rows.size()), 100);
  const auto writer = contextOf(*raster, 1);
  for (std::size_t y = 0; y < rows.size(); ++y) {
    writer->WriteLine(static_cast<std::int32_t>(y), 0, width, rows[y].data());
  }
  return raster;
}

double skewOf(IRStor& bitonal) {
  double radians = 99;
  const auto service = query<IRSDeskew>(&bitonal);
  return service && service->GetSkewAngle(&radians, nullptr) ? radians / kDegree : 99;
}

TEST(SkewService, WhatIsFoundStraightensTheSheet) {
  for (const double degrees : {2.0, -2.0, 0.3, -0.3, 4.7, -4.7, 11.0, -11.0}) {
    SCOPED_TRACE(degrees);
    const auto rows = sheetRows(degrees);
    const auto ink = AutoBinarizing(greyRaster(rows, kWidth).get(), nullptr);
    const double found = skewOf(*ink);
    ASSERT_NEAR(found, -degrees, 0.05);
    // Through the grey rotator, and as run lists.
    auto lines = straightened(Grey, {kWidth, {0, 0}, found * kDegree}, rows);
    for (Bytes& line : lines) line.resize(kWidth);
    EXPECT_NEAR(skewOf(*AutoBinarizing(greyRaster(lines, kWidth).get(), nullptr)), 0, 0.05);
    std::vector<Bytes> runRows;
    for (std::int32_t y = 0; y < kHeight; ++y) {
      const Runs runs = readRuns(*ink, y);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(runs.data());
      runRows.emplace_back(bytes, bytes + runs.size() * 4);
    }
    const auto runLines = straightened(Bitonal, {kWidth, {0, 0}, found * kDegree}, runRows);
    const auto straight = new_IRStor(Bitonal, kWidth + 40, static_cast<std::int32_t>(runLines.size()), 100);
    const auto writer = contextOf(*straight, 1);
    for (std::size_t y = 0; y < runLines.size(); ++y) {
      writer->WriteLine(static_cast<std::int32_t>(y), 0, kWidth + 40, runLines[y].data());
    }
    EXPECT_NEAR(skewOf(*straight), 0, 0.05);
  }
}

TEST(SkewService, NothingIsFoundWhereNothingIs) {
  EXPECT_EQ(skewOf(*new_IRStor(BitonalRle, 800, 800, 100)), 99);
  EXPECT_EQ(skewOf(*new_IRStor(Bitonal, 3, 1, 100)), 99);
  EXPECT_EQ(skewOf(*new_IRStor(Bitonal, 0, 0, 100)), 99);
  EXPECT_FALSE(query<IRSDeskew>(new_IRStor(Grey, 80, 80, 100).get()));
}

TEST(AutoBinarizing, SeparatesTwoClassesOfTones) {
  struct Case {
    int dark, light, grain;
  };
  for (const Case& c : {Case{0, 255, 0}, Case{0, 1, 0}, Case{254, 255, 0}, Case{40, 200, 12}, Case{200, 240, 6}}) {
    SCOPED_TRACE(testing::Message() << c.dark << " and " << c.light);
    std::vector<Bytes> rows;
    for (int y = 0; y < 60; ++y) {
      Bytes row = patternLine(301, y);
      for (std::size_t x = 0; x < row.size(); ++x) {
        const int grain = c.grain > 0 ? row[x] % (2 * c.grain + 1) - c.grain : 0;
        row[x] = static_cast<std::uint8_t>((x % 30 < 10 ? c.dark : c.light) + grain);
      }
      rows.push_back(row);
    }
    const auto ink = AutoBinarizing(greyRaster(rows, 301).get(), nullptr);
    ASSERT_TRUE(ink);
    const Runs runs = readRuns(*ink, 30);
    ASSERT_EQ(runs.size(), 2 * 11 + 2U);
    EXPECT_EQ(runs[2], 30U);
    EXPECT_EQ(runs[3], 39U);
  }
  const auto blank = AutoBinarizing(greyRaster({Bytes(90, 120), Bytes(90, 120)}, 90).get(), nullptr);
  EXPECT_EQ(readRuns(*blank, 1), (Runs{RunEnd, 0}));
  EXPECT_FALSE(AutoBinarizing(new_IRStor(Rgb, 9, 9, 100).get(), nullptr));
  EXPECT_FALSE(AutoBinarizing(nullptr, nullptr));
}

}  // namespace
}  // namespace quillbay::test
