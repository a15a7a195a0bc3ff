#pragma once
#include <condition_variable>
#include <functional>
#include <mutex>

#include "stores/base_thread.h"

namespace quillbay {

/// Counts the phase of running dashes every 150 ms on a thread of its own. Suspended it costs nothing.
class DashClock final : public KxBaseThread {
 public:
  /// `tell` gets each phase, on that thread.
  explicit DashClock(std::function<void(int phase)> tell) : m_tell(std::move(tell)) {}
  ~DashClock() override { Stop(); }
  void Stop() override;
  int InitInstance() override;
  void Run() override;

 private:
  const std::function<void(int)> m_tell;
  std::mutex m_mutex;
  std::condition_variable m_wake;
  bool m_ends = false;  // guarded by m_mutex
};

}  // namespace quillbay
