#include "destinations/output_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "destinations/history.h"
#include "support/ordinary_user.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

using test::PanelWorld;

struct Prepared {
  bool goesOn;
  PageDraft draft;
  std::string path;
};

Prepared prepare(PanelWorld& world) {
  const auto events = world.app.as<IEvents>();
  PageDraft draft;
  const bool goesOn = PrepareOutputFile(*world.params, events.get(), &draft) != 0;
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
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    PanelWorld world;
    world.params->quiet().dir = world.dir.path();
    world.params->quiet().fileFate = c.fate;
    world.answer = c.answer;
    test::writeFile(world.dir.file("scan000.tif"), "old");
    const Prepared p = prepare(world);
    EXPECT_EQ(p.goesOn, c.goOn);
    EXPECT_EQ(p.draft.mayReplace, c.mayReplace);
    EXPECT_EQ(p.path, world.dir.file(c.name));
    EXPECT_EQ(world.params->values().counter, c.counter);
    EXPECT_EQ(world.messages.size(), c.questions);
    EXPECT_EQ(test::readFile(world.dir.file("scan000.tif")), "old");
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

}  // namespace
}  // namespace quillbay
