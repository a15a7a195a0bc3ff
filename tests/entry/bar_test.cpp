/// The panel in a docking bar.

#include "control/command_ids.h"
#include "panel_fixture.h"
#include "platform/post_command.h"

namespace quillbay {
namespace {

/// A host's script sink that says whether the bar may close.
class Gate final : public CKxUnknownImpl<IScriptCmdSink> {
 public:
  int ExecCommand(const char* command, IParam* arguments) override {
    if (std::string(command) != "KillCommand") {
      if (onCommand) onCommand();
      return 0;
    }
    EXPECT_EQ(arguments, nullptr);
    ++asked;
    return refuses ? 1 : 0;
  }
  int asked = 0;
  bool refuses = false;
  std::function<void()> onCommand;
};

class BarTest : public PanelTest {
 protected:
  /// Opens a bar beside nothing in a main window; false when the entry point answered null.
  bool openBar(const std::string& device, eTarnwellMode mode = ScanToFile) {
    choose(device);
    if (!main) main = std::make_unique<QMainWindow>();
    app()->SetMainWindow(main.get());
    main->show();
    KxDockBar* bar = New_QuillbayBar(gate.get(), putSink(), mode);
    if (!bar) return false;
    dock = qobject_cast<QDockWidget*>(bar->GetWindow());
    usePanel();
    return true;
  }
  /// What was asked to go has gone.
  static void settle() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  void closeBar() {
    control = nullptr;
    dock->close();
    settle();
  }
  void TearDown() override {
    if (app()) app()->SetMainWindow(nullptr);
    main.reset();
    PanelTest::TearDown();
  }

  KxPtr<Gate> gate = KxPtr<Gate>::adopt(new Gate);
  std::unique_ptr<QMainWindow> main;
  QPointer<QDockWidget> dock;
};

TEST_F(BarTest, BelongsToTheMainWindowOrFloatsAndNeedsNoOutPointer) {
  for (const bool hasMain : {true, false}) {
    SCOPED_TRACE(hasMain);
    ASSERT_TRUE(openBar("sim:size=210x120"));
    EXPECT_EQ(main->dockWidgetArea(dock), Qt::RightDockWidgetArea);
    closeBar();
    if (!hasMain) app()->SetMainWindow(nullptr);
    KxDockBar* bar = New_QuillbayBar(nullptr, nullptr, ScanToFile);
    ASSERT_TRUE(bar);
    EXPECT_TRUE(bar->GetWindow()->isVisible());
    EXPECT_EQ(bar->GetWindow()->windowType() == Qt::Tool, !hasMain);
    delete bar->GetWindow();
  }
}

TEST_F(BarTest, WhatCannotBeMadeLeavesNothingBehind) {
  ASSERT_TRUE(openBar("sim:size=210x120"));  // whatever is made once is there now
  closeBar();
  const auto windows = QApplication::allWidgets();
  const auto kept = KxPtr<IQuillbaySink>::share(sink());
  IQuillbaySink* handedOut = kept.get();
  gate->refuses = true;
  EXPECT_FALSE(New_QuillbayBar(gate.get(), &handedOut, static_cast<eTarnwellMode>(9)));
  EXPECT_EQ(handedOut, kept.get());
  EXPECT_EQ(QApplication::allWidgets().size(), windows.size());
  EXPECT_EQ(main->findChildren<QDockWidget*>().size(), 0);
  WithdrawApp(app());
  EXPECT_FALSE(New_QuillbayBar(gate.get(), &handedOut, ScanToFile)) << "no application object";
  RegisterApp(app());
}

TEST_F(BarTest, AMainWindowMayBeDestroyedWhileItsBarIsMade) {
  gate->onCommand = [&] {
    app()->SetMainWindow(nullptr);
    main.reset();
  };
  EXPECT_FALSE(openBar("sim:size=210x120"));
  EXPECT_FALSE(main);
}

TEST_F(BarTest, TheHostIsAskedBeforeItClosesAndToldWhenItGoes) {
  ASSERT_TRUE(openBar("sim:size=210x120"));
  const auto held = KxPtr<IQuillbaySink>::share(sink());
  gate->refuses = true;
  dock->toggleViewAction()->trigger();
  settle();
  ASSERT_TRUE(dock);
  EXPECT_TRUE(dock->isVisible());
  EXPECT_TRUE(dock->toggleViewAction()->isChecked());
  EXPECT_EQ(gate->asked, 1);
  gate->refuses = false;
  closeBar();
  EXPECT_FALSE(dock);
  EXPECT_EQ(gate->asked, 2) << "who agreed is not asked again";
  EXPECT_EQ(held->EnableViewSync(1), kNoWindow);

  ASSERT_TRUE(openBar("sim:size=210x120"));
  gate->refuses = true;
  control = nullptr;
  main.reset();
  EXPECT_FALSE(dock);
  EXPECT_EQ(gate->asked, 3) << "a bar that goes unasked says so";
}

TEST_F(BarTest, TheViewGetsTheRoomThatTheSmallLayoutLeaves) {
  ASSERT_TRUE(openBar("sim:size=210x120"));
  main->resize(dock->width(), 700);
  QCoreApplication::processEvents();
  const auto* split = dock->findChild<QSplitter*>();
  auto* panel = dock->findChild<QToolBar*>("commandToolbar")->parentWidget();
  const int before = split->sizes()[1];
  PostCommand(panel, command::kSwitchLayout, 1);
  QCoreApplication::processEvents();
  QCoreApplication::processEvents();  // what the panel posts to the holder
  EXPECT_GT(split->sizes()[1], before + 100);
  EXPECT_GE(split->sizes()[0], panel->minimumSizeHint().height());
  dock->setFloating(true);
  dock->resize(1200, 400);
  QCoreApplication::processEvents();
  EXPECT_EQ(split->orientation(), Qt::Horizontal);
}

/// The rectangle of what differs from the view's ground, which lies in the corner.
QRect drawnPart(const QImage& view) {
  QRect part;
  for (int y = 0; y < view.height(); ++y) {
    for (int x = 0; x < view.width(); ++x) {
      if (view.pixel(x, y) != view.pixel(0, 0)) part |= QRect(x, y, 1, 1);
    }
  }
  return part;
}

TEST_F(BarTest, TheViewShowsAllOfAPageWhoseLengthNobodyKnewUnlessThePersonZoomed) {
  ASSERT_TRUE(openBar("sim:size=210x400,at=10x0"));
  smallPages();
  set("m_eScanType", 2);
  auto* view = dock->findChild<QWidget*>("viewPort");
  const auto button = [&](const char* text) {
    for (QAction* action : dock->findChildren<QAction*>())
      if (action->text() == text) return action;
    return static_cast<QAction*>(nullptr);
  };
  run();
  ASSERT_EQ(recorder->pages.size(), 1U);
  const PageInfo& page = recorder->pages[0];
  const double shape = static_cast<double>(page.width) / static_cast<double>(page.lines);
  ASSERT_LT(shape, 1) << "longer than the view took it to be";
  const QRect whole = drawnPart(view->grab().toImage());
  EXPECT_NEAR(whole.height(), view->height() - 10, 2);
  EXPECT_NEAR(whole.width(), whole.height() * shape, 3);

  recorder->onStarted = [&] { button("Zoom in")->trigger(); };
  run();
  EXPECT_NE(drawnPart(view->grab().toImage()), whole);
  button("Back")->trigger();
  button("Whole page")->trigger();
  EXPECT_EQ(drawnPart(view->grab().toImage()), whole);
}

}  // namespace
}  // namespace quillbay
