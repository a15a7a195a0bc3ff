#include "host/length_text.h"

#include <gtest/gtest.h>

#include <QLocale>
#include <array>
#include <cmath>

#include "host/linear_unit.h"
#include "quillbay/host.h"

namespace quillbay {
namespace {

constexpr double kNone = -12345;  // no length

TEST(LengthText, ReadsWhatPeopleType) {
  struct Case {
    const char* text;
    double dot, comma;  // millimetres where people write a dot, and where they write a comma
  };
  const Case cases[] = {
      {"25.4", 25.4, 25.4},
      {"25,4", kNone, 25.4},
      {" 25.4 mm ", 25.4, 25.4},
      {"1 in", 25.4, 25.4},
      {"1.5 INCHES", 38.1, 38.1},
      {"3 ft", 914.4, 914.4},
      {"1'", 304.8, 304.8},
      {"1.189 m", 1189, 1189},
      {".5in", 12.7, 12.7},
      {"-3 mm", -3, -3},
      {"−3", -3, -3},
      {"210\u00a0mm", 210, 210},
      {"1.000,5", kNone, kNone},  // grouped digits mean different things to different people
      {"", kNone, kNone},
      {"mm", kNone, kNone},
      {"nan", kNone, kNone},
      {"0x10", kNone, kNone},
      {"1e3", kNone, kNone},
      {"12 px", kNone, kNone},
      {"1 2", kNone, kNone},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_NEAR(parseLength(c.text, 1, false).value_or(kNone), c.dot, 1e-9);
    EXPECT_NEAR(parseLength(c.text, 1, true).value_or(kNone), c.comma, 1e-9);
  }
}

TEST(LengthText, ReadsWhatUsersTypeIntoAField) {
  constexpr double kBoth = -54321;  // ambiguous
  struct Case {
    const char* text;
    double dot, comma;  // where the decimal mark is a dot, and where it is a comma
    LengthRange range{0, 5000};
  };
  const LengthRange bed{110, 900};
  const Case cases[] = {
      {"1 189", 1189, 1189},
      {"1\u00a0189 mm", 1189, 1189},
      {"1\u202f189,5", kNone, 1189.5},
      {"1’189.5", 1189.5, 1189.5},
      {"841 x 1189", kNone, kNone},
      {"1 1890", kNone, kNone},
      {"1.189,0", kNone, 1189},
      {"1,189.0", 1189, kNone},
      {"1,189", 1189, 1.189},
      {"1.189", 1.189, kBoth},
      {"1.189", 1.189, 1189, bed},
      {"-1.189", -1.189, -1189, bed},
      {"1.189 m", 1189, kBoth, {0, 1e7}},
      {"0.189", 0.189, 0.189},
      {"1.189.000", kNone, 1189000},
      {"1,189,000", 1189000, kNone},
      {"1.189 000", kNone, kNone},
      {"1 189.000", 1189, 1189},
      {"25,4", kNone, 25.4},
      {"36.5 in", 927.1, 927.1, bed},
      {"", 0, 0},
      {"mm", kNone, kNone},
      {"1e3", kNone, kNone},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    for (const bool comma : {false, true}) {
      const LengthReading got = readLength(c.text, 1, comma, c.range);
      const double value = got.kind == LengthReading::Kind::Length ? got.value
                           : got.kind == LengthReading::Kind::None ? kNone
                                                                   : kBoth;
      EXPECT_NEAR(value, comma ? c.comma : c.dot, 1e-9) << (comma ? "comma" : "dot");
    }
  }
  const LengthReading both = readLength("-1.189 m", 1, true, {});
  EXPECT_EQ(both.first, "-1,189 m");
  EXPECT_EQ(both.second, "-1189 m");
}

TEST(LengthText, FormatsWithoutSurprises) {
  struct Case {
    double value;
    int decimals;
    const char* want;
  };
  const Case cases[] = {{0.125, 2, "0,13"},  {1.999, 1, "2,0"}, {-0.04, 1, "0,0"},      {-0.05, 1, "-0,1"},
                        {841, 0, "841"},     {2.5, 0, "3"},     {1e6, 2, "1000000,00"}, {0.3, 3, "0,300"},
                        {99.96, 1, "100,0"}, {INFINITY, 1, ""}};
  for (const Case& c : cases) EXPECT_EQ(formatDecimal(c.value, c.decimals, ','), c.want);
}

/// Runs under a German locale and puts the old one back.
class LinearUnit : public ::testing::TestWithParam<const char*> {
 protected:
  LinearUnit() { QLocale::setDefault(QLocale(GetParam())); }
  ~LinearUnit() override { QLocale::setDefault(m_before); }
  std::string format(ILinearUnit& unit, double value, const char* pattern) {
    std::array<char, 64> buffer{};
    const int length = unit.FormatPattern(value, pattern, buffer.data(), static_cast<int>(buffer.size()));
    EXPECT_EQ(static_cast<std::size_t>(length), std::string(buffer.data()).size());
    return buffer.data();
  }

 private:
  const QLocale m_before;
};

TEST_P(LinearUnit, WhatItWritesItReads) {
  const auto styles = new_HostStyles();
  for (const char* name : {"mm", "inch"}) {
    const auto unit = KxPtr<ILinearUnit>::adopt(styles->GetLinearUnit(name));
    ASSERT_TRUE(unit);
    for (const double value : {0.0, 0.04, 1.25, 33.11, 1234567.5, -8.5}) {
      double back = kNone;
      EXPECT_EQ(unit->ParseValue(format(*unit, value, "0.00").c_str(), &back), 1);
      EXPECT_NEAR(back, value, 0.005 + 1e-9);
      EXPECT_EQ(unit->ParseValue((format(*unit, value, "0.00") + " " + unit->GetName()).c_str(), &back), 1);
      EXPECT_NEAR(back, value, 0.005 + 1e-9);
    }
  }
  EXPECT_EQ(styles->GetLinearUnit("furlong"), nullptr);
}
INSTANTIATE_TEST_SUITE_P(Locales, LinearUnit, ::testing::Values("C", "en_US", "de_DE", "fr_FR"));

TEST(LinearUnits, AnswerInTheirOwnUnit) {
  const auto inch = KxPtr<ILinearUnit>::adopt(new_HostStyles()->GetLinearUnit("inch"));
  double value = 0;
  ASSERT_EQ(inch->ParseValue("2", &value), 1);
  EXPECT_DOUBLE_EQ(value, 2);
  ASSERT_EQ(inch->ParseValue("50.8 mm", &value), 1);
  EXPECT_DOUBLE_EQ(value, 2);
  EXPECT_EQ(inch->ParseValue("wide", &value), 0);
  EXPECT_DOUBLE_EQ(value, 2);  // a refusal leaves it alone
  std::array<char, 4> small{};
  EXPECT_EQ(inch->FormatValue(12345.678, small.data(), static_cast<int>(small.size())), 8);
  EXPECT_EQ(std::string(small.data()), "123");
}

}  // namespace
}  // namespace quillbay
