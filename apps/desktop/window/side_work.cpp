#include "window/side_work.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLocale>
#include <QProgressDialog>
#include <QTimer>
#include <exception>
#include <thread>

namespace desktop {

namespace {
constexpr int kSideShowMs = 500, kSideRefreshMs = 50, kWidth = 360;

/// Positions without an end are lines.
void show(QProgressDialog& dialog, const SideProgress& progress) {
  const int end = progress.end(), lines = end > 0 ? 0 : progress.position();
  const QString count = QCoreApplication::translate("PageFiles", "%1 lines").arg(QLocale().toString(lines));
  dialog.setLabelText(progress.text() + "\n" + (lines > 0 ? count : QString()));
  if (dialog.maximum() != end) dialog.setMaximum(end);
  dialog.setValue(end > 0 ? progress.position() : 0);
}

}  // namespace

void SideProgress::SetText(const char* text) {
  const std::lock_guard lock(m_mutex);
  m_text = QString::fromUtf8(text);
}

void SideProgress::begin(const QString& text, int end) {
  const std::lock_guard lock(m_mutex);
  m_text = text;
  m_position = 0;
  m_end = end;
}

QString SideProgress::text() const {
  const std::lock_guard lock(m_mutex);
  return m_text;
}

void workBeside(QWidget* window, SideProgress& progress, const std::function<void()>& work) {
  std::atomic<bool> done{false};
  std::exception_ptr fault;
  std::thread thread([&] {
    try {
      work();
    } catch (...) {  // thrown again below
      fault = std::current_exception();
    }
    done = true;
    QCoreApplication::postEvent(QCoreApplication::instance(), new QEvent(QEvent::None));  // wakes the loop
  });
  QProgressDialog dialog(window);
  dialog.setWindowModality(Qt::WindowModal);
  dialog.setMinimumDuration(kSideShowMs * 100);  // shown below: the window's own rule needs positions
  dialog.setAutoClose(false);
  dialog.setAutoReset(false);
  dialog.setMinimumWidth(kWidth);
  QObject::connect(&dialog, &QDialog::rejected, &dialog, [&] { progress.cancel(); });
  QTimer refresh;
  QObject::connect(&refresh, &QTimer::timeout, &dialog, [&] { show(dialog, progress); });
  refresh.start(kSideRefreshMs);
  QElapsedTimer running;
  running.start();
  while (!done) {
    if (dialog.wasCanceled()) progress.cancel();
    if (!dialog.isVisible() && running.elapsed() >= kSideShowMs && !progress.IsCancelled()) {
      show(dialog, progress);
      dialog.show();
    }
    // Before the window is there nothing keeps input from what must not change meanwhile: it waits.
    const auto input = dialog.isVisible() ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents;
    QCoreApplication::processEvents(input | QEventLoop::WaitForMoreEvents);
  }
  thread.join();
  if (fault) std::rethrow_exception(fault);
}

}  // namespace desktop
