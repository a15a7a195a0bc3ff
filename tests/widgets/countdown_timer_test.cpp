#include "widgets/countdown_timer.h"

#include <gtest/gtest.h>

#include <string>

namespace quillbay {
namespace {

struct Fired {
  std::string order;
  static void a(void* self) { static_cast<Fired*>(self)->order += 'a'; }
  static void b(void* self) { static_cast<Fired*>(self)->order += 'b'; }
};

void ticks(CountdownTimer& timer, int n) {
  for (int i = 0; i < n; ++i) timer.tick();
}

TEST(CountdownTimer, FiresOnceAfterTheLastRestart) {
  Fired fired;
  CountdownTimer timer;
  timer.addCallback(&Fired::a, &fired);
  timer.addCallback(&Fired::b, &fired);
  timer.start(25, false);
  ticks(timer, 100);
  EXPECT_EQ(fired.order, "") << "started stopped";
  for (int second = 0; second < 10; ++second) {
    timer.restart();
    ticks(timer, 20);
  }
  EXPECT_EQ(fired.order, "") << "a restart every second never lets 25 ticks pass";
  ticks(timer, 4);
  EXPECT_EQ(fired.order, "");
  ticks(timer, 1);
  EXPECT_EQ(fired.order, "ab") << "in the order they were added";
  ticks(timer, 60);
  EXPECT_EQ(fired.order, "ab");
  timer.start(2, true);
  ticks(timer, 2);
  EXPECT_EQ(fired.order, "abab");
}

TEST(CountdownTimer, AClientMayDestroyTheList) {
  CountdownTimer timer;
  Fired fired;
  timer.addCallback([](void* t) { static_cast<CountdownTimer*>(t)->destroy(); }, &timer);
  timer.addCallback(&Fired::b, &fired);
  timer.start(1, true);
  timer.tick();
  EXPECT_EQ(fired.order, "b");
  timer.addCallback(&Fired::a, &fired);
  timer.start(1, true);
  timer.tick();
  EXPECT_EQ(fired.order, "b") << "a destroyed one takes no clients";
}

}  // namespace
}  // namespace quillbay
