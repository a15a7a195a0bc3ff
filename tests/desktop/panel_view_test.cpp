#include "desktop_fixture.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"
#include "view/live_page.h"
#include "window/program_settings.h"

namespace desktop {
namespace {

/// What the panel shows in the document's view.
class PanelViewTest : public DesktopTest {
 protected:
  [[nodiscard]] DocumentView& view() { return window->view(); }
  [[nodiscard]] quillbay::KxPtr<quillbay::IKxViewPort> port() {
    return quillbay::query<quillbay::IKxViewPort>(view().kxView());
  }
  [[nodiscard]] QImage shown() { return view().surface()->grab().toImage(); }
  /// The information panel: dark blue at the left, blue at the right.
  [[nodiscard]] bool showsInformation() {
    const QImage image = shown();
    const QColor left = image.pixelColor(1, image.height() - 2);
    const QColor right = image.pixelColor(image.width() - 2, image.height() - 2);
    return left.red() < 10 && left.blue() > 40 && right.red() > 45 && right.blue() > 160;
  }
  int addPage() {
    return window->document().add(quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 1000, 700, 100), "page");
  }
  bool previewPart() {
    bool ended = false;
    const auto link =
        QObject::connect(&window->panelDock(), &PanelDock::previewEnded, window.get(), [&] { ended = true; });
    EXPECT_EQ(control()->Start(quillbay::StartKind::AreaPrescan, 0), 1);
    const bool done = waitFor([&] { return ended; });
    QObject::disconnect(link);
    return done;
  }
  [[nodiscard]] quillbay::tagRRECT extents() {
    quillbay::tagRRECT all{};
    port()->GetExtents(&all);
    return all;
  }
};

TEST_F(PanelViewTest, InformsAboutTheNextScanWhileThereIsNoPage) {
  open();
  smallPages();
  QCoreApplication::processEvents();
  EXPECT_TRUE(showsInformation());
  const QImage grey = shown();
  set("m_CurrMode", 7);
  QCoreApplication::processEvents();
  EXPECT_NE(shown(), grey) << "the summary follows the settings";
  window->resize(1100, 640);
  QCoreApplication::processEvents();
  EXPECT_TRUE(showsInformation());
  const int id = addPage();
  EXPECT_FALSE(showsInformation());
  const quillbay::tagRRECT page = extents(), seen = port()->GetVisibleArea();
  EXPECT_NEAR(page.width(), 254, 0.1) << "the frame does not count";
  EXPECT_LE(seen.left, page.left);
  EXPECT_GE(seen.right, page.right);
  const auto before = port()->Transform();
  set("m_rcPreview", quillbay::tagRRECT{0, 0, 120, 60});
  QCoreApplication::processEvents();
  EXPECT_EQ(port()->Transform(), before);
  window->document().remove(id);
  QCoreApplication::processEvents();
  EXPECT_TRUE(showsInformation());
  window->panelDock().closePanel();
  QCoreApplication::processEvents();
  EXPECT_FALSE(showsInformation());
}

TEST_F(PanelViewTest, ShowsAPreviewInPlaceOfThePagesUntilTheUserTurnsToThem) {
  open("sim:drawing=map,size=210x148");
  smallPages();
  addPage();
  QCoreApplication::processEvents();  // the new area gets its frame, the window its layout
  view().zoomBy(3);
  const auto before = port()->Transform();
  const quillbay::tagRRECT frame{20, 10, 140, 70};
  set("m_rcPreview", frame);
  ASSERT_TRUE(previewPart());
  EXPECT_EQ(extents(), frame);
  EXPECT_NEAR(port()->GetVisibleArea().top + port()->GetVisibleArea().bottom, 80, 1e-6) << "it is in the middle";
  EXPECT_FALSE(showsInformation());
  EXPECT_EQ(pages().size(), 1U);
  view().reveal(pages()[0].id);
  EXPECT_EQ(port()->Transform(), before) << "the place that the user looked at";
  ASSERT_TRUE(previewPart());
  view().fitAll();
  EXPECT_NEAR(extents().width(), 254, 0.1);
  ASSERT_TRUE(scan());
  EXPECT_EQ(pages().size(), 2U);
}

TEST_F(PanelViewTest, ShowsAPageThatGoesToAFileAndIsNotKept) {
  open("sim:drawing=map,size=254x127,speed=400");
  window->settings().setNumber("KeepScannedPages", 0);
  ASSERT_TRUE(window->setMode(quillbay::ScanToFile));
  smallPages();
  set("m_Dir", dir.path());
  set("m_Mask", "page<COUNTER>");
  std::vector<QImage> seen;
  QObject::connect(&window->panelDock(), &PanelDock::linesArrived, window.get(), [&] { seen.push_back(shown()); });
  addPage();
  QCoreApplication::processEvents();
  const auto before = port()->Transform();
  ASSERT_TRUE(scan());
  ASSERT_GT(seen.size(), 2U);
  EXPECT_NE(seen.front(), seen.back());
  const QColor corner = seen.back().pixelColor(2, 2);  // of the page, at the very corner of the view
  EXPECT_GT(corner.red(), 150);
  EXPECT_EQ(corner.red(), corner.green()) << "a grey page";
  EXPECT_EQ(pages().size(), 1U);
  EXPECT_EQ(port()->Transform(), before) << "the pages are back";
}

TEST_F(PanelViewTest, PreviewsTellInksFromPaperUnlessSomebodyChose) {
  open();
  smallPages();
  const auto previewDpi = [&] {
    quillbay::CKxVariant dpi;
    control()->GetParam(quillbay::key::PreviewDpi, &dpi);
    return dpi.toInt();
  };
  for (const int mode : {quillbay::kModeRgb, quillbay::kModeGrey}) {  // each starts with the coarsest
    set("m_CurrMode", mode);
    ASSERT_EQ(previewDpi(), 50);
    ASSERT_TRUE(scan());
    EXPECT_EQ(previewDpi(), 100) << "before the prescans of a scan";
  }
  for (const int chosen : {150, 200}) {
    set("m_nPreviewDPI", chosen);
    ASSERT_TRUE(scan());
    EXPECT_EQ(previewDpi(), chosen);
  }
}

TEST_F(PanelViewTest, APreviewOfThePartThatIsShownNamesAMissingLookupFile) {
  open();
  smallPages();
  ASSERT_TRUE(scan());
  set("m_CurrMode", quillbay::kModePalette);
  const auto values = quillbay::new_MemParam();
  values->SetValue(quillbay::key::PaletteMethod, quillbay::kPaletteClassified);
  values->SetValue(quillbay::key::LutFileName, std::string("/missing.lut"));
  quillbay::query<quillbay::IQuillbaySink>(control())->ApplyParams(values.get());
  QCoreApplication::processEvents();
  messages.clear();
  bool ended = false;
  QObject::connect(&window->panelDock(), &PanelDock::ended, window.get(), [&] { ended = true; });
  EXPECT_EQ(control()->Start(quillbay::StartKind::AreaPrescan, 0), 1);
  ASSERT_TRUE(waitFor([&] { return ended; }));
  EXPECT_TRUE(messages.join(' ').contains("LUT file /missing.lut not found.")) << messages.join(' ').toStdString();
}

}  // namespace
}  // namespace desktop
