#include "window/manual_window.h"

#include <QTest>

#include "desktop_fixture.h"

namespace desktop {
namespace {

class ManualTest : public DesktopTest {
 protected:
  QString shown() {
    return window->manual() && window->manual()->isVisible()
               ? window->manual()->browser().source().toString().section('/', -1)
               : QString();
  }
  void press(QWidget* focus) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    focus->setFocus();
    QTest::keyClick(focus, Qt::Key_F1);
  }
};

TEST_F(ManualTest, TheHelpKeyOpensThePageOfWhatHasTheFocus) {
  open();
  EXPECT_EQ(shown(), QString());
  press(window->view().surface());
  EXPECT_EQ(shown(), "index.html");
  QWidget* panel = window->panelDock().panel();
  press(panel->findChild<QComboBox*>("modeList"));
  EXPECT_EQ(shown(), "tab_main.html");
  ASSERT_TRUE(window->setMode(quillbay::ScanToFile));
  press(window->panelDock().panel()->findChild<QComboBox*>("mask"));
  EXPECT_EQ(shown(), "scantofile.html");

  window->manual()->resize(700, 500);
  EXPECT_TRUE(window->close());
  EXPECT_FALSE(window->manual()->isVisible()) << "it would keep the program running";
  window.reset();
  open();
  press(window->view().surface());
  EXPECT_EQ(window->manual()->size(), QSize(700, 500));
}

TEST_F(ManualTest, ThePageOfKeysHasEveryKeyOfTheMenus) {
  open();
  ASSERT_EQ(quillbay::query<quillbay::IHelp>(window->app())->ShowTopic("QBHelp:IDH_Keys"), 1);
  const QString text = window->manual()->browser().toPlainText();
  int keys = 0;
  for (QAction* action : window->findChildren<QAction*>()) {
    if (action->shortcut().isEmpty() || !qobject_cast<QMenu*>(action->parent())) continue;
    ++keys;
    EXPECT_TRUE(text.contains(action->shortcut().toString(QKeySequence::NativeText)))
        << action->text().toStdString();
  }
  EXPECT_GT(keys, 12);
}

TEST_F(ManualTest, FindsTextOnOtherPages) {
  const auto manual = std::make_unique<ManualWindow>(nullptr);
  manual->showPage("qrc:/quillbay/manual/index.html");
  EXPECT_TRUE(manual->find("BigTIFF"));
  EXPECT_EQ(manual->browser().textCursor().selectedText(), "BigTIFF");
  EXPECT_TRUE(manual->browser().source().toString().endsWith("troubles.html"));
  EXPECT_EQ(manual->findChild<QTreeWidget*>()->currentItem()->text(0), "When something goes wrong");
  EXPECT_TRUE(manual->find("shift+esc", true));
  EXPECT_FALSE(manual->find("no such words anywhere"));
}

}  // namespace
}  // namespace desktop
