#pragma once
#include <QObject>
#include <QWidget>
#include <functional>
#include <vector>

class QPushButton;

namespace quillbay {

/// The message window that the user would have to answer now: the topmost top-level window, when it has the mark of
/// message windows (`kMessageWindowMark`) and is none of `others`; null otherwise. Nothing below another modal
/// window is answered.
[[nodiscard]] QWidget* findMessageWindow(const std::vector<const QWidget*>& others);

/// The enabled button that Return presses in a window, or null.
[[nodiscard]] QPushButton* defaultButtonOf(const QWidget& window);

/// Notices each key press, mouse press and turn of the wheel in the program's windows.
class TouchWatch final : public QObject {
 public:
  /// `touched` gets the top-level window. It must not destroy the watch.
  explicit TouchWatch(std::function<void(QWidget& window)> touched);
  ~TouchWatch() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  const std::function<void(QWidget& window)> m_touched;
};

}  // namespace quillbay
