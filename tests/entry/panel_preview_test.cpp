/// The preview of a panel: what a prescan leaves, where the page stands, fragments.
#include "panel_fixture.h"
#include "quillbay/preview_control.h"

namespace quillbay {
namespace {

class PanelPreviewTest : public PanelTest {
 protected:
  [[nodiscard]] tagRRECT rect(const char* key) { return *get(key).get<tagRRECT>(); }
  [[nodiscard]] KxPtr<IPreviewControl> preview() { return query<IPreviewControl>(sink()); }
  [[nodiscard]] bool enabled(PreviewCommand command) { return preview()->IsPreviewCommandEnabled(command) != 0; }
};

TEST_F(PanelPreviewTest, AFailedOrStoppedPrescanLeavesTheLastOne) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0,speed=2000"));
  EXPECT_FALSE(enabled(PreviewCommand::NewFragment)) << "nothing to draw on yet";
  recorder->onLines = [&](std::int64_t) { control->Stop(StopKind::Now); };
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Stopped);
  EXPECT_EQ(get("m_fRectValid").toInt(), 0) << "a first prescan that was stopped";
  recorder->onLines = nullptr;

  set("m_eScanType", kAreaFixedWidth);
  ASSERT_EQ(run(StartKind::Prescan), EndCause::Done);
  EXPECT_EQ(get("m_fRectValid").toInt(), 1);
  EXPECT_TRUE(enabled(PreviewCommand::NewFragment));
  const tagRRECT area = rect("m_rcScan"), frame = rect("m_rcPreview");
  EXPECT_NEAR(area.height(), 290, 1) << "the document's own length";
  EXPECT_NEAR(frame.bottom, 290, 1) << "the frame stays at the scanned length";

  recorder->onLines = [&](std::int64_t) { control->Stop(StopKind::Now); };
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Stopped);
  EXPECT_EQ(rect("m_rcScan"), area);
  EXPECT_EQ(rect("m_rcPreview"), frame);
  EXPECT_TRUE(enabled(PreviewCommand::NewFragment));
}

TEST_F(PanelPreviewTest, ANewAreaHasAFrameAndAnOldOneKeepsIts) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  QCoreApplication::processEvents();
  EXPECT_EQ(rect("m_rcPreview"), (tagRRECT{63.5, 0, 190.5, 55})) << "half of 254 mm, at the top";
  const tagRRECT drawn{20, 30, 170, 100};
  set("m_rcPreview", drawn);
  set("m_uiDPI", 100);
  set("m_CurrMode", 5);
  QCoreApplication::processEvents();
  EXPECT_EQ(rect("m_rcPreview"), drawn) << "no new area";
  set("m_rcScan", tagRRECT{0, 0, 400, 127});
  QCoreApplication::processEvents();
  EXPECT_EQ(rect("m_rcPreview"), (tagRRECT{100, 0, 300, 55}));
}

TEST_F(PanelPreviewTest, AFragmentIsScannedOnceAndTheFrameWithoutOne) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  ASSERT_EQ(run(StartKind::Prescan), EndCause::Done);
  set("m_rcPreview", tagRRECT{20, 10, 147, 73.5});
  ASSERT_TRUE(enabled(PreviewCommand::ScanFragment));
  ASSERT_TRUE(preview()->PreviewCommand(PreviewCommand::ScanFragment));
  ASSERT_TRUE(recorder->waitEnded());
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(recorder->pages[0].width, 250);
  EXPECT_EQ(recorder->pages[0].lines, 125);
  EXPECT_EQ(get("m_fCustomScanValid").toInt(), 0);
  EXPECT_EQ(rect("m_rcScan"), (tagRRECT{0, 0, 254, 127})) << "the area is the user's own";
}

TEST_F(PanelPreviewTest, AFragmentWhoseScanIsRefusedStaysShownAndTheNextScanIsAWholePage) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  ASSERT_EQ(run(StartKind::Prescan), EndCause::Done);
  set("m_rcCustomScan", tagRRECT{20, 10, 147, 73.5});
  set("m_fCustomScanValid", 1);
  set("m_Mask", "");
  ASSERT_TRUE(preview()->PreviewCommand(PreviewCommand::ScanFragment));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Output);
  EXPECT_EQ(get("m_fCustomScanValid").toInt(), 0);
  EXPECT_TRUE(preview()->IsPreviewCommandChecked(PreviewCommand::NewFragment));
  set("m_Mask", "page");
  ASSERT_TRUE(preview()->PreviewCommand(PreviewCommand::ScanFragment));
  ASSERT_TRUE(recorder->waitEnded());
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(recorder->pages[0].width, 250);

  set("m_fCustomScanValid", 1);
  set("m_Mask", "");
  EXPECT_EQ(run(), EndCause::Output);
  set("m_Mask", "page");
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(recorder->pages.back().width, 500);
}

