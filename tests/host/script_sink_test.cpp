#include "host/script_sink.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "host/script_text.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "temp_folder.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;

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

/// A host with its script sink, and the messages that it gave.
class ScriptSink : public ::testing::Test {
 protected:
  void start(ClearPolicy clear, EventAnswer answer) {
    HostOptions options = folder.options();
    options.clear = clear;
    options.onMessage = [this, answer](const HostMessage& message) {
      messages.push_back(message);
      return message.buttons == EventButtons::Ok ? EventAnswer::Ok : answer;
    };
    app = New_HostApp(options);
    sink = app.as<IScriptCmdSink>();
  }
  int add(std::uint8_t value, bool multipage = false, bool batch = false) {
    const auto raster = new_IRStor(KxColorSpace::Grey, 20, 0, 100);
    raster.as<IRStorAddStripe>()->AddLines(0, 0, 10);
    const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
    const std::vector<std::uint8_t> row(20, value);
    for (int y = 0; y < 10; ++y) lines->WriteLine(y, 0, 20, row.data());
    const auto arguments = new_MemParam();
    arguments->SetValue("RStor", KxPtr<IKxUnknown>::share(raster.get()));
    arguments->SetValue("FileName", folder.path("given.tif"));
    if (multipage) arguments->SetValue("Multipage", 1);
    if (batch) arguments->SetValue("BatchScan", 1);
    return sink->ExecCommand("IntAddRaster", arguments.get());
  }
  int command(const char* name, const std::string& file) {
    const auto arguments = new_MemParam();
    arguments->SetValue("FileName", file);
    return sink->ExecCommand(name, arguments.get());
  }
  int saveAs(const std::string& file) {
    folder.write("batch.kxf", "/SaveAs FNAME:\"" + file + "\" _ignore_command_:0\r\n");
    return command("ProcessScript", folder.path("batch.kxf"));
  }
  /// The first sample of every page.
  std::vector<int> pages(const std::string& file) {
    const auto loader = new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>();
    std::vector<int> values;
    for (int page = 0; page < loader->GetPageCount(); ++page) {
      const auto raster = loader->Load(page, nullptr);
      std::uint8_t value = 0;
      KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0))->ReadLine(0, 0, 1, &value);
      values.push_back(value);
    }
    return values;
  }

  TempFolder folder;
  KxPtr<IHostApp> app;
  KxPtr<IScriptCmdSink> sink;
  std::vector<HostMessage> messages;
};

TEST_F(ScriptSink, SavesTheLastRasterAndAsksBeforeItReplaces) {
  start(ClearPolicy::Keep, EventAnswer::No);
  const std::string file = folder.path("a b.tif");
  EXPECT_NE(saveAs(file), 0);  // nothing to save
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
}

TEST_F(ScriptSink, ReplacesWhenAgreed) {
  start(ClearPolicy::Keep, EventAnswer::Yes);
  const std::string file = folder.path("x.tif");
  add(10);
  saveAs(file);
  add(30);
  EXPECT_EQ(saveAs(file), 0);
  EXPECT_EQ(pages(file), std::vector<int>{30});
}

TEST_F(ScriptSink, AddsPagesToAFile) {
  start(ClearPolicy::Keep, EventAnswer::No);
  const std::string file = folder.path("pages.tif");
  for (const std::uint8_t value : std::initializer_list<std::uint8_t>{1, 2, 3}) {
    ASSERT_EQ(add(value, true), 0);
    ASSERT_EQ(command("IntAddPage", file), 0);
  }
  EXPECT_EQ(pages(file), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(app->GetDocuments().size(), 1u);
}

TEST_F(ScriptSink, SaysWhatCannotBeWritten) {
  start(ClearPolicy::Keep, EventAnswer::No);
  add(1);
  const std::string file = folder.path("no folder/x.tif");
  EXPECT_NE(saveAs(file), 0);
  EXPECT_NE(command("IntAddPage", file), 0);
  EXPECT_NE(command("ProcessScript", folder.path("missing.kxf")), 0);
  EXPECT_NE(command("Unknown", ""), 0);
  ASSERT_EQ(messages.size(), 3u);
  for (const HostMessage& message : messages) EXPECT_EQ(message.event, kEventCannotWrite);
  EXPECT_NE(messages[0].text.find(file), std::string::npos);
}

TEST_F(ScriptSink, ClearsByItsPolicy) {
  struct Case {
    ClearPolicy policy;
    EventAnswer answer;
    bool batch;
    int want;
    std::size_t left, asked;
  };
  const Case cases[] = {
      {ClearPolicy::Keep, EventAnswer::No, false, 0, 1, 0}, {ClearPolicy::Discard, EventAnswer::No, false, 0, 0, 0},
      {ClearPolicy::Ask, EventAnswer::No, false, 1, 1, 1},  {ClearPolicy::Ask, EventAnswer::Yes, false, 0, 0, 1},
      {ClearPolicy::Ask, EventAnswer::No, true, 0, 1, 0},  // nobody is asked in the middle of a batch
  };
  for (const Case& c : cases) {
    messages.clear();
    start(c.policy, c.answer);
    add(1, false, c.batch);
    EXPECT_EQ(sink->ExecCommand("IntClearAllRasters", new_MemParam().get()), c.want);
    EXPECT_EQ(app->GetDocuments().size(), c.left);
    EXPECT_EQ(messages.size(), c.asked);
  }
}

}  // namespace
}  // namespace quillbay
