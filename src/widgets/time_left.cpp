#include "widgets/time_left.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"

namespace quillbay {

namespace {
constexpr double kRateFades = 4000;  // milliseconds after which a line counts 1/e for the rate
constexpr double kEndFollows = 3000;

std::int64_t roundedUp(std::int64_t value, std::int64_t to) { return (value + to - 1) / to * to; }
}  // namespace

void TimeLeft::report(std::int64_t now, std::int64_t done, std::int64_t total) {
  if (done < m_done) restart();
  if (total != m_total) m_end = -1;  // the length is news, not noise
  m_total = total;
  if (m_first < 0 || m_done == 0) {
    // What a device does before its first line is no measure of its rate.
    m_first = m_last = now;
    m_done = done;
    return;
  }
  if (done == m_done) return;
  const auto elapsed = static_cast<double>(now - m_last);
  const auto lines = static_cast<double>(done - m_done);
  m_last = now;
  m_done = done;
  if (elapsed > kPause) {
    if (m_end >= 0) m_end += elapsed;
    m_first += static_cast<std::int64_t>(elapsed);
    return;
  }
  measure(elapsed, lines);
  foresee(now, elapsed);
}

void TimeLeft::measure(double elapsed, double lines) {
  const double kept = std::exp(-elapsed / kRateFades);
  m_lines = m_lines * kept + lines;
  m_time = m_time * kept + elapsed;
}

void TimeLeft::foresee(std::int64_t now, double elapsed) {
  if (m_total <= 0 || m_time <= 0 || now - m_first < kLeastMeasured) return;
  const double target = static_cast<double>(now) + static_cast<double>(m_total - m_done) * m_time / m_lines;
  m_end = m_end < 0 ? target : m_end + (target - m_end) * (1 - std::exp(-elapsed / kEndFollows));
}

int TimeLeft::percent() const noexcept {
  if (m_total <= 0) return 0;
  if (m_done >= m_total) return 100;
  const double part = static_cast<double>(m_done) / static_cast<double>(m_total);
  return std::clamp(static_cast<int>(part * 100), 0, 99);
}

std::optional<std::int64_t> TimeLeft::secondsLeft(std::int64_t now) const noexcept {
  if (m_end < 0 || m_done >= m_total || now - m_last > kPause) return std::nullopt;
  return std::max<std::int64_t>(1, std::llround((m_end - static_cast<double>(now)) / 1000));
}

std::string timeLeftText(std::int64_t seconds) {
  const auto text = [](const char* pattern, std::int64_t number) {
    return formatText(Supp_Translate(pattern), {std::to_string(number)});
  };
  if (seconds <= 10) return text("%d s left", std::max<std::int64_t>(1, seconds));
  if (seconds <= 60) return text("%d s left", roundedUp(seconds, 5));
  if (seconds <= 3600) return text("%d min left", roundedUp(seconds, 60) / 60);
  const std::int64_t minutes = roundedUp(seconds, 300) / 60;
  return formatText(Supp_Translate("%d h %d min left"),
                    {std::to_string(minutes / 60), std::to_string(minutes % 60)});
}

}  // namespace quillbay
