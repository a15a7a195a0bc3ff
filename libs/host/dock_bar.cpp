#include "host/dock_bar.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QMainWindow>
#include <QPointer>
#include <QScreen>
#include <memory>

namespace quillbay {

CDockBar::CDockBar(QWidget* mainWindow, const QString& caption, std::uint32_t style, std::uint32_t place)
    : QDockWidget(caption, mainWindow),
      m_side((place & kBarAtLeft) != 0 ? Qt::LeftDockWidgetArea : Qt::RightDockWidgetArea) {
  setObjectName("quillbayBar");  // under which a main window's saveState knows it
  setAttribute(Qt::WA_DeleteOnClose);
  const bool docks = qobject_cast<QMainWindow*>(mainWindow) != nullptr;
  setAllowedAreas(docks && (style & kBarDocksAtSides) != 0 ? Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea
                  : docks                                  ? Qt::AllDockWidgetAreas
                                                           : Qt::NoDockWidgetArea);
  // What cannot dock has nothing to go back to.
  const bool mayFloat = docks && (style & kBarFloats) != 0;
  setFeatures(DockWidgetClosable | DockWidgetMovable | (mayFloat ? DockWidgetFloatable : DockWidgetFeatures()));
  hide();
}

int CDockBar::Attach(HWND window) {
  if (!window) return 0;
  setWidget(window);
  window->show();
  if (auto* mainWindow = qobject_cast<QMainWindow*>(parentWidget())) {
    mainWindow->addDockWidget(m_side, this);
  } else {
    floatAtFirst();
  }
  show();
  return 1;
}

void CDockBar::floatAtFirst() {
  setFloating(true);
  setWindowFlag(Qt::Tool);
  resize(sizeHint().boundedTo(screen()->availableSize()));
}

/// A window that releases the bar may have destroyed it.
BarAnswer CDockBar::askWindow() {
  static_assert(kDockBarClosing == QEvent::User + 101);
  if (!widget()) return BarAnswer::Closes;
  QEvent closing(static_cast<QEvent::Type>(kDockBarClosing));
  QCoreApplication::sendEvent(widget(), &closing);
  return closing.isAccepted() ? BarAnswer::Closes : BarAnswer::StaysOpen;
}

void CDockBar::closeEvent(QCloseEvent* event) {
  const QPointer<CDockBar> self(this);
  if (askWindow() != BarAnswer::StaysOpen) {
    if (self) QDockWidget::closeEvent(event);
    return;
  }
  event->ignore();
  if (self) toggleViewAction()->setChecked(isVisible());  // a menu may have taken its mark away
}

KxDockBar* new_DocBar(QWidget* mainWindow, const std::string& caption, std::uint32_t style, std::uint32_t place) {
  auto bar = std::make_unique<CDockBar>(mainWindow, QString::fromStdString(caption), style, place);
  if (!mainWindow) {
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, bar.get(), &QObject::deleteLater);
  }
  return bar.release();  // its main window's, or its own
}

}  // namespace quillbay
