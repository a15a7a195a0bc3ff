#include "destinations/file_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <set>

#include "destinations/macro_list.h"
#include "destinations/path_rules.h"
#include "support/german_locale.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

constexpr std::int64_t kMoment = 1767607629;  // 2026-01-05 10:07:09 UTC

NameContext context(bool scanTags = true) {
  ::setenv("TZ", "UTC", 1);
  ::setenv("HOME", "/home/ann", 1);
  ::tzset();
  NameContext c;
  c.values.dir = "/out";
  c.values.counter = 7;
  c.values.counterFormat = "%.4d";
  c.values.useAutoCounter = 0;
  c.values.extensions = {".tif", ".png", ".gif", ".jpg"};
  c.values.currMode = kModeRgb;
  c.values.dpi = 400;
  c.sizeText = "Size 841x1189 mm";
  c.moment = kMoment;
  c.locale = "C";
  c.macros = std::make_shared<MacroList>("ann:e/m\xC3\xBCller", scanTags);
  return c;
}

TEST(Macros, TheListOfTheProcessFollowsTheMode) {
  ScanValues values;
  for (const auto& [mode, scanTags] : {std::pair{kModeRgb, true}, {kModeDirect, false}, {kModeGrey, true}}) {
    values.currMode = mode;
    const std::string tags = MacroList::process(values)->tagList();
    EXPECT_EQ(tags.find("<DPI>") != std::string::npos, scanTags) << mode;
    EXPECT_NE(tags.find("<COUNTER>"), std::string::npos) << mode;
  }
}

TEST(FileNames, ExpandFolderMaskCounterAndExtension) {
  struct Case {
    const char *why, *dir, *mask, *want;
    std::int32_t autoCounter = 0, multiPage = 0;
    KxColorSpace colorSpace = KxColorSpace::Bitonal;
  };
  const Case cases[] = {
      {"a counter tag", "C:\\out", "scan<COUNTER>", "C:\\out\\scan0007.tif"},
      {"tag and appended counter", "C:\\out", "scan<COUNTER>", "C:\\out\\scan00070007.tif", 1},
      {"multi-page appends none", "/out", "scan", "/out/scan.tif", 1, 1},
      {"any letter case", "/out", "<date>_<TiMe>", "/out/01-05-26_10-07-09.tif"},
      {"a value's colon and slash", "/out", "<USER>", "/out/ann-e-m\xC3\xBCller.tif"},
      {"all scan tags", "/out", "<COLORSPACE>,<DPI>,<SIZE>", "/out/RGB,400,Size 841x1189 mm.tif"},
      {"tags in the folder", "/out/<USER>/<DPI>", "x", "/out/ann-e-m\xC3\xBCller/400/x.tif"},
      {"the same tag twice", "/out", "<DPI>x<DPI>", "/out/400x400.tif"},
      {"a tag made by another's end", "/out", "<D<DPI>PI>", "/out/-D400PI-.tif"},
      {"unknown tags lose their brackets", "/out", "a<NOPE>", "/out/a-NOPE-.tif"},
      {"percent signs are plain text", "/out", "100%d%s", "/out/100%d%s.tif"},
      {"characters that no path takes", "/out", "a\"b*c?d|e", "/out/a-b-c-d-e.tif"},
      {"letters of all alphabets stay", "/\xC3\xA4", "\xD0\xBF\xD0\xBB\xD0\xB0\xD0\xBD",
       "/\xC3\xA4/\xD0\xBF\xD0\xBB\xD0\xB0\xD0\xBD.tif"},
      {"a delimiter that is there already", "/out/", "x", "/out/x.tif"},
      {"mixed delimiters get a slash", "C:\\a/b", "x", "C:\\a/b/x.tif"},
      {"the home folder", "~/maps", "x", "/home/ann/maps/x.tif"},
      {"up and down", "/out/../maps/", "x", "/out/../maps/x.tif"},
      {"no folder", "", "x", ""},
      {"no mask", "/out", "", ""},
      {"grey", "/out", "x", "/out/x.png", 0, 0, KxColorSpace::Grey},
      {"palette", "/out", "x", "/out/x.gif", 0, 0, KxColorSpace::Palette},
      {"unknown colour space counts as colour", "/out", "x", "/out/x.jpg", 0, 0, KxColorSpace::None},
      {"run-length bitonal", "/out", "x", "/out/x.tif", 0, 0, KxColorSpace::BitonalRle},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.why);
    NameContext c = context();
    c.values.dir = one.dir;
    c.values.mask = one.mask;
    c.values.useAutoCounter = one.autoCounter;
    c.values.multiPage = one.multiPage;
    c.values.colorSpace = one.colorSpace;
    EXPECT_EQ(buildOutputPath(c), one.want);
  }
}

