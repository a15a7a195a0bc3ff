#include "pages/live_picture.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <algorithm>
#include <utility>

#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {

constexpr int kPictureSide = 200, kLeastPictureWidth = 90, kLeastPictureHeight = 170;
constexpr int kAimGap = 4, kAimArm = 12, kFastAim = 10;  // pixels
constexpr int kPickReach = 2;                            // pixels around the place whose mean is chosen

QImage wrapped(const Picture& p) {
  return {p.bytes.data(), p.width, p.height, static_cast<qsizetype>(p.stride), QImage::Format_RGB32};
}

}  // namespace

LivePicture::LivePicture(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::TabFocus);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void LivePicture::setPicture(std::shared_ptr<const Picture> picture, const QString& instead) {
  assertUserInterfaceThread();
  m_picture = std::move(picture);
  m_instead = instead;
  m_original = {};
  if (!m_picture) endPick();
  refresh();
}

void LivePicture::refresh() {
  m_isOld = true;
  update();
}

void LivePicture::setPicking(bool picks) {
  m_picks = picks;
  setCursor(picks ? Qt::CrossCursor : Qt::ArrowCursor);
  if (picks) {
    m_aim = place().center();
    setFocus();
  }
  update();
}

void LivePicture::endPick() {
  if (!m_picks) return;
  setPicking(false);
  if (onPickEnded) onPickEnded();
}

QSize LivePicture::sizeHint() const { return {kPictureSide, kPictureSide}; }

QSize LivePicture::minimumSizeHint() const { return {kLeastPictureWidth, kLeastPictureHeight}; }

/// The picture as large as it fits, next to the settings.
QRect LivePicture::place() const {
  if (!m_picture) return {0, 0, width(), std::min(height(), kPictureSide)};
  QSize size = QSize(m_picture->width, m_picture->height).scaled(this->size(), Qt::KeepAspectRatio);
  size = size.expandedTo({1, 1});
  return {QPoint((width() - size.width()) / 2, 0), size};
}

void LivePicture::prepare() {
  if (!m_picture) return;
  const QSize size = (QSizeF(place().size()) * devicePixelRatioF()).toSize().expandedTo({1, 1});
  if (m_original.size() != size) {
    m_original = wrapped(*m_picture)
                     .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .convertToFormat(QImage::Format_RGB888);
    m_isOld = true;
  }
  if (!std::exchange(m_isOld, false)) return;
  if (m_adjusted.size() != size) m_adjusted = QImage(size, QImage::Format_RGB888);
  m_problem = m_adjust ? QString::fromStdString(m_adjust(m_original, &m_adjusted)) : QString();
  if (!m_adjust || !m_problem.isEmpty()) m_adjusted = m_original.copy();
}

const QImage& LivePicture::adjusted() {
  prepare();
  return m_adjusted;
}

void LivePicture::paintSplit(QPainter& painter, const QRect& at) const {
  QRect left = at;
  left.setRight(std::clamp(m_split.value_or(at.left()), at.left(), at.right()));
  painter.save();
  painter.setClipRect(left);
  painter.drawImage(at, m_original);
  painter.restore();
  painter.setPen(palette().color(QPalette::Highlight));
  painter.drawLine(left.topRight(), left.bottomRight());
}

/// A cross with an open middle, dark on light pictures and light on dark ones.
void LivePicture::paintAim(QPainter& painter) const {
  for (const auto& [color, width] : {std::pair{QColor(Qt::white), 3}, std::pair{QColor(Qt::black), 1}}) {
    painter.setPen(QPen(color, width));
    for (const QPoint& way : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)})
      painter.drawLine(m_aim + kAimGap * way, m_aim + kAimArm * way);
  }
}

