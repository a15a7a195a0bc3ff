#include "panel_fixture.h"

namespace quillbay {
namespace {

KxSize sizeOf(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr)->GetSize();
}

TEST_F(PanelTest, ScansOnePageIntoANamedFile) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  EXPECT_EQ(control->GetNextFileName(), file("page000.tif"));
  EXPECT_EQ(run(), EndCause::Done);
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(recorder->pages[0].file, file("page000.tif"));
  EXPECT_TRUE(recorder->pages[0].published);
  EXPECT_EQ(sizeOf(file("page000.tif")), (KxSize{500, 250}));
  EXPECT_EQ(get("m_nCounter").toInt(), 1);
  EXPECT_EQ(filesIn(out.path()), std::vector<std::string>{"page000.tif"});
  EXPECT_TRUE(messages.empty()) << messages[0];
  const auto* next = window()->findChild<QLineEdit*>("nextName");
  for (int i = 0; i < 1000 && next->text() != "page001.tif"; ++i) {
    QApplication::processEvents();
    QThread::msleep(10);
  }
  EXPECT_EQ(next->text(), "page001.tif");
}

TEST_F(PanelTest, AWriterThatFailsIsToldOnceWhateverComesWhileTheMessageIsShown) {
  ASSERT_TRUE(openSmall("sim:size=210x400,at=10x0"));
  set("m_fBursting", 1);
  set("m_fMultiPage", 1);
  set("m_Ext", ".png");
  onMessage = [] { QCoreApplication::processEvents(); };
  EXPECT_EQ(run(), EndCause::Output);
  ASSERT_EQ(messages.size(), 1U) << messages.back();
  EXPECT_NE(messages[0].find("page.png"), std::string::npos) << messages[0];
}

TEST_F(PanelTest, EveryPrescanCountsItsOwnLines) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  tagRRECT first;
  for (int i = 0; i < 2; ++i) {
    run(StartKind::Prescan);
    const tagRRECT frame = *get("m_rcPreview").get<tagRRECT>();
    EXPECT_NEAR(frame.bottom, 127, 0.6);
    if (i == 1) {
      EXPECT_EQ(frame, first);
    }
    first = frame;
  }
}

TEST_F(PanelTest, UnsavedPagesAreAskedAboutBeforeAScanNeverInARunOrBeforeAPreview) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0", ScanToView));
  app()->SetClearPolicy(ClearPolicy::Ask);
  set("m_fBursting", 1);
  EXPECT_EQ(run(), EndCause::Done);  // three pieces
  set("m_fBursting", 0);
  EXPECT_EQ(run(StartKind::Batch, 2), EndCause::Done);
  set("m_uiDPI", 100);
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
  EXPECT_EQ(get("m_uiDPI").toInt(), 100) << "a preview's resolution is not the next page's";
  EXPECT_TRUE(messages.empty()) << messages[0];
  EXPECT_EQ(app()->GetDocuments().size(), 5U);
  EXPECT_EQ(run(), EndCause::Refused) << "the answer is no";
  EXPECT_EQ(messages.size(), 1U);
  EXPECT_EQ(app()->GetDocuments().size(), 5U);
}

TEST_F(PanelTest, TheEntryPointRefusesWhatItCannotMake) {
  EXPECT_FALSE(open("sim:", static_cast<eTarnwellMode>(9)));
  ASSERT_TRUE(open("sim:", ScanToViewMultiPage));
  EXPECT_EQ(get("m_fMultiPage").toInt(), 1);
}

TEST_F(PanelTest, ParametersAreCheckedByName) {
  ASSERT_TRUE(open("sim:size=210x120"));
  struct Case {
    const char* key;
    CKxVariant value;
    const char* wanted;
  };
  const Case cases[] = {
      {"m_nonsense", 1, "m_uiDPI"},
      {"m_CurrMode", 99, "Greyscale"},
      {"m_uiDPI", 7, "10 to 4800"},
      {"m_CounterFormat", "%n", "%.Nd"},
      {"m_fFileFate", 3, "increment"},
      {"m_PaperName", "B17", "A4"},
      {"m_rcScan", tagRRECT{9, 0, 3, 1}, "right"},
      {"m_Dir", 5, "text"},
      {"m_eScanType", 7, "0, 1, 2, 3, 4"},
  };
  for (const Case& c : cases) {
    std::string why;
    EXPECT_FALSE(control->SetParam(c.key, c.value, &why)) << c.key;
    EXPECT_NE(why.find(c.wanted), std::string::npos) << why;
  }
}

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
