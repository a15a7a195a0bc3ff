/// The search for the document before a scan, on the panel.
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "fake_scanner.h"
#include "panel_fixture.h"
#include "params/shared_scan_params.h"

namespace quillbay {
namespace {

class PanelDetectTest : public PanelTest {
 protected:
  void openAuto(const std::string& device) {
    ASSERT_TRUE(open(device));
    smallPages(100);
    set("m_rcScan", tagRRECT{10, 20, 200, 100});
    set("m_eScanType", kAreaAuto);
    set("m_dwAutodetect", 30);
  }
  void openFake(IApp* front) {
    ASSERT_TRUE(openOn(front));
    smallPages(100);
    set("m_dwAutodetect", 8);
  }
  /// What a search may change.
  [[nodiscard]] std::vector<std::string> settings() {
    std::vector<std::string> all;
    for (const char* key : {"m_dwAutodetect", "m_eScanType", "m_fRectValid", "m_fCenter"}) {
      all.push_back(key + std::string("=") + std::to_string(*get(key).get<std::int32_t>()));
    }
    const tagRRECT r = area();
    for (const double v : {r.left, r.top, r.right, r.bottom}) all.push_back(std::to_string(v));
    return all;
  }
  [[nodiscard]] tagRRECT area() { return *get("m_rcScan").get<tagRRECT>(); }
};

void expectNear(const tagRRECT& a, const tagRRECT& b, double mm) {
  EXPECT_NEAR(a.left, b.left, mm);
  EXPECT_NEAR(a.top, b.top, mm);
  EXPECT_NEAR(a.right, b.right, mm);
  EXPECT_NEAR(a.bottom, b.bottom, mm);
}

TEST_F(PanelDetectTest, ScansWhatIsFoundAndSnapsItToPapers) {
  struct Case {
    const char* device;
    int papers;
    int deskew;
    tagRRECT area;
    double mm;
  };
  const Case cases[] = {
      {"sim:width=420,size=210x148,at=60x30", 0, 0, {60, 30, 270, 178}, 1.5},
      {"sim:width=420,size=210x148,at=60x30", 1, 0, {60, 0, 270, 148.5}, 1.5},
      {"sim:width=420,size=203x140,at=2x30", 1, 0, {0, 0, 210, 148}, 1.5},
      {"sim:width=420,size=203x140,at=215x30", 1, 0, {210, 0, 420, 148}, 1.5},
      {"sim:width=420,size=203x140,at=60x30", 1, 1, {60, 30, 263, 170}, 1.5},
      // On a bed it stays where it lies, on the bed.
      {"sim:width=420,length=400,size=210x148,at=60x130,source=flatbed", 1, 0, {60, 130, 270, 278}, 1.5},
      {"sim:width=420,length=300,size=203x140,at=60x159,source=flatbed", 1, 0, {56.5, 152, 266.5, 300}, 1.5},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.device);
    openAuto(c.device);
    set("m_StandardPapers", c.papers);
    set("m_fDeskew", c.deskew);
    EXPECT_EQ(run(), EndCause::Done);
    expectNear(area(), c.area, c.mm);
    EXPECT_EQ(*get("m_fRectValid").get<std::int32_t>(), 1);
    ASSERT_FALSE(recorder->pages.empty());
    EXPECT_NEAR(static_cast<double>(recorder->pages.back().width), mmToPixels(area().width(), 100), 1.5);
    EXPECT_NEAR(static_cast<double>(recorder->pages.back().lines), mmToPixels(area().height(), 100), 1.5);
    EXPECT_TRUE(messages.empty());
    close();
  }
}

TEST_F(PanelDetectTest, OnlyTheFoundAreaIsStraightened) {
  openAuto("sim:width=420,size=210x148,at=60x30,skew=2,source=flatbed");
  set("m_fDeskew", 1);
  const auto skew = [] { return CSharedScanParams::currentValues()->skew; };
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_NEAR(skew(), -2 * std::numbers::pi / 180, 0.001);
  EXPECT_NEAR(static_cast<double>(recorder->starts.back().expectedLines),
              static_cast<double>(recorder->pages.back().lines), 1)
      << "of the straight page";
  set("m_rcCustomScan", tagRRECT{70, 50, 150, 100});
  set("m_fCustomScanValid", 1);
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(skew(), 0) << "a fragment";
  EXPECT_EQ(recorder->pages.back().lines, 197);
  set("m_dwAutodetect", 0);
  set("m_eScanType", kAreaCustom);
  set("m_rcScan", tagRRECT{50, 30, 300, 110});
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(skew(), 0) << "an area that was drawn";
  set("m_fBursting", 1);
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(skew(), 0) << "the pieces of a burst";
}

TEST_F(PanelDetectTest, WithoutADocumentTheUserDecides) {
  const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
  const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
  openFake(front.get());
  const auto before = settings();
  answer = EventAnswer::No;
  EXPECT_EQ(run(), EndCause::Refused);
  EXPECT_EQ(unit->types.back(), kRequestDetection) << "no page was scanned";
  EXPECT_EQ(unit->modes.back(), kModeGrey);
  EXPECT_EQ(settings(), before);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0], "Could not autodetect bounds, scan whole image?");
  answer = EventAnswer::Yes;
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(unit->types.back(), kRequestScan);
  EXPECT_EQ(*get("m_dwAutodetect").get<std::int32_t>(), 0);
  EXPECT_EQ(*get("m_eScanType").get<std::int32_t>(), kAreaFixedWidth);
  EXPECT_EQ(area(), (tagRRECT{0, 0, 300, 200}));
  EXPECT_EQ(filesIn(out.path()).size(), 1U);
}

