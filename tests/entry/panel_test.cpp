#include <filesystem>

#include "panel_fixture.h"
#include "platform/file_channel.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> filesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(folder)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

int pagesIn(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->GetPageCount();
}

KxSize sizeOf(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr)->GetSize();
}

TEST_F(PanelTest, ScansOnePageIntoANamedFile) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3"));
  smallPages();
  EXPECT_EQ(control->GetNextFileName(), file("page000.tif"));
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(recorder->pages[0].file, file("page000.tif"));
  EXPECT_TRUE(recorder->pages[0].published);
  EXPECT_EQ(sizeOf(file("page000.tif")), (KxSize{500, 250}));
  EXPECT_EQ(get("m_nCounter").toInt(), 1);
  EXPECT_EQ(filesIn(out.path()), std::vector<std::string>{"page000.tif"});
  EXPECT_TRUE(messages.empty()) << messages[0];
}

TEST_F(PanelTest, ABatchRunsUntilTheFeederIsEmpty) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,count=3"));
  smallPages();
  ASSERT_TRUE(control->Start(StartKind::Batch, 0));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->pages.size(), 3U);
  EXPECT_EQ(recorder->cause, EndCause::Media);
  EXPECT_TRUE(messages.empty()) << "an empty feeder after a page is no fault: " << messages[0];
  EXPECT_EQ(filesIn(out.path()), (std::vector<std::string>{"page000.tif", "page001.tif", "page002.tif"}));
}

TEST_F(PanelTest, AMultiPageBatchGrowsAsAPartAndIsPublishedAtItsEnd) {
  for (const int wanted : {3, 0}) {
    SCOPED_TRACE(wanted);
    recorder->pages.clear();
    recorder->published.clear();
    ASSERT_TRUE(open("sim:size=210x120,at=10x3,count=3"));
    set("m_Mask", "all" + std::to_string(wanted));
    smallPages();
    set("m_fMultiPage", 1);
    const std::string name = file("all" + std::to_string(wanted) + ".tif");
    recorder->onPage = [&] {
      const bool last = recorder->pages.size() == 3 && wanted == 3;
      EXPECT_EQ(fs::exists(name), last);
      EXPECT_EQ(fs::exists(name + ".part"), !last);
    };
    ASSERT_TRUE(control->Start(StartKind::Batch, wanted));
    ASSERT_TRUE(recorder->waitEnded());
    EXPECT_EQ(recorder->pages.size(), 3U);
    EXPECT_EQ(pagesIn(name), 3);
    EXPECT_FALSE(fs::exists(name + ".part"));
    EXPECT_EQ(recorder->published.size(), wanted == 0 ? 1U : 0U) << "a batch that ran empty publishes afterwards";
    close();
  }
}

TEST_F(PanelTest, StopDropsThePageKeepsTheFinishedOnesAndTheNextScanWorks) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,speed=400"));
  smallPages();
  set("m_fMultiPage", 1);
  recorder->onLines = [&](std::int64_t) {
    if (recorder->pages.size() == 1) control->Stop(StopKind::Now);
  };
  ASSERT_TRUE(control->Start(StartKind::Batch, 0));
  EXPECT_FALSE(control->Start(StartKind::Scan, 1)) << "one run at a time";
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Stopped);
  EXPECT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(pagesIn(file("page.tif")), 1);
  EXPECT_EQ(filesIn(out.path()), std::vector<std::string>{"page.tif"});
  recorder->onLines = nullptr;
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  EXPECT_EQ(pagesIn(file("page.tif")), 2) << "a page added to the file of before";
}

TEST_F(PanelTest, StopAfterThisPageFinishesIt) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3"));
  smallPages();
  recorder->onStarted = [&] {
    if (recorder->starts.size() == 2) control->Stop(StopKind::AfterPage);
  };
  ASSERT_TRUE(control->Start(StartKind::Batch, 0));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  EXPECT_EQ(filesIn(out.path()), (std::vector<std::string>{"page000.tif", "page001.tif"}));
}

TEST_F(PanelTest, BurstPiecesFollowOneAnotherAndTheAreaGoesBack) {
  ASSERT_TRUE(open("sim:size=210x290,at=10x0"));
  smallPages();
  set("m_rcScan", tagRRECT{0, 0, 254, 127});
  set("m_fBursting", 1);
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  EXPECT_EQ(filesIn(out.path()), (std::vector<std::string>{"page000.tif", "page001.tif", "page002.tif"}))
      << "290 mm are three pieces of 127 mm";
  EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), (tagRRECT{0, 0, 254, 127}));
}

