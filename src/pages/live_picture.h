#pragma once
#include <QImage>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "platform/picture.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// Shows a picture as the settings change it, made in the size that is shown whenever it is painted. While the
/// mouse button is down the original is shown to the left of the pointer; while the space bar is down, all over.
/// A place is chosen by a click, or by Return and the space bar at the cross that the arrow keys move.
class LivePicture final : public QWidget {
 public:
  explicit LivePicture(QWidget* parent);

  /// Makes `out` (of the same size and format, R, G, B) of a picture. Returns why not, or an empty text.
  using Adjust = std::function<std::string(const QImage& in, QImage* out)>;
  void setAdjust(Adjust adjust) { m_adjust = std::move(adjust); }
  /// Null: there is none, and `instead` is shown.
  void setPicture(std::shared_ptr<const Picture> picture, const QString& instead);
  [[nodiscard]] bool hasPicture() const noexcept { return static_cast<bool>(m_picture); }
  /// The settings have changed.
  void refresh();
  /// The next click chooses a place.
  void setPicking(bool picks);
  [[nodiscard]] bool isPicking() const noexcept { return m_picks; }
  /// What is shown, with the settings; for tests and measurements.
  [[nodiscard]] const QImage& adjusted();

  std::function<void(KXRGBQUAD original)> onPicked;
  std::function<void()> onPickEnded;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  bool event(QEvent* event) override;

 private:
  [[nodiscard]] QRect place() const;
  void prepare();
  void pickAt(const QPoint& at);
  [[nodiscard]] bool pickByKey(int key, int step);
  void paintAim(QPainter& painter) const;
  void endPick();
  void paintSplit(QPainter& painter, const QRect& at) const;

  std::shared_ptr<const Picture> m_picture;
  QString m_instead;
  Adjust m_adjust;
  QImage m_original, m_adjusted;  // in device pixels of `place`
  QString m_problem;              // why the settings could not be shown
  bool m_isOld = true;
  bool m_picks = false;
  bool m_showsOriginal = false;
  QPoint m_aim;                // where the keyboard picks
  std::optional<int> m_split;  // the original is shown to the left of it
};

}  // namespace quillbay
