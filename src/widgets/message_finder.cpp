#include "widgets/message_finder.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <algorithm>

#include "quillbay/host_services.h"

namespace quillbay {

namespace {

bool isMessage(const QWidget* window, const std::vector<const QWidget*>& others) {
  return window && window->isVisible() && window->property(kMessageWindowMark).toBool() &&
         std::find(others.begin(), others.end(), window) == others.end();
}

bool isTouch(QEvent::Type type) {
  switch (type) {
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:  // a key that turns out to be a shortcut is never delivered as a press
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:  // somebody reads a long one
    case QEvent::TabletPress:
    case QEvent::TouchBegin: return true;
    default: return false;
  }
}

}  // namespace

QWidget* findMessageWindow(const std::vector<const QWidget*>& others) {
  if (QWidget* modal = QApplication::activeModalWidget()) return isMessage(modal, others) ? modal : nullptr;
  if (QWidget* active = QApplication::activeWindow(); isMessage(active, others)) return active;
  const QWidgetList windows = QApplication::topLevelWidgets();
  const auto found =
      std::find_if(windows.begin(), windows.end(), [&](const QWidget* w) { return isMessage(w, others); });
  return found == windows.end() ? nullptr : *found;
}

QPushButton* defaultButtonOf(const QWidget& window) {
  const auto buttons = window.findChildren<QPushButton*>();
  const auto found = std::find_if(buttons.begin(), buttons.end(),
                                  [](const QPushButton* b) { return b->isDefault() && b->isEnabled(); });
  return found == buttons.end() ? nullptr : *found;
}

TouchWatch::TouchWatch(std::function<void(QWidget& window)> touched) : m_touched(std::move(touched)) {
  QApplication::instance()->installEventFilter(this);
}

TouchWatch::~TouchWatch() = default;

bool TouchWatch::eventFilter(QObject* watched, QEvent* event) {
  auto* widget = isTouch(event->type()) ? qobject_cast<QWidget*>(watched) : nullptr;
  if (widget) m_touched(*widget->window());
  return false;
}

}  // namespace quillbay
