/// Mouse and keys of the preview control.
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <utility>

#include "preview/pv_static.h"
#include "view/view_transform.h"

namespace quillbay {

namespace {

constexpr int kWheelNotch = 120, kPixelsPerNotch = 60;

Qt::CursorShape cursorOf(int zone) {
  if (zone == kSheetZones + kTurn) return Qt::OpenHandCursor;
  if (zone >= kSheetZones) zone -= kSheetZones;
  switch (zone >= kFragmentZones ? zone - kFragmentZones : zone) {
    case kTopLeft:
    case kBottomRight: return Qt::SizeFDiagCursor;
    case kTop:
    case kBottom: return Qt::SizeVerCursor;
    case kTopRight:
    case kBottomLeft: return Qt::SizeBDiagCursor;
    case kRight:
    case kLeft: return Qt::SizeHorCursor;
    case kWhole: return Qt::SizeAllCursor;
    default: return Qt::ArrowCursor;
  }
}

/// Alt and the system's key belong to others.
std::optional<FrameStep> stepOf(const QKeyEvent& event) {
  if (event.modifiers() & (Qt::AltModifier | Qt::MetaModifier)) return std::nullopt;
  switch (event.key()) {
    case Qt::Key_Left: return FrameStep::Left;
    case Qt::Key_Right: return FrameStep::Right;
    case Qt::Key_Up: return FrameStep::Up;
    case Qt::Key_Down: return FrameStep::Down;
    default: return std::nullopt;
  }
}

/// By how much a key turns the document, in radians: to the right as it is seen, which straightens to the left.
double turnOf(const QKeyEvent& event) {
  if (event.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) return 0;
  const double step = event.modifiers() & Qt::ShiftModifier ? kLargeTurnStep : kTurnStep;
  return event.key() == Qt::Key_R ? -step : event.key() == Qt::Key_L ? step : 0;
}

tagRPOINT pointOf(const QPointF& p) { return {p.x(), p.y()}; }

bool holds(const KxRect& r, const QPoint& p) {
  return p.x() >= r.left && p.x() < r.right && p.y() >= r.top && p.y() < r.bottom;
}

}  // namespace

int CPVStatic::hitTest(const QPoint& at) const {
  if (m_mode != Mode::None || !takesInput()) return kNoZone;
  const ScanValues& v = m_params->values();
  // The thin outline comes before the frames, whose insides are zones as well.
  if (hasSheet()) {
    const int zone = sheetZoneAt(placesOf(scannedSheet(v), m_view), at.x(), at.y());
    if (zone != kNoZone) return zone;
  }
  const KxRect fragment = preview::toPixels(m_view, v.rcCustomScan);
  return zoneAt(preview::toPixels(m_view, v.rcPreview), m_showsFragment ? &fragment : nullptr, at.x(), at.y());
}

void CPVStatic::showCursor(const QPoint& at) {
  if (m_drag) return;
  const bool draws = m_mode != Mode::None && takesInput() && holds(m_client, at);
  setCursor(draws ? Qt::CrossCursor : cursorOf(hitTest(at)));
}

// --- mouse

void CPVStatic::mousePressEvent(QMouseEvent* event) {
  m_reactors.setCursor(true);
  const bool isOurs = event->button() == Qt::LeftButton || event->button() == Qt::RightButton;
  if (!isOurs || m_drag || !takesInput() || !holds(m_client, event->position().toPoint())) return;
  if (event->button() == Qt::RightButton) setState(Mode::Area, m_showsFragment);
  press(event->position(), event->button());
}

void CPVStatic::press(const QPointF& at, Qt::MouseButton button) {
  const ScanValues& v = m_params->values();
  const tagRPOINT p = view::toDocument(m_view, pointOf(at));
  const int zone = hitTest(at.toPoint());
  if (zone == kNoZone && m_mode == Mode::None) {
    m_active = ActiveFrame::Preview;
    return store(centredFrame(v.rcPreview, p), ActiveFrame::Preview);
  }
  const bool onSheet = zone >= kSheetZones, onFragment = zone >= kFragmentZones && !onSheet;
  Drag drag;
  drag.button = button;
  drag.zone = onSheet ? zone - kSheetZones : onFragment ? zone - kFragmentZones : zone;
  if (onSheet) drag.sheet = drag.grabbed = ownSheet();
  drag.isFragment = onFragment || drawsFragment();
  drag.start = p;
  drag.frame = onFragment ? v.rcCustomScan : v.rcPreview;
  m_active = onSheet ? ActiveFrame::Sheet : onFragment ? ActiveFrame::Fragment : ActiveFrame::Preview;
  m_drag = drag;
  update();
}

void CPVStatic::mouseMoveEvent(QMouseEvent* event) {
  const tagRPOINT at = pointOf(event->position());
  m_ruler->MarkPointer(&at);
  if (!m_drag) return showCursor(event->position().toPoint());
  const tagRPOINT p = view::toDocument(m_view, at);
  Drag& drag = *m_drag;
  updateFrames();
  if (drag.sheet && drag.grabbed) {
    drag.sheet = draggedSheet(*drag.grabbed, drag.zone, drag.start, p);
    drag.hasMoved = true;
    return updateFrames();
  }
  drag.frame = drag.zone == kNoZone ? tagRRECT{drag.start.x, drag.start.y, p.x, p.y}
                                    : dragged(drag.frame, drag.zone, drag.start, p);
  if (drag.zone == kWhole) drag.start = p;
  drag.hasMoved = true;
  tellFrame(&drag.frame);
  updateFrames();
}

void CPVStatic::mouseReleaseEvent(QMouseEvent* event) {
  if (!m_drag || event->button() != m_drag->button) return;
  endDrag(true);
  showCursor(event->position().toPoint());
}

void CPVStatic::endDrag(bool stores) {
  const auto drag = std::exchange(m_drag, std::nullopt);
  if (!drag) return;
  tellFrame(nullptr);
  update();
  if (drag->sheet) {
    if (stores && drag->hasMoved) storeSheet(*drag->sheet);
    return;
  }
  if (stores) store(drag->frame, drag->isFragment ? ActiveFrame::Fragment : ActiveFrame::Preview);
  setState(Mode::None, m_showsFragment || (stores && drag->isFragment));
}

void CPVStatic::leaveEvent(QEvent* event) {
  m_ruler->MarkPointer(nullptr);
  QWidget::leaveEvent(event);
}

void CPVStatic::wheelEvent(QWheelEvent* event) {
  const QPoint exact = event->pixelDelta();
  QPoint by = exact.isNull() ? event->angleDelta() * kPixelsPerNotch / kWheelNotch : exact;
  if (event->modifiers() & Qt::ShiftModifier && by.x() == 0) by = by.transposed();
  const bool moves = (by.y() != 0 && !m_down.isHidden()) || (by.x() != 0 && !m_across.isHidden());
  event->setAccepted(moves);
  if (moves) scrollBy(by.x(), by.y());
}

// --- keys

/// What comes before the shortcuts of menus: Escape, which stops a scan everywhere else, gives up what is being
/// drawn; arrow keys change a frame.
bool CPVStatic::wantsKey(const QKeyEvent& event) const {
  if (!takesInput()) return false;
  if (event.key() == Qt::Key_Escape) return m_drag || m_mode != Mode::None;
  const bool turns = activeFrame() == ActiveFrame::Sheet && turnOf(event) != 0;
  return (stepOf(event) || turns) && !m_drag;
}

bool CPVStatic::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && wantsKey(static_cast<const QKeyEvent&>(*event))) {
    event->accept();
    return true;
  }
  return QWidget::event(event);
}

