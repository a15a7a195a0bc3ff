#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cstdio>
#include <limits>

#include "core/param_tree.h"
#include "core/store_json.h"
#include "platform/base_services.h"
#include "support/german_locale.h"

namespace quillbay {
namespace {

TEST(Text, FormatsPlacesInOrder) {
  struct Case {
    const char* why;
    const char* pattern;
    std::vector<std::string> arguments;
    const char* want;
  };
  const Case cases[] = {
      {"both kinds of places", "%s: page %d", {"plan.tif", "3"}, "plan.tif: page 3"},
      {"an argument is not scanned again", "%s and %s", {"%s", "b"}, "%s and b"},
      {"a place without an argument stays", "%s, %d", {"a"}, "a, %d"},
      {"too many arguments", "%s", {"a", "b"}, "a"},
      {"a lone percent sign, also at the end", "50 % of %s, 100%", {"x"}, "50 % of x, 100%"},
  };
  for (const Case& c : cases) EXPECT_EQ(formatText(c.pattern, c.arguments), c.want) << c.why;
}

TEST(Text, ParsesWholeNumbersOnly) {
  struct Case {
    const char* text;
    bool isInteger;
    bool isNumber;
  };
  const Case cases[] = {
      {"12", true, true},      {"-7", true, true},
      {"+7", true, true},      {"1.5", false, true},
      {".5", false, true},     {"1e3", false, true},
      {"", false, false},      {"+", false, false},
      {"+-7", false, false},   {"1,5", false, false},
      {" 1", false, false},    {"1 ", false, false},
      {"12mm", false, false},  {"0x10", false, false},
      {"nan", false, false},   {"inf", false, false},
      {"--1", false, false},   {"1e999", false, false},
      {"1.5.2", false, false}, {"9223372036854775807", true, true},
      {"1_000", false, false}, {"9223372036854775808", false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::int64_t integer = 42;
    double number = 42;
    EXPECT_EQ(parseNumber(c.text, &integer), c.isInteger);
    EXPECT_EQ(parseNumber(c.text, &number), c.isNumber);
    if (!c.isInteger) {
      EXPECT_EQ(integer, 42) << "a refused text changes nothing";
    }
    if (!c.isNumber) {
      EXPECT_EQ(number, 42);
    }
  }
}

TEST(Text, NumbersInFilesIgnoreTheLocale) {
  const test::GermanLocale german;
  if (!german.usable()) GTEST_SKIP() << "de_DE.UTF-8 is neither installed nor can it be built";
  ASSERT_TRUE(std::setlocale(LC_ALL, "de_DE.UTF-8"));
  char shown[16];
  std::snprintf(shown, sizeof shown, "%.1f", 1.5);
  ASSERT_STREQ(shown, "1,5");
  for (const double value : {1.5, 0.1, -1234567.25, 1e300, DBL_TRUE_MIN, 1.0 / 3}) {
    double back = 0;
    EXPECT_TRUE(parseNumber(toText(value), &back)) << toText(value);
    EXPECT_EQ(back, value);
  }
  EXPECT_EQ(toText(1234567.5), "1234567.5");
  ParamTree tree;
  tree.setValue("m_Edit", 200.25);
  EXPECT_NE(toJson(tree).find("200.25"), std::string::npos);
  EXPECT_TRUE(sameTree(fromJson(toJson(tree)), tree));
  std::setlocale(LC_ALL, "C");
}

std::string g_lines;

TEST(Log, WritesFromTheLeastLevelUpAndOutlivesAFailingSink) {
  g_lines.clear();
  setLogSink([](LogLevel, const char* category,
                std::string_view text) { g_lines.append(category).append(" ").append(text).append("\n"); },
             LogLevel::Info);
  logLine(LogLevel::Debug, "quillbay.store", "too low");
  logLine(LogLevel::Info, "quillbay.store", "opened");
  logLine(LogLevel::Error, nullptr, "without a category");
  EXPECT_EQ(g_lines, "quillbay.store opened\nquillbay without a category\n");
  EXPECT_FALSE(logEnabled(LogLevel::Debug, "quillbay.store"));
  setLogSink([](LogLevel, const char*, std::string_view) { throw std::runtime_error("full"); }, LogLevel::Debug);
  EXPECT_NO_THROW(logLine(LogLevel::Debug, "quillbay.store", "x"));
  setLogSink(nullptr, LogLevel::Warning);
  testing::internal::CaptureStderr();
  logLine(LogLevel::Info, "quillbay.store", "quiet by default");
  logLine(LogLevel::Warning, "quillbay.store", "slow disk");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "quillbay.store: warning: slow disk\n");
}

}  // namespace
}  // namespace quillbay