TEST_F(PanelTest, AJamIsNamedAndTheNextScanWorks) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,jam-after=100"));
  smallPages();
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Device);
  EXPECT_EQ(recorder->fault.code, UnitFaultCode::Jammed);
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_NE(messages[0].find("jam"), std::string::npos) << messages[0];
  EXPECT_TRUE(filesIn(out.path()).empty());
  EXPECT_EQ(get("m_nCounter").toInt(), 0);
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
}

TEST_F(PanelTest, RefusalsLeaveThePanelIdle) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,count=1"));
  smallPages();
  set("m_Dir", "");
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Output);
  EXPECT_FALSE(control->IsBusy());
  ASSERT_EQ(messages.size(), 1U);
  set("m_Dir", out.path());
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  ASSERT_TRUE(control->Start(StartKind::Scan, 1)) << "the feeder is empty now";
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Media);
  EXPECT_EQ(filesIn(out.path()), std::vector<std::string>{"page000.tif"});
}

TEST_F(PanelTest, ScanToViewHandsTheRasterOverAndMode6502IsMultiPage) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3", ScanToViewMultiPage));
  EXPECT_EQ(get("m_fMultiPage").toInt(), 1);
  smallPages();
  KxSize got;
  app()->SetRasterHandler([&](const HostDocument& d) { got = d.pages.back()->GetSize(); });
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done) << (messages.empty() ? "" : messages[0]);
  EXPECT_EQ(got, (KxSize{500, 250}));
}

TEST_F(PanelTest, TheEntryPointRefusesWhatItCannotMake) {
  EXPECT_FALSE(open("sim:", static_cast<eTarnwellMode>(9)));
  EXPECT_FALSE(open("sim:", ScanToPrint)) << "no print destination is in this build";
}

TEST_F(PanelTest, TheSinkOutlivesItsWindow) {
  ASSERT_TRUE(open("sim:size=210x120"));
  EXPECT_EQ(sink()->EnableViewSync(1), 32) << "the host gave no view";
  const auto kept = KxPtr<IQuillbaySink>::share(sink());
  close();
  EXPECT_EQ(kept->EnableViewSync(1), kNoWindow);
  EXPECT_EQ(kept->DoCommand(0), kNoWindow);
}

TEST_F(PanelTest, ClosingInTheMiddleEndsTheScanAndLeavesNothing) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,speed=200"));
  smallPages();
  bool closed = false;
  recorder->onLines = [&](std::int64_t) {
    if (closed) return;
    closed = true;
    recorder->loop.quit();
  };
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  recorder->loop.exec();
  close();
  EXPECT_TRUE(filesIn(out.path()).empty());
}

TEST_F(PanelTest, ApplyParamsChangesOnlyWhatItNames) {
  ASSERT_TRUE(open("sim:size=210x120"));
  smallPages(100);
  const auto params = new_MemParam();
  params->SetValue("m_Add", 7);
  ASSERT_TRUE(sink()->ApplyParams(params.get()));
  QCoreApplication::processEvents();
  const auto now = new_MemParam();
  control->GetPageParams(now.get());
  EXPECT_EQ(paramInt(now.get(), "m_Add"), 7);
  EXPECT_EQ(paramInt(now.get(), "ImageDPI"), 100);
  EXPECT_EQ(paramInt(now.get(), "MODE"), 5);
}

TEST_F(PanelTest, SettingsComeBackForTheSameScanner) {
  ASSERT_TRUE(open("sim:size=210x120"));
  smallPages(200);
  set("m_Mask", "kept");
  close();
  ASSERT_TRUE(open("sim:size=210x120"));
  EXPECT_EQ(get("m_uiDPI").toInt(), 200);
  EXPECT_EQ(get("m_CurrMode").toInt(), 5);
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
      {"m_eScanType", 0, "detection"},
  };
  for (const Case& c : cases) {
    std::string why;
    EXPECT_FALSE(control->SetParam(c.key, c.value, &why)) << c.key;
    EXPECT_NE(why.find(c.wanted), std::string::npos) << why;
  }
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleTest(&argc, argv);
  const QApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
