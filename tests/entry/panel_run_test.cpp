/// Runs of several pages, previews, and what hosts and settings see of them meanwhile.
#include <algorithm>

#include "control/panel_store.h"
#include "fake_scanner.h"
#include "panel_fixture.h"
#include "params/shared_scan_params.h"
#include "quillbay/keep_rasters.h"
#include "stores/simple_stor.h"
#include "view/image_dc.h"

namespace quillbay {
namespace {

/// A view that tells when it is to be drawn anew.
class NotedView final : public CKxUnknownImpl<IKxView> {
 public:
  int Invalidate() override {
    if (onInvalidate) onInvalidate();
    return 1;
  }
  QWidget* GetWindow() override { return nullptr; }
  std::function<void()> onInvalidate;
};

const tagRRECT kPiece{0, 0, 254, 127};

/// The scan area in the stored settings of a host's current scanner.
tagRRECT storedArea(IApp* app) {
  const auto scanner = KxPtr<IScan>::adopt(query<IScanManager>(app)->GetCurrent());
  const PanelStore store(app, scanner->GetName());
  for (int page = 0; page < 20; ++page) {
    const CKxVariant area = paramValue(store.page(page).get(), key::Rect);
    if (area.get<tagRRECT>()) return *area.get<tagRRECT>();
  }
  return {};
}

TEST_F(PanelTest, ABurstsMovedAreaIsNeitherSavedNorReported) {
  for (const bool saves : {true, false}) {
    SCOPED_TRACE(saves ? "saved meanwhile" : "closed in the middle");
    ASSERT_TRUE(openSmall("sim:size=210x500,at=10x0,speed=400"));
    set("m_rcScan", kPiece);
    set("m_fBursting", 1);
    recorder->starts.clear();
    recorder->onStarted = [&] {
      if (recorder->starts.size() != 2) return;
      EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), kPiece);
      const auto params = new_MemParam();
      control->GetPageParams(params.get());
      EXPECT_EQ(*paramValue(params.get(), "RECT").get<tagRRECT>(), kPiece);
      if (saves) {
        control->SaveSettings();
        EXPECT_EQ(storedArea(app()), kPiece);
      }
      recorder->loop.quit();
    };
    ASSERT_TRUE(control->Start(StartKind::Scan, 1));
    recorder->loop.exec();
    recorder->onStarted = nullptr;
    if (saves) {
      control->Stop(StopKind::Now);
      ASSERT_TRUE(recorder->waitEnded());
    }
    close();
    ASSERT_TRUE(open("sim:size=210x500,at=10x0,speed=400"));
    EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), kPiece);
    close();
    recorder->ended = false;
  }
}

TEST_F(PanelTest, AStoppedBurstEndsItsFile) {
  ASSERT_TRUE(openSmall("sim:size=210x500,at=10x0,speed=400"));
  set("m_fBursting", 1);
  set("m_fMultiPage", 1);
  recorder->onLines = [&](std::int64_t) {
    if (recorder->pages.size() == 1) control->Stop(StopKind::Now);
  };
  EXPECT_EQ(run(), EndCause::Stopped);
  EXPECT_EQ(filesIn(out.path()), std::vector<std::string>{"page.tif"});
  EXPECT_EQ(pagesIn(file("page.tif")), 1);
  EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), kPiece);
}

TEST_F(PanelTest, WhatAHostChangesDuringAPageCountsFromTheNextOn) {
  for (const bool asSet : {false, true}) {
    SCOPED_TRACE(asSet ? "ApplyParams" : "SetParam");
    ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
    recorder->pages.clear();
    recorder->onStarted = [&] {
      if (!asSet) return set("m_uiDPI", 600);
      const auto params = new_MemParam();
      params->SetValue("ImageDPI", 600);
      params->SetValue("m_ctrlDPI", -1);
      EXPECT_EQ(sink()->ApplyParams(params.get()), 1);
    };
    run();
    ASSERT_EQ(recorder->pages.size(), 1U);
    EXPECT_EQ(recorder->pages[0].lines, 250);
    recorder->onStarted = nullptr;
    QCoreApplication::processEvents();
    EXPECT_EQ(get("m_uiDPI").toInt(), 600);
    std::string why;
    EXPECT_EQ(control->SetParam("m_uiDPI", 7, &why), 0) << "what is not allowed is refused at once";
    close();
  }
}

TEST_F(PanelTest, APreviewTellsItsStartItsLinesAndHowItEnded) {
  struct Case {
    const char* device;
    EndCause cause;
    std::size_t messages;
  };
  for (const Case& c : {Case{"sim:size=210x290,at=10x0", EndCause::Done, 0},
                        Case{"sim:size=210x290,at=10x0,jam-after=40", EndCause::Device, 1}}) {
    SCOPED_TRACE(c.device);
    ASSERT_TRUE(openSmall(c.device));
    recorder->starts.clear();
    recorder->lastLines = 0;
    messages.clear();
    EXPECT_EQ(run(StartKind::Prescan), c.cause);
    EXPECT_EQ(messages.size(), c.messages);
    EXPECT_EQ(recorder->messages.size(), c.messages) << "listeners hear of it, too";
    ASSERT_EQ(recorder->starts.size(), 1U);
    EXPECT_EQ(recorder->starts[0].kind, StartKind::Prescan);
    EXPECT_GT(recorder->lastLines, 0);
    EXPECT_TRUE(recorder->pages.empty());
    EXPECT_TRUE(filesIn(out.path()).empty());
    close();
  }
}

