#include <QLineEdit>
#include <QThread>
#include <filesystem>
#include <fstream>

#include "panel_fixture.h"

namespace quillbay {
namespace {

namespace fs = std::filesystem;

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
  const auto* next = window()->findChild<QLineEdit*>("nextName");
  for (int i = 0; i < 1000 && next->text() != "page001.tif"; ++i) {
    QApplication::processEvents();
    QThread::msleep(10);
  }
  EXPECT_EQ(next->text(), "page001.tif");
}

TEST_F(PanelTest, AScannerWithoutColourScansGrey) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,colour=0"));
  smallPages();
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  ASSERT_EQ(recorder->starts.size(), 1U);
  EXPECT_EQ(recorder->starts[0].colorSpace, KxColorSpace::Grey);
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

TEST_F(PanelTest, AScannerThatRefusesToStartIsToldOnce) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,fault=busy"));
  smallPages();
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Device);
  EXPECT_EQ(recorder->fault.code, UnitFaultCode::Busy);
  EXPECT_EQ(messages.size(), 1U);
}

TEST_F(PanelTest, AWriterThatFailsIsToldOnceWhateverComesWhileTheMessageIsShown) {
  ASSERT_TRUE(open("sim:size=210x400,at=10x0"));
  smallPages();
  set("m_fBursting", 1);
  set("m_fMultiPage", 1);
  set("m_Ext", ".png");
  onMessage = [] { QCoreApplication::processEvents(); };
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Output);
  ASSERT_EQ(messages.size(), 1U) << messages.back();
  EXPECT_NE(messages[0].find("page.png"), std::string::npos) << messages[0];
}

TEST_F(PanelTest, AFileThatAppearsUnderThePagesNameIsMetByTheRule) {
  struct Case {
    const char* why;
    int fate;
    EventAnswer answer;
    EndCause cause;
    const char* file;
    std::vector<std::string> files;
    std::size_t messages;
  };
  const Case cases[] = {
      {"increment", 0, EventAnswer::No, EndCause::Done, "page001.tif", {"page000.tif", "page001.tif"}, 0},
      {"asked, yes", 2, EventAnswer::Yes, EndCause::Done, "page000.tif", {"page000.tif"}, 1},
      {"asked, no", 2, EventAnswer::No, EndCause::Output, "", {"page000.tif", "page000.tif.part"}, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ASSERT_TRUE(open("sim:size=210x120,at=10x3"));
    smallPages();
    set("m_nCounter", 0);
    set("m_fFileFate", c.fate);
    answer = c.answer;
    messages.clear();
    recorder->pages.clear();
    recorder->onStarted = [&] { std::ofstream(file("page000.tif")) << "somebody's"; };
    ASSERT_TRUE(control->Start(StartKind::Scan, 1));
    ASSERT_TRUE(recorder->waitEnded());
    EXPECT_EQ(recorder->cause, c.cause);
    EXPECT_EQ(messages.size(), c.messages);
    EXPECT_EQ(filesIn(out.path()), c.files);
    ASSERT_EQ(recorder->pages.size(), *c.file ? 1U : 0U);
    if (*c.file) {
      EXPECT_EQ(recorder->pages[0].file, file(c.file));
      EXPECT_EQ(sizeOf(file(c.file)), (KxSize{500, 250}));
    }
    close();
    fs::remove_all(out.path());
    fs::create_directory(out.path());
  }
}

TEST_F(PanelTest, ATakenNameOfAMultiPageFileIsMetByTheRuleOnce) {
  for (const bool counts : {true, false}) {
    for (const int wanted : {2, 0}) {
      SCOPED_TRACE(testing::Message() << (counts ? "increment, " : "ask, ") << wanted);
      ASSERT_TRUE(open("sim:size=210x120,at=10x3,count=2"));
      smallPages();
      set("m_nCounter", 0);
      set("m_fMultiPage", 1);
      set("m_fFileFate", counts ? 0 : 2);
      messages.clear();
      // Perhaps before the page's file is begun, perhaps after.
      recorder->onStarted = [&] { std::ofstream(file("page.tif")) << "somebody's"; };
      ASSERT_TRUE(control->Start(StartKind::Batch, wanted));
      ASSERT_TRUE(recorder->waitEnded());
      EXPECT_EQ(recorder->cause, !counts ? EndCause::Output : wanted == 2 ? EndCause::Done : EndCause::Media);
      EXPECT_EQ(messages.size(), counts ? 0U : 1U);
      EXPECT_EQ(filesIn(out.path()),
                (std::vector<std::string>{"page.tif", counts ? "page000.tif" : "page.tif.part"}));
      if (counts) {
        EXPECT_EQ(pagesIn(file("page000.tif")), 2);
      } else {
        EXPECT_NE(messages.at(0).find("page.tif.part"), std::string::npos) << messages.at(0);
      }
      close();
      fs::remove_all(out.path());
      fs::create_directory(out.path());
    }
  }
}

TEST_F(PanelTest, EveryPrescanCountsItsOwnLines) {
  ASSERT_TRUE(open("sim:size=210x290,at=10x0"));
  smallPages();
  tagRRECT first;
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(control->Start(StartKind::Prescan, 1));
    ASSERT_TRUE(recorder->waitEnded());
    const tagRRECT frame = *get("m_rcPreview").get<tagRRECT>();
    EXPECT_NEAR(frame.bottom, 127, 0.6);
    if (i == 1) {
      EXPECT_EQ(frame, first);
    }
    first = frame;
  }
}

TEST_F(PanelTest, UnsavedPagesAreAskedAboutBeforeAScanNeverInARunOrBeforeAPreview) {
  ASSERT_TRUE(open("sim:size=210x290,at=10x0", ScanToView));
  smallPages();
  app()->SetClearPolicy(ClearPolicy::Ask);
  const auto run = [&](StartKind kind, int count) {
    EXPECT_TRUE(control->Start(kind, count));
    EXPECT_TRUE(recorder->waitEnded());
    return recorder->cause;
  };
  set("m_fBursting", 1);
  EXPECT_EQ(run(StartKind::Scan, 1), EndCause::Done);  // three pieces
  set("m_fBursting", 0);
  EXPECT_EQ(run(StartKind::Batch, 2), EndCause::Done);
  set("m_uiDPI", 100);
  EXPECT_EQ(run(StartKind::Prescan, 1), EndCause::Done);
  EXPECT_EQ(get("m_uiDPI").toInt(), 100) << "a preview's resolution is not the next page's";
  EXPECT_TRUE(messages.empty()) << messages[0];
  EXPECT_EQ(app()->GetDocuments().size(), 5U);
  EXPECT_EQ(run(StartKind::Scan, 1), EndCause::Refused) << "the answer is no";
  EXPECT_EQ(messages.size(), 1U);
  EXPECT_EQ(app()->GetDocuments().size(), 5U);

  // An area that nothing finds is refused before anybody is asked about pages.
  const auto automatic = new_MemParam();
  automatic->SetValue("m_ctrlPaperList", 0);
  sink()->ApplyParams(automatic.get());
  QCoreApplication::processEvents();
  EXPECT_EQ(run(StartKind::Scan, 1), EndCause::Refused);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_NE(messages[1].find("automatically"), std::string::npos) << messages[1];
}

TEST_F(PanelTest, RefusalsLeaveThePanelIdle) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,count=1"));
  smallPages();
  set("m_Dir", "");
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Output);
  EXPECT_FALSE(control->IsBusy());
  EXPECT_EQ(recorder->messages, messages) << "listeners hear of it, too";
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