TEST_F(PanelDetectTest, AScannersOwnMeasureNeedsNoPrescan) {
  struct Case {
    const char* why;
    MeasuredMedia media;
    int type;
    tagRRECT area;
    int typeAfter;
  };
  const Case cases[] = {
      {"centred on the bed", {"A5", 148, 210, false}, kAreaAuto, {76, 0, 224, 210}, kAreaAuto},
      {"of unknown length", {"", 148, 0, true}, kAreaAuto, {76, 0, 224, 200}, kAreaAutoWidth},
      {"the width alone is wanted", {"", 148, 210, false}, kAreaAutoWidth, {76, 0, 224, 200}, kAreaAutoWidth},
      {"no measure", {"", 0, std::nan(""), false}, kAreaAuto, {0, 0, 300, 200}, kAreaFixedWidth},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
    const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
    openFake(front.get());
    set("m_eScanType", c.type);
    set("m_dwAutodetect", 30);
    unit->media = c.media;
    unit->types.clear();
    answer = EventAnswer::Yes;  // its prescan shows nothing
    EXPECT_EQ(run(), EndCause::Done);
    EXPECT_EQ(std::count(unit->types.begin(), unit->types.end(), kRequestDetection), c.media.width > 0 ? 0 : 1);
    EXPECT_EQ(area(), c.area);
    EXPECT_EQ(*get("m_eScanType").get<std::int32_t>(), c.typeAfter);
    close();
  }
}

TEST_F(PanelDetectTest, CancelInTheMiddleLeavesEverythingAsItWas) {
  openAuto("sim:width=420,size=210x148,at=60x30,speed=300");
  const auto before = settings();
  int asked = 0;
  QTimer::singleShot(300, [&] {
    ++asked;
    EXPECT_TRUE(control->IsBusy());
    EXPECT_FALSE(control->Start(StartKind::Scan, 1)) << "a search refuses every start";
    control->Stop(StopKind::Now);
  });
  EXPECT_EQ(run(), EndCause::Stopped);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(settings(), before);
  EXPECT_TRUE(messages.empty());
  EXPECT_TRUE(filesIn(out.path()).empty());
  EXPECT_FALSE(control->IsBusy());
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_EQ(run(), EndCause::Done) << "the scanner stays usable";
}

TEST_F(PanelDetectTest, APreviewThatIsStoppedAfterItFoundSomethingLooksAgain) {
  openAuto("sim:width=420,size=210x148,at=60x30,speed=2000,source=flatbed");
  const auto before = settings();
  recorder->onLines = [&](std::int64_t) { control->Stop(StopKind::Now); };
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Stopped);
  EXPECT_EQ(settings(), before);
  recorder->onLines = nullptr;
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
  expectNear(area(), {60, 30, 270, 178}, 1.5);
  const auto found = CSharedScanParams::currentValues()->found;
  set("m_fBoundDetectDirty", 1);
  recorder->onLines = [&](std::int64_t) { control->Stop(StopKind::Now); };
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Stopped);
  EXPECT_EQ(CSharedScanParams::currentValues()->found, found) << "what the user sees";
}

TEST_F(PanelDetectTest, ADeviceThatFailsIsNamedAndNothingChanges) {
  openAuto("sim:width=420,size=210x148,at=60x30,jam-after=200");
  const auto before = settings();
  EXPECT_EQ(run(), EndCause::Device);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_NE(messages[0].find("jammed"), std::string::npos) << messages[0];
  EXPECT_EQ(settings(), before);
  EXPECT_TRUE(filesIn(out.path()).empty());
}

TEST_F(PanelDetectTest, AUnitThatBreaksOrAHostThatClosesEndsTheSearch) {
  for (const std::string call : {"Scan", "Command 0", "close"}) {
    SCOPED_TRACE(call);
    const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
    const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
    openFake(front.get());
    unit->pause = std::chrono::milliseconds(200);
    auto before = settings();
    if (call == "close") {
      QTimer::singleShot(50, [&] { close(); });
      ASSERT_TRUE(control->Start(StartKind::Scan, 1));
      EXPECT_TRUE(recorder->waitEnded());
      EXPECT_EQ(window(), nullptr);
      QTimer::singleShot(400, &recorder->loop, &QEventLoop::quit);
      recorder->loop.exec();  // the unit delivers the rest to nobody
    } else {
      bool breaks = false;
      unit->onCall = [&](const std::string& made) {
        if (breaks && made == call) throw std::runtime_error("it broke");
      };
      set("m_dwAutodetect", 0);
      EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
      set("m_dwAutodetect", 8);
      m_parent->resize(900, 700);
      m_parent->show();
      auto* preview = window()->findChild<QWidget*>("previewPicture");
      const auto shown = [&] {
        QCoreApplication::processEvents();
        return preview->grab().toImage();
      };
      const QImage picture = shown();
      before = settings();
      breaks = true;
      EXPECT_EQ(run(), EndCause::Refused);
      EXPECT_EQ(settings(), before);
      EXPECT_EQ(shown(), picture) << "the preview shows what it showed";
      unit->onCall = nullptr;
      EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
      close();
    }
  }
}

}  // namespace
}  // namespace quillbay
