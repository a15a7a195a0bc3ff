#pragma once
#include <QObject>
#include <QPointer>
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

/// Notices the first key or mouse press in a window and its controls.
class TouchWatch final : public QObject {
 public:
  TouchWatch(QWidget* window, std::function<void()> touched);
  ~TouchWatch() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QPointer<QWidget> m_window;
  std::function<void()> m_touched;
};

}  // namespace quillbay
