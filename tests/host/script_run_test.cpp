#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "host_fixture.h"
#include "quillbay/script_services.h"

namespace quillbay {
namespace {

/// Hears everything of the scripts; `steps` progress calls are let pass before it cancels.
class Listener final {
 public:
  explicit Listener(IApp* app) : log(this), factory(this), errors(this) {
    const auto services = query<IScriptServices>(app);
    log.Subscribe(services->GetLogs().get());
    factory.Subscribe(services->GetProgressFactories().get());
    errors.Subscribe(services->GetErrorCollectors().get());
  }

  class Log final : public TSinkImpl<IScriptLogSink, Listener> {
   public:
    using TSinkImpl::TSinkImpl;
    void Line(const char* line) override {
      owner()->lines += line;
      if (owner()->leavesAtFirstLine) Unsubscribe();
    }
  } log;
  class Progress final : public CKxUnknownImpl<IProgress> {
   public:
    explicit Progress(Listener* owner) : m_owner(owner) {}
    void SetText(const char* text) override {
      m_owner->commands.emplace_back(text);
      if (const auto act = std::exchange(m_owner->meanwhile, nullptr)) act();
    }
    void Step() override {}
    int SetPosition(int position) override { return std::exchange(m_owner->position, position); }
    void Reset() override {}
    int IsCancelled() override { return m_owner->commands.size() > m_owner->lets ? 1 : 0; }

   private:
    Listener* m_owner;
  };
  class Factory final : public TSinkImpl<IScriptProgressFactory, Listener> {
   public:
    using TSinkImpl::TSinkImpl;
    IProgress* CreateProgress(const char*) override { return new Progress(owner()); }
  } factory;
  class Errors final : public TSinkImpl<IScriptErrorSink, Listener> {
   public:
    using TSinkImpl::TSinkImpl;
    void FileFailed(const char* file, IParam* parameters, int cancelled) override {
      owner()->failed.emplace_back(file);
      owner()->flags += paramInt(parameters, "DontProcessErrors") ? 'd' : cancelled ? 'c' : '-';
    }
  } errors;

  std::string lines, flags;
  std::vector<std::string> commands, failed;
  std::function<void()> meanwhile;  // done once, in the midst of a script
  std::size_t lets = 1000;
  int position = 0;
  bool leavesAtFirstLine = false;
};

class ScriptRunTest : public HostTest {
 protected:
  void SetUp() override {
    start(ClearPolicy::Keep, EventAnswer::No);
    save("in.tif", 200);
  }
  [[nodiscard]] KxPtr<IRStor> current() const { return app->GetDocuments().back().pages.back(); }
  void ignore(const char* name, bool on) const {
    const auto syntax = KxPtr<IParam>::adopt(app.as<IScriptSyntaxParam>()->GetSyntax());
    const auto commandOf = KxPtr<IParam>::adopt(syntax->GetSubStore(name, 1));
    if (!on) {
      commandOf->RemoveSubStore("_ignore_command_");
      return;
    }
    const auto entry = KxPtr<IParam>::adopt(commandOf->GetSubStore("_ignore_command_", 1));
    entry->SetValue("KeyWord", "_ignore_command_");
    entry->SetValue("KeyName", "_ignore_command_");
    entry->SetValue("_ignore_command_", 1);
  }
};

TEST_F(ScriptRunTest, OpensChangesAndSavesARealFile) {
  ASSERT_EQ(script("/open FNAME:in.tif\n/ROTATE ANGLE:90\n/Invert\n/Crop LEFT:1.27 TOP:0 WIDTH:1.27 HEIGHT:99999\n"
                   "/SaveAs FNAME:\"out.tif\"\n/Rotate ANGLE:-180"),
            0)
      << messages.back().text;
  const auto out = LoadRasterFile(folder.path("out.tif"), 0, nullptr);
  EXPECT_EQ(out->GetSize(), (KxSize{5, 20})) << "1.27 mm are 5 pixels";
  EXPECT_EQ(pixel(out.get(), 4, 0), 255) << "the black pixel of the top left corner is at the top right, inverted";
  EXPECT_EQ(pixel(out.get(), 3, 0), 55);
  ASSERT_EQ(app->GetDocuments().size(), 1u) << "what was opened is in the document";
  EXPECT_FALSE(app->GetDocuments()[0].saved) << "turned after it was saved";
  EXPECT_EQ(pixel(current().get(), 0, 19), 255);
  EXPECT_EQ(pages(folder.path("in.tif")).size(), 1u);
}

/// The lines that docs/scripts.md begins with, as they are printed.
std::string documentedExample() {
  std::ifstream in(QUILLBAY_SOURCE "/docs/scripts.md");
  std::string example;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("    /")) {
      example += line + "\n";
    } else if (!example.empty()) {
      break;  // what follows needs programs
    }
  }
  return example;
}

