#include "stores/base_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

namespace quillbay {
namespace {

TEST(Event, WaitsForAny) {
  Event a(Event::Kind::Auto), b(Event::Kind::Auto), c(Event::Kind::Manual);
  c.set();
  b.set();
  EXPECT_EQ(Event::waitAny({&a, &b, &c}), 1u) << "the first that is set";
  EXPECT_EQ(Event::waitAny({&a, &b, &c}), 2u) << "the second was taken";
  EXPECT_TRUE(c.isSet()) << "a manual one lets all pass";
  std::thread setter([&] { a.set(); });
  EXPECT_EQ(Event::waitAny({&b, &a}), 1u);
  setter.join();
}

class Worker : public KxBaseThread {
 public:
  ~Worker() override {
    Stop();
    if (gone) gone->set();
  }
  int InitInstance() override {
    ++inits;
    return initAnswer;
  }
  void Run() override {
    ++runs;
    running.set();
    if (throws) throw std::runtime_error("on purpose");
    if (returnsAtOnce) return;
    while (Event::waitAny({&stopEvent(), &poke}) == 1) {
      passGate();
      ++pokes;
      poked.set();
    }
  }
  void waitDone() { doneEvent().wait(); }

  int initAnswer = 1;
  bool returnsAtOnce = false, throws = false;
  std::atomic<int> inits{0}, runs{0}, pokes{0};
  Event running{Event::Kind::Manual}, poke{Event::Kind::Auto}, poked{Event::Kind::Auto};
  Event* gone = nullptr;
};

TEST(BaseThread, StartsOnceAndStops) {
  Worker w;
  EXPECT_EQ(w.IsRunning(), 0);
  EXPECT_EQ(w.Suspend(), 40u);
  EXPECT_EQ(w.Resume(), 40u);
  w.Stop();  // nothing to stop
  ASSERT_EQ(w.Start(0, 0), 1);
  EXPECT_EQ(w.inits, 1) << "Start returns after InitInstance";
  EXPECT_EQ(w.IsRunning(), 1);
  EXPECT_EQ(w.Start(0, 0), 0);
  w.Stop();
  EXPECT_EQ(w.IsRunning(), 0);
  EXPECT_EQ(w.inits, 1);
  ASSERT_EQ(w.Start(0, 0), 1) << "a stopped one starts again";
  w.running.wait();
  w.Stop();
  EXPECT_EQ(w.inits, 2);
}

TEST(BaseThread, EndsByItselfHoweverItsBodyEnds) {
  struct Case {
    const char* why;
    int initAnswer;
    bool throws;
    int runs;
  };
  const Case cases[] = {{"InitInstance failed", 0, false, 0}, {"returned", 1, false, 1}, {"threw", 1, true, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Worker w;
    w.initAnswer = c.initAnswer;
    w.throws = c.throws;
    w.returnsAtOnce = true;
    EXPECT_EQ(w.Start(0, 0), 1);
    w.waitDone();
    EXPECT_EQ(w.runs, c.runs);
    EXPECT_EQ(w.IsRunning(), 0);
    EXPECT_EQ(w.Start(0, 0), 0) << "the handle is kept until Stop";
    w.Stop();
    EXPECT_EQ(w.Start(0, 0), 1);
  }
}

TEST(BaseThread, SuspendsAtItsGates) {
  Worker w;
  ASSERT_EQ(w.Start(0, 1), 1);
  EXPECT_EQ(w.inits, 1);
  EXPECT_EQ(w.runs, 0) << "started suspended, the body does not begin";
  EXPECT_EQ(w.IsRunning(), 1);
  EXPECT_EQ(w.Resume(), 1u);
  EXPECT_EQ(w.Resume(), 0u) << "running already";
  w.running.wait();
  EXPECT_EQ(w.Suspend(), 0u);
  EXPECT_EQ(w.Suspend(), 1u);
  w.poke.set();
  EXPECT_EQ(w.Resume(), 2u);
  EXPECT_EQ(w.pokes, 0) << "suspended twice, resumed once";
  EXPECT_EQ(w.Resume(), 1u);
  w.poked.wait();
  EXPECT_EQ(w.pokes, 1);
}

TEST(BaseThread, DeletesItselfWhenAsked) {
  Event gone(Event::Kind::Manual);
  auto w = std::make_unique<Worker>();
  w->gone = &gone;
  w->returnsAtOnce = true;
  ASSERT_EQ(w.release()->Start(1, 0), 1);
  gone.wait();
  // Or stopped by its owner, whose call is the last one on it.
  Event gone2(Event::Kind::Manual);
  auto stopped = std::make_unique<Worker>();
  stopped->gone = &gone2;
  Worker* raw = stopped.release();
  ASSERT_EQ(raw->Start(1, 0), 1);
  raw->Stop();
  EXPECT_TRUE(gone2.isSet());
}

}  // namespace
}  // namespace quillbay
