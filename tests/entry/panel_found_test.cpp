/// What the panel shows of a document that was found, and what the user makes of it.
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <numbers>

#include "panel_fixture.h"
#include "params/shared_scan_params.h"

namespace quillbay {
namespace {

class PanelFoundTest : public PanelTest {
 protected:
  void openOver(const std::string& device) {
    ASSERT_TRUE(open(device));
    smallPages(100);
    set("m_eScanType", kAreaAuto);
    set("m_dwAutodetect", 30);
    set("m_fDeskew", 1);
    m_parent->resize(900, 700);
    m_parent->show();
    QCoreApplication::processEvents();
  }
  [[nodiscard]] const ScanValues& v() const { return *CSharedScanParams::currentValues(); }
  [[nodiscard]] bool shows(const QString& part) {
    const auto labels = window()->findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel* l) { return l->text().contains(part); });
  }
};

TEST_F(PanelFoundTest, ACorrectionHoldsForTheDocumentThatLiesThere) {
  openOver("sim:width=420,size=210x148,at=60x30,skew=2,source=flatbed");
  window()->findChild<QPushButton*>("detect")->click();
  EXPECT_TRUE(
      shows("Found 210 x 148 mm (A5), turned by " + QLocale().toString(2.0, 'f', 1) + " degrees to the right"));
  EXPECT_FALSE(window()->findChild<QPushButton*>("cancelSearch")->isVisible());
  EXPECT_TRUE(isFound(v()));
  EXPECT_NEAR(v().found.angle, -2 * std::numbers::pi / 180, 0.001);
  EXPECT_EQ(v().rectValid, 1);

  auto* picture = window()->findChild<QWidget*>("previewPicture");
  QFocusEvent last(QEvent::FocusIn, Qt::BacktabFocusReason);
  QApplication::sendEvent(picture, &last);
  QKeyEvent wider(QEvent::KeyPress, Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
  QApplication::sendEvent(picture, &wider);
  EXPECT_TRUE(shows("Found 220 x 148 mm, turned"));
  const DetectedArea corrected = v().found;
  EXPECT_EQ(corrected.by, DetectedBy::User);
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(v().rcScan, corrected.box) << "nothing was searched for";
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_NEAR(static_cast<double>(recorder->pages[0].width), mmToPixels(corrected.sheet.cx, 100), 1.5);
  EXPECT_NEAR(static_cast<double>(recorder->pages[0].lines), mmToPixels(corrected.sheet.cy, 100), 1.5);

  control->Eject();
  EXPECT_FALSE(isFound(v()));
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_NEAR(v().found.sheet.cx, 210, 3) << "found anew";
  EXPECT_EQ(v().found.by == DetectedBy::User, false);
}

TEST_F(PanelFoundTest, WithoutAutoDeskewWhatWasFoundIsScannedAsItLies) {
  openOver("sim:width=420,size=210x148,at=60x30,skew=2,source=flatbed");
  window()->findChild<QPushButton*>("detect")->click();
  const tagRRECT box = v().found.box;
  set("m_dwAutodetect", 0);  // the next page is what was found
  set("m_fDeskew", 0);
  EXPECT_TRUE(isFound(v()));
  EXPECT_FALSE(shows("turned by"));
  EXPECT_EQ(run(), EndCause::Done);
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_NEAR(static_cast<double>(recorder->pages[0].width), mmToPixels(box.width(), 100), 1.5);
}

TEST_F(PanelFoundTest, CancelLeavesEverythingAsItWas) {
  openOver("sim:width=420,size=210x148,at=60x30,source=flatbed,speed=60");
  const tagRRECT before = v().rcScan;
  const DetectedArea found = v().found;
  QTimer cancel;
  bool wasOffered = false;
  QObject::connect(&cancel, &QTimer::timeout, [&] {
    auto* button = window()->findChild<QPushButton*>("cancelSearch");
    wasOffered = wasOffered || button->isVisible();
    if (button->isVisible()) button->click();
  });
  cancel.start(20);
  window()->findChild<QPushButton*>("detect")->click();
  EXPECT_TRUE(wasOffered);
  EXPECT_EQ(v().rcScan, before);
  EXPECT_EQ(v().found, found);
  EXPECT_TRUE(messages.empty()) << "who cancelled knows it";
}

}  // namespace
}  // namespace quillbay
