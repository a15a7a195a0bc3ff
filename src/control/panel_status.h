#pragma once
#include <QWidget>
#include <atomic>
#include <functional>
#include <string>

#include "control/scan_run.h"
#include "quillbay/raster.h"
#include "widgets/prog_stat.h"

class QLabel;
class QPushButton;

namespace quillbay {

/// The panel's status area: a text, and a bar that moves while lines arrive, with percent and time left of a page
/// of known length.
class PanelStatus final : public QWidget {
 public:
  explicit PanelStatus(QWidget* parent);
  void setText(const std::string& text);
  /// Lines so far and expected; 0 expected: length unknown. Negative lines: nothing runs.
  void setLines(std::int64_t lines, std::int64_t expected);
  /// Whether a button to give up what runs stands beside the bar; `onCancel` is called for it.
  void setCancellable(bool can);
  std::function<void()> onCancel;
  [[nodiscard]] std::string text() const;

 private:
  QLabel* m_text;
  CProgStat* m_bar;
  QPushButton* m_cancel;
};

/// What the status line says of a run's state, in English.
[[nodiscard]] const char* statusTextOf(RunState state, RunKind kind) noexcept;

/// The progress interface for channels and stores on other threads: a running number. The status area has the run's
/// own text, and a run is stopped through its unit.
class PanelProgress final : public CKxUnknownImpl<IProgress> {
 public:
  void SetText(const char*) override {}
  void Step() override { m_position.fetch_add(1, std::memory_order_relaxed); }
  int SetPosition(int position) override { return m_position.exchange(position, std::memory_order_relaxed); }
  void Reset() override { m_position.store(0, std::memory_order_relaxed); }
  int IsCancelled() override { return 0; }

 private:
  std::atomic<int> m_position{0};
};

}  // namespace quillbay
