#include "stores/base_thread.h"

#include <exception>
#include <memory>
#include <string>
#include <system_error>

#include "platform/base_services.h"
#include "platform/log_category.h"

namespace quillbay {

namespace {

// A step of the derived class; what it throws ends the step, not the process.
template <class Step>
void guarded(const char* name, Step step) {
  try {
    step();
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, kStoreLog, std::string("a worker's ") + name + " failed: " + e.what());
  }
}

}  // namespace

// Shared by `Start` and the thread, since the object may be gone before either is through with it.
struct KxBaseThread::Launch {
  Event go{Event::Kind::Auto};
  Event started{Event::Kind::Auto};
};

KxBaseThread::~KxBaseThread() { KxBaseThread::Stop(); }

int KxBaseThread::Start(unsigned deleteOnExit, int startSuspended) {
  const auto launch = std::make_shared<Launch>();
  {
    const std::lock_guard lock(m_mutex);
    if (m_thread.joinable()) return 0;
    m_stop.reset();
    m_done.reset();
    m_deleteOnExit = deleteOnExit != 0;
    m_suspended = startSuspended != 0 ? 1 : 0;
    try {
      m_thread = std::thread([this, launch] { procedure(*launch); });
    } catch (const std::system_error& e) {
      logLine(LogLevel::Error, kStoreLog, std::string("no thread could be started: ") + e.what());
      return 0;
    }
  }
  launch->go.set();
  launch->started.wait();
  return 1;
}

void KxBaseThread::procedure(Launch& launch) {
  launch.go.wait();
  const bool deletes = m_deleteOnExit;
  int ok = 0;
  guarded("start", [&] { ok = InitInstance(); });
  launch.started.set();
  if (ok != 0) {
    passGate();
    guarded("body", [&] { Run(); });
  }
  m_done.set();
  if (deletes) delete this;
}

void KxBaseThread::Stop() {
  std::thread thread;
  {
    const std::lock_guard lock(m_mutex);
    if (!m_thread.joinable()) return;
    m_suspended = 0;
    m_gate.notify_all();
    m_stop.set();
    if (m_thread.get_id() == std::this_thread::get_id()) {
      // The worker deletes itself, or asks itself to stop: nothing waits for it.
      if (m_done.isSet()) m_thread.detach();
      return;
    }
    thread = std::move(m_thread);
  }
  thread.join();
}

unsigned KxBaseThread::Suspend() {
  const std::lock_guard lock(m_mutex);
  return m_thread.joinable() ? m_suspended++ : kNoThread;
}

unsigned KxBaseThread::Resume() {
  const std::lock_guard lock(m_mutex);
  if (!m_thread.joinable()) return kNoThread;
  const unsigned before = m_suspended;
  if (m_suspended > 0 && --m_suspended == 0) m_gate.notify_all();
  return before;
}

int KxBaseThread::IsRunning() {
  const std::lock_guard lock(m_mutex);
  return m_thread.joinable() && !m_done.isSet() ? 1 : 0;
}

void KxBaseThread::passGate() {
  std::unique_lock lock(m_mutex);
  m_gate.wait(lock, [this] { return m_suspended == 0; });
}

}  // namespace quillbay
