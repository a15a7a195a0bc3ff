#pragma once
#include <QPixmap>
#include <QPushButton>
#include <optional>

namespace quillbay {

/// Where a button's caption is: from the left and top edge of the button in logical pixels, or in the middle of a
/// direction.
struct CaptionPlace {
  std::optional<int> x, y;
};

/// The rectangle of a caption: at its place, moved by one pixel right and down while the button is pushed.
[[nodiscard]] QRect captionRect(const QSize& button, const QSize& caption, const CaptionPlace& place, bool pushed);

/// A push button with an image, a caption at a place of its own, and a small coloured mark in its top left corner.
class KxXButton final : public QPushButton {
  Q_OBJECT
 public:
  using QPushButton::QPushButton;
  /// A triangle in the top left corner; an invalid colour: none.
  void setMark(const QColor& colour);
  void setCaptionPlace(const CaptionPlace& place);
  /// Left of the caption, or in the middle of a button without one. Null `disabled`: the same, greyed.
  void setImages(const QPixmap& normal, const QPixmap& disabled);
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  [[nodiscard]] QSize imageSize() const {
    return m_image.isNull() ? QSize() : m_image.deviceIndependentSize().toSize();
  }
  [[nodiscard]] QSize captionSize() const;
  void paintImage(QPainter& painter, bool pushed) const;
  void paintCaption(QPainter& painter, bool pushed) const;
  void paintMark(QPainter& painter) const;

  QColor m_mark;
  CaptionPlace m_place;
  QPixmap m_image, m_disabledImage;
};

}  // namespace quillbay
