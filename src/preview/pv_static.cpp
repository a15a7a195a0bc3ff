#include "preview/pv_static.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <cmath>

#include "platform/base_services.h"
#include "preview/stor_painter.h"
#include "quillbay/scan_keys.h"
#include "view/image_dc.h"

namespace quillbay {

namespace {

constexpr int kInset = 7;
constexpr int kDashMs = 150, kPhases = 51;
constexpr QRgb kBed = qRgb(192, 192, 192);
constexpr double kStep = 1, kLargeStep = 10;

constexpr const char* kSilentKeys[] = {key::RcCustomScan,   key::Dir,     key::Mask,      key::CounterFormat,
                                       key::UseAutoCounter, key::Counter, key::MultiPage, key::FileFate};

Qt::CursorShape cursorOf(int zone) {
  switch (zone) {
    case kTopLeft:
    case kBottomRight: return Qt::SizeFDiagCursor;
    case kTopRight:
    case kBottomLeft: return Qt::SizeBDiagCursor;
    case kTop:
    case kBottom: return Qt::SizeVerCursor;
    case kLeft:
    case kRight: return Qt::SizeHorCursor;
    case kWhole: return Qt::SizeAllCursor;
    default: return Qt::ArrowCursor;
  }
}

}  // namespace

CPVStatic::CPVStatic(KxPtr<CSharedScanParams> params, IPanelController& controller, QWidget* parent)
    : QWidget(parent), m_params(std::move(params)), m_controller(controller) {
  setObjectName("previewPicture");
  setAccessibleName(QString::fromStdString(Supp_Translate("Picture of the preview")));
  setToolTip(QString::fromStdString(Supp_Translate("The document on the scanner, and the frames on it")));
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(40, 40);
  m_changes.Subscribe(m_params->connectionPoint());
  connect(&m_dashes, &QTimer::timeout, this, &CPVStatic::animate);
}

CPVStatic::~CPVStatic() { m_changes.Unsubscribe(); }

// --- settings

tagRRECT CPVStatic::area() const {
  const ScanValues& v = m_params->values();
  return v.rectValid ? v.rcScan : tagRRECT{0, 0, v.bedWidth, v.bedWidth};
}

void CPVStatic::fit() {
  const QRect room = rect().adjusted(kInset, kInset, -kInset, -kInset);
  if (room.isEmpty()) return;
  const tagRRECT a = area();
  const ScanValues& v = m_params->values();
  const auto fitted = [](int pixels, double length) {
    return std::abs(length) <= 0.001 ? 1.0 : std::abs(pixels / length);
  };
  const bool byHeight = v.scanType >= kAreaCustom && !v.portrait;
  m_scale = byHeight ? fitted(room.height(), a.height()) : fitted(room.width(), a.width());
  m_origin = QPointF(kInset - a.left * m_scale, kInset - a.top * m_scale);
  update();
}

void CPVStatic::rasterPlaced(const tagRRECT& placed) {
  m_placed = placed;
  update();
}

void CPVStatic::paramChanged(const char* name) {
  for (const char* silent : kSilentKeys) {
    if (sameKey(name, silent)) return update();
  }
  if (sameKey(name, key::RcPreview)) return update();
  if (sameKey(name, key::UpdateRect)) return showFragment(false);
  m_mode = Mode::None;
  m_showsFragment = m_params->values().customScanValid != 0;
  moved();
  if (!sameKey(name, key::CustomScanValid) && !sameKey(name, key::BoundDetectDirty)) fit();
}

void CPVStatic::setMode(Mode mode) {
  m_mode = mode;
  moved();
}

void CPVStatic::showFragment(bool shown) {
  m_showsFragment = shown;
  moved();
}

void CPVStatic::moved() {
  if (!m_showsFragment) m_keysFragment = false;
  update();
  if (onChanged) onChanged();
}

void CPVStatic::toggleNewArea() { setMode(m_mode == Mode::Area ? Mode::None : Mode::Area); }

void CPVStatic::toggleNewFragment() {
  if (m_showsFragment) {
    m_mode = Mode::None;
    return showFragment(false);
  }
  setMode(m_mode == Mode::Fragment ? Mode::None : Mode::Fragment);
}

void CPVStatic::store(const tagRRECT& frame, bool isFragment) {
  const ScanValues& v = m_params->values();
  const tagRRECT settled = settledFrame(frame, v.rcScan, v.minWidth, v.minHeight);
  if (isFragment) return m_params->set(scan_key::RcCustomScan, settled);
  m_params->set(scan_key::RcPreview, settled);
  if (!v.disablePreview) m_controller.RestartPreview();
}

// --- places

tagRPOINT CPVStatic::toDocument(const QPointF& at) const {
  return {(at.x() - m_origin.x()) / m_scale, (at.y() - m_origin.y()) / m_scale};
}

QRectF CPVStatic::toClient(const tagRRECT& r) const {
  return {m_origin.x() + r.left * m_scale, m_origin.y() + r.top * m_scale, r.width() * m_scale,
          r.height() * m_scale};
}

KxRect CPVStatic::toPixels(const tagRRECT& r) const {
  const QRectF c = toClient(r);
  return {roundHalfUp(c.left()), roundHalfUp(c.top()), roundHalfUp(c.right()) + 1, roundHalfUp(c.bottom()) + 1};
}

int CPVStatic::hitTest(const QPoint& at) const {
  if (m_mode != Mode::None) return kNoZone;
  const ScanValues& v = m_params->values();
  const int zone = zoneAt(toPixels(v.rcPreview), at.x(), at.y());
  if (zone != kNoZone || !m_showsFragment) return zone;
  const int own = zoneAt(toPixels(v.rcCustomScan), at.x(), at.y());
  return own == kNoZone ? kNoZone : own + kFragmentZones;
}

void CPVStatic::showCursor(const QPoint& at) {
  if (!m_params->values().rectValid) return unsetCursor();
  if (m_mode != Mode::None) return setCursor(Qt::CrossCursor);
  const int zone = hitTest(at);
  setCursor(cursorOf(zone >= kFragmentZones ? zone - kFragmentZones : zone));
}

// --- mouse and keys

void CPVStatic::mousePressEvent(QMouseEvent* event) {
  if (!m_params->values().rectValid || m_drag) return;
  if (event->button() == Qt::RightButton) setMode(Mode::Area);
  if (event->button() == Qt::LeftButton || event->button() == Qt::RightButton) press(event->pos());
}

void CPVStatic::press(const QPoint& at) {
  const ScanValues& v = m_params->values();
  const tagRPOINT p = toDocument(at);
  const int zone = hitTest(at);
  if (zone == kNoZone && m_mode == Mode::None) {
    const double dx = p.x - (v.rcPreview.left + v.rcPreview.right) / 2;
    const double dy = p.y - (v.rcPreview.top + v.rcPreview.bottom) / 2;
    return store(dragged(v.rcPreview, kWhole, {}, {dx, dy}), false);
  }
  const bool onFragment = zone >= kFragmentZones;
  Drag drag;
  drag.edits = zone != kNoZone;
  drag.zone = onFragment ? zone - kFragmentZones : zone;
  drag.isFragment = onFragment || m_mode == Mode::Fragment;
  drag.start = p;
  drag.frame = onFragment ? v.rcCustomScan : v.rcPreview;
  m_keysFragment = drag.isFragment;
  m_drag = drag;
}

void CPVStatic::mouseMoveEvent(QMouseEvent* event) {
  if (!m_drag) return showCursor(event->pos());
  const tagRPOINT p = toDocument(event->pos());
  Drag& drag = *m_drag;
  drag.frame =
      drag.edits ? dragged(drag.frame, drag.zone, drag.start, p) : tagRRECT{drag.start.x, drag.start.y, p.x, p.y};
  if (drag.edits && drag.zone == kWhole) drag.start = p;
  if (onFrame) onFrame(&drag.frame);
  update();
}

void CPVStatic::mouseReleaseEvent(QMouseEvent* event) {
  if (!m_drag) return;
  const Drag drag = *m_drag;
  m_drag.reset();
  store(drag.frame, drag.isFragment);
  if (m_mode == Mode::Fragment) m_showsFragment = true;
  if (onFrame) onFrame(nullptr);
  setMode(Mode::None);
  showCursor(event->pos());
}

void CPVStatic::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && (m_drag || m_mode != Mode::None)) {
    m_drag.reset();
    if (onFrame) onFrame(nullptr);
    return setMode(Mode::None);
  }
  const ScanValues& v = m_params->values();
  const bool horizontal = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
  const bool vertical = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
  if (!v.rectValid || m_drag || !(horizontal || vertical)) return QWidget::keyPressEvent(event);
  const double step = event->modifiers() & Qt::ShiftModifier ? kLargeStep : kStep;
  const double by = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up ? -step : step;
  tagRRECT frame = m_keysFragment ? v.rcCustomScan : v.rcPreview;
  (horizontal ? frame.right : frame.bottom) += by;
  if (!(event->modifiers() & Qt::ControlModifier)) (horizontal ? frame.left : frame.top) += by;
  store(frame, m_keysFragment);
  const tagRRECT now = m_keysFragment ? v.rcCustomScan : v.rcPreview;
  if (onFrame) onFrame(&now);
  update();
}

