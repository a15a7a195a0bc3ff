#include "widgets/poly_btn.h"

#include <QLinearGradient>
#include <QPainter>
#include <algorithm>

#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
constexpr QColor kDark(0, 0, 50);
constexpr QColor kBright(54, 106, 179);
constexpr int kOverlap = 2;  // what the upper half takes of the lower one
constexpr int kFocusInset = 4;

QLinearGradient gradient(double top, double bottom, const QColor& first, const QColor& last) {
  QLinearGradient colours(0, top, 0, bottom);
  colours.setColorAt(0, first);
  colours.setColorAt(1, last);
  return colours;
}
}  // namespace

CPolyBtn::CPolyBtn(QWidget* parent) : QAbstractButton(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_Hover);
}

void CPolyBtn::setEdges(PolyEdges edges) {
  assertUserInterfaceThread();
  m_edges = std::move(edges);
  m_region = regionOf(m_edges);
  if (m_region.isEmpty())
    clearMask();
  else
    setMask(m_region);
  updateGeometry();
  update();
}

void CPolyBtn::setIconPicture(const QPicture& icon) {
  m_icon = icon;
  update();
}

void CPolyBtn::setDisabledPicture(const QPixmap& picture) {
  m_disabledPicture = picture;
  update();
}

PolyState CPolyBtn::state() const { return {isDown() || isChecked(), !isEnabled(), hasFocus(), underMouse()}; }

QSize CPolyBtn::sizeHint() const {
  if (m_region.isEmpty()) return {fontMetrics().height() * 3, fontMetrics().height() * 2};
  const QRect shape = m_region.boundingRect();
  return {shape.right() + 1, shape.bottom() + 1};
}

bool CPolyBtn::hitButton(const QPoint& position) const {
  return m_region.isEmpty() ? rect().contains(position) : m_region.contains(position);
}

void CPolyBtn::enterEvent(QEnterEvent* event) {
  QAbstractButton::enterEvent(event);
  update();
}

void CPolyBtn::leaveEvent(QEvent* event) {
  QAbstractButton::leaveEvent(event);
  update();
}

void CPolyBtn::paintEvent(QPaintEvent*) {
  assertUserInterfaceThread();
  QPainter painter(this);
  if (!m_region.isEmpty()) painter.setClipRegion(m_region);
  paintFace(painter);
  paintIcon(painter);
  if (!isEnabled() && !m_disabledPicture.isNull()) painter.drawPixmap(rect(), m_disabledPicture);
  paintEdges(painter);
  if (hasFocus()) paintFocus(painter);
}

void CPolyBtn::paintFace(QPainter& painter) const {
  if (m_edges.empty()) {
    painter.fillRect(rect(), palette().button());
    painter.fillRect(rect(), QBrush(palette().color(QPalette::Mid), Qt::Dense6Pattern));
    return;
  }
  const int middle = height() / 2;
  painter.fillRect(0, middle, width(), height() - middle, gradient(middle, height(), kBright, kDark));
  painter.fillRect(0, 0, width(), middle + kOverlap, gradient(0, middle + kOverlap, kDark, kBright));
  if (!isEnabled()) painter.fillRect(rect(), QColor(128, 128, 128, 150));
}

void CPolyBtn::paintIcon(QPainter& painter) const {
  const int side = std::min(width(), height()) / 2;
  const QRect square(rect().center().x() - side / 2, rect().center().y() - side / 2, side, side);
  const QRect drawn = m_icon.boundingRect();
  painter.save();
  if (!drawn.isEmpty()) {
    QPicture icon = m_icon;  // playing one needs it writable
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1.0 : 0.5);
    painter.translate(square.topLeft());
    painter.scale(side / static_cast<double>(drawn.width()), side / static_cast<double>(drawn.height()));
    painter.translate(-drawn.topLeft());
    icon.play(&painter);
  } else if (!text().isEmpty()) {
    const QColor own = isEnabled() ? QColor(Qt::white) : QColor(200, 200, 200);
    painter.setPen(m_edges.empty() ? palette().color(QPalette::ButtonText) : own);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
  }
  painter.restore();
}

void CPolyBtn::paintEdges(QPainter& painter) const {
  const PolyState now = state();
  for (const PolyEdge& edge : m_edges) {
    painter.setPen(QPen(QColor::fromRgb(colourOf(edge, now)), 1));
    painter.drawLine(edge.start, edge.end);
  }
}

void CPolyBtn::paintFocus(QPainter& painter) const {
  painter.setBrush(Qt::NoBrush);
  painter.setPen(
      QPen(m_edges.empty() ? palette().color(QPalette::ButtonText) : QColor(Qt::white), 1, Qt::DashLine));
  if (m_edges.empty()) {
    painter.drawRect(rect().adjusted(kFocusInset, kFocusInset, -kFocusInset - 1, -kFocusInset - 1));
    return;
  }
  // The outline, smaller by the inset at the bounding box's sides.
  QPolygonF outline;
  for (const PolyEdge& edge : m_edges) outline << edge.start;
  const QRectF box = outline.boundingRect();
  if (box.width() <= 2 * kFocusInset || box.height() <= 2 * kFocusInset) return;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(box.center());
  painter.scale(1 - 2 * kFocusInset / box.width(), 1 - 2 * kFocusInset / box.height());
  painter.translate(-box.center());
  painter.drawPolygon(outline);
  painter.restore();
}

}  // namespace quillbay
