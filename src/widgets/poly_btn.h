#pragma once
#include <QAbstractButton>
#include <QPicture>
#include <QPixmap>

#include "widgets/poly_outline.h"

namespace quillbay {

/// A button of polygonal shape: only the polygon takes the mouse. Its colours are its own in every palette. Give it
/// an accessible name when it has no text. User-interface thread.
class CPolyBtn final : public QAbstractButton {
  Q_OBJECT
 public:
  explicit CPolyBtn(QWidget* parent = nullptr);
  /// The shape. Without edges the button is its rectangle, filled with a pattern.
  void setEdges(PolyEdges edges);
  /// Drawn over a square of half the smaller side, in the middle. A drawing of any size; none: empty.
  void setIconPicture(const QPicture& icon);
  /// Shown over face and icon while the button is disabled, scaled to it.
  void setDisabledPicture(const QPixmap& picture);
  [[nodiscard]] PolyState state() const;
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  bool hitButton(const QPoint& position) const override;

 private:
  void paintFace(QPainter& painter) const;
  void paintIcon(QPainter& painter) const;
  void paintEdges(QPainter& painter) const;
  void paintFocus(QPainter& painter) const;

  PolyEdges m_edges;
  QRegion m_region;
  QPicture m_icon;
  QPixmap m_disabledPicture;
};

}  // namespace quillbay
