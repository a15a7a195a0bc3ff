// What the user does over the document's view.
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <algorithm>
#include <cmath>

#include "view/document_view.h"

namespace desktop {

namespace {

constexpr double kKeyStep = 1.5;
constexpr int kScrollPixels = 60, kDragPixels = 4;

QStringList filesOf(const QMimeData& data) {
  QStringList files;
  for (const QUrl& url : data.urls()) {
    if (url.isLocalFile()) files += url.toLocalFile();
  }
  return files;
}

}  // namespace

bool DocumentView::eventFilter(QObject* watched, QEvent* event) {
  if (watched != m_surface) return QWidget::eventFilter(watched, event);
  const auto& mouse = static_cast<const QMouseEvent&>(*event);  // for mouse events alone
  switch (event->type()) {
    case QEvent::MouseButtonPress:
      m_press = m_last = mouse.position();
      m_moved = false;
      break;
    case QEvent::MouseMove: move(mouse); break;
    case QEvent::MouseButtonRelease:
      if (m_hasTool) break;
      m_surface->unsetCursor();
      if (const int id = pageAt(mouse.position()); id && !m_moved && mouse.button() == Qt::LeftButton) {
        emit pageChosen(id);
      }
      break;
    case QEvent::MouseButtonDblClick:
      if (m_hasTool) break;
      if (const int id = pageAt(mouse.position()); id && mouse.button() == Qt::LeftButton) fitPage(id);
      break;
    case QEvent::FocusIn:
    case QEvent::FocusOut: update(); break;
    case QEvent::Leave: emit pointerMoved({}, false); break;
    case QEvent::ContextMenu: {
      const auto& menu = static_cast<const QContextMenuEvent&>(*event);
      const bool isByMouse = menu.reason() == QContextMenuEvent::Mouse;
      const int id = isByMouse ? pageAt(menu.pos()) : m_current;
      if (!id) break;
      const QPoint at =
          isByMouse ? menu.pos() : (toView(pageRect(id)) & QRectF(m_surface->rect())).center().toPoint();
      emit menuAsked(m_surface->mapToGlobal(at), id);
      return true;
    }
    case QEvent::DragEnter: {
      auto& drag = static_cast<QDragEnterEvent&>(*event);
      if (!filesOf(*drag.mimeData()).isEmpty()) drag.acceptProposedAction();
      return true;
    }
    case QEvent::Drop: {
      auto& drop = static_cast<QDropEvent&>(*event);
      drop.acceptProposedAction();
      emit filesDropped(filesOf(*drop.mimeData()));
      return true;
    }
    default: break;
  }
  return QWidget::eventFilter(watched, event);
}

void DocumentView::move(const QMouseEvent& event) {
  const QPointF at = event.position();
  const bool isOurs = event.buttons() == Qt::LeftButton && !m_hasTool;
  if (isOurs && (m_moved || (at - m_press).manhattanLength() > kDragPixels)) {
    m_moved = true;
    m_surface->setCursor(Qt::ClosedHandCursor);
    pan(at.x() - m_last.x(), at.y() - m_last.y());
    m_last = at;
  }
  const int under = pageAt(at);
  const QRectF page = pageRect(under ? under : m_current);
  const auto mm = m_port->ToDocument(at.x(), at.y());
  emit pointerMoved(QPointF(mm.x, -mm.y) - page.topLeft(), !m_layout.empty());
}

std::optional<int> DocumentView::pageAt(const quillbay::CRPoint& at, double near) const {
  std::optional<int> found;
  for (const Shown& shown : m_layout) {
    const double dx = at.x - std::clamp(at.x, shown.mm.left(), shown.mm.right());
    const double dy = -at.y - std::clamp(-at.y, shown.mm.top(), shown.mm.bottom());
    const double away = std::hypot(dx, dy);
    if (away > near) continue;
    near = away;
    found = shown.id;
  }
  return found;
}

std::optional<quillbay::CRPoint> DocumentView::cornerOf(int id) const {
  const QRectF mm = pageRect(id);
  if (mm.isEmpty()) return std::nullopt;
  return quillbay::CRPoint{mm.left(), -mm.top()};
}

/// What the view port and whoever listens to its keys left.
void DocumentView::keyPressEvent(QKeyEvent* event) {
  const auto held = event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
  if (held != Qt::NoModifier || !key(event->key())) QWidget::keyPressEvent(event);
}

/// Whether a key without modifiers meant something.
bool DocumentView::key(int key) {
  const double page = m_surface->height() * 0.9;
  switch (key) {
    case Qt::Key_Left: pan(kScrollPixels, 0); break;
    case Qt::Key_Right: pan(-kScrollPixels, 0); break;
    case Qt::Key_Up: pan(0, kScrollPixels); break;
    case Qt::Key_Down: pan(0, -kScrollPixels); break;
    case Qt::Key_PageUp: pan(0, page); break;
    case Qt::Key_PageDown: pan(0, -page); break;
    case Qt::Key_Plus:
    case Qt::Key_Equal: zoomBy(kKeyStep); break;
    case Qt::Key_Minus: zoomBy(1 / kKeyStep); break;
    case Qt::Key_0: fitAll(); break;
    case Qt::Key_1: actualPixels(); break;
    case Qt::Key_Delete: emit closeAsked(); break;
    default: return false;
  }
  return true;
}

}  // namespace desktop