bool CPVStatic::focusNextPrevChild(bool next) {
  if (!m_showsFragment || !m_params->values().rectValid || next == m_keysFragment) {
    return QWidget::focusNextPrevChild(next);
  }
  m_keysFragment = next;
  update();
  return true;
}

// --- painting

void CPVStatic::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  fit();
  if (style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0) m_dashes.start(kDashMs);
}

void CPVStatic::hideEvent(QHideEvent* event) {
  m_dashes.stop();
  QWidget::hideEvent(event);
}

void CPVStatic::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  fit();
}

void CPVStatic::animate() {
  const ScanValues& v = m_params->values();
  if (!isVisible() || !(v.rectValid || m_showsFragment) || m_drag) return;
  m_phase = m_phase % kPhases + 1;
  const auto edges = [this](const tagRRECT& frame) {
    const QRect r = toClient(frame).toAlignedRect();
    return QRegion(r.adjusted(-4, -4, 4, 4)) - QRegion(r.adjusted(4, 4, -4, -4));
  };
  QRegion dirty = edges(v.rcPreview);
  if (m_showsFragment) dirty += edges(v.rcCustomScan);
  update(dirty);
}

void CPVStatic::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const ScanValues& v = m_params->values();
  painter.fillRect(rect(), palette().color(QPalette::Base));
  const QRectF bed = toClient(area());
  painter.fillRect(bed, QColor(kBed));
  const bool isEmpty = m_params->previewStore->IsEmpty();
  if (isEmpty || !v.rectValid) {
    painter.setPen(QPen(Qt::darkGray, 1));
    painter.drawLine(bed.topLeft(), bed.bottomRight());
    painter.drawLine(bed.topRight(), bed.bottomLeft());
  }
  if (!isEmpty && (v.scanType != kAreaAuto || v.rectValid)) paintPicture(painter);
  paintRulers(painter);
  if (!v.rectValid) return;
  const bool dragsFragment = m_drag && m_drag->isFragment;
  paintFrame(painter, m_drag && !dragsFragment ? m_drag->frame : v.rcPreview, QColor(0, 60, 220));
  if (m_showsFragment || dragsFragment) {
    paintFrame(painter, dragsFragment ? m_drag->frame : v.rcCustomScan, QColor(210, 0, 0));
  }
}

