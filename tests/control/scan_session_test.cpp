#include "control/scan_session.h"

#include <gtest/gtest.h>

#include "control/scan_rectangle.h"

namespace quillbay {
namespace {

TEST(ScanRectangle, IsWidenedCentredAndKeptOnTheBed) {
  struct Case {
    const char* why;
    ScanRectangleInput in;
    tagRRECT want;
  };
  const Case cases[] = {
      {"ten per cent more grows to both sides", {{100, 0, 850, 297}, 10, 900, 110, false}, {62.5, 0, 887.5, 297}},
      {"centred on the bed", {{100, 0, 850, 297}, 10, 900, 110, true}, {37.5, 0, 862.5, 297}},
      {"a fragment is not centred", {{100, 0, 850, 297}, 10, 900, 110, true, true}, {62.5, 0, 887.5, 297}},
      {"a found area is not centred", {{100, 0, 850, 297}, 10, 900, 110, true, false, true}, {62.5, 0, 887.5, 297}},
      {"too narrow becomes the minimum", {{400, 5, 450, 9}, 0, 900, 110, false}, {370, 5, 480, 9}},
      {"narrow at the left edge stays on the bed", {{0, 0, 50, 9}, 0, 900, 110, false}, {0, 0, 110, 9}},
      {"narrow at the right edge stays on the bed", {{880, 0, 900, 9}, 0, 900, 110, false}, {790, 0, 900, 9}},
      {"wider than the bed becomes the bed", {{0, 0, 1000, 9}, 0, 900, 110, false}, {0, 0, 900, 9}},
      {"within a hair of the bed becomes the bed", {{0, 0, 899.9995, 9}, 0, 900, 110, false}, {0, 0, 900, 9}},
      {"a bed narrower than the minimum wins", {{0, 0, 60, 9}, 0, 80, 110, false}, {0, 0, 80, 9}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const tagRRECT got = computeScanRectangle(c.in);
    EXPECT_NEAR(got.left, c.want.left, 1e-9);
    EXPECT_NEAR(got.right, c.want.right, 1e-9);
    EXPECT_EQ(got.top, c.want.top);
    EXPECT_EQ(got.bottom, c.want.bottom);
  }
}

TEST(ScanRectangle, AutoWidthAndFixedWidthLeaveTheLengthToTheScanner) {
  for (const std::int32_t type : {kAreaAuto, kAreaAutoWidth, kAreaFixedWidth, kAreaCustom, kAreaPaper}) {
    const bool open = type == kAreaAutoWidth || type == kAreaFixedWidth;
    EXPECT_EQ(applyLengthRule({1, 2, 3, 4}, type).bottom, open ? 2 : 4) << type;
  }
}

struct EndCase {
  const char* why;
  SessionState state;
  bool batch, burst, fragment;
  int status;
  bool empty;
  // wanted
  bool scanDone;
  int code;
  bool burstEnd, clearBatch, clearFragment, restartPreview;
  int answer;
  SessionState after;
};

TEST(ScanSession, TheEndOfAScanFollowsTheTable) {
  using S = SessionState;
  const EndCase cases[] = {
      {"a page", S::Scanning, false, false, false, 1, false, true, 0, false, false, false, false, 1, S::Finishing},
      {"a stopped page", S::Scanning, true, false, false, 2, false, true, 1, false, true, false, false, 1,
       S::Finishing},
      {"nothing came", S::Scanning, true, false, false, 1, true, false, 0, false, false, false, false, 0, S::Idle},
      {"failed before a line", S::Scanning, true, false, false, 2, true, false, 0, false, true, false, false, 0,
       S::Idle},
      {"a burst piece", S::Scanning, false, true, false, 1, false, true, 0, false, false, false, false, 1,
       S::Finishing},
      {"a stopped burst", S::Scanning, true, true, false, 2, false, false, 0, true, true, false, false, 0, S::Idle},
      {"a burst stopped before a line", S::Scanning, false, true, false, 2, true, false, 0, true, true, false,
       false, 0, S::Idle},
      {"an empty fragment", S::Scanning, false, false, true, 1, true, false, 0, false, false, true, false, 0,
       S::Idle},
      {"a prescan", S::Prescanning, false, false, false, 1, true, false, 0, false, false, false, true, 1, S::Idle},
      {"a stopped prescan", S::Prescanning, false, false, false, 2, true, false, 0, false, false, false, false, 1,
       S::Idle},
      {"an area prescan", S::AreaPrescanning, false, false, false, 1, true, false, 0, false, false, false, false, 1,
       S::Idle},
      {"nothing runs", S::Idle, true, false, false, 1, false, false, 0, false, false, false, false, 1, S::Idle},
  };
  for (const EndCase& c : cases) {
    SCOPED_TRACE(c.why);
    ScanSession session;
    if (c.state != S::Idle) {
      ASSERT_TRUE(session.start(c.state));
    }
    session.setBatch(c.batch);
    session.setBurstActive(c.burst);
    session.setFragment(c.fragment);
    const auto d = session.scanEnded(c.status, c.empty);
    EXPECT_EQ(d.postScanDone, c.scanDone);
    EXPECT_EQ(d.scanDoneCode, c.code);
    EXPECT_EQ(d.postBurstEnd, c.burstEnd);
    EXPECT_EQ(d.clearBatch, c.clearBatch);
    EXPECT_EQ(d.clearFragment, c.clearFragment);
    EXPECT_EQ(d.restartPreviewTimer, c.restartPreview);
    EXPECT_EQ(d.answer, c.answer);
    EXPECT_EQ(session.state(), c.after);
    EXPECT_EQ(session.batch(), c.batch && !c.clearBatch);
  }
}

TEST(ScanSession, OnlyIdleTakesAStartAndOnlyTheRunItsNextPage) {
  using S = SessionState;
  ScanSession session;
  ASSERT_TRUE(session.start(S::Waiting));
  for (const S start : {S::Scanning, S::Prescanning, S::AreaPrescanning, S::Waiting}) {
    EXPECT_FALSE(session.start(start)) << nameOf(start);
  }
  ASSERT_TRUE(session.continueRun());
  EXPECT_FALSE(session.continueRun()) << "a page runs already";
  session.scanEnded(1, false);
  EXPECT_FALSE(session.start(S::Scanning)) << "the writer is not through";
  EXPECT_FALSE(session.continueRun());
  session.pageHandled(true);
  EXPECT_EQ(session.state(), S::BetweenPages);
  EXPECT_FALSE(session.start(S::Scanning)) << "somebody else's start between two pages";
  ASSERT_TRUE(session.waitForNext());
  ASSERT_TRUE(session.continueRun());
  session.scanEnded(1, false);
  session.pageHandled(false);
  EXPECT_TRUE(session.start(S::Prescanning));
}

TEST(ScanSession, TheNextStepAfterAPage) {
  struct Case {
    bool taken, bursting, fragment, batch;
    NextStep want;
  };
  const Case cases[] = {
      {true, false, false, false, NextStep::Nothing}, {true, false, false, true, NextStep::Batch},
      {true, true, false, false, NextStep::Burst},    {true, true, false, true, NextStep::Burst},
      {true, true, true, true, NextStep::Nothing},    {false, true, false, true, NextStep::Nothing},
      {false, false, false, true, NextStep::Nothing},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(nextAfterPage(c.taken, c.bursting, c.fragment, c.batch), c.want)
        << c.taken << c.bursting << c.fragment << c.batch;
  }
}

}  // namespace
}  // namespace quillbay
