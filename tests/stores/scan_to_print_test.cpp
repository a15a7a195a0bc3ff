#include "stores/scan_to_print_stor.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <thread>
#include <vector>

#include "support/test_stripe.h"

namespace quillbay {
namespace {

/// Takes stripes like a printer: notes where they come, and is behind or fails as a test wants it.
class NotingJob final : public CKxUnknownImpl<IPrintingJob, IPrintOutcome, IPrintPage> {
 public:
  int Start(const char*, IParam*) override { return 1; }
  int PrintStripe(std::int64_t line, IScanBuffer* stripe, IPrintProgress* progress) override {
    std::unique_lock lock(mutex);
    ++entered;
    moved.notify_all();
    moved.wait(lock, [this] { return !isBehind || isWoken; });
    if (isWoken || !error.empty()) return 0;
    KxSize size;
    stripe->GetSize(&size);
    stripes.emplace_back(line, size.height);
    first = stripe->GetLine(0)[0];
    return progress ? progress->Printed(line + size.height) : 1;
  }
  int End(int completed) override {
    ends.push_back(completed);
    return error.empty() ? 1 : 0;
  }
  std::string GetError() override { return error; }
  std::string GetPrinter() override { return "plotter"; }
  std::int32_t GetJob() override { return 7; }
  std::string GetNote() override { return {}; }
  void Wake() override {
    const std::lock_guard lock(mutex);
    isWoken = true;
    moved.notify_all();
  }
  int Await(double, std::string*) override { return 1; }
  void SetPageLines(std::int64_t lines) override { pageLines = lines; }

