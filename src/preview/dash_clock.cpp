#include "preview/dash_clock.h"

#include <chrono>

#include "preview/frame_rules.h"

namespace quillbay {

namespace {
constexpr std::chrono::milliseconds kTick{150};
}

void DashClock::Stop() {
  {
    const std::lock_guard lock(m_mutex);
    m_ends = true;
  }
  m_wake.notify_all();
  KxBaseThread::Stop();
}

int DashClock::InitInstance() {
  const std::lock_guard lock(m_mutex);
  m_ends = false;
  return 1;
}

void DashClock::Run() {
  for (int phase = 1;; phase = nextPhase(phase)) {
    passGate();
    {
      std::unique_lock lock(m_mutex);
      if (m_wake.wait_for(lock, kTick, [this] { return m_ends; })) return;
    }
    m_tell(phase);
  }
}

}  // namespace quillbay
