#include "params/scan_units.h"

#include <gtest/gtest.h>

#include <cstring>

namespace quillbay {
namespace {

TEST(SimpleUnit, FormatsByItsKind) {
  struct Case {
    int kind;
    double value;
    const char* want;
  };
  const Case cases[] = {{0, 12.5, "12"}, {0, 13.5, "14"}, {4, -2.4, "-2"}, {1, 0.5, "0.500000"}, {2, 7, ""}};
  for (const Case& c : cases) {
    char text[32] = "?";
    CSimpleUnit* unit = new CSimpleUnit(c.kind);
    const auto held = KxPtr<CSimpleUnit>::adopt(unit);
    EXPECT_EQ(unit->FormatValue(c.value, text, sizeof text), 32);
    EXPECT_STREQ(text, c.want) << "kind " << c.kind << " value " << c.value;
  }
  const auto unit = KxPtr<CSimpleUnit>::adopt(new CSimpleUnit(1));
  char text[64];
  std::memset(text, 'x', sizeof text);
  unit->FormatValue(-1e40, text, sizeof text);
  EXPECT_EQ(std::strlen(text), 31U) << "never more than 31 characters";
}

TEST(SimpleUnit, ParsesPairs) {
  struct Case {
    const char* text;
    int answer;
    double first, second;
  };
  const Case cases[] = {
      {"3, 4.5", 1, 3, 4.5}, {"12,", 1, 12, 0}, {",5", 1, 0, -1}, {"7", 0, -1, -1}, {"x, +2", 1, 0, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const auto unit = KxPtr<CSimpleUnit>::adopt(new CSimpleUnit(0));
    double values[2] = {-1, -1};
    EXPECT_EQ(unit->ParsePair(c.text, values), c.answer);
    EXPECT_EQ(values[0], c.first);
    EXPECT_EQ(values[1], c.second);
  }
}

TEST(SimpleUnit, ParsesLeadingDecimalNumbers) {
  const std::pair<const char*, double> cases[] = {{"12.7", 12.7}, {" +2x", 2},  {"-3 mm", -3},
                                                  {"+-5", 0},     {"1e999", 0}, {"nan", 0},
                                                  {"inf", 0},     {"", 0},      {".5", 0.5}};
  for (const auto& [text, want] : cases) {
    const auto unit = KxPtr<CSimpleUnit>::adopt(new CSimpleUnit(0));
    double value = -1;
    EXPECT_EQ(unit->ParseValue(text, &value), 1) << text;
    EXPECT_EQ(value, want) << text;
  }
}

TEST(ScanUnits, WithoutTheHostsUnitsMakeNoText) {
  const auto units = KxPtr<CScanUnits>::adopt(new CScanUnits);
  char text[8] = "old";
  double value = 3;
  EXPECT_EQ(units->FormatLength(25.4, text, sizeof text, 1), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(units->ParseLength("1 in", &value, 1), 0);
  EXPECT_EQ(value, 3);
}

}  // namespace
}  // namespace quillbay