  std::mutex mutex;
  std::condition_variable moved;
  bool isBehind = false, isWoken = false;
  int entered = 0;
  std::vector<std::pair<std::int64_t, std::int32_t>> stripes;
  std::vector<int> ends;
  std::uint8_t first = 0;
  std::string error;
  std::int64_t pageLines = -1;
};

struct PrintedPage {
  KxPtr<NotingJob> job = KxPtr<NotingJob>::adopt(new NotingJob);
  KxPtr<CScanToPrintStor> store = KxPtr<CScanToPrintStor>::adopt(
      new CScanToPrintStor(KxPtr<IPrintingJob>::share(job.get()), new_MemParam(), {}));
  int add(std::int32_t lines) {
    const auto stripe = test::newStripe(KxColorSpace::Grey, 40, test::Shape::Packed, 200);
    for (std::int32_t i = 0; i < lines; ++i) stripe->add(test::Bytes(40, 17));
    return store->AddStripe(stripe.get());
  }
};

using Lines = std::vector<std::pair<std::int64_t, std::int32_t>>;

TEST(ScanToPrintStor, PrintsStripesWhereTheyStandAndFillsAShortPage) {
  struct Case {
    const char* why;
    int least;
    Lines stripes;
    std::int64_t lines;
  };
  const Case cases[] = {
      {"as long as it came", 0, {{0, 5}, {5, 3}}, 8},
      {"filled right behind its lines", 20, {{0, 5}, {5, 3}, {8, 12}}, 20},
      {"longer than was asked for", 4, {{0, 5}, {5, 3}}, 8},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    PrintedPage p;
    EXPECT_FALSE(p.store->IsEmpty());
    p.store->SetPageLines(20);
    EXPECT_EQ(p.job->pageLines, 20);
    EXPECT_EQ(p.add(5), 1);
    EXPECT_EQ(p.add(3), 1);
    double rect[4], mm[4];
    p.store->GetRect(rect);
    p.store->GetRectMM(mm);
    EXPECT_EQ(rect[2], 40) << "as it is kept, not reduced by 1";
    EXPECT_EQ(rect[3], 8);
    EXPECT_DOUBLE_EQ(mm[3], 8 * 25.4 / 200);
    EXPECT_EQ(p.store->Finish(nullptr, c.least, 1), 1);
    EXPECT_EQ(p.job->stripes, c.stripes);
    EXPECT_EQ(p.job->first, c.stripes.size() > 2 ? 255 : 17) << "what fills it is white";
    EXPECT_EQ(p.store->GetLines(), c.lines);
    EXPECT_EQ(p.store->Finish(nullptr, 100, 1), 1);
    EXPECT_EQ(p.job->ends, std::vector<int>{1}) << "a job ends once";
  }
}

TEST(ScanToPrintStor, EndsAJobOnceHoweverThePageEnds) {
  {
    PrintedPage p;
    EXPECT_EQ(p.store->Finish(nullptr, 30, 1), 1);
    EXPECT_EQ(p.job->ends, std::vector<int>{1});
    EXPECT_TRUE(p.job->stripes.empty()) << "no stripe came: there is no width to fill";
  }
  {
    PrintedPage p;
    p.add(2);
    p.store->Reset();
    double rect[4];
    p.store->GetRect(rect);
    EXPECT_EQ(rect[2], -1);
    EXPECT_EQ(rect[3], -1);
    p.store->Reset();
    EXPECT_EQ(p.job->ends, std::vector<int>{0});
    EXPECT_EQ(p.add(1), 0) << "it has no job any more";
  }
  {
    const auto job = KxPtr<NotingJob>::adopt(new NotingJob);
    auto store = KxPtr<ISStripStor>::adopt(new CScanToPrintStor(KxPtr<IPrintingJob>::share(job.get()), {}, {}));
    store = nullptr;
    EXPECT_EQ(job->ends, std::vector<int>{0}) << "a panel that closes";
  }
}

TEST(ScanToPrintStor, KeepsThePrintersError) {
  PrintedPage p;
  EXPECT_EQ(p.add(2), 1);
  p.job->error = "plotter: out of paper";
  EXPECT_EQ(p.add(2), 0);
  EXPECT_EQ(p.add(2), 0);
  EXPECT_EQ(p.job->entered, 2) << "nothing more is sent";
  EXPECT_EQ(p.store->GetError(), "plotter: out of paper");
  EXPECT_EQ(p.store->Finish(nullptr, 50, 1), 0);
  EXPECT_EQ(p.store->GetError(), "plotter: out of paper");
  p.store->Reset();
  EXPECT_EQ(p.store->GetError(), "");
}

TEST(ScanToPrintStor, AStopWakesAStripeThatWaitsAndIsNoError) {
  PrintedPage p;
  p.job->isBehind = true;
  std::thread scanner([&] { EXPECT_EQ(p.add(4), 0); });
  {
    std::unique_lock lock(p.job->mutex);
    p.job->moved.wait(lock, [&] { return p.job->entered == 1; });
  }
  EXPECT_EQ(p.store->GetLines(), 0) << "others look at the store meanwhile";
  p.store->Wake();
  scanner.join();
  EXPECT_EQ(p.store->GetError(), "");
  p.store->Reset();
  EXPECT_EQ(p.job->ends, std::vector<int>{0});
}

TEST(ScanToPrintStor, ItsEndMayTakeItsTimeOnAThreadAndBeGivenUp) {
  static std::mutex s_mutex;
  static std::condition_variable s_changed;
  static bool s_isDone;
  const auto done = [](void*) {
    const std::lock_guard lock(s_mutex);
    s_isDone = true;
    s_changed.notify_all();
  };
  for (const bool givesUp : {false, true}) {
    s_isDone = false;
    PrintedPage p;
    p.add(2);
    p.job->isBehind = givesUp;
    p.store->BeginFinish(10, done, nullptr);
    if (givesUp) {
      std::unique_lock lock(p.job->mutex);
      p.job->moved.wait(lock, [&] { return p.job->entered == 2; });
    }
    if (givesUp) p.store->Wake();
    {
      std::unique_lock lock(s_mutex);
      s_changed.wait(lock, [] { return s_isDone; });
    }
    EXPECT_EQ(p.store->Finish(nullptr, 10, 1), givesUp ? 0 : 1);
    EXPECT_EQ(p.store->GetError().empty(), !givesUp) << "the page is not on paper: that is said";
    EXPECT_EQ(p.job->ends, std::vector<int>{givesUp ? 0 : 1});
  }
}

}  // namespace
}  // namespace quillbay
