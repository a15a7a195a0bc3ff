#pragma once
#include <QWidget>
#include <atomic>
#include <mutex>
#include <string>

#include "quillbay/raster.h"

class QLabel;
class QProgressBar;

namespace quillbay {

/// The panel's status area: a text, and a bar that moves while lines arrive.
class PanelStatus final : public QWidget {
 public:
  explicit PanelStatus(QWidget* parent);
  void setText(const std::string& text);
  /// Lines so far and expected; 0 expected: length unknown. Negative lines: nothing runs.
  void setLines(std::int64_t lines, std::int64_t expected);
  [[nodiscard]] std::string text() const;

 private:
  QLabel* m_text;
  QProgressBar* m_bar;
};

/// The progress interface over a status area, for channels and stores on other threads: a running number. The text
/// is shown when the user-interface thread next takes it.
class PanelProgress final : public CKxUnknownImpl<IProgress> {
 public:
  void SetText(const char* text) override;
  void Step() override { m_position.fetch_add(1, std::memory_order_relaxed); }
  int SetPosition(int position) override { return m_position.exchange(position, std::memory_order_relaxed); }
  void Reset() override { m_position.store(0, std::memory_order_relaxed); }
  int IsCancelled() override { return m_cancelled.load(std::memory_order_relaxed) ? 1 : 0; }
  void setCancelled(bool cancelled) { m_cancelled.store(cancelled, std::memory_order_relaxed); }
  [[nodiscard]] std::string takeText();

 private:
  std::atomic<int> m_position{0};
  std::atomic<bool> m_cancelled{false};
  std::mutex m_mutex;
  std::string m_pendingText;
};

}  // namespace quillbay
