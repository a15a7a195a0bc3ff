#pragma once
#include <QBasicTimer>
#include <QWidget>
#include <optional>

#include "quillbay/view.h"

namespace quillbay {

class CViewPort;

/// The window of a view port: turns events into calls, and pans with the middle button.
///
/// While the button is down the view follows the pointer; outside the window it scrolls by itself, farther each
/// time the farther away the pointer is. Another button, a key, the button's release or another window ends that.
class CViewWindow final : public QWidget {
  Q_OBJECT

 public:
  CViewWindow(KxPtr<CViewPort> port, QWidget* parent);
  ~CViewWindow() override;

  /// Paints what was asked for.
  void paintPending();
  /// Moves the picture and paints what comes into sight.
  void scrollContents(int dx, int dy);
  [[nodiscard]] bool isPanning() const noexcept { return m_panFrom.has_value(); }

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void timerEvent(QTimerEvent* event) override;

 private:
  /// Offers a key to the port's sinks, unless it was offered already.
  bool offerKey(const QKeyEvent& event);
  void beginPanning(const QPoint& at);
  void pan(const QPoint& at);
  void endPanning();

  /// A key that was offered before shortcuts were looked at.
  struct Offered {
    int key = 0;
    std::uint32_t flags = 0;
    quint64 time = 0;
    bool handled = false;
  };
  KxPtr<CViewPort> m_port;
  std::optional<Offered> m_offered;
  std::optional<QPoint> m_panFrom;  // where the pointer was last, while panning
  QBasicTimer m_autoScroll;         // runs while it is outside
};

}  // namespace quillbay
