/// Stops at every moment of a run, and closing the panel.
#include "control/command_ids.h"
#include "panel_fixture.h"
#include "widgets/posted_commands.h"

namespace quillbay {
namespace {

/// Swallows the writer's report that a page is written, and leaves a loop instead.
class HeldReport final : public QObject {
 public:
  explicit HeldReport(QEventLoop* loop) : m_loop(loop) {}
  bool eventFilter(QObject*, QEvent* event) override {
    const auto* command = dynamic_cast<const PostedCommand*>(event);
    if (!command || command->id != command::kWritten) return false;
    m_loop->quit();
    return true;
  }

 private:
  QEventLoop* m_loop;
};

TEST_F(PanelTest, StopDropsThePageKeepsTheFinishedOnesAndTheNextScanWorks) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3,speed=400"));
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
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(pagesIn(file("page.tif")), 2) << "a page added to the file of before";
}

TEST_F(PanelTest, AStopThatComesBetweenTheStepsOfARunEndsIt) {
  struct Case {
    const char* why;
    StartKind kind;
    int bursting;
    bool atOnce;
    std::size_t pages;
  };
  const Case cases[] = {{"before the start was handled", StartKind::Scan, 0, true, 0},
                        {"while a batch page is handed over", StartKind::Batch, 0, false, 1},
                        {"while a burst's piece is handed over", StartKind::Scan, 1, false, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ASSERT_TRUE(openSmall(c.atOnce ? "sim:size=210x400,at=10x0,speed=200" : "sim:size=210x400,at=10x0"));
    set("m_fBursting", c.bursting);
    recorder->pages.clear();
    recorder->onPage = [&] { control->Stop(StopKind::Now); };
    ASSERT_TRUE(control->Start(c.kind, 0));
    if (c.atOnce) control->Stop(StopKind::Now);
    ASSERT_TRUE(recorder->waitEnded());
    EXPECT_EQ(recorder->cause, EndCause::Stopped);
    EXPECT_EQ(recorder->pages.size(), c.pages);
    EXPECT_FALSE(control->IsBusy());
    close();
  }
}

TEST_F(PanelTest, AStopEndsTheQuestionForADocument) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3,count=1"));
  answer = EventAnswer::Retry;
  onMessage = [&] { control->Stop(StopKind::Now); };
  for (const EndCause cause : {EndCause::Done, EndCause::Stopped}) {
    EXPECT_EQ(run(), cause);
  }
  EXPECT_EQ(messages.size(), 1U);
}

TEST_F(PanelTest, ClosingInTheMiddleEndsTheScanAndLeavesNothing) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3,speed=200"));
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
  EXPECT_TRUE(recorder->ended);
  EXPECT_EQ(recorder->cause, EndCause::Stopped);
}

TEST_F(PanelTest, ClosingKeepsAWholePageThatOnlyWaitsForItsWriter) {
  for (const int multiPage : {0, 1}) {
    SCOPED_TRACE(multiPage);
    ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
    set("m_fMultiPage", multiPage);
    // The writer's report does not come through before the panel is closed.
    const auto written = std::make_unique<HeldReport>(&recorder->loop);
    panel()->installEventFilter(written.get());
    ASSERT_TRUE(control->Start(StartKind::Batch, 0));
    recorder->loop.exec();
    close();
    EXPECT_EQ(recorder->pages.size(), 1U);
    recorder->pages.clear();
    recorder->ended = false;
  }
  EXPECT_EQ(filesIn(out.path()), (std::vector<std::string>{"page.tif", "page000.tif"}));
}

}  // namespace
}  // namespace quillbay
