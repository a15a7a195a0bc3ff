
#include "entry/panel_fixture.h"

namespace quillbay {
namespace {

class PanelPagesTest : public PanelTest {
 protected:
  [[nodiscard]] QWidget* part(const char* name) { return window()->findChild<QWidget*>(name); }
  [[nodiscard]] QRect placeOf(const char* name) {
    QWidget* widget = part(name);
    return {widget->mapTo(window(), QPoint()), widget->size()};
  }
  void showPanel(const QSize& size) {
    window()->parentWidget()->show();
    window()->show();
    window()->resize(size);
    QApplication::processEvents();
  }
};

TEST_F(PanelPagesTest, OnlyPagesAndDestinationAreScrolled) {
  ASSERT_TRUE(open("sim:size=200x100"));
  showPanel({window()->minimumSizeHint().width(), 240});
  for (const char* name : {"commandToolbar", "nextName", "statusPlace"}) {
    EXPECT_TRUE(window()->rect().contains(placeOf(name))) << name;
    EXPECT_FALSE(part("scroll")->isAncestorOf(part(name))) << name;
  }
  for (const char* name : {"modeList", "width", "dir"})
    EXPECT_TRUE(part("scroll")->isAncestorOf(part(name))) << name;
  EXPECT_GT(part("scrolled")->height(), part("scroll")->height());
  EXPECT_LE(part("scrolled")->minimumSizeHint().width(), part("scroll")->width())
      << "nothing is cut off at the side";
}

TEST_F(PanelPagesTest, TheSmallLayoutDoesNotSpreadItsRows) {
  ASSERT_TRUE(open("sim:size=200x100"));
  showPanel({500, 900});
  const int rows = part("mask")->y() - part("dir")->y();
  for (QAction* action : window()->findChildren<QAction*>()) {
    if (action->text().contains("layout")) action->trigger();
  }
  QApplication::processEvents();
  EXPECT_FALSE(part("modeList")->isVisible());
  EXPECT_EQ(part("mask")->y() - part("dir")->y(), rows);
  EXPECT_LT(placeOf("mask").bottom(), 300) << "at the top";
}

TEST_F(PanelPagesTest, ARunIsRefusedWithThePagesMessage) {
  ASSERT_TRUE(openSmall("sim:size=254x127"));
  set("m_rcScan", tagRRECT{0, 0, 254, 0});
  EXPECT_TRUE(recorder->messages.empty()) << "not while it is set";
  EXPECT_EQ(run(), EndCause::Refused);
  ASSERT_EQ(recorder->messages.size(), 1U);
  EXPECT_NE(recorder->messages[0].find("length of 0"), std::string::npos) << recorder->messages[0];
  EXPECT_TRUE(filesIn(out.path()).empty());
}

}  // namespace
}  // namespace quillbay