void CPVStatic::keyPressEvent(QKeyEvent* event) {
  const bool isKnown = event->key() == Qt::Key_Escape || event->key() == Qt::Key_Return ||
                               event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space
                           ? keyEndsMode(event->key())
                           : keyMovesFrame(*event) || keyTurnsSheet(*event);
  if (!isKnown) QWidget::keyPressEvent(event);
}

/// Escape gives up a drag or a mode. Return and Space end a mode like a click: the preview frame becomes the new
/// frame, which the keys can then change.
bool CPVStatic::keyEndsMode(int key) {
  if (key == Qt::Key_Escape) {
    if (!m_drag && m_mode == Mode::None) return false;
    m_drag ? endDrag(false) : setState(Mode::None, m_showsFragment);
    return true;
  }
  if (m_mode == Mode::None || m_drag || !takesInput()) return false;
  const ActiveFrame target = drawsFragment() ? ActiveFrame::Fragment : ActiveFrame::Preview;
  store(m_params->values().rcPreview, target);
  setState(Mode::None, m_showsFragment || target == ActiveFrame::Fragment);
  m_active = target;
  return true;
}

bool CPVStatic::keyMovesFrame(const QKeyEvent& event) {
  if (event.key() == Qt::Key_PageUp || event.key() == Qt::Key_PageDown) {
    if (m_down.isHidden()) return false;
    scrollBy(0, event.key() == Qt::Key_PageUp ? m_down.pageStep() : -m_down.pageStep());
    return true;
  }
  const auto step = stepOf(event);
  if (!step || !takesInput() || m_drag) return false;
  const ScanValues& v = m_params->values();
  const tagRRECT& frame = m_active == ActiveFrame::Fragment ? v.rcCustomScan : v.rcPreview;
  const bool large = event.modifiers() & Qt::ShiftModifier, resizes = event.modifiers() & Qt::ControlModifier;
  if (activeFrame() == ActiveFrame::Sheet) {
    storeSheet(steppedSheet(ownSheet(), *step, large, resizes));
    return true;
  }
  store(stepped(frame, *step, large, resizes), m_active);
  tellFrame(&frame);
  m_numbers.start();
  return true;
}

bool CPVStatic::keyTurnsSheet(const QKeyEvent& event) {
  const double turn = turnOf(event);
  if (turn == 0 || activeFrame() != ActiveFrame::Sheet || !takesInput() || m_drag) return false;
  storeSheet(turnedSheet(ownSheet(), turn));
  return true;
}

bool CPVStatic::focusNextPrevChild(bool next) {
  if (m_drag) return true;  // a frame is being drawn: Escape gives it up
  const bool takes = takesInput();
  const auto frame = nextFrame(activeFrame(), m_showsFragment && takes, hasSheet() && takes, next);
  if (!frame) return QWidget::focusNextPrevChild(next);
  m_active = *frame;
  update();
  return true;
}

void CPVStatic::focusInEvent(QFocusEvent* event) {
  if (event->reason() == Qt::TabFocusReason) m_active = ActiveFrame::Preview;
  if (event->reason() == Qt::BacktabFocusReason) {
    m_active = hasSheet() ? ActiveFrame::Sheet : m_showsFragment ? ActiveFrame::Fragment : ActiveFrame::Preview;
  }
  QWidget::focusInEvent(event);
  update();
}

void CPVStatic::focusOutEvent(QFocusEvent* event) {
  if (m_numbers.isActive()) tellFrame(nullptr);
  m_numbers.stop();
  QWidget::focusOutEvent(event);
  update();
}

}  // namespace quillbay
