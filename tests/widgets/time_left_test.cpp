#include "widgets/time_left.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "widgets/prog_stat.h"

namespace quillbay {
namespace {

/// Reports ten times a second from lines per second at a time in seconds, and sees each time left and percentage.
void run(TimeLeft& left, double total, const std::function<double(double)>& rate,
         const std::function<void(double now, int percent, std::optional<std::int64_t> seconds)>& see) {
  double done = 1;
  for (int tick = 0; done < total && tick < 6000; ++tick) {
    left.report(tick * 100, static_cast<std::int64_t>(done), static_cast<std::int64_t>(total));
    see(tick / 10.0, left.percent(), left.secondsLeft(tick * 100));
    done += rate(tick / 10.0) / 10;
  }
}

TEST(TimeLeft, IsRightAtASteadyRate) {
  TimeLeft left;
  run(
      left, 60000, [](double) { return 1000; },
      [](double now, int percent, std::optional<std::int64_t> seconds) {
        EXPECT_NEAR(percent, now / 0.6, 1.0);
        EXPECT_EQ(seconds.has_value(), now >= 2.0) << now;
        const double want = std::max(1.0, 60 - now);
        EXPECT_NEAR(static_cast<double>(seconds.value_or(std::llround(want))), want, 1.0) << now;
      });
}

TEST(TimeLeft, NeverJumpsWhenTheRateVaries) {
  struct Case {
    const char* why;
    std::function<double(double)> rate;
    double most;  // seconds by which what is shown may change from one tenth of a second to the next
  };
  const Case cases[] = {
      {"bursts of half a second", [](double t) { return std::fmod(t, 1) < 0.5 ? 2000.0 : 1.0; }, 1.6},
      {"half as fast from the middle on", [](double t) { return t < 30 ? 1000.0 : 500.0; }, 1.6},
      {"twice as fast from the middle on", [](double t) { return t < 30 ? 500.0 : 1000.0; }, 2.6},
  };
  for (const Case& c : cases) {
    TimeLeft left;
    double before = -1, last = 0;
    run(left, 60000, c.rate, [&](double now, int, std::optional<std::int64_t> seconds) {
      if (now < 5 || !seconds) return;
      const auto shown = static_cast<double>(*seconds);
      EXPECT_LE(std::abs(shown - (before < 0 ? shown : before)), c.most) << c.why << " at " << now;
      before = shown;
      last = shown;
    });
    EXPECT_LE(last, 3) << c.why << ": ends near nothing";
  }
}

TEST(TimeLeft, APauseIsNoRate) {
  TimeLeft left;
  for (int t = 0; t <= 10000; t += 100) left.report(t, 1 + t, 60001);
  EXPECT_EQ(left.secondsLeft(10000), 50);
  EXPECT_EQ(left.secondsLeft(13100), std::nullopt) << "nothing comes";
  left.report(40000, 10002, 60001);
  EXPECT_NEAR(static_cast<double>(left.secondsLeft(40000).value_or(0)), 50, 1) << "goes on as before";
}

TEST(TimeLeft, Edges) {
  TimeLeft left;
  EXPECT_EQ(left.percent(), 0);
  EXPECT_EQ(left.secondsLeft(0), std::nullopt);
  for (int t = 0; t < 9000; t += 100) left.report(t, 1 + t, 0);
  EXPECT_EQ(left.percent(), 0) << "unknown length";
  EXPECT_EQ(left.secondsLeft(8900), std::nullopt);
  left.report(9000, 9999, 10000);
  EXPECT_EQ(left.percent(), 99);
  left.report(9100, 10000, 10000);
  EXPECT_EQ(left.percent(), 100);
  EXPECT_EQ(left.secondsLeft(9100), std::nullopt);
  left.report(9200, 50, 10000);
  EXPECT_EQ(left.percent(), 0) << "the next page";
  EXPECT_EQ(left.secondsLeft(9200), std::nullopt);
  left.report(9300, 20000, 10000);
  EXPECT_EQ(left.percent(), 100) << "longer than was said";
}

TEST(StepIndicator, MovesAtMostOnceIn51MsAndWraps) {
  StepIndicator mark;
  EXPECT_TRUE(mark.step(1000));
  EXPECT_FALSE(mark.step(1050));
  EXPECT_TRUE(mark.step(1051));
  EXPECT_EQ(mark.position(), 2);
  for (int i = 0; i < 98; ++i) mark.step(2000 + i * 51);
  EXPECT_EQ(mark.position(), 100);
  mark.step(10000);
  EXPECT_EQ(mark.position(), 0);
}

}  // namespace
}  // namespace quillbay
