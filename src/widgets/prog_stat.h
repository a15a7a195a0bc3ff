#pragma once
#include <QProgressBar>
#include <memory>
#include <string>

#include "quillbay/raster.h"
#include "widgets/tick_source.h"
#include "widgets/time_left.h"

namespace quillbay {

/// The moving mark of a step without a known length: 0 to 100, then 0 again, one further for a step, but at most
/// once every 51 ms.
class StepIndicator {
 public:
  static constexpr std::int64_t kLeastMs = 51;
  /// Whether the mark moved.
  bool step(std::int64_t now) noexcept {
    if (m_last >= 0 && now - m_last < kLeastMs) return false;
    m_last = now;
    m_position = m_position >= 100 ? 0 : m_position + 1;
    return true;
  }
  void set(int position) noexcept { m_position = position < 0 ? 0 : position > 100 ? 100 : position; }
  [[nodiscard]] int position() const noexcept { return m_position; }

 private:
  std::int64_t m_last = -1;
  int m_position = 0;
};

/// A progress display. Of a known length it shows percent and time left; otherwise a mark that moves with each step
/// and stands when none comes. User-interface thread only.
class CProgStat final : public QProgressBar, public CKxUnknownImplStatic<IProgress> {
  Q_OBJECT
 public:
  explicit CProgStat(QWidget* parent = nullptr, MillisecondClock clock = steadyMilliseconds);

  // IProgress
  /// What the display says in place of the percentage while no length is known; the mark starts at 0.
  void SetText(const char* text) override;
  void Step() override;
  /// Of the mark, 0 to 100.
  int SetPosition(int position) override;
  void Reset() override;
  /// Whether `cancel` was called since the last time it was asked.
  int IsCancelled() override;

  void cancel() noexcept { m_cancelled = true; }
  /// Lines so far and expected; 0 expected: unknown, and each call is a step. Negative lines: nothing runs.
  void setLines(std::int64_t lines, std::int64_t expected);
  [[nodiscard]] QString text() const override;
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void timerEvent(QTimerEvent* event) override;

 private:
  [[nodiscard]] bool isMeasured() const { return maximum() > 0; }
  void showTime();
  void watch(bool runs);

  const MillisecondClock m_clock;
  TimeLeft m_left;
  StepIndicator m_mark;
  QString m_text, m_shown;
  int m_timer = 0;  // refreshes the time left while no line comes
  bool m_cancelled = false;
};

}  // namespace quillbay
