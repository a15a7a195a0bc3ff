#include "host/tools/curve_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionFocusRect>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quillbay {

namespace {

constexpr int kCurveMargin = 7;  // so that a handle at the edge is whole
constexpr double kHandle = 4;    // half of its side
constexpr int kGrasp = 9;        // pixels around a point that belong to it
constexpr int kLeastSide = 120, kUsualSide = 220, kMostHeight = 300;
constexpr int kManyLevels = 10;
constexpr double kWhole = 255;

/// Of a channel, readable on a light and on a dark ground.
QColor colorOf(CurveChannel channel, const QPalette& palette) {
  const bool dark = palette.color(QPalette::Base).lightness() < 128;
  switch (channel) {
    case CurveChannel::Red: return dark ? QColor(255, 110, 100) : QColor(200, 30, 20);
    case CurveChannel::Green: return dark ? QColor(100, 220, 110) : QColor(10, 130, 30);
    case CurveChannel::Blue: return dark ? QColor(130, 170, 255) : QColor(30, 70, 210);
    case CurveChannel::Common: break;
  }
  return palette.color(QPalette::Text);
}

}  // namespace

CurveView::CurveView(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::CrossCursor);
  QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
}

void CurveView::setCurves(const CurveSet& curves) {
  m_curves = curves;
  m_before.reset();
  choose(std::nullopt);
}

void CurveView::setChannel(CurveChannel channel) {
  m_channel = channel;
  m_before.reset();
  choose(std::nullopt);
}

void CurveView::setLevels(std::optional<PictureLevels> levels) {
  m_levels = levels;
  update();
}

std::optional<CurvePoint> CurveView::chosen() const {
  const auto points = m_curves.curve(m_channel).points();
  if (!m_chosen || *m_chosen >= points.size()) return std::nullopt;
  return points[*m_chosen];
}

void CurveView::moveChosen(CurvePoint to) {
  if (!m_chosen || !chosen()) return;
  ToneCurve changed = curve();
  changed.move(*m_chosen, to);
  take(std::move(changed), m_chosen);
}

QSize CurveView::sizeHint() const { return {kUsualSide, kUsualSide}; }

QSize CurveView::minimumSizeHint() const { return {kLeastSide, kLeastSide}; }

int CurveView::heightForWidth(int width) const { return std::clamp(width, kLeastSide, kMostHeight); }

QRectF CurveView::plot() const {
  return QRectF(rect()).adjusted(kCurveMargin, kCurveMargin, -kCurveMargin, -kCurveMargin);
}

QPointF CurveView::placeOf(CurvePoint point) const {
  const QRectF area = plot();
  return {area.left() + area.width() * point.x / kWhole, area.bottom() - area.height() * point.y / kWhole};
}

CurvePoint CurveView::pointAt(const QPointF& place) const {
  const QRectF area = plot();
  const auto level = [](double share) { return std::clamp(static_cast<int>(std::lround(share * kWhole)), 0, 255); };
  return {level((place.x() - area.left()) / std::max(1.0, area.width())),
          level((area.bottom() - place.y()) / std::max(1.0, area.height()))};
}

std::optional<std::size_t> CurveView::pointUnder(const QPointF& place) const {
  const auto points = m_curves.curve(m_channel).points();
  std::optional<std::size_t> best;
  double nearest = kGrasp;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const QPointF away = placeOf(points[i]) - place;
    const double distance = std::max(std::fabs(away.x()), std::fabs(away.y()));
    if (distance > nearest) continue;
    nearest = distance;
    best = i;
  }
  return best;
}

// --- changes

void CurveView::take(ToneCurve curve, std::optional<std::size_t> chosen) {
  m_chosen = chosen;
  const bool changed = !(curve == m_curves.curve(m_channel));
  if (changed) m_curves.setCurve(m_channel, std::move(curve));
  update();
  if (onChosen) onChosen();
  if (changed && onChanged) onChanged();
}

void CurveView::choose(std::optional<std::size_t> index) {
  m_chosen = index;
  update();
  if (onChosen) onChosen();
}

void CurveView::chooseNext(int step) {
  const int count = static_cast<int>(m_curves.curve(m_channel).points().size());
  const int start = step > 0 ? -1 : count;
  const int now = m_chosen ? static_cast<int>(*m_chosen) : start;
  choose(static_cast<std::size_t>(std::clamp(now + step, 0, count - 1)));
}

/// On the curve, in the middle between the chosen point and the next; behind the last one in front of it.
void CurveView::addBehind() {
  ToneCurve changed = curve();
  const auto points = changed.points();
  const std::size_t from = std::min(m_chosen.value_or(0), points.size() - 2);
  const int x = (points[from].x + points[from + 1].x) / 2;
  if (x == points[from].x) return;
  if (const auto index = changed.add({x, changed.levels()[static_cast<std::size_t>(x)]}))
    take(std::move(changed), index);
}

void CurveView::remove(std::size_t index) {
  ToneCurve changed = curve();
  if (changed.remove(index)) take(std::move(changed), index - 1);
}

void CurveView::mousePressEvent(QMouseEvent* event) {
  const auto under = pointUnder(event->position());
  if (event->button() == Qt::RightButton) {
    if (under && !m_before) remove(*under);
    return;
  }
  if (event->button() != Qt::LeftButton) return;
  m_before = m_curves;
  if (under) return choose(under);
  ToneCurve changed = curve();
  const auto added = changed.add(pointAt(event->position()));
  if (added) take(std::move(changed), added);
}