void LivePicture::paintEvent(QPaintEvent*) {
  assertUserInterfaceThread();
  prepare();
  QPainter painter(this);
  const QRect at = place();
  if (!m_picture) {
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(at.adjusted(0, 0, -1, -1));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(at.adjusted(8, 8, -8, -8), Qt::AlignCenter | Qt::TextWordWrap, m_instead);
    return;
  }
  painter.drawImage(at, m_showsOriginal ? m_original : m_adjusted);
  if (m_split && !m_showsOriginal) paintSplit(painter, at);
  if (!m_problem.isEmpty()) {
    painter.fillRect(at, QColor(0, 0, 0, 160));
    painter.setPen(Qt::white);
    painter.drawText(at.adjusted(4, 4, -4, -4), Qt::AlignCenter | Qt::TextWordWrap, m_problem);
  }
  if (!hasFocus()) return;
  if (m_picks) paintAim(painter);
  QStyleOptionFocusRect option;
  option.initFrom(this);
  option.rect = at;
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

void LivePicture::pickAt(const QPoint& at) {
  const QRect shown = place();
  if (!shown.contains(at)) return;
  prepare();
  const double scale = devicePixelRatioF();
  const QPoint middle(static_cast<int>((at.x() - shown.left()) * scale),
                      static_cast<int>((at.y() - shown.top()) * scale));
  const QRect around = QRect(middle - QPoint(kPickReach, kPickReach), QSize(2 * kPickReach + 1, 2 * kPickReach + 1))
                           .intersected(m_original.rect());
  int red = 0, green = 0, blue = 0;
  for (int y = around.top(); y <= around.bottom(); ++y) {
    for (int x = around.left(); x <= around.right(); ++x) {
      const QColor c = m_original.pixelColor(x, y);
      red += c.red();
      green += c.green();
      blue += c.blue();
    }
  }
  const int count = std::max(1, around.width() * around.height());
  const auto mean = [count](int sum) { return static_cast<std::uint8_t>((sum + count / 2) / count); };
  setPicking(false);
  if (onPicked) onPicked({mean(red), mean(green), mean(blue), 0});
}

void LivePicture::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !m_picture) return QWidget::mousePressEvent(event);
  if (m_picks) return pickAt(event->position().toPoint());
  m_split = qRound(event->position().x());
  update();
}

void LivePicture::mouseMoveEvent(QMouseEvent* event) {
  if (!m_split) return;
  m_split = qRound(event->position().x());
  update();
}

void LivePicture::mouseReleaseEvent(QMouseEvent*) {
  m_split.reset();
  update();
}

bool LivePicture::pickByKey(int key, int step) {
  const QRect at = place();
  switch (key) {
    case Qt::Key_Left: m_aim.rx() -= step; break;
    case Qt::Key_Right: m_aim.rx() += step; break;
    case Qt::Key_Up: m_aim.ry() -= step; break;
    case Qt::Key_Down: m_aim.ry() += step; break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: pickAt(m_aim); return true;
    default: return false;
  }
  m_aim = {std::clamp(m_aim.x(), at.left(), at.right()), std::clamp(m_aim.y(), at.top(), at.bottom())};
  update();
  return true;
}

void LivePicture::keyPressEvent(QKeyEvent* event) {
  const bool isFast = event->modifiers().testFlag(Qt::ShiftModifier);
  if (m_picks && pickByKey(event->key(), isFast ? kFastAim : 1)) return;
  if (event->key() == Qt::Key_Escape && m_picks) return endPick();
  if (event->key() != Qt::Key_Space || !m_picture) return QWidget::keyPressEvent(event);
  m_showsOriginal = true;
  update();
}

void LivePicture::keyReleaseEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Space || event->isAutoRepeat()) return QWidget::keyReleaseEvent(event);
  m_showsOriginal = false;
  update();
}

void LivePicture::focusOutEvent(QFocusEvent* event) {
  m_showsOriginal = false;
  QWidget::focusOutEvent(event);
  update();
}

bool LivePicture::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && m_picks) {
    switch (static_cast<QKeyEvent*>(event)->key()) {
      case Qt::Key_Escape:
      case Qt::Key_Left:
      case Qt::Key_Right:
      case Qt::Key_Up:
      case Qt::Key_Down:
      case Qt::Key_Return:
      case Qt::Key_Enter:
      case Qt::Key_Space: event->accept(); break;
      default: break;
    }
  }
  return QWidget::event(event);
}

}  // namespace quillbay
