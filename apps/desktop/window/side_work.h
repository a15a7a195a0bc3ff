#pragma once
#include <QString>
#include <atomic>
#include <functional>
#include <mutex>

#include "quillbay/raster.h"

class QWidget;

namespace desktop {

/// The progress of work on another thread: told there, shown on the user-interface thread.
class SideProgress final : public quillbay::CKxUnknownImplStatic<quillbay::IProgress> {
 public:
  void SetText(const char* text) override;
  void Step() override { ++m_position; }
  int SetPosition(int position) override { return m_position.exchange(position); }
  void Reset() override { m_position = 0; }
  int IsCancelled() override { return m_cancelled ? 1 : 0; }

  /// What goes on, for a user; positions run from 0 to `end` now, 0: no end is known.
  void begin(const QString& text, int end);
  void cancel() {
    m_cancelled = true;
    if (onCancel) onCancel();
  }
  /// Called for every `cancel`, on its thread: wakes work that does not look.
  std::function<void()> onCancel;
  [[nodiscard]] QString text() const;
  [[nodiscard]] int position() const { return m_position; }
  [[nodiscard]] int end() const { return m_end; }

 private:
  mutable std::mutex m_mutex;  // of the text
  QString m_text;
  std::atomic<int> m_position{0}, m_end{0};
  std::atomic<bool> m_cancelled{false};
};

/// Runs `work` on a thread of its own and comes back when it has ended. Meanwhile `window` is painted; once it
/// takes noticeable time a window shows how far it is and can cancel it, and `window` takes no input. Throws what
/// `work` throws. User-interface thread.
void workBeside(QWidget* window, SideProgress& progress, const std::function<void()>& work);

}  // namespace desktop
