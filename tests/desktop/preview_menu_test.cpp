#include <QTest>

#include "desktop_fixture.h"
#include "quillbay/preview_control.h"

namespace desktop {
namespace {

using quillbay::PreviewCommand;

/// The preview as a part of the program's window.
class PreviewMenuTest : public DesktopTest {
 protected:
  [[nodiscard]] QWidget* page() { return window->panelDock().panel()->findChild<QWidget*>("PreviewDlgForm"); }
  int give(PreviewCommand command) { return window->panelDock().preview()->PreviewCommand(command); }
  /// Whether a preview begins, and ends, within this time.
  bool previews(int milliseconds, const std::function<void()>& act) {
    bool started = false, ended = false;
    const auto first =
        QObject::connect(&window->panelDock(), &PanelDock::previewStarted, window.get(), [&] { started = true; });
    const auto last =
        QObject::connect(&window->panelDock(), &PanelDock::previewEnded, window.get(), [&] { ended = true; });
    act();
    const bool begun = QTest::qWaitFor([&] { return started; }, milliseconds);
    const bool done = begun && waitFor([&] { return ended; });
    QObject::disconnect(first);
    QObject::disconnect(last);
    return done;
  }
};

TEST_F(PreviewMenuTest, AFeederDrawsInNoPaperUnasked) {
  constexpr int kLongerThanTheDelay = 2000;
  for (const bool flatbed : {true, false}) {
    open(flatbed ? "sim:size=210x148,source=flatbed" : "sim:size=210x148");
    smallPages();
    ASSERT_TRUE(previews(10000, [&] { control()->Start(quillbay::StartKind::Prescan, 0); }));
    give(PreviewCommand::Show);
    QTest::qWait(kLongerThanTheDelay);  // what the settings above asked for
    auto* picture = window->panelDock().panel()->findChild<QWidget*>("previewPicture");
    EXPECT_EQ(previews(kLongerThanTheDelay, [&] { QTest::keyClick(picture, Qt::Key_Right); }), flatbed);
  }
}

TEST_F(PreviewMenuTest, WhatIsNotPossibleYetSaysWhatComesFirst) {
  open();
  smallPages();
  const auto answer = [&](const char* key) {
    window->statusBar()->clearMessage();
    for (QAction* action : window->findChildren<QAction*>()) {
      if (action->shortcut() == QKeySequence(key)) action->trigger();
    }
    return window->statusBar()->currentMessage();
  };
  for (const char* key : {"Shift+F7", "F8", "F9"}) EXPECT_TRUE(answer(key).contains("F6")) << key;
  ASSERT_TRUE(previews(10000, [&] { answer("F6"); }));
  EXPECT_EQ(answer("F8"), QString());
  EXPECT_TRUE(page()->isVisible()) << "what is drawn on comes to the front";
}

TEST_F(PreviewMenuTest, AFloatingPreviewHasTheWindowsKeysAndGoesWithIt) {
  open();
  smallPages();
  ASSERT_TRUE(give(PreviewCommand::Float));
  ASSERT_TRUE(QTest::qWaitForWindowActive(page()));
  QWidget* picture = page()->findChild<QWidget*>("previewPicture");
  picture->setFocus();
  EXPECT_TRUE(previews(10000, [&] { QTest::keyClick(picture, Qt::Key_F6); }));
  window->panelDock().hide();
  EXPECT_FALSE(page()->isVisible());
  EXPECT_TRUE(window->isVisible());
  window->panelDock().show();
  EXPECT_TRUE(page()->isWindow() && page()->isVisible());
  window->close();
  EXPECT_FALSE(window->panelDock().panel());
  for (const QWidget* left : QApplication::topLevelWidgets()) {
    EXPECT_FALSE(left->isVisible() && left->objectName() == "PreviewDlgForm");
  }
}

}  // namespace
}  // namespace desktop
