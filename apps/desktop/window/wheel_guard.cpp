#include "window/wheel_guard.h"

#include <QEvent>
#include <QWidget>

namespace desktop {

WheelGuard::WheelGuard(QWidget* control) : QObject(control) {
  control->setFocusPolicy(Qt::StrongFocus);
  control->installEventFilter(this);
}

bool WheelGuard::eventFilter(QObject* watched, QEvent* event) {
  const auto* control = static_cast<QWidget*>(watched);
  if (event->type() != QEvent::Wheel || control->hasFocus()) return QObject::eventFilter(watched, event);
  event->ignore();  // what is around it may scroll
  return true;
}

}  // namespace desktop
