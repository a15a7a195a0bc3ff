#include "view/view_window.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QWheelEvent>
#include <memory>
#include <utility>

#include "platform/base_services.h"
#include "view/key_scroll.h"
#include "view/view_keys.h"
#include "view/view_port.h"

namespace quillbay {
namespace {

constexpr int kAutoScrollMs = 15;

tagRPOINT pointOf(const QSinglePointEvent& event) { return {event.position().x(), event.position().y()}; }

}  // namespace

CViewWindow::CViewWindow(KxPtr<CViewPort> port, QWidget* parent) : QWidget(parent), m_port(std::move(port)) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setObjectName("viewPort");
  setAccessibleName(QString::fromStdString(Supp_Translate("Document")));
  m_port->setWindow(this);
}

CViewWindow::~CViewWindow() { m_port->windowCloses(); }

bool CViewWindow::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    const auto& key = static_cast<QKeyEvent&>(*event);
    m_offered.reset();
    // Any key ends the panning, also one that a menu has. The sinks get a key before menus do.
    if (isPanning() || offerKey(key) || m_port->scrollsBy(view::keyCode(key), view::keyFlags(key))) {
      event->accept();
      return true;
    }
  }
  if (event->type() == QEvent::WindowActivate || event->type() == QEvent::Hide) endPanning();
  if (event->type() == QEvent::PaletteChange) update();
  return QWidget::event(event);
}

void CViewWindow::paintEvent(QPaintEvent* event) { m_port->paint(event->region()); }

void CViewWindow::paintPending() {
  if (testAttribute(Qt::WA_WState_InPaintEvent)) return;  // a reactor asks: comes when this paint is over
  // What was asked for is merged with what is posted; sending the posted request paints all of it.
  QCoreApplication::sendPostedEvents(window(), QEvent::UpdateRequest);
}

void CViewWindow::scrollContents(int dx, int dy) {
  scroll(dx, dy);
  paintPending();
}

void CViewWindow::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  m_port->resized(!window()->isMinimized());
}

void CViewWindow::mousePressEvent(QMouseEvent* event) {
  if (isPanning()) {
    endPanning();
    return;
  }
  m_port->SetActive(1);
  if (event->button() == Qt::MiddleButton) {
    beginPanning(event->position().toPoint());
    return;
  }
  const int flags = view::mouseFlags(*event);
  if (event->button() == Qt::LeftButton) m_port->mouse(&IKxViewMouseReactor::LeftDown, flags, pointOf(*event));
  if (event->button() == Qt::RightButton) m_port->mouse(&IKxViewMouseReactor::RightDown, flags, pointOf(*event));
}

void CViewWindow::mouseReleaseEvent(QMouseEvent* event) {
  const int flags = view::mouseFlags(*event);
  if (event->button() == Qt::MiddleButton) {
    endPanning();
    m_port->mouse(&IKxViewMouseReactor::MiddleUp, flags, pointOf(*event));
  }
  if (event->button() == Qt::LeftButton) m_port->mouse(&IKxViewMouseReactor::LeftUp, flags, pointOf(*event));
  if (event->button() == Qt::RightButton) m_port->mouse(&IKxViewMouseReactor::RightUp, flags, pointOf(*event));
}

void CViewWindow::mouseDoubleClickEvent(QMouseEvent* event) {
  if (isPanning() || event->button() == Qt::MiddleButton) {
    mousePressEvent(event);
    return;
  }
  const int flags = view::mouseFlags(*event);
  if (event->button() == Qt::LeftButton)
    m_port->mouse(&IKxViewMouseReactor::LeftDoubleClick, flags, pointOf(*event));
  if (event->button() == Qt::RightButton)
    m_port->mouse(&IKxViewMouseReactor::RightDoubleClick, flags, pointOf(*event));
}

void CViewWindow::mouseMoveEvent(QMouseEvent* event) {
  if (isPanning()) {
    pan(event->position().toPoint());
  } else {
    m_port->mouse(&IKxViewMouseReactor::MouseMove, view::mouseFlags(*event), pointOf(*event));
  }
}

void CViewWindow::leaveEvent(QEvent* event) {
  m_port->mouseLeaves();
  QWidget::leaveEvent(event);
}

void CViewWindow::wheelEvent(QWheelEvent* event) {
  m_port->wheel(event->angleDelta().y(), pointOf(*event));
  event->accept();
}

bool CViewWindow::offerKey(const QKeyEvent& event) {
  const int key = view::keyCode(event);
  const std::uint32_t flags = view::keyFlags(event);
  const auto before = std::exchange(m_offered, {});
  if (event.type() == QEvent::KeyPress && before && before->key == key && before->flags == flags &&
      before->time == event.timestamp()) {
    return before->handled;
  }
  const bool handled = m_port->offerKey(key, flags);
  if (event.type() == QEvent::ShortcutOverride) m_offered = {key, flags, event.timestamp(), handled};
  return handled;
}

void CViewWindow::keyPressEvent(QKeyEvent* event) {
  event->accept();
  if (isPanning()) {
    endPanning();
  } else if (!offerKey(*event) && !m_port->scrollBy(view::keyCode(*event), view::keyFlags(*event))) {
    QWidget::keyPressEvent(event);  // ignores it
  }
}

void CViewWindow::keyReleaseEvent(QKeyEvent* event) {
  if (!m_port->keyUp(view::keyCode(*event), view::keyFlags(*event))) QWidget::keyReleaseEvent(event);
}

void CViewWindow::beginPanning(const QPoint& at) {
  setFocus();
  m_port->Capture();
  m_panFrom = at;
}

void CViewWindow::pan(const QPoint& at) {
  const QPoint by = at - m_panFrom.value_or(at);
  m_panFrom = at;
  if (rect().contains(at)) {
    m_autoScroll.stop();
    m_port->ScrollByPixels(by.x(), by.y());
  } else if (!m_autoScroll.isActive()) {
    m_autoScroll.start(kAutoScrollMs, this);
  }
}

void CViewWindow::endPanning() {
  if (!isPanning()) return;
  m_panFrom.reset();
  m_autoScroll.stop();
  m_port->ReleaseCapture();
}

void CViewWindow::timerEvent(QTimerEvent* event) {
  if (event->timerId() != m_autoScroll.timerId()) {
    QWidget::timerEvent(event);
    return;
  }
  const QPoint at = m_panFrom.value_or(QPoint());
  const KxPoint step = view::autoScroll({at.x(), at.y()}, {width(), height()});
  m_port->ScrollByPixels(step.x, step.y);
}

KxPtr<IKxViewPort> new_ViewPort(IApp* app, QWidget* parent) {
  const auto port = KxPtr<CViewPort>::adopt(new CViewPort(app));
  static_cast<void>(std::make_unique<CViewWindow>(port, parent).release());  // the parent's from here on
  return KxPtr<IKxViewPort>::share(port.get());
}

}  // namespace quillbay
