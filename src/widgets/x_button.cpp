#include "widgets/x_button.h"

#include <QStyleOptionButton>
#include <QStylePainter>
#include <algorithm>

#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
constexpr int kMarkLines = 8;
constexpr int kMarkInset = 2;
constexpr int kGap = 6;
}  // namespace

QRect captionRect(const QSize& button, const QSize& caption, const CaptionPlace& place, bool pushed) {
  const int shift = pushed ? 1 : 0;
  const int x = place.x.value_or((button.width() - caption.width()) / 2);
  const int y = place.y.value_or((button.height() - caption.height()) / 2);
  return {QPoint(x + shift, y + shift), caption};
}

void KxXButton::setMark(const QColor& colour) {
  m_mark = colour;
  update();
}

void KxXButton::setCaptionPlace(const CaptionPlace& place) {
  m_place = place;
  update();
}

void KxXButton::setImages(const QPixmap& normal, const QPixmap& disabled) {
  m_image = normal;
  m_disabledImage = disabled;
  updateGeometry();
  update();
}

QSize KxXButton::captionSize() const {
  return text().isEmpty() ? QSize(0, 0) : fontMetrics().size(Qt::TextShowMnemonic, text());
}

QSize KxXButton::sizeHint() const {
  const QSize image = imageSize(), own = QPushButton::sizeHint();
  if (image.isEmpty()) return own;
  const int width = text().isEmpty() ? image.width() + 4 * kGap : own.width() + image.width() + kGap;
  return {std::max(own.height(), width), std::max(own.height(), image.height() + 2 * kGap)};
}

void KxXButton::paintEvent(QPaintEvent*) {
  assertUserInterfaceThread();
  QStylePainter painter(this);
  QStyleOptionButton option;
  initStyleOption(&option);
  painter.drawControl(QStyle::CE_PushButtonBevel, option);
  const bool pushed = isDown() || isChecked();
  if (hasFocus()) {  // below the image: some styles fill the frame
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    focus.rect = style()->subElementRect(QStyle::SE_PushButtonFocusRect, &option, this);
    painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
  }
  paintImage(painter, pushed);
  paintCaption(painter, pushed);
  if (m_mark.isValid()) paintMark(painter);
}

void KxXButton::paintImage(QPainter& painter, bool pushed) const {
  if (m_image.isNull()) return;
  const QSize size = imageSize();
  const int together = text().isEmpty() ? size.width() : size.width() + kGap + captionSize().width();
  const int left = m_place.x && !text().isEmpty() ? kGap : (width() - together) / 2;
  const QPoint at(left + (pushed ? 1 : 0), (height() - size.height()) / 2 + (pushed ? 1 : 0));
  const QPixmap& own = isEnabled() || m_disabledImage.isNull() ? m_image : m_disabledImage;
  const bool greyed = !isEnabled() && m_disabledImage.isNull();
  painter.setOpacity(greyed ? 0.4 : 1.0);
  painter.drawPixmap(QRect(at, size), own);
  painter.setOpacity(1.0);
}

void KxXButton::paintCaption(QPainter& painter, bool pushed) const {
  if (text().isEmpty()) return;
  CaptionPlace place = m_place;
  if (!place.x && !m_image.isNull()) {
    place.x = (width() + imageSize().width() + kGap - captionSize().width()) / 2;
  }
  const QRect at = captionRect(size(), captionSize(), place, pushed);
  style()->drawItemText(&painter, at, Qt::AlignCenter | Qt::TextShowMnemonic, palette(), isEnabled(), text(),
                        QPalette::ButtonText);
}

void KxXButton::paintMark(QPainter& painter) const {
  for (int line = 0; line < kMarkLines; ++line) {
    // One pixel shorter each: a filled corner, sharp at every scale.
    painter.fillRect(kMarkInset, kMarkInset + line, kMarkLines - line, 1, m_mark);
  }
}

}  // namespace quillbay
