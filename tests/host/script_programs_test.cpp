// Programs that scripts run ("/Run"), and scripts that work aside while pages come.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <QElapsedTimer>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "host/program_run.h"
#include "host/script_step.h"
#include "host_fixture.h"
#include "quillbay/script_services.h"

namespace quillbay {
namespace {

/// Lists what scripts report, and offers the script that works on pages.
class ScriptListener final : public CKxUnknownImplStatic<IScriptErrorSink>,
                             public CKxUnknownImplStatic<IScriptRunner>,
                             public CKxUnknownImplStatic<IScriptLogSink> {
 public:
  void FileFailed(const char* file, IParam* parameters, int cancelled) override {
    failed.push_back(fio::fileNameOf(file) + (cancelled ? " cancelled" : ""));
    reasons.push_back(paramString(parameters, "Error"));
    if (onFailed) onFailed();
  }
  std::string GetScript() override { return script; }
  int ProcessFile(const char*) override { return 1; }
  void Line(const char* line) override { log += line; }
  std::vector<std::string> failed, reasons;
  std::string script, log;
  std::function<void()> onFailed;
};

class ProgramsTest : public HostTest {
 protected:
  void open() {
    start(ClearPolicy::Keep, EventAnswer::Yes);
    allow(true);
    services = app.as<IScriptServices>();
    services->GetErrorCollectors()->Subscribe(&listener);
    services->GetLogs()->Subscribe(&listener);
  }
  void TearDown() override {
    if (!services) return;
    app.as<IScriptQueue>()->Finish();
    services->GetErrorCollectors()->Unsubscribe(&listener);
    services->GetLogs()->Unsubscribe(&listener);
    services->GetRunners()->Unsubscribe(&listener);
  }
  void allow(bool programs) const {
    const auto scripts = KxPtr<IParam>::adopt(app.as<IProfile>()->GetSection("Scripts", 1));
    scripts->SetValue("AllowPrograms", programs ? 1 : 0);
  }
  /// Has pages worked on by a script.
  void work(const std::string& text) {
    folder.write("work.kxf", text);
    listener.script = folder.path("work.kxf");
    services->GetRunners()->Subscribe(&listener);
  }
  int addPage(std::uint8_t value, const std::string& name, bool multipage = true) {
    const auto arguments = new_MemParam();
    arguments->SetValue("RStor", raster(value).as<IKxUnknown>());
    arguments->SetValue("FileName", folder.path(name));
    if (multipage) arguments->SetValue("Multipage", 1);
    return sink->ExecCommand("IntAddRaster", arguments.get());
  }
  /// As the panel saves a page.
  int savePage(const std::string& name) {
    folder.write("save.kxf", "/SaveAs FNAME:\"" + folder.path(name) + "\" _ignore_command_:0\r\n");
    const auto arguments = new_MemParam();
    arguments->SetValue("FileName", folder.path("save.kxf"));
    arguments->SetValue("_donthidewindow", 1);
    return sink->ExecCommand("ProcessScript", arguments.get());
  }
  [[nodiscard]] std::vector<int> documentValues() const {
    std::vector<int> values;
    for (const HostDocument& document : app->GetDocuments()) {
      for (const auto& page : document.pages) values.push_back(pixel(page.get(), 1, 0));
    }
    return values;
  }
  ScriptListener listener;
  KxPtr<IScriptServices> services;
};

TEST_F(ProgramsTest, EndAsTheirMessageSays) {
  open();
  const auto check = [&](const char* line, const char* why, const char* logged) {
    SCOPED_TRACE(line);
    listener.reasons.clear();
    messages.clear();
    listener.log.clear();
    add(100);
    const bool done = script(line) == 0;
    EXPECT_EQ(done, why == nullptr);
    if (why) {
      ASSERT_EQ(listener.reasons.size(), 1U);
      EXPECT_NE(listener.reasons.front().find(why), std::string::npos) << listener.reasons.front();
      EXPECT_EQ(messages.size(), 1U);
    }
    EXPECT_NE(listener.log.find(logged), std::string::npos) << listener.log;
    EXPECT_EQ(documentValues().back(), 100) << "the page stays as it is";
  };
  check("/Run true %i", nullptr, "done");
  check("/Run sh -c \"test -s %i && test $# -eq 0\"", nullptr, "done");
  check("/Run quillbay-no-such-program %i", "was not found", "quillbay-no-such-program");
  check("/Run /etc/passwd %i", "cannot be started", "/etc/passwd");
  check("/Run sh -c \"echo one; echo two words >&2; exit 3\"", "exit status 3: two words", "sh: two words");
  check("/Run sh -c \"kill -9 $$\"", "signal 9", "failed");
  check("/Run LIMIT:1 sleep 60", "longer than 1 seconds", "failed");
  check("/Run true %i %o", "wrote no file", "failed");
  check("/Run sh -c \"echo x > %o\"", "cannot be read", "failed");
  ASSERT_EQ(setenv("QUILLBAY_TEST_SECRET", "x", 1), 0);
  check("/Run sh -c \"test -z $QUILLBAY_TEST_SECRET && test -n $HOME\"", nullptr, "done");
  allow(false);
  check("/Run true", "--allow-programs", "Not run");
}

TEST_F(ProgramsTest, TakeThePageAndGiveTheirResult) {
  open();
  add(100);
  // The output is another page, which a step before the program made.
  ASSERT_EQ(script("/Invert\n/Run cp %i %o\n"), 0);
  EXPECT_EQ(documentValues().back(), 155);
  ASSERT_EQ(script("/Run IN:pgm OUT:pgm sh -c \"test $(head -c 2 %i) = P5 && cp %i %o\"\n"), 0);
  EXPECT_EQ(documentValues().back(), 155);
  // Places: the page's own name without its extension, and a percent sign.
  ASSERT_EQ(script("/Run sh -c \"echo 100%% > %b.txt\""), 0);
  std::ifstream text(folder.path("given.txt"));
  std::string line;
  std::getline(text, line);
  EXPECT_EQ(line, "100%");
}

TEST(ProgramLines, AreChecked) {
  const auto compile = [](const std::string& line) { return compileScript(line, "/scripts/a.kxf", "a", nullptr); };
  const auto step = compile("/run LIMIT:7 in:PNG \"LIMIT:8\" a\"b c\"d %i \"\"").front();
  EXPECT_EQ(step.program.words, (std::vector<std::string>{"LIMIT:8", "ab cd", "%i", ""}));
  EXPECT_EQ(step.program.limit, 7);
  EXPECT_EQ(step.program.in, "png");
  EXPECT_TRUE(step.program.uses('i'));
  EXPECT_FALSE(step.program.uses('o'));
  EXPECT_EQ(compile("/Run tools/x").front().program.words.front(), "/scripts/tools/x");
  EXPECT_EQ(compile(step.text()).front().program.words, step.program.words) << "a log shows what is run";
  for (const char* wrong : {"/Run", "/Run \"\" x", "/Run x %", "/Run x %q", "/Run LIMIT:0 x", "/Run OUT:../x x",
                            "/Run x \"y", "/Run LIMIT:1"}) {
    EXPECT_THROW(compile(wrong), CXException) << wrong;
  }
}

TEST(ProgramRun, LeavesNothingOfItsGroup) {
  TempFolder folder;
  QElapsedTimer time;
  time.start();
  ProgramCall call;
  call.words = {"sh", "-c", "trap '' TERM; sleep 60 & echo $! > '" + folder.path("child") + "'; wait; sleep 60"};
  call.isCancelled = [&] { return fio::exists(folder.path("child")); };
  EXPECT_EQ(runProgramFile(call).kind, ProgramEnd::Kind::Cancelled);
  int child = 0;
  std::ifstream(folder.path("child")) >> child;
  ASSERT_GT(child, 0);
  // Killed; whoever takes it over removes it.
  EXPECT_TRUE(QTest::qWaitFor([&] {
    std::ifstream stat("/proc/" + std::to_string(child) + "/stat");
    std::string number, name, state;
    return !(stat >> number >> name >> state) || state == "Z";
  }));
  EXPECT_LT(time.elapsed(), 30000);
  call.words = {"sh", "-c", "exec yes >&2"};
  call.isCancelled = nullptr;
  call.limit = std::chrono::milliseconds(200);
  EXPECT_EQ(runProgramFile(call).kind, ProgramEnd::Kind::TimedOut) << "also while it writes and writes";
  call.limit = {};
  call.words = {"sh", "-c", "i=0; while [ $i -lt 3000 ]; do echo \"line $i of many\" >&2; i=$((i+1)); done"};
  call.isCancelled = nullptr;
  const ProgramEnd end = runProgramFile(call);
  EXPECT_LE(end.errorText.size(), 2000U);
  EXPECT_TRUE(end.errorText.ends_with("line 2999 of many")) << "the last part is kept";
}

TEST_F(ProgramsTest, WorkAsideOnOnePageAfterAnother) {
  open();
  // Fails on the page whose second sample is 3.
  work("/Run IN:pgm sh -c \"test $(tail -c 1 %i | od -An -tu1) -ne 3\"\n/Invert\n");
  const auto queue = app.as<IScriptQueue>();
  for (std::uint8_t value = 1; value <= 5; ++value) {
    const std::string name = "page" + std::to_string(value) + ".tif";
    ASSERT_EQ(addPage(value, name), 0);
    ASSERT_EQ(sink->ExecCommand("Autocorrect", nullptr), 0);
    ASSERT_EQ(savePage(name), 0);
    EXPECT_GT(queue->Count(), 0) << "the commands do not wait";
  }
  EXPECT_TRUE(QTest::qWaitFor([&] { return queue->Count() == 0; }, 60000));
  EXPECT_EQ(listener.failed, std::vector<std::string>{"page3.tif"});
  EXPECT_NE(listener.reasons.at(0).find("exit status 1"), std::string::npos);
  EXPECT_TRUE(messages.empty()) << "the list says it";
  for (int value = 1; value <= 5; ++value) {
    const auto saved = pages(folder.path("page" + std::to_string(value) + ".tif"));
    EXPECT_EQ(saved, std::vector<int>{value == 3 ? 3 : 255 - value}) << "each is saved, the third as it was";
  }
  // Again, with a script that can do it: the page and its file.
  folder.write("work.kxf", "/Invert\n");
  const auto again = new_MemParam();
  again->SetValue("FileName", folder.path("page3.tif"));
  again->SetValue("_donthidewindow", 1);
  again->SetValue("_ignore_command_", 0);
  EXPECT_EQ(sink->ExecCommand("ProcessScript", again.get()), 0);
  queue->Finish();
  EXPECT_EQ(pages(folder.path("page3.tif")), std::vector<int>{252});
}

TEST_F(ProgramsTest, KeepPagesOfOneNameApart) {
  open();
  // Fails on both pages; the first one's program has left a file beside the page.
  work("/Run sh -c \"echo x >> '%b.txt'; exit 1\"\n");
  const auto queue = app.as<IScriptQueue>();
  for (const std::uint8_t value : std::initializer_list<std::uint8_t>{1, 2}) {
    ASSERT_EQ(addPage(value, "same.tif", false), 0);
    ASSERT_EQ(sink->ExecCommand("Autocorrect", nullptr), 0);
  }
  queue->Finish();
  ASSERT_EQ(listener.failed, (std::vector<std::string>{"same.tif", "same (page 2).tif"}));
  EXPECT_TRUE(fio::exists(folder.path("same.txt")));
  EXPECT_TRUE(fio::exists(folder.path("same (page 2).txt")));
  folder.write("work.kxf", "/Invert\n");
  EXPECT_EQ(command("ProcessScript", folder.path("same (page 2).tif")), 0);
  queue->Finish();
  EXPECT_EQ(documentValues(), (std::vector<int>{1, 253}));
}

TEST_F(ProgramsTest, TryingAPageAgainKeepsTheOthersOfItsFile) {
  open();
  const std::string file = folder.path("all.tif");
  const auto add = new_MemParam();
  add->SetValue("FileName", file);
  work("/Run false\n/SaveAs FNAME:other.tif\n");
  const auto queue = app.as<IScriptQueue>();
  for (const std::uint8_t value : std::initializer_list<std::uint8_t>{1, 2, 3}) {
    ASSERT_EQ(addPage(value, "all.tif"), 0);
    if (value == 1) std::ignore = sink->ExecCommand("Autocorrect", nullptr);
    ASSERT_EQ(sink->ExecCommand("IntAddPage", add.get()), 0);
  }
  queue->Finish();
  ASSERT_EQ(pages(file), (std::vector<int>{1, 2, 3})) << "each after the one before";
  ASSERT_EQ(listener.failed, std::vector<std::string>{"all.tif"}) << "the page";
  folder.write("work.kxf", "/Invert\n");
  std::ignore = command("ProcessScript", file);
  queue->Finish();
  EXPECT_EQ(pages(file), (std::vector<int>{1, 2, 3})) << "not written over by one page, nor done twice";
}

TEST_F(ProgramsTest, CancelListsWhatIsLeftAndSavesIt) {
  open();
  work("/Run sleep 60\n/Invert\n");
  const auto queue = app.as<IScriptQueue>();
  for (const char* name : {"a.tif", "b.tif", "c.tif"}) {
    ASSERT_EQ(addPage(50, name), 0);
    ASSERT_EQ(sink->ExecCommand("Autocorrect", nullptr), 0);
    ASSERT_EQ(savePage(name), 0);
  }
  EXPECT_TRUE(QTest::qWaitFor([&] { return listener.log.find("started") != std::string::npos; }));
  queue->Cancel();
  queue->Finish();
  EXPECT_EQ(listener.failed, (std::vector<std::string>{"a.tif cancelled", "b.tif cancelled", "c.tif cancelled"}));
  for (const char* name : {"a.tif", "b.tif", "c.tif"}) EXPECT_EQ(pages(folder.path(name)), std::vector<int>{50});
}

}  // namespace
}  // namespace quillbay
