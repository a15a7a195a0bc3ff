#include "quillbay/translation.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QRegularExpression>
#include <QTemporaryDir>

#include "command_line.h"
#include "failure.h"
#include "help_text.h"
#include "program.h"

namespace {

/// A pseudo-language: every text in brackets that no English text has; what is put into it stands outside them.
std::string bracketed(std::string_view english) {
  static const QRegularExpression kPlaces("(%[sd])");
  QString text = QString::fromUtf8(english.data(), static_cast<qsizetype>(english.size()));
  return u"\u27e8%1\u27e9"_qs.arg(text.replace(kPlaces, u"\u27e9\\1\u27e8"_qs)).toStdString();
}

/// What stands outside the brackets and is neither an option's name nor a value in quotes.
QString outsideBrackets(const std::string& text) {
  static const QRegularExpression kNoText("\"[^\"]*\"|--?[a-z][a-z-]*|quillbay-scan|FILE.part");
  QString outside;
  int depth = 0;
  for (const QChar c : QString::fromStdString(text)) {
    depth += c == u'\u27e8' ? 1 : c == u'\u27e9' ? -1 : 0;
    outside += depth == 0 ? c : u'|';
  }
  return outside.remove(kNoText);
}

QStringList leftInEnglish(const std::string& text) {
  return outsideBrackets(text).split(QRegularExpression("[^a-z]+"), Qt::SkipEmptyParts);
}

/// Names and numbers are put into texts as they are; two words in a row are English.
bool holdsEnglish(const std::string& text) {
  static const QRegularExpression kWords("\\b[a-z]{2,} [a-z]{2,}\\b");
  return outsideBrackets(text).contains(kWords);
}

class ScanTranslation : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) qputenv(name, m_home.path().toUtf8());
    quillbay::SetTranslator(&bracketed);
  }
  void TearDown() override { quillbay::SetTranslator(nullptr); }

  QTemporaryDir m_home;
};

TEST_F(ScanTranslation, HelpIsTranslatedAndTheManPageIsNot) {
  const std::string help = help_text::help();
  EXPECT_NE(help.find("\u27e8Usage"), std::string::npos);
  EXPECT_TRUE(leftInEnglish(help).isEmpty()) << leftInEnglish(help).join(' ').toStdString();
  EXPECT_EQ(help_text::manPage("0").find("\u27e8"), std::string::npos);
}

TEST_F(ScanTranslation, WhatACommandLineIsRefusedWith) {
  const std::vector<std::vector<std::string>> cases{{"--moed"},
                                                    {"-x"},
                                                    {"a.tif"},
                                                    {"--o"},
                                                    {"--json=1"},
                                                    {"--mode"},
                                                    {"--mode", "sepia"},
                                                    {"--batch=0"},
                                                    {"--to", "moon"},
                                                    {"--set", "x"},
                                                    {"--dir", ""},
                                                    {"--batch-delay", "soon"},
                                                    {"-A", "--dry-run"},
                                                    {"--center", "--no-center"},
                                                    {"-q", "-v"},
                                                    {"--batch-prompt"},
                                                    // With the scanner and the panel:
                                                    {"--deskew", "--area", "A4"},
                                                    {"--if-not-found", "cry"},
                                                    {"--area", "A44"},
                                                    {"--area", "A0"},
                                                    {"--area", "custom:0,0,9"},
                                                    {"--area", "custom:0,0,x,9"},
                                                    {"--area", "custom:0,0,900,9"},
                                                    {"--area", "fixed-width:9999"},
                                                    {"--format", "x"},
                                                    {"-o", "a.doc"},
                                                    {"-o", "a?"},
                                                    {"-o", "a.png", "--multipage"},
                                                    {"--bursting", "--area", "auto-width"},
                                                    {"--set", "x=1"},
                                                    {"--set", "m_uiDPI=x"},
                                                    {"-r", "99999"},
                                                    {"-d", "nowhere:1"},
                                                    {"--device-option", "x=1"},
                                                    {"--option", "x=1"}};
  for (const auto& arguments : cases) {
    std::string wrong;
    auto all = arguments;
    if (arguments[0] != "-d") all.insert(all.begin(), {"-d", "sim:width=300"});
    const ScanOptions options = parseCommandLine(all, &wrong);
    try {
      Reporter reporter(options);
      if (wrong.empty()) {
        EXPECT_NE(runProgram(options, reporter), kDone);
      }
    } catch (const Failure& failure) {
      wrong = failure.what();
    }
    EXPECT_NE(wrong.find("\u27e8"), std::string::npos) << arguments[0] << ' ' << wrong;
    EXPECT_FALSE(holdsEnglish(wrong)) << wrong;
  }
}

TEST_F(ScanTranslation, WhatARunSays) {
  const int nothing = open("/dev/null", O_RDONLY), input = dup(STDIN_FILENO);
  dup2(nothing, STDIN_FILENO);
  std::string wrong;
  const ScanOptions options =
      parseCommandLine({"-d", "sim:size=200x150,at=0x0,width=300,source=flatbed", "--mode", "grey", "-r", "50",
                        "--batch", "--batch-prompt", "--json", "-o", m_home.filePath("a.tif").toStdString()},
                       &wrong);
  Reporter reporter(options);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(runProgram(options, reporter), kDone) << wrong;
  testing::internal::GetCapturedStdout();
  const std::string said = testing::internal::GetCapturedStderr();
  dup2(input, STDIN_FILENO);
  close(nothing);
  close(input);
  EXPECT_NE(said.find("\u27e8Return"), std::string::npos) << said;
  EXPECT_FALSE(holdsEnglish(said)) << said;
}

TEST_F(ScanTranslation, ListingsAreTranslated) {
  std::string wrong;
  const ScanOptions options = parseCommandLine({"-d", "sim:", "-A"}, &wrong);
  Reporter reporter(options);
  testing::internal::CaptureStdout();
  EXPECT_EQ(runProgram(options, reporter), kDone);
  const QString text = QString::fromStdString(testing::internal::GetCapturedStdout());
  EXPECT_GT(text.count(u'\u27e8'), 30);
  // Options as they are typed, and keys without a title.
  static const QRegularExpression kData(R"(^    (--|\w+: ))");
  for (const QString& line : text.split('\n', Qt::SkipEmptyParts))
    EXPECT_TRUE(line.contains(u'\u27e8') || line.contains(kData)) << line.toStdString();
}

}  // namespace
