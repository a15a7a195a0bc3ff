#include <array>
#include <atomic>

#include "sim_scan_helper.h"

namespace quillbay {
namespace {

using testing::RecordingSink;
using testing::SimRig;

constexpr const char* kSmall = "sim:width=100,size=80x60";

TEST(SimFeeder, PagesComeInTurnAndRunOut) {
  SimRig rig(std::string(kSmall) + ",count=2");
  RecordingSink prescan, first, second, third, refilled;
  rig.request->SetValue("SCAN_TYPE", 0);
  EXPECT_EQ(rig.scan(prescan), 1);
  rig.request->SetValue("SCAN_TYPE", 2);
  EXPECT_EQ(rig.scan(first), 1);
  EXPECT_EQ(first.bytes, prescan.bytes);  // a prescan takes no page
  EXPECT_NE(rig.command(UnitCommand::IsLoaded), 0);
  EXPECT_EQ(rig.scan(second), 1);
  EXPECT_NE(second.bytes, first.bytes);
  EXPECT_EQ(rig.command(UnitCommand::IsLoaded), 0);
  EXPECT_EQ(rig.scan(third), 2);
  EXPECT_EQ(third.started, 0);
  EXPECT_EQ(rig.fault().code, UnitFaultCode::NoDocuments);
  EXPECT_EQ(query<IUnitOptions>(&rig.object())->SetOption("count", "1", nullptr), 1);
  EXPECT_EQ(rig.scan(refilled), 1);
  EXPECT_EQ(rig.fault().code, UnitFaultCode::None);
}

TEST(SimFeeder, AFlatbedIsNeverEmpty) {
  SimRig rig(std::string(kSmall) + ",count=1");
  const auto media = query<IUnitMedia>(&rig.object());
  EXPECT_NE(media->HasFeeder(), 0);
  std::string why;
  EXPECT_EQ(media->SetSource(UnitSource::Duplex, &why), 0);
  EXPECT_FALSE(why.empty());
  EXPECT_EQ(media->SetSource(UnitSource::Flatbed, nullptr), 1);
  EXPECT_EQ(media->HasFeeder(), 0);
  RecordingSink first, second;
  EXPECT_EQ(rig.scan(first), 1);
  EXPECT_EQ(rig.scan(second), 1);
  EXPECT_NE(first.bytes, second.bytes) << "another document was placed";
}

TEST(SimFeeder, UnloadingDropsThePageThatLiesInTheScanner) {
  SimRig rig(std::string(kSmall) + ",count=3");
  RecordingSink sink;
  rig.command(UnitCommand::UnloadForward);  // the first page
  rig.command(UnitCommand::UnloadBack);     // nothing lies there now
  EXPECT_NE(rig.command(UnitCommand::IsLoaded), 0);
  EXPECT_EQ(rig.scan(sink), 1);  // the second
  rig.command(UnitCommand::UnloadForward);
  rig.command(UnitCommand::UnloadForward);
  EXPECT_NE(rig.command(UnitCommand::IsLoaded), 0);  // the third is drawn in
  rig.command(UnitCommand::UnloadForward);
  EXPECT_EQ(rig.command(UnitCommand::IsLoaded), 0);
}

TEST(SimFeeder, FailsOnceInMidPageAndWorksAgain) {
  struct Case {
    const char* keys;
    UnitFaultCode code;
  };
  for (const Case& c : {Case{"", UnitFaultCode::Jammed}, {",fault=cover", UnitFaultCode::CoverOpen}}) {
    SCOPED_TRACE(c.keys);
    SimRig rig(std::string(kSmall) + ",count=1,jam-after=50" + c.keys);
    RecordingSink jammed, whole;
    EXPECT_EQ(rig.scan(jammed), 2);
    EXPECT_EQ(rig.fault().code, c.code);
    EXPECT_EQ(jammed.lineCount, 50);
    EXPECT_EQ(rig.scan(whole), 1);  // the same page
    ASSERT_GT(whole.bytes.size(), jammed.bytes.size());
    EXPECT_TRUE(std::equal(jammed.bytes.begin(), jammed.bytes.end(), whole.bytes.begin()));
  }
}

TEST(SimFeeder, AFaultWithoutLinesRefusesEveryScan) {
  SimRig rig(std::string(kSmall) + ",fault=denied");
  RecordingSink sink;
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(rig.start(sink));
    EXPECT_EQ(rig.fault().code, UnitFaultCode::AccessDenied);
  }
  std::string why;
  const auto options = query<IUnitOptions>(&rig.object());
  EXPECT_EQ(options->SetOption("fault", "fire", &why), 0);
  EXPECT_NE(why.find("busy"), std::string::npos);
  EXPECT_EQ(options->SetOption("fault", "none", &why), 1);
  EXPECT_EQ(rig.scan(sink), 1);
}

// Holds the unit's thread in `StripeArrived` until it is let go.
struct Gate {
  std::atomic<bool> reached{false}, open{false};
  int pass() {
    reached = true;
    reached.notify_all();
    open.wait(false);
    return 1;
  }
  void waitReached() { reached.wait(false); }
  void release() {
    open = true;
    open.notify_all();
  }
};

TEST(SimFeeder, StopsWhileTheReceiverBlocks) {
  for (const UnitCommand code : {UnitCommand::Stop, UnitCommand::Close}) {
    Gate gate;
    RecordingSink sink, next;
    SimRig rig("sim:count=1");
    sink.keep = next.keep = false;
    sink.onStripe = [&](IScanBuffer*) { return gate.pass(); };
    rig.newRequest(7, 200);
    ASSERT_TRUE(rig.start(sink));
    gate.waitReached();
    EXPECT_EQ(rig.unit().Scan(&next, rig.request.get()), 0);
    EXPECT_EQ(rig.fault().code, UnitFaultCode::Busy);
    EXPECT_EQ(rig.command(code), 1);
    gate.release();
    EXPECT_EQ(rig.wait(), 2);
    EXPECT_EQ(sink.stripes, 1);
    EXPECT_EQ(sink.ended, std::vector<int>{2});
    EXPECT_EQ(rig.fault().code, UnitFaultCode::Cancelled);
    EXPECT_EQ(rig.scan(next), 1);  // usable, and the page is still there
  }
}

TEST(SimFeeder, StopsWhileItWaitsForItsSpeed) {
  RecordingSink sink;
  Gate gate;
  gate.open = true;
  SimRig rig("sim:speed=20");  // a page would take minutes
  sink.onStripe = [&](IScanBuffer*) { return gate.pass(); };
  ASSERT_TRUE(rig.start(sink));
  gate.waitReached();
  rig.command(UnitCommand::Stop);
  EXPECT_EQ(rig.wait(), 2);
}

TEST(SimFeeder, EndsWithItsUnitInMidPage) {
  RecordingSink sink;
  {
    SimRig rig("sim:speed=1");
    ASSERT_TRUE(rig.start(sink));
  }
  EXPECT_EQ(sink.ended, std::vector<int>{2});
}

TEST(SimFeeder, AReceiverMayStartTheNextPageFromTheEnd) {
  RecordingSink sink;
  sink.keep = false;
  SimRig rig(std::string(kSmall) + ",count=5");
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<int> ends;
  sink.onEnded = [&](int status) {
    sink.started = 0;
    sink.lineCount = 0;
    sink.ended.clear();
    if (status == 1) {
      rig.unit().Scan(&sink, rig.request.get());
      rig.unit().Command(&sink, 0);
    }
    const std::lock_guard lock(mutex);
    ends.push_back(status);
    changed.notify_all();
  };
  ASSERT_NE(rig.unit().Scan(&sink, rig.request.get()), 0);
  ASSERT_NE(rig.unit().Command(&sink, 0), 0);
  std::unique_lock lock(mutex);
  changed.wait(lock, [&] { return ends.size() == 6; });
  EXPECT_EQ(ends, (std::vector<int>{1, 1, 1, 1, 1, 2}));
  EXPECT_TRUE(sink.inOrder);
}

}  // namespace
}  // namespace quillbay