void CurveView::mouseMoveEvent(QMouseEvent* event) {
  if (m_before && (event->buttons() & Qt::LeftButton)) moveChosen(pointAt(event->position()));
}

void CurveView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) m_before.reset();
}

bool CurveView::moveByKey(int key, int step) {
  const auto point = chosen();
  if (!point) return false;
  switch (key) {
    case Qt::Key_Left: moveChosen({point->x - step, point->y}); return true;
    case Qt::Key_Right: moveChosen({point->x + step, point->y}); return true;
    case Qt::Key_Up: moveChosen({point->x, point->y + step}); return true;
    case Qt::Key_Down: moveChosen({point->x, point->y - step}); return true;
    default: return false;
  }
}

void CurveView::keyPressEvent(QKeyEvent* event) {
  if (moveByKey(event->key(), event->modifiers() & Qt::ShiftModifier ? kManyLevels : 1)) return;
  switch (event->key()) {
    case Qt::Key_PageUp: return chooseNext(1);
    case Qt::Key_PageDown: return chooseNext(-1);
    case Qt::Key_Insert:
    case Qt::Key_Plus: return addBehind();
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
      if (m_chosen) remove(*m_chosen);
      return;
    case Qt::Key_Escape:
      if (!m_before) break;
      m_curves = m_before.value();
      m_before.reset();
      choose(std::nullopt);
      if (onChanged) onChanged();
      return;
    default: break;
  }
  QWidget::keyPressEvent(event);
}

/// What the curve handles itself must not be a shortcut of a menu.
bool CurveView::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    switch (static_cast<QKeyEvent*>(event)->key()) {
      case Qt::Key_PageUp:
      case Qt::Key_PageDown:
      case Qt::Key_Insert:
      case Qt::Key_Plus:
      case Qt::Key_Delete:
      case Qt::Key_Backspace: event->accept(); break;
      case Qt::Key_Left:
      case Qt::Key_Right:
      case Qt::Key_Up:
      case Qt::Key_Down:
        if (chosen()) event->accept();
        break;
      case Qt::Key_Escape:
        if (m_before) event->accept();
        break;
      default: break;
    }
  }
  return QWidget::event(event);
}

/// Who comes with the keyboard has a point to move at once.
void CurveView::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  const bool byKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
  if (byKey && !chosen()) return choose(0);
  update();
}

void CurveView::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  update();
}

// --- painting

void CurveView::paintLevels(QPainter& painter) const {
  if (!m_levels) return;
  const auto heights = barHeights(m_levels->counts[static_cast<std::size_t>(m_channel)]);
  const QRectF area = plot();
  QPainterPath bars;
  bars.moveTo(area.bottomLeft());
  for (std::size_t i = 0; i < heights.size(); ++i) {
    const double x = area.left() + area.width() * static_cast<double>(i) / kWhole;
    bars.lineTo(x, area.bottom() - area.height() * static_cast<double>(heights[i]));
  }
  bars.lineTo(area.bottomRight());
  QColor fill = colorOf(m_channel, palette());
  fill.setAlphaF(0.22F);
  painter.fillPath(bars, fill);
}

void CurveView::paintCurve(QPainter& painter) const {
  const CurveLevels levels = m_curves.applied(m_channel);
  QPolygonF line;
  for (int x = 0; x < 256; ++x) line << placeOf({x, levels[static_cast<std::size_t>(x)]});
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor color = colorOf(m_channel, palette());
  painter.setPen(QPen(isEnabled() ? color : palette().color(QPalette::Disabled, QPalette::Text), 2));
  painter.drawPolyline(line);
  painter.setBrush(Qt::NoBrush);
  const CurveLevels own = m_curves.curve(m_channel).levels();
  if (own != levels) {  // the points stand on the channel's own curve, without the common one
    QPolygonF thin;
    for (int x = 0; x < 256; ++x) thin << placeOf({x, own[static_cast<std::size_t>(x)]});
    painter.setPen(QPen(color, 1, Qt::DotLine));
    painter.drawPolyline(thin);
  }
  const auto points = m_curves.curve(m_channel).points();
  for (std::size_t i = 0; i < points.size(); ++i) {
    const QPointF at = placeOf(points[i]);
    const bool isChosen = m_chosen == i;
    painter.setPen(QPen(color, isChosen ? 2 : 1));
    painter.setBrush(palette().color(isChosen ? QPalette::Highlight : QPalette::Base));
    painter.drawRect(QRectF(at.x() - kHandle, at.y() - kHandle, 2 * kHandle, 2 * kHandle));
  }
}

void CurveView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRectF area = plot();
  painter.fillRect(area, palette().color(QPalette::Base));
  paintLevels(painter);
  QColor grid = palette().color(QPalette::Text);
  grid.setAlphaF(0.25F);
  painter.setPen(QPen(grid, 0));
  painter.drawRect(area);
  for (int i = 1; i < 4; ++i) {
    const double x = area.left() + area.width() * i / 4, y = area.top() + area.height() * i / 4;
    painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
    painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
  }
  painter.setPen(QPen(grid, 0, Qt::DashLine));
  painter.drawLine(area.bottomLeft(), area.topRight());
  paintCurve(painter);
  if (!hasFocus()) return;
  QStyleOptionFocusRect option;
  option.initFrom(this);
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

}  // namespace quillbay