TEST_F(ScriptRunTest, TheDocumentedExampleRunsAsItIsPrinted) {
  add(200);
  ASSERT_NE(documentedExample().find("/SaveAs"), std::string::npos);
  ASSERT_EQ(script(documentedExample()), 0) << messages.back().text;
  EXPECT_EQ(CountRasterPages(folder.path("archive/plan 1.tif")), 1);
}

TEST_F(ScriptRunTest, LeavesOutWhatTheSettingsSayUnlessTheLineSaysOtherwise) {
  struct Case {
    const char* why;
    const char* setting;
    const char* lines;
    int shade;  // of the file that was saved; -1: none
  };
  const Case cases[] = {
      {"nothing set", "", "/Open FNAME:in.tif\n/Invert\n/SaveAs FNAME:out.tif", 55},
      {"a batch works on the page", "Open", "/Open FNAME:in.tif\n/Invert\n/SaveAs FNAME:out.tif", 155},
      {"a missing file that is not opened", "Open", "/Open FNAME:gone.tif\n/SaveAs FNAME:out.tif", 100},
      {"a batch saves nothing", "SaveAs", "/Invert\n/SaveAs FNAME:out.tif", -1},
      {"the line wins over the setting", "SaveAs", "/Invert\n/saveas FNAME:out.tif _IGNORE_COMMAND_:0", 155},
      {"the line wins without a setting", "", "/Invert _ignore_command_:1\n/SaveAs FNAME:out.tif", 100},
      {"other commands obey no setting", "Invert", "/Invert\n/SaveAs FNAME:out.tif", 155},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    std::filesystem::remove(folder.path("out.tif"));
    add(100);
    if (*c.setting) ignore(c.setting, true);
    EXPECT_EQ(script(c.lines), 0) << (messages.empty() ? "" : messages.back().text);
    if (*c.setting) ignore(c.setting, false);
    ASSERT_EQ(fio::exists(folder.path("out.tif")), c.shade >= 0);
    if (c.shade >= 0) {
      EXPECT_EQ(pages(folder.path("out.tif")), std::vector<int>{c.shade});
    }
  }
}

TEST_F(ScriptRunTest, RefusesWhatIsWrongBeforeAnythingRuns) {
  const char* const cases[][2] = {
      {"/Rotat ANGLE:90", "/Rotat"},
      {"/Rotate", "ANGLE"},
      {"/Rotate ANGLE:9O", "9O"},
      {"/Rotate ANGLE:90 SPEED:1", "SPEED"},
      {"/Crop LEFT:1", "WIDTH"},
      {"/Crop WIDTH:-1 HEIGHT:5", "-1"},
      {"/Despeckle SIZE:11", "11"},
      {"/Open", "FNAME"},
      {"/Open FNAME:gone.tif", "gone.tif"},
      {"/Invert _ignore_command_:yes", "_ignore_command_"},
      {"/Close", "not saved"},
      {"/Deskew ANGLE:nan", "nan"},
  };
  for (const auto& [line, word] : cases) {
    SCOPED_TRACE(line);
    add(100);
    messages.clear();
    EXPECT_NE(script(std::string("/Invert\n/SaveAs FNAME:never.tif _ignore_command_:1\n") + line), 0);
    ASSERT_EQ(messages.size(), 1u);
    for (const char* wanted : {"script.kxf", "line 3", word}) {
      EXPECT_NE(messages[0].text.find(wanted), std::string::npos) << messages[0].text;
    }
    EXPECT_EQ(pixel(current().get(), 1, 0), 100);
  }
}

TEST_F(ScriptRunTest, AFailureInTheMiddleLeavesTheDocumentAndTheFilesThatWereSaved) {
  Listener listener(app.get());
  add(100);
  EXPECT_NE(script("/SaveAs FNAME:first.tif\n/Invert\n/Crop LEFT:500 WIDTH:5 HEIGHT:5 DontProcessErrors:1\n"
                   "/SaveAs FNAME:second.tif"),
            0);
  EXPECT_EQ(pages(folder.path("first.tif")), std::vector<int>{100});
  EXPECT_FALSE(fio::exists(folder.path("second.tif")));
  EXPECT_EQ(pixel(current().get(), 1, 0), 100);
  EXPECT_TRUE(app->GetDocuments().back().saved) << "what the document has is in the first file";
  EXPECT_EQ(listener.failed, std::vector<std::string>{folder.path("first.tif")});
  EXPECT_EQ(listener.flags, "d");
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].text.find("line 3: /Crop"), std::string::npos) << messages[0].text;
}

TEST_F(ScriptRunTest, APageIsNoLongerSavedWhenItsFileIsWrittenOver) {
  add(100);
  ASSERT_EQ(saveAs(folder.path("a.tif")), 0);
  answer = EventAnswer::Yes;
  EXPECT_NE(script("\xEF\xBB\xBF/Invert\n/SaveAs FNAME:a.tif\n/Crop LEFT:500 WIDTH:5 HEIGHT:5"), 0);
  EXPECT_EQ(pages(folder.path("a.tif")), std::vector<int>{155});
  EXPECT_EQ(pixel(current().get(), 1, 0), 100);
  EXPECT_FALSE(app->GetDocuments().back().saved);
}

