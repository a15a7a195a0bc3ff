#include "host/script_sink.h"

#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "host/script_text.h"
#include "host_fixture.h"
#include "quillbay/host_services.h"

namespace quillbay {
namespace {

TEST(ScriptText, ReadsCommandsLineByLine) {
  const auto commands = parseScript("/SaveAs FNAME:\"/a b/c:d.tif\" _ignore_command_:0\r\n\n  /Close\n", "x.kxf");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].name, "/SaveAs");
  EXPECT_EQ(commands[0].argument("fname"), "/a b/c:d.tif");
  EXPECT_EQ(commands[0].argument("_IGNORE_COMMAND_"), "0");
  EXPECT_EQ(commands[1].line, 3);
  EXPECT_TRUE(commands[1].arguments.empty());
  for (const char* wrong : {"SaveAs", "/SaveAs \"x\"", "/SaveAs FNAME:\"x", "/SaveAs :x", "/SaveAs FNAME"}) {
    EXPECT_THROW((void)parseScript(wrong, "x.kxf"), CXException) << wrong;
  }
}

TEST_F(HostTest, SavesTheLastRasterAndAsksBeforeItReplaces) {
  start(ClearPolicy::Keep, EventAnswer::No);
  const std::string file = folder.path("a b.tif");
  EXPECT_NE(saveAs(file), 0);  // nothing to save
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].text.find("no page"), std::string::npos) << messages[0].text;
  messages.clear();
  ASSERT_EQ(add(10), 0);
  ASSERT_EQ(add(20), 0);
  ASSERT_EQ(saveAs(file), 0);
  EXPECT_EQ(pages(file), std::vector<int>{20});
  EXPECT_TRUE(app->GetDocuments().back().saved);

  ASSERT_EQ(add(30), 0);
  EXPECT_NE(saveAs(file), 0);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].kind, EventKind::Question);
  EXPECT_EQ(pages(file), std::vector<int>{20});

  answer = EventAnswer::Yes;
  EXPECT_EQ(saveAs(file), 0);
  EXPECT_EQ(pages(file), std::vector<int>{30});
}

TEST_F(HostTest, AddsPagesToAFileAndKeepsNoMoreOfThemThanItMust) {
  start(ClearPolicy::Keep, EventAnswer::No);
  const std::string file = folder.path("pages.tif");
  for (const std::uint8_t value : std::initializer_list<std::uint8_t>{1, 2, 3}) {
    ASSERT_EQ(add(value, true), 0);
    ASSERT_EQ(command("IntAddPage", file), 0);
    ASSERT_EQ(app->GetDocuments().size(), 1u);
    EXPECT_EQ(app->GetDocuments()[0].pages.size(), 1u) << "what is in the file is let go of";
  }
  EXPECT_EQ(pages(file), (std::vector<int>{1, 2, 3}));

  ASSERT_EQ(add(4, true), 0);  // in no file
  ASSERT_EQ(add(5, true), 0);
  ASSERT_EQ(command("IntAddPage", file), 0);
  ASSERT_EQ(add(6, true), 0);
  EXPECT_EQ(app->GetDocuments().back().pages.size(), 2u) << "the pages in no file stay";
}

TEST_F(HostTest, SaysWhatCannotBeDone) {
  start(ClearPolicy::Keep, EventAnswer::No);
  add(1);
  std::ofstream(folder.path("no folder")) << "a file";
  const std::string file = folder.path("no folder/x.tif");
  EXPECT_NE(saveAs(file), 0);
  EXPECT_NE(command("IntAddPage", file), 0);
  EXPECT_NE(command("ProcessScript", folder.path("missing.kxf")), 0);
  EXPECT_NE(command("Unknown", ""), 0);
  ASSERT_EQ(messages.size(), 3u);
  for (const int i : {0, 1}) {
    EXPECT_EQ(messages[std::size_t(i)].event, kEventCannotWrite);
    EXPECT_NE(messages[std::size_t(i)].text.find(folder.path("no folder")), std::string::npos);
  }
  EXPECT_NE(messages[2].text.find("missing.kxf"), std::string::npos) << messages[2].text;
}

TEST_F(HostTest, ClearsByItsPolicy) {
  struct Case {
    const char* why;
    ClearPolicy policy;
    EventAnswer answer;
    const char* flag;
    bool saved, interactive;
    int want;
    std::size_t left, asked;
  };
  const Case cases[] = {
      {"kept", ClearPolicy::Keep, EventAnswer::No, "", true, true, 0, 1, 0},
      {"discarded where nobody sits", ClearPolicy::Discard, EventAnswer::No, "", false, false, 0, 0, 0},
      {"a person's unsaved page stays", ClearPolicy::Discard, EventAnswer::No, "", false, true, 0, 1, 0},
      {"a person's saved page goes", ClearPolicy::Discard, EventAnswer::No, "BatchScan", true, true, 0, 0, 0},
      {"a preview takes nothing", ClearPolicy::Discard, EventAnswer::No, "Prescan", true, true, 0, 1, 0},
      {"asked, no", ClearPolicy::Ask, EventAnswer::No, "", false, true, 1, 1, 1},
      {"asked, yes", ClearPolicy::Ask, EventAnswer::Yes, "", false, true, 0, 0, 1},
      {"nothing to ask about", ClearPolicy::Ask, EventAnswer::No, "", true, true, 0, 0, 0},
      {"in a batch", ClearPolicy::Ask, EventAnswer::Yes, "BatchScan", false, true, 0, 1, 0},
      {"before a preview", ClearPolicy::Ask, EventAnswer::Yes, "Prescan", false, true, 0, 1, 0},
      {"when a scanner is connected", ClearPolicy::Ask, EventAnswer::Yes, "Connect", false, true, 0, 1, 0},
      {"a multi-page document", ClearPolicy::Ask, EventAnswer::Yes, "Multipage", false, true, 0, 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    start(c.policy, c.answer, c.interactive);
    add(1);
    if (c.saved) {
      ASSERT_EQ(saveAs(folder.path(std::string(c.why) + ".tif")), 0);
    }
    messages.clear();
    const auto arguments = new_MemParam();
    if (*c.flag) arguments->SetValue(c.flag, 1);
    EXPECT_EQ(sink->ExecCommand("IntClearAllRasters", arguments.get()), c.want);
    EXPECT_EQ(app->GetDocuments().size(), c.left);
    EXPECT_EQ(messages.size(), c.asked);
  }
}

TEST_F(HostTest, OnlyAUserAgreesThatPagesGo) {
  start(ClearPolicy::Ask, EventAnswer::No);
  add(1);
  const auto events = KxPtr<AgreeingEvents>::adopt(new AgreeingEvents);
  ASSERT_EQ(app.as<IInterfaceRegistry>()->Register(typeid(IEvents), events.get()), 1);
  EXPECT_EQ(sink->ExecCommand("IntClearAllRasters", new_MemParam().get()), 0);
  EXPECT_EQ(events->flags, kMessageForUser);
  EXPECT_TRUE(app->GetDocuments().empty());
}

}  // namespace
}  // namespace quillbay
