/// What stays whole when a host or a scanner breaks while a run goes on or ends.
#include <QComboBox>
#include <stdexcept>
#include <utility>

#include "fake_scanner.h"
#include "panel_fixture.h"

namespace quillbay {
namespace {

/// A host that breaks when it is asked for room.
class BreakingScript final : public CKxUnknownImpl<IScriptCmdSink> {
 public:
  int ExecCommand(const char*, IParam*) override {
    if (breaks && breaks()) throw std::runtime_error("it broke");
    return 0;
  }
  std::function<bool()> breaks;
};

TEST_F(PanelTest, ARunThatBreaksKeepsItsFileAndTheUsersArea) {
  auto* script = new BreakingScript;
  hostScript = KxPtr<IScriptCmdSink>::adopt(script);
  enum class How { ClosedInTheMessage, MessageThrows, ClosedBeforeAMessageThatThrows };
  for (const How how : {How::ClosedInTheMessage, How::MessageThrows, How::ClosedBeforeAMessageThatThrows}) {
    SCOPED_TRACE(static_cast<int>(how));
    const bool closes = how == How::ClosedInTheMessage;
    const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
    const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
    ASSERT_TRUE(openOn(front.get()));
    smallPages(100);
    set("m_fBursting", 1);
    set("m_fMultiPage", 1);
    recorder->pages.clear();
    recorder->starts.clear();
    recorder->published.clear();
    script->breaks = [&] { return closes && recorder->pages.size() == 1; };
    recorder->onPage = [&] {
      if (!closes) unit->fault = {UnitFaultCode::Jammed, "a jam"};
    };
    recorder->onStarted = [&] {
      if (how == How::ClosedBeforeAMessageThatThrows && recorder->starts.size() == 2) close();
    };
    onMessage = [&] {
      if (!closes) throw std::runtime_error("it broke");
      close();
    };
    ASSERT_TRUE(control->Start(StartKind::Scan, 1));
    ASSERT_TRUE(recorder->waitEnded());
    EXPECT_EQ(recorder->cause, closes ? EndCause::Refused : EndCause::Device);
    EXPECT_EQ(filesIn(out.path()), std::vector<std::string>{"page.tif"});
    ASSERT_EQ(recorder->published.size(), 1U) << "hosts hear of it";
    EXPECT_EQ(recorder->published[0].first, file("page.tif"));
    QCoreApplication::processEvents();
    onMessage = nullptr;
    recorder->onStarted = nullptr;
    script->breaks = nullptr;
    unit->fault = {};
    close();
    ASSERT_TRUE(openOn(front.get()));
    EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), (tagRRECT{0, 0, 254, 127}));
    close();
  }
}

TEST_F(PanelTest, OnePanelOfTheProcessScansAtATime) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3,speed=400"));
  QWidget place;
  KxPtr<IQuillbaySink> other;
  HWND second = New_Quillbay(app(), &place, nullptr, nullptr, other.put(), ScanToFile);
  ASSERT_TRUE(second);
  set("m_Dir", out.path());  // that panel has its own
  smallPages();
  recorder->onStarted = [&] {
    query<IQuillbayControl>(other.get())->Eject();
    query<IQuillbayControl>(other.get())->Start(StartKind::Scan, 1);
    EXPECT_EQ(New_Quillbay(app(), &place, nullptr, nullptr, nullptr, ScanToFile), nullptr);
  };
  onMessage = [&] { delete std::exchange(second, nullptr); };
  ASSERT_TRUE(control->Start(StartKind::Scan, 1));
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(recorder->pages[0].lines, 250);
  EXPECT_EQ(messages.size(), 1U) << "the other panel's user is told why nothing starts";
}

TEST_F(PanelTest, APanelThatCannotBeMadeLeavesTheSettingsOfTheOneThatIsThere) {
  ASSERT_TRUE(open("sim:size=210x120,at=10x3"));
  QWidget place;
  ASSERT_EQ(New_Quillbay(app(), &place, nullptr, nullptr, nullptr, static_cast<eTarnwellMode>(9)), nullptr);
  EXPECT_EQ(*get("m_Dir").get<std::string>(), out.path());
  EXPECT_EQ(*get("m_Mask").get<std::string>(), "page");
}

TEST_F(PanelTest, APagesOwnCommandThatBreaksIsAMessage) {
  const auto unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
  const auto front = KxPtr<FakeScannerApp>::adopt(new FakeScannerApp(app(), unit));
  ASSERT_TRUE(openOn(front.get()));
  unit->onCall = [](const std::string& call) {
    if (call == "GetResolutions") throw std::runtime_error("it broke");
  };
  Q_EMIT window()->findChild<QComboBox*>("modeList")->activated(0);
  EXPECT_EQ(messages.size(), 1U);
  unit->onCall = nullptr;
  close();
}

TEST_F(PanelTest, WhatAHostChangesDuringARunThatBreaksIsAppliedAfterIt) {
  auto* script = new BreakingScript;
  hostScript = KxPtr<IScriptCmdSink>::adopt(script);
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  script->breaks = [&] {
    set("m_uiDPI", 100);
    EXPECT_EQ(get("m_uiDPI").toInt(), 50) << "not while the page runs";
    return true;
  };
  EXPECT_EQ(run(), EndCause::Refused);
  QCoreApplication::processEvents();
  EXPECT_EQ(get("m_uiDPI").toInt(), 100);
  script->breaks = nullptr;
}

TEST_F(PanelTest, APanelThatIsClosedInTheMessageOfATabThatStaysIsNotUsedAnyMore) {
  ASSERT_TRUE(openSmall("sim:size=254x127"));
  m_parent->resize(360, 700);
  window()->resize(360, 700);
  m_parent->show();
  QCoreApplication::processEvents();
  set("m_rcScan", tagRRECT{0, 0, 254, 0});
  auto* tabs = window()->findChild<QTabBar*>("tabs");
  ASSERT_GT(tabs->count(), 1);
  onMessage = [&] { close(); };
  tabs->setCurrentIndex(1);
  EXPECT_EQ(messages.size(), 1U);
  EXPECT_FALSE(window());
  onMessage = nullptr;
}

}  // namespace
}  // namespace quillbay
