/// Hosts and scanners that break, panels that go in the middle of something, and a scanner with its own settings.
#include <fstream>
#include <optional>
#include <stdexcept>

#include "control/focus_keeper.h"
#include "fake_scanner.h"
#include "panel_fixture.h"

namespace quillbay {
namespace {

/// A script sink of a test's.
class NotedScript final : public CKxUnknownImpl<IScriptCmdSink> {
 public:
  int ExecCommand(const char* command, IParam*) override {
    if (onCommand) onCommand(command);
    return 0;
  }
  std::function<void(const std::string&)> onCommand;
};

[[noreturn]] void breakDown(bool withError = true) {
  if (withError) throw std::runtime_error("it broke");
  throw 1;
}

TEST_F(PanelTest, WhateverAHostOrAScannerThrowsEndsTheRunWithAMessage) {
  struct Case {
    const char* why;
    std::string command, call;  ///< of the host, of the unit: breaks
    StartKind kind;
    EndCause cause = EndCause::Refused;
    std::size_t messages = 1, pages = 0;
  };
  const std::string stops = "Command " + std::to_string(static_cast<int>(UnitCommand::IsLoaded));
  const std::string runs = "Command " + std::to_string(static_cast<int>(UnitCommand::Run));
  const std::string unloads = "Command " + std::to_string(static_cast<int>(UnitCommand::UnloadForward));
  const Case cases[] = {
      {"the host at its rasters", "IntClearAllRasters", {}, StartKind::Scan},
      {"the host at a preview", "IntClearAllRasters", {}, StartKind::Prescan},
      {"the unit at the settings", {}, "Scan", StartKind::Scan},
      {"the unit at the document", {}, stops, StartKind::Batch},
      {"the unit at the run", {}, runs, StartKind::Scan},
      {"the unit at a preview's run", {}, runs, StartKind::Prescan},
      {"the unit at the way out: the page is kept", {}, unloads, StartKind::Batch, EndCause::Done, 0, 1},
  };
  auto* noted = new NotedScript;
  hostScript = KxPtr<IScriptCmdSink>::adopt(noted);
  for (std::size_t i = 0; i < 2 * std::size(cases); ++i) {
    const Case& c = cases[i / 2];
    const bool withError = i % 2 == 0;
    SCOPED_TRACE(std::string(c.why) + (withError ? "" : ", with no error"));
    const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
    const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
    ASSERT_TRUE(openOn(front.get()));
    smallPages(100);
    noted->onCommand = [&](const std::string& name) {
      if (name == c.command) breakDown(withError);
    };
    unit->onCall = [&](const std::string& call) {
      if (call == c.call) breakDown(withError);
    };
    messages.clear();
    recorder->pages.clear();
    EXPECT_EQ(run(c.kind), c.cause);
    EXPECT_EQ(messages.size(), c.messages) << messages.back();
    EXPECT_EQ(recorder->pages.size(), c.pages);
    EXPECT_FALSE(control->IsBusy());
    noted->onCommand = nullptr;
    unit->onCall = nullptr;
    EXPECT_EQ(run(), EndCause::Done) << "the panel goes on";
    close();
  }
}

TEST_F(PanelTest, AListenerThatThrowsIsPassedOver) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  recorder->onStarted = [] { breakDown(); };
  recorder->onPage = [] { breakDown(false); };
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_TRUE(messages.empty()) << messages[0];
  EXPECT_EQ(filesIn(out.path()).size(), 1U);
}

TEST_F(PanelTest, APanelThatTheHostClosesInTheMiddleIsNotUsedAnyMore) {
  struct Case {
    const char* why;
    const char* device;
    StartKind kind;
    std::function<void()> setUp;
  };
  const auto asks = [] {};
  const Case cases[] = {
      {"no document", "sim:size=210x120,at=10x3,count=1", StartKind::Scan,
       [&] {
         control->Start(StartKind::Scan, 1);
         recorder->waitEnded();
       }},
      {"no folder", "sim:size=210x120,at=10x3", StartKind::Scan, [&] { set("m_Dir", ""); }},
      {"a file that stands there", "sim:size=210x120,at=10x3", StartKind::Scan,
       [&] {
         set("m_fFileFate", 2);
         set("m_fUseAutoCounter", 0);
         std::ofstream(file("page.tif")) << "somebody's";
       }},
      {"a jam", "sim:size=210x120,at=10x3,jam-after=100", StartKind::Scan, asks},
      {"a jam of a preview", "sim:size=210x120,at=10x3,jam-after=40", StartKind::Prescan, asks},
      {"the next document", "sim:size=210x120,at=10x3,source=flatbed", StartKind::Batch, asks},
      {"a format with one page", "sim:size=210x120,at=10x3", StartKind::Scan,
       [&] {
         set("m_fMultiPage", 1);
         set("m_Ext", ".png");
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ASSERT_TRUE(openSmall(c.device));
    c.setUp();
    bool asked = false;
    answer = EventAnswer::Yes;
    onMessage = [&] {
      asked = true;
      close();
    };
    ASSERT_TRUE(control->Start(c.kind, 0));
    const QDeadlineTimer deadline(20000);
    while (!asked && !deadline.hasExpired()) QCoreApplication::processEvents();
    EXPECT_TRUE(asked);
    QCoreApplication::processEvents();
    onMessage = nullptr;
    close();
    recorder->ended = false;
  }
}

TEST_F(PanelTest, AHostThatClosesThePanelFromItsOwnCallsIsServedToo) {
  auto* noted = new NotedScript;
  hostScript = KxPtr<IScriptCmdSink>::adopt(noted);
  std::ofstream(file("page.tif")) << "somebody's";
  answer = EventAnswer::Yes;
  for (const std::string place : {"script", "message", "Scan", "Command 4", "started"}) {
    SCOPED_TRACE(place);
    const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
    const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
    ASSERT_TRUE(openOn(front.get()));
    smallPages(100);
    set("m_fFileFate", 2);
    set("m_fUseAutoCounter", 0);
    std::optional<std::size_t> requests;
    const auto closeAt = [&](const std::string& here) {
      if (place != here) return;
      requests = unit->modes.size();
      close();
    };
    noted->onCommand = [&](const std::string&) { closeAt("script"); };
    onMessage = [&] { closeAt("message"); };
    unit->onCall = [&](const std::string& call) {
      if (call == place) close();
    };
    recorder->onStarted = [&] { closeAt("started"); };
    ASSERT_TRUE(control->Start(StartKind::Scan, 1));
    for (int i = 0; i < 200 && window(); ++i) QCoreApplication::processEvents();
    EXPECT_FALSE(window());
    EXPECT_EQ(unit->modes.size(), requests.value_or(unit->modes.size())) << "the scanner is left alone";
    noted->onCommand = nullptr;
    onMessage = nullptr;
    unit->onCall = nullptr;
    recorder->onStarted = nullptr;
    recorder->ended = false;
  }
}

TEST_F(PanelTest, AScannerWithItsOwnSettingsKeepsThemWhateverWasSaved) {
  const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
  const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
  ASSERT_TRUE(openOn(front.get()));
  smallPages(400);
  close();
  unit->direct = true;
  ASSERT_TRUE(openOn(front.get()));
  EXPECT_EQ(get("m_CurrMode").toInt(), kModeDirect);
  EXPECT_EQ(get("m_eScanType").toInt(), kAreaFixedWidth);
  EXPECT_EQ(run(), EndCause::Done) << (messages.empty() ? "" : messages[0]);
  const auto commands = unit->commands.size();
  ASSERT_TRUE(control->Start(StartKind::AreaPrescan, 1));
  QCoreApplication::processEvents();
  EXPECT_FALSE(control->IsBusy());
  EXPECT_EQ(unit->commands.size(), commands) << "there is nothing to preview";
}

TEST_F(PanelTest, ThePanelsEscapeKeyIsItsOwn) {
  ASSERT_TRUE(open("sim:size=210x120"));
  for (const QAction* action : window()->findChildren<QAction*>()) {
    if (action->shortcut().isEmpty()) continue;
    EXPECT_EQ(action->shortcutContext(), Qt::WidgetWithChildrenShortcut) << action->text().toStdString();
  }
}

TEST(FocusKeeper, GivesTheFocusBackUnlessTheUserMovedIt) {
  struct Case {
    const char* why;
    bool moves, goneToo;
    int wanted;
  };
  for (const Case& c : {Case{"as it was", false, false, 0}, Case{"moved by the user", true, false, 2},
                        Case{"moved to what is disabled later", true, true, 0}}) {
    SCOPED_TRACE(c.why);
    QWidget panel;
    auto* column = new QVBoxLayout(&panel);
    QWidget* fields[] = {new QLineEdit, new QPushButton, new QPushButton};
    for (QWidget* field : fields) column->addWidget(field);
    fields[0]->setFocus();
    FocusKeeper keeper(&panel);
    {
      const FocusKeeper::Change busy(keeper, true);
      fields[0]->setEnabled(false);
    }
    EXPECT_NE(panel.focusWidget(), fields[0]);
    { const FocusKeeper::Change stillBusy(keeper, true); }
    if (c.moves) fields[2]->setFocus();
    {
      const FocusKeeper::Change idle(keeper, false);
      fields[0]->setEnabled(true);
      if (c.goneToo) fields[2]->setEnabled(false);
    }
    EXPECT_EQ(panel.focusWidget(), fields[c.wanted]);
  }
}

}  // namespace
}  // namespace quillbay
