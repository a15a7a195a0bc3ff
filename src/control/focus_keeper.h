#pragma once
#include <QPointer>
#include <QWidget>

namespace quillbay {

/// Restores the keyboard focus to the control that lost it by being disabled, unless the user moved the focus
/// meanwhile. User-interface thread only.
class FocusKeeper {
 public:
  explicit FocusKeeper(QWidget* panel) : m_panel(panel) {}

  /// While one lives, controls are disabled (`busy`) or enabled.
  class Change {
   public:
    Change(FocusKeeper& keeper, bool busy);
    ~Change();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

   private:
    FocusKeeper& m_keeper;
    const bool m_busy;
  };

 private:
  [[nodiscard]] QWidget* focused() const;

  QWidget* m_panel;
  QPointer<QWidget> m_held;   // had the focus when the panel became busy
  QPointer<QWidget> m_went;   // has got it without the user
  QPointer<QWidget> m_moved;  // where the user moved it
  bool m_holds = false;
};

}  // namespace quillbay
