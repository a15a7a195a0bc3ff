/// "Straighten" and "Crop to the document" on pages that show a sheet on the scanner's bed.
#include "desktop_fixture.h"
#include "document/page_commands.h"
#include "window/status_line.h"

namespace desktop {
namespace {

class FoundDocumentTest : public DesktopTest {
 protected:
  /// Scans the bed with a sheet of 210 x 148 mm on it.
  void scanBed(const std::string& device, int mode) {
    open(device);
    set("m_CurrMode", mode);
    set("m_uiDPI", 100);
    set("m_dwAutodetect", 0);
    set("m_rcScan", quillbay::tagRRECT{0, 0, 300, 220});
    set("m_eScanType", 3);
    ASSERT_TRUE(scan());
    ASSERT_EQ(pages().size(), 1U);
  }
  void choose(const QString& text) {
    for (QAction* action : window->pageCommands().actions()) {
      if (QString(action->text()).remove('&') == text) return action->trigger();
    }
    FAIL() << text.toStdString();
  }
  [[nodiscard]] QSizeF sizeMm() { return pages()[0].sizeMm(); }
};

TEST_F(FoundDocumentTest, APageIsStraightenedAndCroppedInOneStepEach) {
  for (const int mode : {0, 5, 7}) {  // black and white, grey, colour
    SCOPED_TRACE(mode);
    scanBed("sim:width=300,size=210x148,at=45x30,skew=3,drawing=plan", mode);
    const auto scanned = pages()[0].raster;
    choose("Crop to the document");
    // The upright box around the sheet.
    EXPECT_NEAR(sizeMm().width(), 210 * 0.9986 + 148 * 0.0523, 3);
    EXPECT_NEAR(sizeMm().height(), 148 * 0.9986 + 210 * 0.0523, 3);
    ASSERT_TRUE(window->document().undo());
    choose("Straighten");
    const auto turned = pages()[0].raster;
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("anticlockwise by "))
        << window->statusBar()->currentMessage().toStdString();
    choose("Crop to the document");
    EXPECT_NEAR(sizeMm().width(), 210, 4);
    EXPECT_NEAR(sizeMm().height(), 148, 4);
    EXPECT_EQ(pages()[0].raster->GetColorSpace(), scanned->GetColorSpace());
    EXPECT_EQ(pages()[0].raster->GetResolution(), 100U);
    EXPECT_FALSE(pages()[0].isSaved());
    ASSERT_TRUE(window->document().undo());
    EXPECT_EQ(pages()[0].raster.get(), turned.get());
    ASSERT_TRUE(window->document().undo());
    EXPECT_EQ(pages()[0].raster.get(), scanned.get());
    EXPECT_FALSE(window->document().undo()) << "what changed nothing is no step";
    EXPECT_TRUE(messages.isEmpty()) << messages.join('\n').toStdString();
    unsaved = UnsavedAnswer::Discard;
    window.reset();
  }
}

TEST_F(FoundDocumentTest, WhatIsNotFoundIsToldOnceForAllPages) {
  open();
  const auto blank = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 900, 700, 100);
  for (const char* name : {"first", "second"}) window->document().add(blank, name);
  window->pageCommands().selectedPages = [this] { return window->document().order(); };
  choose("Crop to the document");
  ASSERT_EQ(messages.size(), 1);
  for (const char* name : {"first: ", "second: "}) EXPECT_TRUE(messages[0].contains(name)) << name;
  choose("Straighten");
  ASSERT_EQ(messages.size(), 2);
  for (const Page& page : pages()) EXPECT_EQ(page.raster.get(), blank.get());
  EXPECT_FALSE(window->document().undo());
}

}  // namespace
}  // namespace desktop
