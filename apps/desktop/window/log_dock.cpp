#include "window/log_dock.h"

#include <QLocale>
#include <QPlainTextEdit>
#include <QTime>

namespace desktop {

namespace {
constexpr int kMostLines = 5000;
}

LogDock::LogDock(QWidget* parent) : QDockWidget(tr("Log"), parent), m_lines(new QPlainTextEdit(this)) {
  setObjectName("logDock");
  m_lines->setReadOnly(true);
  m_lines->setUndoRedoEnabled(false);
  m_lines->setMaximumBlockCount(kMostLines);
  m_lines->setTabChangesFocus(true);
  m_lines->setAccessibleName(tr("Log"));
  setWidget(m_lines);
}

void LogDock::note(const QString& text) {
  const QString line = QTime::currentTime().toString("HH:mm:ss") + "  " + text;
  QMetaObject::invokeMethod(m_lines, [lines = m_lines, line] { lines->appendPlainText(line); });
}

QString LogDock::text() const { return m_lines->toPlainText(); }

}  // namespace desktop
