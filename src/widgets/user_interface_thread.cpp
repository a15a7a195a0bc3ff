#include "widgets/user_interface_thread.h"

#ifndef NDEBUG

#include <QCoreApplication>
#include <QThread>
#include <atomic>

namespace quillbay {

namespace {
std::atomic<ThreadFault>& handlerSlot() {
  static std::atomic<ThreadFault> s_handler{nullptr};
  return s_handler;
}
}  // namespace

ThreadFault setThreadFaultHandler(ThreadFault handler) noexcept { return handlerSlot().exchange(handler); }

void assertUserInterfaceThread(const std::source_location& caller) {
  const QCoreApplication* app = QCoreApplication::instance();
  if (!app || QThread::currentThread() == app->thread()) return;
  if (const ThreadFault handler = handlerSlot().load()) return handler(caller.function_name());
  qFatal("%s was called off the user-interface thread", caller.function_name());
}

}  // namespace quillbay

#endif