TEST(FileNames, ScanTagsAreUnknownToAListFilledInDirectMode) {
  NameContext c = context(false);
  c.values.mask = "a<DPI>";
  c.values.useAutoCounter = 1;
  EXPECT_EQ(buildOutputPath(c), "/out/a-DPI-0007.tif");
  EXPECT_EQ(tagList(c), "<USER> <COUNTER> <TIME> <DATE> ");
}

TEST(FileNames, AModeWithoutAColourClassKeepsTheWordBefore) {
  NameContext c = context();
  c.values.mask = "<COLORSPACE>";
  const std::pair<int, const char*> cases[] = {{kModeDirect, "/out/.tif"},
                                               {kModeBwCopyAdaptive, "/out/BW.tif"},
                                               {kModeGrey, "/out/GreyScale.tif"},
                                               {kModePalette, "/out/Palette.tif"},
                                               {kModeDirect, "/out/Palette.tif"}};
  for (const auto& [mode, want] : cases) {
    c.values.currMode = mode;
    EXPECT_EQ(buildOutputPath(c), want);
  }
}

TEST(FileNames, CounterFormats) {
  struct Case {
    const char* format;
    std::int32_t counter;
    const char* want;
  };
  const Case cases[] = {
      {"%.1d", 0, "0"},     {"%.4d", 12345, "12345"}, {"%.8d", 42, "00000042"}, {"%.3d", -5, "-005"},
      {"%n%n%s", 5, "005"}, {"", 5, "005"},           {"%.9d", 5, "005"},       {"%.2d", INT32_MIN, "-2147483648"}};
  for (const Case& c : cases) EXPECT_EQ(formatCounter(c.format, c.counter), c.want) << c.format;
}

TEST(FileNames, DateAndTimeFollowTheLocale) {
  const test::GermanLocale german;
  if (!german.usable()) GTEST_SKIP() << "de_DE.UTF-8 is neither installed nor can it be built";
  NameContext c = context();
  c.locale = "de_DE.UTF-8";
  c.values.mask = "<DATE> <TIME>";
  EXPECT_EQ(buildOutputPath(c), "/out/05-01-2026 10-07-09.tif");
}

TEST(FileNames, SizesByAreaType) {
  ScanValues v;
  v.paperName = "ISO A0";
  const std::pair<int, const char*> cases[] = {{kAreaAuto, "Auto"},
                                               {kAreaAutoWidth, "Width 33.1in"},
                                               {kAreaFixedWidth, "Width 33.1in"},
                                               {kAreaCustom, "Size 33.1inx46.8 inch"},
                                               {kAreaPaper, "ISO A0"}};
  for (const auto& [type, want] : cases) {
    v.scanType = type;
    EXPECT_EQ(sizeText(v, "33.1\"", "46.8 inch"), want);
  }
}

/// The rule for existing files on files that are only imagined.
TEST(ExistsRule, UnderEveryFate) {
  struct Case {
    const char* why;
    std::int32_t fate, multiPage, autoCounter;
    const char* mask;
    std::set<std::string> there;  // in /out, with ".tif"
    const char* name;
    std::int32_t counter, autoAfter;
    bool exists, refused;
  };
  const Case cases[] = {
      {"free", kFateIncrement, 0, 1, "s", {}, "s000", 0, 1, false, false},
      {"taken twice", kFateIncrement, 0, 1, "s", {"s000", "s001"}, "s002", 2, 1, false, false},
      {"without counter", kFateIncrement, 0, 0, "s", {"s"}, "s002", 2, 1, false, false},
      {"and on from there", kFateIncrement, 0, 0, "s", {"s", "s002"}, "s003", 3, 1, false, false},
      {"a counter tag", kFateIncrement, 0, 0, "s<COUNTER>", {"s000"}, "s001", 1, 0, false, false},
      {"overwrite", kFateOverwrite, 0, 1, "s", {"s000"}, "s000", 0, 1, true, false},
      {"ask, free", kFateAsk, 0, 1, "s", {}, "s000", 0, 1, false, false},
      {"ask, taken", kFateAsk, 0, 1, "s", {"s000"}, "s000", 0, 1, true, true},
      {"multi-page never counts", kFateIncrement, 1, 1, "s", {"s"}, "s", 0, 1, true, false},
      {"multi-page never asks", kFateAsk, 1, 1, "s", {"s"}, "s", 0, 1, true, false},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.why);
    NameContext c = context();
    c.values.mask = one.mask;
    c.values.counter = 0;
    c.values.counterFormat = "%.3d";
    c.values.fileFate = one.fate;
    c.values.multiPage = one.multiPage;
    c.values.useAutoCounter = one.autoCounter;
    const OutputName name = applyExistsRule(
        c, [&](const std::string& path) { return one.there.contains(path.substr(5, path.size() - 9)); });
    EXPECT_EQ(name.path, std::string("/out/") + one.name + ".tif");
    EXPECT_EQ(name.counter, one.counter);
    EXPECT_EQ(name.useAutoCounter, one.autoAfter);
    EXPECT_EQ(name.exists, one.exists);
    EXPECT_EQ(name.refused, one.refused) << name.why;
  }
}