TEST_F(PanelTest, TheViewIsDrawnWithTheLastLinesAndKnowsWhereTheyLie) {
  auto* noted = new NotedView;
  hostView = KxPtr<IKxView>::adopt(noted);
  const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
  unit->pause = std::chrono::milliseconds(10);  // less than lies between two reports of progress
  const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
  ASSERT_TRUE(openOn(front.get()));
  sink()->EnableViewSync(1);
  set("m_CurrMode", 5);
  set("m_eScanType", 3);
  query<IKeepRasters>(sink())->KeepRasters(1);
  const auto source = query<IRGetSource>(sink());
  for (const int dpi : {100, 400}) {
    SCOPED_TRACE(dpi);
    set("m_rcScan", tagRRECT{20, 30, 150, 46});
    set("m_uiDPI", dpi);
    EXPECT_DOUBLE_EQ(source->GetTransform().scaleX, 25.4 / dpi);
    std::int32_t drawn = 0;
    noted->onInvalidate = [&] {
      if (const auto raster = KxPtr<IRStor>::adopt(source->GetRaster())) drawn = raster->GetSize().height;
    };
    run();
    noted->onInvalidate = nullptr;
    EXPECT_EQ(drawn, 64);
    EXPECT_EQ(recorder->lastLines, 64);
    EXPECT_DOUBLE_EQ(source->GetTransform().scaleX, 25.4 / dpi);
    EXPECT_DOUBLE_EQ(source->GetTransform().offsetY, 30);
  }
  close();
}

TEST_F(PanelTest, APageThatGoesToAFileHasAPictureAndARasterOnlyForAHostThatReadsIt) {
  auto* noted = new NotedView;
  hostView = KxPtr<IKxView>::adopt(noted);
  const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
  const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
  ASSERT_TRUE(openOn(front.get()));
  sink()->EnableViewSync(1);
  set("m_CurrMode", 5);
  set("m_eScanType", 3);
  set("m_rcScan", tagRRECT{20, 30, 150, 46});
  const auto source = query<IRGetSource>(sink());
  const auto params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  for (const bool keep : {false, true}) {
    SCOPED_TRACE(keep);
    EXPECT_EQ(query<IKeepRasters>(sink())->KeepRasters(keep ? 1 : 0), 1);
    params->pictures = {};
    bool hadRaster = false;
    std::uint32_t shown = 0;
    noted->onInvalidate = [&] {
      hadRaster = hadRaster || KxPtr<IRStor>::adopt(source->GetRaster());
      std::uint32_t pixel = 0;
      const CRDirectTfm corner{1, 1, -399, -63};  // the last pixel of the scan
      const auto target = KxPtr<CImageDC>::adopt(new CImageDC(&pixel, {1, 1}, {0, 0, 1, 1}, 8));
      params->viewStore->Paint(target.get(), &corner);
      shown = std::max(shown, pixel);
    };
    run();
    noted->onInvalidate = nullptr;
    EXPECT_EQ(hadRaster, keep);
    EXPECT_EQ(shown, 0xFF808080U);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(params->pictures[i] != nullptr, i == kClassGrey);
  }
  close();
}

TEST_F(PanelTest, EveryChangeOfTheAreaIsHeardOf) {
  ASSERT_TRUE(open("sim:size=210x120,width=914"));
  const auto source = query<IRGetSource>(sink());
  set("m_CurrMode", 5);
  set("m_fCenter", 1);
  const auto left = [&] { return source->GetTransform().offsetX; };
  const auto area = [&] { return get("m_rcScan").get<tagRRECT>()->left; };
  set("m_PaperName", "A4");
  set("m_eScanType", 4);
  EXPECT_DOUBLE_EQ(left(), area()) << "a paper";
  const double before = area();
  for (auto* button : window()->findChildren<QAbstractButton*>()) {
    if (button->property("controlId").toInt() == (get("m_bPortrait").toInt() ? 112 : 111)) {
      button->click();
      break;
    }
  }
  EXPECT_NE(area(), before);
  EXPECT_DOUBLE_EQ(left(), area()) << "an orientation";
  set("m_uiDPI", 300);
  EXPECT_DOUBLE_EQ(source->GetTransform().scaleX, 25.4 / 300) << "a resolution";
  run(StartKind::Prescan);
  EXPECT_DOUBLE_EQ(source->GetTransform().scaleX, 25.4 / 300) << "no preview is shown in the view";
  const auto params = new_MemParam();
  params->SetValue("RECT", tagRRECT{7, 0, 207, 100});
  params->SetValue("ImageDPI", 600);
  sink()->ApplyParams(params.get());
  QCoreApplication::processEvents();
  EXPECT_DOUBLE_EQ(left(), area()) << "a host's set";
}

TEST_F(PanelTest, ABatchWithoutAFeederAsksForEveryFurtherDocument) {
  const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
  unit->feeder = false;
  const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
  ASSERT_TRUE(openOn(front.get()));
  smallPages(100);
  answer = EventAnswer::Ok;
  onMessage = [&] {
    EXPECT_FALSE(window()->findChild<QComboBox*>("modeList")->isEnabled()) << "pages rest between the documents";
    if (messages.size() == 2) answer = EventAnswer::GiveUp;
  };
  EXPECT_EQ(run(StartKind::Batch, 0), EndCause::Done);
  EXPECT_EQ(recorder->pages.size(), 2U);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_NE(messages[0].find("next document"), std::string::npos) << messages[0];
}

TEST_F(PanelTest, AStartThatWaitsRefusesAnotherOneInPlaceOfLosingIt) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3,count=3"));
  sink()->DoCommand(0);
  EXPECT_FALSE(control->Start(StartKind::Batch, 0));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->pages.size(), 1U);
  run(StartKind::Batch, 0);
  EXPECT_EQ(recorder->pages.size(), 3U);
}

}  // namespace
}  // namespace quillbay
