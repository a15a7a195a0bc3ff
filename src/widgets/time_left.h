#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace quillbay {

/// How far a step of known length is, and how long it will still take at the rate that was measured lately. The end
/// that it foresees moves slowly, so that the time left runs down evenly when the rate varies. A pause delays the
/// end and leaves the rate; while it lasts, no time left is known. Times are milliseconds of one clock.
class TimeLeft {
 public:
  void restart() { *this = TimeLeft(); }
  /// `done` of `total` lines at a time. Fewer lines than before are those of a new step. `total` 0: unknown.
  void report(std::int64_t now, std::int64_t done, std::int64_t total);

  /// 0 to 100; 100 only when all is done. 0 without a known length.
  [[nodiscard]] int percent() const noexcept;
  /// At least 1; nothing before enough was measured, in a pause, and when all is done.
  [[nodiscard]] std::optional<std::int64_t> secondsLeft(std::int64_t now) const noexcept;

  static constexpr std::int64_t kLeastMeasured = 2000;  ///< before a rate counts
  static constexpr std::int64_t kPause = 3000;          ///< without a line for so long

 private:
  void measure(double elapsed, double lines);
  void foresee(std::int64_t now, double elapsed);

  std::int64_t m_done = 0, m_total = 0;
  std::int64_t m_first = -1, m_last = -1;  // the first report, and the last with more lines
  double m_lines = 0, m_time = 0;          // lately, older ones fading
  double m_end = -1;                       // foreseen; -1: not yet
};

/// A time left for people, coarser the longer it is: "%d s left", "%d min left", in their language.
[[nodiscard]] std::string timeLeftText(std::int64_t seconds);

}  // namespace quillbay
