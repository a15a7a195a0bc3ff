#include "destinations/output_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "destinations/disk_space.h"
#include "destinations/file_names.h"
#include "destinations/history.h"
#include "destinations/macro_list.h"
#include "destinations/page_draft.h"
#include "support/ordinary_user.h"
#include "support/panel_world.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

using test::PanelWorld;

struct Prepared {
  bool goesOn;
  PageDraft draft;
  std::string path;
};

Prepared prepare(PanelWorld& world, const std::set<std::string>& pending = {}) {
  const auto events = world.app.as<IEvents>();
  PageDraft draft;
  const bool goesOn = PrepareOutputFile(*world.params, events.get(), &draft, pending) != 0;
  return {goesOn, draft, world.params->values().outputFile};
}

TEST(PrepareOutputFile, MakesTheFolderAndCreatesNoFile) {
  PanelWorld world;
  world.params->quiet().dir = world.dir.file("a/b");
  const Prepared p = prepare(world);
  EXPECT_TRUE(p.goesOn);
  EXPECT_FALSE(p.draft.mayReplace);
  EXPECT_EQ(p.path, world.dir.file("a/b/scan000.tif"));
  EXPECT_TRUE(std::filesystem::is_directory(world.dir.file("a/b")));
  EXPECT_TRUE(std::filesystem::is_empty(world.dir.file("a/b")));
}

TEST(PrepareOutputFile, UnderEveryFateWithAFileInTheWay) {
  struct Case {
    const char* why;
    std::int32_t fate;
    EventAnswer answer;
    bool goOn, mayReplace;
    const char* name;
    std::int32_t counter;
    std::size_t questions;
  };
  const Case cases[] = {
      {"increment", kFateIncrement, EventAnswer::No, true, false, "scan001.tif", 1, 0},
      {"overwrite", kFateOverwrite, EventAnswer::No, true, true, "scan000.tif", 0, 0},
      {"asked, yes", kFateAsk, EventAnswer::Yes, true, true, "scan000.tif", 0, 1},
      {"asked, no", kFateAsk, EventAnswer::No, false, false, "scan000.tif", 0, 1},
  };
  for (int i = 0; i < 8; ++i) {
    const Case& c = cases[i / 2];
    const bool isPending = i % 2 != 0;  // it is not there yet, but will be
    SCOPED_TRACE(std::string(c.why) + (isPending ? ", pending" : ""));
    PanelWorld world;
    world.params->quiet().dir = world.dir.path();
    world.params->quiet().fileFate = c.fate;
    world.answer = c.answer;
    const std::string inTheWay = world.dir.file("scan000.tif");
    test::writeFile(isPending ? inTheWay + ".part" : inTheWay, "old");
    const Prepared p = isPending ? prepare(world, {inTheWay}) : prepare(world);
    EXPECT_EQ(p.goesOn, c.goOn);
    EXPECT_EQ(p.draft.mayReplace, c.mayReplace);
    EXPECT_EQ(p.path, world.dir.file(c.name));
    EXPECT_EQ(world.params->values().counter, c.counter);
    EXPECT_EQ(world.messages.size(), c.questions);
    EXPECT_EQ(test::readFile(isPending ? inTheWay + ".part" : inTheWay), "old") << "nothing is set aside";
  }
}