/// Straight from the store into the pixels of what is seen.
void CPVStatic::paintPicture(QPainter& painter) {
  const tagRRECT extent = extentOf(*m_params->previewStore);
  if (extent.width() <= 0 || extent.height() <= 0) return;
  const double ratio = devicePixelRatioF();
  const QRectF whole = toClient(m_placed);
  const QRectF seen = whole.intersected(QRectF(rect()));
  if (seen.isEmpty()) return;
  const QRect device(qRound(seen.left() * ratio), qRound(seen.top() * ratio), qRound(seen.width() * ratio),
                     qRound(seen.height() * ratio));
  if (device.isEmpty()) return;
  const KxSize size{device.width(), device.height()};
  m_pixels.assign(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), 0xffffffff);
  CRDirectTfm place;
  place.scaleX = whole.width() * ratio / extent.width();
  place.scaleY = whole.height() * ratio / extent.height();
  place.offsetX = whole.left() * ratio - device.left() - extent.left * place.scaleX;
  place.offsetY = whole.top() * ratio - device.top() - extent.top * place.scaleY;
  constexpr int kHalfTones = 8;
  const auto target =
      KxPtr<CImageDC>::adopt(new CImageDC(m_pixels.data(), size, {0, 0, size.width, size.height}, kHalfTones));
  m_params->previewStore->Paint(target.get(), &place);
  QImage image(reinterpret_cast<const uchar*>(m_pixels.data()), size.width, size.height, QImage::Format_RGB32);
  image.setDevicePixelRatio(ratio);
  painter.drawImage(QPointF(device.left() / ratio, device.top() / ratio), image);
}

/// Marks along the upper and left edges, in the current unit, from the scanner's middle where documents are
/// centred.
void CPVStatic::paintRulers(QPainter& painter) const {
  const ScanValues& v = m_params->values();
  const double unit = v.units == kInches ? kMmPerInch : 10;
  const double middle = v.center ? v.bedWidth / 2 : 0;
  const double least = 5 / m_scale;  // millimetres between two marks
  double step = unit;
  for (int i = 0; step < least; ++i) step *= i % 2 == 0 ? 5 : 2;
  const tagRRECT a = area();
  painter.setPen(QPen(palette().color(QPalette::Text), 1));
  const auto length = [](double number) { return std::fmod(std::abs(number), 5) < 0.5 ? 6 : 3; };
  for (double n = std::ceil((a.left - middle) / step); middle + n * step <= a.right; ++n) {
    const double x = m_origin.x() + (middle + n * step) * m_scale;
    painter.drawLine(QPointF(x, 0), QPointF(x, length(n)));
  }
  for (double n = std::ceil(a.top / step); n * step <= a.bottom; ++n) {
    const double y = m_origin.y() + n * step * m_scale;
    painter.drawLine(QPointF(0, y), QPointF(length(n), y));
  }
}

void CPVStatic::paintFrame(QPainter& painter, const tagRRECT& frame, const QColor& colour) const {
  const QRectF r = toClient(frame).normalized();
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, 1));
  painter.drawRect(r);
  QPen dashed(colour, 1.4, Qt::CustomDashLine);
  dashed.setDashPattern({5, 4});
  dashed.setDashOffset(-m_phase);
  painter.setPen(dashed);
  painter.drawRect(r);
  const QRect p = r.toAlignedRect();
  const KxRect pixels{p.left(), p.top(), p.right() + 1, p.bottom() + 1};
  painter.setPen(Qt::white);
  painter.setBrush(colour);
  for (int zone = kTopLeft; zone < kWhole; ++zone) {
    const KxRect h = handleOf(pixels, zone);
    painter.drawRect(QRect(h.left, h.top, h.right - h.left - 1, h.bottom - h.top - 1));
  }
}

}  // namespace quillbay
