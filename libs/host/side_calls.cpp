#include "host/side_calls.h"

#include <QCoreApplication>
#include <QEvent>

namespace quillbay {

void SideCalls::run(const std::function<void()>& call) {
  if (std::this_thread::get_id() == m_thread) return call();
  bool isDone = false;
  std::exception_ptr fault;
  add({call, &isDone, &fault});
  std::unique_lock lock(m_mutex);
  m_changed.wait(lock, [&] { return isDone; });
  if (fault) std::rethrow_exception(fault);
}

void SideCalls::post(std::function<void()> call) { add({std::move(call), nullptr, nullptr}); }

void SideCalls::add(Call call) {
  {
    const std::lock_guard lock(m_mutex);
    m_calls.push_back(std::move(call));
  }
  m_changed.notify_all();
  QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool SideCalls::serveOne() {
  Call call;
  {
    const std::lock_guard lock(m_mutex);
    if (m_calls.empty()) return false;
    call = std::move(m_calls.front());
    m_calls.pop_front();
  }
  std::exception_ptr fault;
  ++m_serving;
  try {
    call.work();
  } catch (...) {  // thrown again where the call came from; a posted call throws nothing
    fault = std::current_exception();
  }
  --m_serving;
  call.work = nullptr;  // what it holds is released on this thread, before its caller goes on
  if (!call.isDone) return true;
  {
    const std::lock_guard lock(m_mutex);
    *call.fault = fault;
    *call.isDone = true;
  }
  m_changed.notify_all();
  return true;
}

void SideCalls::serveUntil(const std::function<bool()>& isDone) {
  for (;;) {
    while (serveOne()) {
    }
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return !m_calls.empty() || isDone(); });
    if (m_calls.empty()) return;
  }
}

void SideCalls::customEvent(QEvent*) {
  while (serveOne()) {
  }
}

}  // namespace quillbay