TEST(PrepareOutputFile, WhatCannotBeWrittenIsEventNineWithTheCause) {
  const test::TempDir outside;
  std::filesystem::create_directory(outside.file("closed"));
  std::filesystem::permissions(outside.file("closed"), std::filesystem::perms(0555));
  test::writeFile(outside.file("file"), "");
  struct Case {
    const char* why;
    std::string dir, mask;
  };
  const Case cases[] = {{"no right to write", outside.file("closed"), "x"},
                        {"a file where the folder should be", outside.file("file"), "x"},
                        {"a name that is too long", outside.path(), std::string(300, 'x')},
                        {"out of the folder", outside.path(), "../x"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    PanelWorld world;
    world.params->quiet().dir = c.dir;
    world.params->quiet().mask = c.mask;
    const test::OrdinaryUser user;
    EXPECT_FALSE(prepare(world).goesOn);
    ASSERT_EQ(world.messages.size(), 1U);
    EXPECT_EQ(world.messages[0].event, kEventCannotWrite);
    EXPECT_FALSE(world.messages[0].text.empty());
  }
}

TEST(PrepareOutputFile, APartOfAKilledProgramIsKeptAndTold) {
  PanelWorld world;
  world.params->quiet().dir = world.dir.path();
  test::writeFile(world.dir.file("scan000.tif.part"), "pages");
  EXPECT_TRUE(prepare(world).goesOn);
  ASSERT_EQ(world.messages.size(), 1U);
  EXPECT_NE(world.messages[0].text.find("scan000.tif.part.1"), std::string::npos) << world.messages[0].text;
  EXPECT_EQ(test::readFile(world.dir.file("scan000.tif.part.1")), "pages");
  EXPECT_TRUE(prepare(world).goesOn);
  EXPECT_EQ(world.messages.size(), 1U) << "told once";
}

TEST(CheckSpace, AsksAPersonAndOnlyNotesWithoutOne) {
  constexpr std::int64_t kTight = 1'000'000'000, kFull = 1000;
  struct Case {
    const char* why;
    bool interactive;
    EventAnswer answer;
    std::vector<std::int64_t> free;  ///< at every look; the last one again and again
    bool goesOn;
    std::size_t messages;
  };
  const Case cases[] = {
      {"enough", true, EventAnswer::GiveUp, {kTight * 1000}, true, 0},
      {"stopped", true, EventAnswer::GiveUp, {kTight}, false, 1},
      {"room was made", true, EventAnswer::Retry, {kTight, kTight * 1000}, true, 1},
      {"a person takes the risk", true, EventAnswer::Retry, {kTight}, true, 1},
      {"a full disk is asked about again", true, EventAnswer::Retry, {kFull, kFull, kTight}, true, 2},
      {"nobody there", false, EventAnswer::GiveUp, {kTight}, true, 0},
      {"nobody there, and full", false, EventAnswer::Retry, {kFull}, false, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    PanelWorld world;
    world.answer = c.answer;
    ScanValues v;
    v.rcScan = {0, 0, 900, 50000};
    v.scanType = kAreaCustom;
    v.dpi = 600;
    v.colorSpace = KxColorSpace::Rgb;
    v.outputFile = world.dir.file("x.tif");
    std::size_t look = 0;
    const auto space = [&](const std::string&) { return c.free[std::min(look++, c.free.size() - 1)]; };
    EXPECT_EQ(checkSpace(v, world.app.as<IEvents>().get(), c.interactive, space), c.goesOn);
    EXPECT_EQ(world.messages.size(), c.messages);
    for (const HostMessage& message : world.messages)
      EXPECT_EQ(message.buttons, c.interactive ? EventButtons::RetryCancel : EventButtons::Ok) << message.text;
  }
}

TEST(History, KeepsTheNewestSixteen) {
  PanelWorld world;
  const auto profile = world.app.as<IProfile>();
  History dirs("Dir");
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(dirs.add("/maps/" + std::to_string(i)));
  EXPECT_FALSE(dirs.add("/MAPS/3")) << "there already, in other letters";
  EXPECT_FALSE(dirs.add(""));
  dirs.save(profile.get());

  History again("Dir"), masks("Mask");
  again.load(profile.get());
  masks.load(profile.get());
  ASSERT_EQ(again.items().size(), 16U);
  EXPECT_EQ(again.items().front(), "/maps/19");
  EXPECT_EQ(again.items().back(), "/maps/4");
  EXPECT_TRUE(masks.items().empty());
}

TEST(PageTarget, IsMadeOfTheDraftAndOfWhatTheScannerSays) {
  struct Case {
    const char* why;
    std::int32_t fate;
    std::uint32_t dpi;
    bool agreed, taken;  ///< a file may be replaced; one stands under the name that comes out
    std::string openPart;
    const char* name;  ///< in the folder
    bool mayReplace, refused;
    std::int64_t lines, expected;
    std::int32_t least;
  };
  const Case cases[] = {
      {"as prepared", kFateIncrement, 100, false, false, "", "100.tif", false, false, -1, 77, 393},
      {"the scanner knows its lines", kFateIncrement, 100, false, false, "", "100.tif", false, false, 90, 90, 393},
      {"another resolution", kFateIncrement, 254, false, false, "", "254.tif", false, false, -1, 77, 1000},
      {"agreed to for this name", kFateAsk, 100, true, true, "", "100.tif", true, false, -1, 77, 393},
      {"but not for another one", kFateAsk, 254, true, true, "", "", false, true, -1, 77, 1000},
      {"any may be replaced", kFateOverwrite, 254, true, true, "", "254.tif", true, false, -1, 77, 1000},
      {"joins the run's file", kFateIncrement, 254, false, false, "first.tif", "first.tif", false, false, -1, 77,
       1000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const test::TempDir dir;
    PageDraft draft;
    ScanValues& v = draft.names.values;
    v.dir = dir.path();
    v.mask = "<DPI>";
    v.useAutoCounter = 0;
    v.fileFate = c.fate;
    v.scanType = kAreaCustom;
    v.rcScan = {0, 0, 50, 100};
    draft.names.macros = std::make_shared<MacroList>("ann", true);
    draft.mayReplace = c.agreed;
    draft.expectedLines = 77;
    draft.isLast = false;
    v.outputFile = buildOutputPath(draft.names);
    if (!c.openPart.empty()) draft.openPart = dir.file(c.openPart);
    if (c.taken) test::writeFile(dir.file(std::to_string(c.dpi) + ".tif"), "old");
    const NamedPage page = makePageTarget(draft, {KxColorSpace::Grey, c.dpi, c.lines});
    EXPECT_EQ(!page.refused.empty(), c.refused) << page.refused;
    EXPECT_EQ(page.target.path, *c.name ? dir.file(c.name) : "");
    EXPECT_EQ(page.target.mayReplace, c.mayReplace);
    EXPECT_EQ(page.target.expectedLines, c.expected);
    EXPECT_EQ(page.target.leastLines, c.least);
    EXPECT_FALSE(page.target.isLast);
  }
}

TEST(DiskSpace, ExpectsThePageUncompressed) {
  struct Case {
    const char* why;
    std::int32_t scanType, dpi, added, fragment;
    KxColorSpace colorSpace;
    std::int64_t want;
  };
  // An area of 254 x 508 mm, a fragment of 25.4 x 25.4 mm.
  const Case cases[] = {
      {"colour", kAreaCustom, 300, 0, 0, KxColorSpace::Rgb, 3000LL * 3 * 6000},
      {"grey", kAreaPaper, 300, 0, 0, KxColorSpace::Grey, 3000LL * 6000},
      {"bitonal", kAreaCustom, 300, 0, 0, KxColorSpace::Bitonal, 375LL * 6000},
      {"past 32 bits", kAreaCustom, 9600, 0, 0, KxColorSpace::Rgb, 96000LL * 3 * 192000},
      {"widened by 10 %", kAreaCustom, 300, 10, 0, KxColorSpace::Grey, 3300LL * 6000},
      {"to the end of the document", kAreaFixedWidth, 300, 0, 0, KxColorSpace::Grey, -1},
      {"a fragment is never open", kAreaFixedWidth, 300, 10, 1, KxColorSpace::Grey, 300LL * 300},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ScanValues v;
    v.rcScan = {0, 0, 254, 508};
    v.rcCustomScan = {0, 0, 25.4, 25.4};
    v.scanType = c.scanType;
    v.dpi = c.dpi;
    v.addWidthPercent = c.added;
    v.customScanValid = c.fragment;
    v.colorSpace = c.colorSpace;
    EXPECT_EQ(expectedBytes(v), c.want);
  }
}

TEST(DiskSpace, WarnsWithNumbersAndRefusesOnlyWhenNextToNothingIsFree) {
  constexpr std::int64_t kMiB = 1024 * 1024;
  EXPECT_EQ(judgeSpace("/out/", -1, 5 * kMiB).fate, SpaceVerdict::Enough) << "unknown";
  EXPECT_EQ(judgeSpace("/out/", 100 * kMiB, -1).fate, SpaceVerdict::Enough);
  EXPECT_EQ(judgeSpace("/out/", 100 * kMiB, 100 * kMiB).fate, SpaceVerdict::Enough);
  const SpaceVerdict tight = judgeSpace("/out/", 3'200'000'000, 8'600'000'000);
  EXPECT_EQ(tight.fate, SpaceVerdict::Tight);
  EXPECT_NE(tight.text.find("8.6 GB"), std::string::npos) << tight.text;
  EXPECT_NE(tight.text.find("3.2 GB"), std::string::npos) << tight.text;
  EXPECT_EQ(judgeSpace("/out/", 16 * kMiB - 1, 1).fate, SpaceVerdict::Full);
  EXPECT_EQ(judgeSpace("/out/", 16 * kMiB, 1).fate, SpaceVerdict::Enough);
  EXPECT_EQ(byteText(999'950), "1 MB");
}

}  // namespace
}  // namespace quillbay