TEST_F(PanelPreviewTest, AnAreaBelowTheBedsZeroGrowsAndTheFrameFollows) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  set("m_eScanType", kAreaFixedWidth);
  set("m_rcScan", tagRRECT{0, 100, 254, 227});
  QCoreApplication::processEvents();
  ASSERT_EQ(run(StartKind::Prescan), EndCause::Done);
  const tagRRECT area = rect("m_rcScan"), frame = rect("m_rcPreview");
  EXPECT_EQ(area.top, 100);
  EXPECT_NEAR(area.bottom, 290, 1);
  EXPECT_NEAR(frame.bottom, area.bottom, 0.01);
  EXPECT_NEAR(frame.height(), 55, 0.01);
}

TEST_F(PanelPreviewTest, EscapeGivesUpWhatIsDrawnAndOtherwiseStops) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  ASSERT_EQ(run(StartKind::Prescan), EndCause::Done);
  auto* picture = window()->findChild<QWidget*>("previewPicture");
  ASSERT_TRUE(picture);
  const auto takesEscape = [&] {
    QKeyEvent asked(QEvent::ShortcutOverride, Qt::Key_Escape, Qt::NoModifier);
    asked.ignore();
    QCoreApplication::sendEvent(picture, &asked);
    return asked.isAccepted();
  };
  EXPECT_FALSE(takesEscape());
  ASSERT_TRUE(preview()->PreviewCommand(PreviewCommand::NewFragment));
  EXPECT_TRUE(takesEscape());
  QKeyEvent pressed(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
  QCoreApplication::sendEvent(picture, &pressed);
  EXPECT_FALSE(preview()->IsPreviewCommandChecked(PreviewCommand::NewFragment));
  EXPECT_FALSE(takesEscape());
}

TEST_F(PanelPreviewTest, StandsInTheLayoutsPlaceAndNotInDirectMode) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  auto* page = window()->findChild<QWidget*>("PreviewDlgForm");
  ASSERT_TRUE(page);
  m_parent->resize(360, 700);
  window()->resize(360, 700);
  m_parent->show();
  QCoreApplication::processEvents();
  EXPECT_FALSE(page->isVisible()) << "a tab behind the settings";
  EXPECT_TRUE(preview()->PreviewCommand(PreviewCommand::Show));
  EXPECT_TRUE(page->isVisible());
  window()->resize(1300, 700);
  QCoreApplication::processEvents();
  EXPECT_TRUE(page->isVisible()) << "a column beside them";
  EXPECT_GT(page->width(), 650);
  EXPECT_TRUE(window()->findChild<QComboBox*>("modeList")->isVisible());

  ASSERT_TRUE(preview()->PreviewCommand(PreviewCommand::Float));
  EXPECT_TRUE(page->isWindow() && page->isVisible());
  page->setGeometry(30, 40, 500, 400);
  m_parent->hide();
  EXPECT_FALSE(page->isVisible()) << "goes with the panel";
  m_parent->show();
  EXPECT_TRUE(page->isWindow() && page->isVisible()) << "and comes with it";
  EXPECT_EQ(page->geometry(), QRect(30, 40, 500, 400));
  close();
  ASSERT_TRUE(open("sim:size=210x290,at=10x0"));
  m_parent->show();
  page = window()->findChild<QWidget*>("PreviewDlgForm");
  EXPECT_TRUE(page->isWindow() && page->isVisible()) << "as it was left";
  EXPECT_EQ(page->geometry(), QRect(30, 40, 500, 400));
  EXPECT_TRUE(page->close()) << "a program that ends is not held up";
  QCoreApplication::processEvents();
  EXPECT_FALSE(page->isWindow()) << "its window's closing puts it back";
}

}  // namespace
}  // namespace quillbay
