#include "widgets/countdown_timer.h"

#include <gtest/gtest.h>

#include <string>

#include "manual_ticks.h"

namespace quillbay {
namespace {

struct Fired {
  std::string order;
  static void a(void* self) { static_cast<Fired*>(self)->order += 'a'; }
  static void b(void* self) { static_cast<Fired*>(self)->order += 'b'; }
};

class Sync final : public CKxUnknownImplStatic<ITimerSync> {
 public:
  explicit Sync(Fired& fired) : m_fired(fired) {}
  int OnTimer(int value) override {
    m_fired.order += static_cast<char>(value);
    return 1;
  }

 private:
  Fired& m_fired;
};

struct Timed {
  Timed() : Timed(std::make_unique<ManualTicks>()) {}
  explicit Timed(std::unique_ptr<ManualTicks> source)
      : ticks(source.get()), timer(std::make_unique<CountdownTimer>(CountdownTimer::kTickMs, std::move(source))) {}
  ManualTicks* ticks;
  std::unique_ptr<CountdownTimer> timer;
  Fired fired;
};

/// What happens at a time in milliseconds.
struct Step {
  int at;
  enum What { StartStopped, StartRunning, Restart, Halt } what;
  int period = 25;
};

TEST(CountdownTimer, RestartRules) {
  struct Case {
    const char* why;
    std::vector<Step> steps;
    std::vector<int> firesAt;
  };
  const Case cases[] = {
      {"started stopped", {{0, Step::StartStopped}}, {}},
      {"started running", {{0, Step::StartRunning}}, {1250}},
      {"stopped, then restarted", {{0, Step::StartStopped}, {100, Step::Restart}}, {1350}},
      {"a restart each second never lets 25 ticks pass",
       {{0, Step::StartStopped},
        {1000, Step::Restart},
        {2000, Step::Restart},
        {3000, Step::Restart},
        {4000, Step::Restart}},
       {5250}},
      {"each restart after the end fires again", {{0, Step::StartRunning}, {2000, Step::Restart}}, {1250, 3250}},
      {"halted", {{0, Step::StartRunning}, {1000, Step::Halt}, {1100, Step::Restart}}, {}},
      {"halted, then started", {{0, Step::StartRunning}, {1000, Step::Halt}, {2000, Step::StartRunning}}, {3250}},
      {"another period", {{0, Step::StartStopped}, {100, Step::StartRunning, 2}}, {200}},
      {"a period of 0 ends at the next tick", {{0, Step::StartRunning, 0}}, {50}},
      {"restarted before any start", {{0, Step::Restart}}, {}},
  };
  for (const Case& c : cases) {
    Timed t;
    t.timer->addCallback(&Fired::a, &t.fired);
    std::vector<int> fires;
    for (int now = 0; now < 8000; ++now) {
      if (now > 0) t.ticks->pass(1);
      if (!t.fired.order.empty()) fires.push_back(now);
      t.fired.order.clear();
      for (const Step& s : c.steps) {
        if (s.at != now) continue;
        if (s.what == Step::Restart) t.timer->restart();
        if (s.what == Step::Halt) t.timer->halt();
        if (s.what == Step::StartStopped) t.timer->start(s.period, false);
        if (s.what == Step::StartRunning) t.timer->start(s.period, true);
      }
    }
    EXPECT_EQ(fires, c.firesAt) << c.why;
    EXPECT_FALSE(t.ticks->runs()) << c.why << ": nothing is counted, nothing ticks";
  }
}

TEST(CountdownTimer, AllClientsFireInTheirOrder) {
  Timed t;
  Sync sync(t.fired);
  t.timer->addCallback(&Fired::b, &t.fired);
  t.timer->addSync(&sync, 'S');
  t.timer->addCallback(&Fired::a, &t.fired);
  t.timer->start(1, true);
  t.ticks->pass(1000);
  EXPECT_EQ(t.fired.order, "bSa");
  EXPECT_EQ(sync.AddRef(), 3U) << "held once";
  sync.Release();
  t.timer->destroy();
  EXPECT_EQ(sync.AddRef(), 2U) << "and let go";
}

TEST(CountdownTimer, AClientMayEndTheTimer) {
  Timed t;
  t.timer->addCallback([](void* timed) { static_cast<Timed*>(timed)->timer->destroy(); }, &t);
  t.timer->addCallback(&Fired::b, &t.fired);
  t.timer->start(1, true);
  t.ticks->pass(50);
  EXPECT_EQ(t.fired.order, "") << "the owner of the later ones may be gone";
  t.timer->addCallback(&Fired::a, &t.fired);
  t.timer->start(1, true);
  t.timer->tick();
  EXPECT_EQ(t.fired.order, "") << "a destroyed one takes no clients";

  Timed gone;
  gone.timer->addCallback([](void* timed) { static_cast<Timed*>(timed)->timer.reset(); }, &gone);
  gone.timer->addCallback(&Fired::b, &gone.fired);
  gone.timer->start(1, true);
  gone.timer->tick();
  EXPECT_EQ(gone.fired.order, "");
}

}  // namespace
}  // namespace quillbay
