#include "quillbay/color_curves.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "analysis/gamma_table.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

using Table = std::array<KXRGBQUAD, 256>;

struct Settings {
  int brightness = 0, contrast = 0, hue = 0, saturation = 0, red = 0, green = 0, blue = 0;
  double redGamma = 1, greenGamma = 1, blueGamma = 1;
  KXRGBQUAD low{0, 0, 0, 0}, high{255, 255, 255, 0};
};

int compute(const Settings& s, Table* table) {
  return CalculateColorCurves(s.brightness, s.contrast, s.hue, s.saturation, s.red, s.green, s.blue, s.redGamma,
                              s.greenGamma, s.blueGamma, s.low, s.high, table->data());
}

TEST(ColorCurves, AreTheseValues) {
  struct Case {
    Settings settings;
    int level;
    KXRGBQUAD want;
  };
  const Settings gammas{0, 0, 0, 5000, 0, 0, 0, 2, 0.5, 1.8};
  const Settings light{0, 0, 180}, dark{0, 0, -180};
  const Settings balanced{10, 25, -20, 0, 30, 0, -30};
  const Settings all{-35, -50, 15, 50, -100, 100, 7, 1.2, 0.9, 2.2, {20, 0, 128, 0}, {200, 255, 129, 0}};
  const Settings points{0, 0, 0, 0, 0, 0, 0, 1, 1, 1, {10, 200, 0, 0}, {10, 100, 0, 0}};
  Settings wild = points;  // so high that the exponent is 0
  wild.redGamma = 1e300;
  Settings none;
  none.redGamma = std::nan("");
  const Case cases[] = {
      {{}, 0, {0, 0, 0}},
      {{}, 77, {77, 77, 77}},
      {{}, 255, {255, 255, 255}},
      {gammas, 1, {10, 0, 7}},
      {gammas, 11, {41, 2, 34}},
      {gammas, 99, {147, 57, 140}},
      {gammas, 128, {170, 86, 164}},
      {gammas, 192, {216, 163, 213}},
      {gammas, 254, {254, 253, 254}},
      {light, 1, {22, 22, 22}},
      {light, 99, {168, 168, 168}},
      {light, 128, {188, 188, 188}},
      {dark, 128, {0, 0, 0}},
      {dark, 192, {6, 6, 6}},
      {dark, 254, {242, 242, 242}},
      {balanced, 11, {10, 10, 10}},
      {balanced, 64, {61, 36, 10}},
      {balanced, 127, {145, 118, 80}},
      {balanced, 199, {237, 222, 197}},
      {all, 10, {29, 49, 29}},
      {all, 99, {54, 103, 29}},
      {all, 127, {75, 114, 29}},
      {all, 192, {145, 137, 156}},
      {all, 254, {156, 156, 156}},
      {points, 0, {0, 0, 0}},  // the high point's 255 are written before the level of the two
      {points, 1, {0, 0, 255}},
      {points, 10, {0, 0, 255}},
      {points, 11, {255, 0, 255}},
      {points, 99, {255, 0, 255}},
      {points, 100, {255, 255, 255}},
      {wild, 10, {0, 0, 255}},
      {none, 128, {0, 128, 128}},  // a gamma that is no number is the least one
      {none, 254, {242, 254, 254}},
  };
  for (const Case& c : cases) {
    Table table{};
    ASSERT_EQ(compute(c.settings, &table), 1);
    EXPECT_EQ(table[static_cast<std::size_t>(c.level)], c.want)
        << &c - cases << ": " << int{table[static_cast<std::size_t>(c.level)].red};
  }
}

TEST(ColorCurves, ContrastAndBrightness) {
  struct Case {
    int brightness, contrast, level, want;
  };
  const Case cases[] = {
      {0, 50, 0, 0},       {0, 50, 63, 0},      {0, 50, 64, 1},     {0, 50, 100, 73},  {0, 50, 127, 127},
      {0, 50, 128, 129},   {0, 50, 191, 255},   {0, 50, 192, 255},  {0, -50, 0, 64},   {0, -50, 127, 127},
      {0, -50, 255, 191},  {0, 25, 63, 42},     {0, 25, 64, 43},    {0, 25, 191, 212}, {0, 25, 192, 214},
      {0, 100, 127, 0},    {0, 100, 128, 255},  {3, 100, 127, 3},   {0, -100, 0, 127}, {0, -100, 255, 127},
      {90, -100, 9, 217},  {100, 0, 100, 200},  {100, 0, 156, 255}, {-100, 0, 99, 0},  {-100, 0, 101, 1},
      {-100, -100, 9, 27}, {100, -100, 9, 227}, {-5, 50, 191, 250}, {20, 50, 63, 20},
  };
  for (const Case& c : cases) {
    Table table{};
    ASSERT_EQ(compute({c.brightness, c.contrast}, &table), 1);
    const auto got = table[static_cast<std::size_t>(c.level)];
    const auto want = static_cast<std::uint8_t>(c.want);
    EXPECT_EQ(got, (KXRGBQUAD{want, want, want, 0})) << c.brightness << ' ' << c.contrast << ' ' << c.level;
  }
}

TEST(ColorCurves, RangesAreCheckedBeforeAnythingIsWritten) {
  struct Case {
    int Settings::*member;
    int least, most;
  };
  const Case cases[] = {{&Settings::brightness, -100, 100}, {&Settings::contrast, -100, 100},
                        {&Settings::hue, -180, 180},        {&Settings::saturation, -100, 2147483647},
                        {&Settings::red, -100, 100},        {&Settings::green, -100, 100},
                        {&Settings::blue, -100, 100}};
  for (const Case& c : cases) {
    for (const std::int64_t value : {c.least - 1LL, c.least + 0LL, c.most + 0LL, c.most + 1LL}) {
      if (value > std::numeric_limits<int>::max()) continue;
      Settings settings;
      settings.*c.member = static_cast<int>(value);
      Table table;
      table.fill({7, 8, 9, 10});
      const bool isValid = value >= c.least && value <= c.most;
      EXPECT_EQ(compute(settings, &table), isValid ? 1 : 0) << &c - cases << ": " << value;
      EXPECT_EQ(table[5] == (KXRGBQUAD{7, 8, 9, 10}), !isValid);
      EXPECT_EQ(table[5].reserved, 10) << "it is the caller's";
    }
  }
}

TEST(ColorCurves, AGammaTableIsMadeOfARequest) {
  const auto tableOf = [](IParam* request) {
    putGammaTable(request);
    const CKxVariant value = paramValue(request, key::Gamma);
    const auto* bytes = value.get<CKxBlob>();
    return bytes ? *bytes : CKxBlob();
  };
  const auto request = new_MemParam();
  request->SetValue(key::Contrast, 50);
  EXPECT_TRUE(tableOf(request.get()).empty()) << "without brightness the scanner keeps its own";
  request->SetValue(key::Brightness, -4);
  request->SetValue(key::Hue, 20);
  request->SetValue(key::RedBalance, 11);
  request->SetValue(key::GreenBalance, -12);
  request->SetValue(key::BlueBalance, 13);
  Table want{};
  ASSERT_EQ(compute({-4, 50, 20, 0, 11, -12, 13}, &want), 1);
  const CKxBlob made = tableOf(request.get());
  ASSERT_EQ(made.size(), sizeof want);
  EXPECT_EQ(std::memcmp(made.data(), want.data(), made.size()), 0);
  request->SetValue(key::Brightness, 50);
  request->SetValue(key::Saturation, -101);
  EXPECT_EQ(tableOf(request.get()), made) << "what is out of range writes nothing";
}

}  // namespace
}  // namespace quillbay
