#include "window/progress_window.h"

#include <QCoreApplication>
#include <utility>

namespace desktop {

namespace {
constexpr int kShowAfterMs = 500, kRefreshMs = 50;
}

ProgressWindow::ProgressWindow(const QString& text, int end, QWidget* window)
    : m_text(text), m_dialog(text, QCoreApplication::translate("PageFiles", "Cancel"), 0, end, window) {
  m_dialog.setWindowModality(Qt::WindowModal);
  m_dialog.setMinimumDuration(kShowAfterMs);
  m_dialog.setAutoClose(false);
  m_dialog.setAutoReset(false);
  m_refreshed.start();
}

void ProgressWindow::SetText(const char* text) { m_dialog.setLabelText(m_text + "\n" + QString::fromUtf8(text)); }

void ProgressWindow::Step() {
  const int end = m_dialog.maximum();
  SetPosition(end > 0 ? (m_position + 1) % end : m_position + 1);
}

int ProgressWindow::SetPosition(int position) {
  const int before = std::exchange(m_position, position);
  if (m_refreshed.elapsed() >= kRefreshMs) {
    m_dialog.setValue(position);  // shows it when it is time, and lets a modal window's events through
    m_refreshed.restart();
  }
  return before;
}

}  // namespace desktop