TEST(ExistsRule, EndsWhenTheCounterDoes) {
  NameContext c = context();
  c.values.useAutoCounter = 1;
  c.values.counter = INT32_MAX - 2;
  const OutputName name = applyExistsRule(c, [](const std::string&) { return true; });
  EXPECT_TRUE(name.refused);
  EXPECT_EQ(name.counter, INT32_MAX);
}

std::string letters(int count, const std::string& letter = "\xC3\xA4") {
  std::string text;
  for (int i = 0; i < count; ++i) text += letter;
  return text;
}

TEST(ExistsRule, RefusesWhatNoFileCanBeCalled) {
  struct Case {
    const char* why;
    std::string dir, mask;
    bool refused;
  };
  const Case cases[] = {
      {"250 bytes leave room for .part", "/out", std::string(246, 'a'), false},
      {"251 bytes do not", "/out", std::string(247, 'a'), true},
      {"124 letters of two bytes", "/out", letters(124), true},
      {"a long folder", "/out/" + std::string(256, 'a'), "x", true},
      {"a folder needs no room for it", "/out/" + std::string(255, 'a'), "x", false},
      {"a folder of another system", "C:\\out", "x", true},
      {"a long path of short names", letters(50, "/" + std::string(90, 'a')), "x", true},
      {"out of the folder", "/out", "../x", true},
      {"out of the folder, backslashes", "/out", "a\\..\\x", true},
      {"dots that lead nowhere", "/out", "..x..", false},
      {"a folder below", "/out", "sheets/x", false},
      {"a line break", "/out", "a\nb", true},
      {"a star in the folder", "/out/a*b", "x", true},
      {"brackets that are no tag", "/out/<x>", "x", true},
      {"brackets that are one", "/out/<user>", "x", false},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.why);
    NameContext c = context();
    c.values.dir = one.dir;
    c.values.mask = one.mask;
    const OutputName name = applyExistsRule(c, [](const std::string&) { return false; });
    EXPECT_EQ(name.refused, one.refused) << name.why;
    EXPECT_EQ(name.why.empty(), !one.refused);
  }
}

TEST(NameAtStart, AppliesTheRuleAgainOnlyWhenTheNameChanged) {
  NameContext c = context();
  c.values.mask = "x";
  c.values.fileFate = kFateAsk;
  const auto taken = [](const std::string&) { return true; };
  EXPECT_FALSE(nameAtStart(c, "/out/x.tif", taken).refused) << "the person has agreed to this one";
  c.values.colorSpace = KxColorSpace::Rgb;
  EXPECT_TRUE(nameAtStart(c, "/out/x.tif", taken).refused) << "but not to x.jpg";
  c.values.fileFate = kFateIncrement;
  const OutputName next = nameAtStart(c, "/out/x.tif", [](const std::string& p) { return p == "/out/x.jpg"; });
  EXPECT_EQ(next.path, "/out/x0009.jpg");
  EXPECT_EQ(next.counter, 9);
}

TEST(PastedPaths, SplitIntoFolderAndMask) {
  const test::TempDir dir;
  struct Case {
    const char* why;
    std::string text;
    bool path;
    std::string folder, mask;
    PasteField field = PasteField::Folder;
  };
  const Case cases[] = {
      {"question marks were backslashes", "C:?maps?north?sheet.v2.tif", true, "C:\\maps\\north\\", "sheet.v2"},
      {"an absolute path", "/maps/north/sheet.tif", true, "/maps/north/", "sheet"},
      {"from the home folder", "~/maps/sheet.tif", true, "~/maps/", "sheet"},
      {"a Windows path", "\\\\server\\maps\\sheet.tif\n", true, "\\\\server\\maps\\", "sheet"},
      {"a folder that exists", dir.path(), true, dir.path(), "", PasteField::Mask},
      {"a folder that does not exist yet", "/maps/north", true, "/maps/north", ""},
      {"a folder with a dot", "/maps/v1.2", true, "/maps/v1.2", ""},
      {"a file name without extension", "/maps/north/sheet", true, "/maps/north/", "sheet", PasteField::Mask},
      {"what is no picture's extension is kept", "/maps/sheet.v3", true, "/maps/", "sheet.v3", PasteField::Mask},
      {"a folder by its delimiter", "/maps/north/", true, "/maps/north/", "", PasteField::Mask},
      {"a plain name", "sheet.tif", false, "", ""},
      {"nothing", " \n", false, "", ""},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.why);
    const auto split = splitPastedPath(one.text, one.field, [](const std::string& e) { return e == ".tif"; });
    ASSERT_EQ(split.has_value(), one.path);
    if (!split) continue;
    EXPECT_EQ(split->folder, one.folder);
    EXPECT_EQ(split->mask, one.mask);
  }
}

}  // namespace
}  // namespace quillbay
