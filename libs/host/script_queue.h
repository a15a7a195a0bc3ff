#pragma once
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "host/script_side.h"
#include "host/side_calls.h"
#include "quillbay/connection_point.h"
#include "quillbay/script_services.h"

namespace quillbay {

/// Works on jobs aside from the user-interface thread, one after another in their order, on one thread of its own,
/// which lives while there are some. User-interface thread, except what a job itself does.
class CScriptQueue final : public CKxUnknownImpl<IScriptQueue> {
 public:
  CScriptQueue() = default;
  /// Waits for what is left.
  ~CScriptQueue() override { Finish(); }

  struct Job {
    std::function<void()> work;  ///< on the queue's thread; throws nothing; destroyed on the user-interface thread
    CancelFlag cancelled;        ///< empty: it is always done to its end
    int page = 0;                ///< that it works on
  };
  void add(Job job);
  /// Whether a job for this page runs or waits.
  [[nodiscard]] bool holds(int page) const;
  [[nodiscard]] SideCalls& calls() { return m_calls; }

  int Count() override { return static_cast<int>(m_held.size()); }
  void Cancel() override;
  void Finish() override;
  KxPtr<IConnectionPoint<IScriptQueueSink>> GetSinks() override {
    return KxPtr<IConnectionPoint<IScriptQueueSink>>::share(m_sinks.get());
  }

 private:
  void work();
  void ended();
  void tell();

  SideCalls m_calls;
  std::deque<Job> m_held;  // user-interface thread: those that run and wait
  const KxPtr<TConnectionPointImpl<IScriptQueueSink>> m_sinks =
      KxPtr<TConnectionPointImpl<IScriptQueueSink>>::adopt(new TConnectionPointImpl<IScriptQueueSink>);
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<std::function<void()>*> m_waiting;  // guarded
  bool m_stops = false;                          // guarded
  std::thread m_thread;
};

}  // namespace quillbay