TEST_F(ScriptRunTest, WhatHappensToThePageMeanwhileIsNotUndone) {
  Listener listener(app.get());
  for (const char* outer : {"/Invert", "/SaveAs FNAME:out.tif", "/SaveAs FNAME:out.tif\n/Close"}) {
    SCOPED_TRACE(outer);
    std::filesystem::remove(folder.path("out.tif"));
    add(100);
    const auto pagesBefore = app->GetDocuments().size();
    listener.meanwhile = [&] { EXPECT_EQ(command("ProcessScript", "/Rotate ANGLE:90", "Script"), 0); };
    script(outer);
    ASSERT_EQ(app->GetDocuments().size(), pagesBefore);
    EXPECT_FALSE(app->GetDocuments().back().saved);
    EXPECT_EQ(current()->GetSize(), (KxSize{10, 20}));
    EXPECT_EQ(pixel(current().get(), 0, 1), 100);
  }
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].text.find("changed while the script ran"), std::string::npos) << messages[0].text;
}

TEST_F(ScriptRunTest, AFileThatFailsIsListedAndTheNextOneDone) {
  Listener listener(app.get());
  folder.write("a$b.tif", "no picture");
  folder.write("torn.tif", "II*");
  ASSERT_NE(script("/Open FNAME:a$b.tif\n/Invert\n/SaveAs FNAME:1.tif\n"
                   "/Open FNAME:in.tif\n/Invert\n/SaveAs FNAME:2.tif\n"
                   "/Open FNAME:torn.tif\n/SaveAs FNAME:3.tif\n"),
            0);
  EXPECT_EQ(listener.failed, (std::vector<std::string>{folder.path("a$b.tif"), folder.path("torn.tif")}));
  EXPECT_FALSE(fio::exists(folder.path("1.tif")));
  EXPECT_EQ(pages(folder.path("2.tif")), std::vector<int>{55});
  EXPECT_TRUE(app->GetDocuments().empty());
  ASSERT_EQ(messages.size(), 1u);
  for (const char* wanted : {"2", "a$b.tif", "torn.tif"}) {
    EXPECT_NE(messages[0].text.find(wanted), std::string::npos) << messages[0].text;
    EXPECT_NE(listener.lines.find(wanted), std::string::npos) << listener.lines;
  }
}

TEST_F(ScriptRunTest, TellsItsListenersAndStopsWhenOneOfThemSaysSo) {
  Listener leaving(app.get());
  leaving.leavesAtFirstLine = true;
  Listener listener(app.get());
  add(100);
  ASSERT_EQ(command("ProcessScript", "/Invert\n/Rotate ANGLE:90", "Script"), 0);
  EXPECT_EQ(std::count(leaving.lines.begin(), leaving.lines.end(), '\n'), 1);
  EXPECT_EQ(listener.commands, (std::vector<std::string>{"/Invert", "/Rotate ANGLE:90"}));
  EXPECT_TRUE(leaving.commands.empty()) << "the factory that came last";
  EXPECT_EQ(listener.position, 1000);
  for (const char* wanted : {"started\n", "line 2: /Rotate ANGLE:90 (", "done\n"}) {
    EXPECT_NE(listener.lines.find(wanted), std::string::npos) << listener.lines;
  }

  add(100);
  listener.commands.clear();
  listener.lets = 1;
  EXPECT_NE(command("ProcessScript", "/Invert\n/Rotate ANGLE:90\n/Invert", "Script"), 0);
  EXPECT_EQ(listener.commands.size(), 2u);
  EXPECT_EQ(pixel(current().get(), 1, 0), 100);
  EXPECT_EQ(current()->GetSize(), (KxSize{20, 10}));
  EXPECT_EQ(listener.flags, "c");
  EXPECT_TRUE(messages.empty()) << "the person knows";
}

TEST_F(ScriptRunTest, AutocorrectRunsTheScriptThatTheProfileNames) {
  const auto scripts = KxPtr<IParam>::adopt(app.as<IProfile>()->GetSection("Scripts", 1));
  folder.write("mine.kxf", "/Invert");
  scripts->SetValue("Autocorrect", folder.path("mine.kxf"));
  add(100);
  ASSERT_EQ(sink->ExecCommand("Autocorrect", nullptr), 0);
  EXPECT_EQ(pixel(current().get(), 1, 0), 155);
  scripts->Remove("Autocorrect");
  EXPECT_EQ(sink->ExecCommand("Autocorrect", nullptr), 0) << "the built-in one: " << messages.back().text;
}

}  // namespace
}  // namespace quillbay
