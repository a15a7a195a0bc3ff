#pragma once
#include <mutex>
#include <thread>

#include "stores/event.h"

namespace quillbay {

/// A long activity with a thread of its own: `InitInstance`, then `Run`, on that thread.
///
/// Life: no thread -> `Start` -> running (perhaps suspended) -> the body returned (the done event is set, the
/// handle is kept) -> `Stop` -> no thread. `Start` works again only after `Stop`. Threads: one controlling thread
/// calls the public operations. The body watches `stopEvent` or events of its own, and calls `passGate` where it
/// waits: that is where a suspended worker stands still. A derived class calls `Stop` in its destructor: when the
/// one of this class runs, its `Run` is gone already.
class KxBaseThread {
 public:
  /// What `Suspend` and `Resume` return without a thread.
  static constexpr unsigned kNoThread = 40;

  KxBaseThread() = default;
  KxBaseThread(const KxBaseThread&) = delete;
  KxBaseThread& operator=(const KxBaseThread&) = delete;
  virtual ~KxBaseThread();

  /// Starts the thread and returns when `InitInstance` has finished. With `deleteOnExit` the object deletes itself
  /// after its body: nothing uses it any more. With `startSuspended` the body begins after `Resume`.
  /// Returns 1; 0 when there is a thread already (nothing changes) or none can be made.
  virtual int Start(unsigned deleteOnExit, int startSuspended);
  /// Resumes a suspended worker, sets the stop event and waits for the body to return. On the worker itself it only
  /// sets the event.
  virtual void Stop();
  /// First step on the new thread; 0: there is no body to run.
  virtual int InitInstance() = 0;
  virtual void Run() = 0;
  /// Holds the worker at its next gate. Returns how many times it was suspended before, `kNoThread` without thread.
  virtual unsigned Suspend();
  /// Takes one suspension back; the last one lets the worker go on. Returns the count before.
  virtual unsigned Resume();
  /// 1 while the body runs.
  virtual int IsRunning();

 protected:
  /// Blocks while the worker is suspended. Called by the body where it waits.
  void passGate();
  [[nodiscard]] Event& stopEvent() noexcept { return m_stop; }
  [[nodiscard]] Event& doneEvent() noexcept { return m_done; }

 private:
  struct Launch;
  void procedure(Launch& launch);

  Event m_stop{Event::Kind::Auto};
  Event m_done{Event::Kind::Manual};
  std::mutex m_mutex;  // guards the rest
  std::condition_variable m_gate;
  unsigned m_suspended = 0;
  bool m_deleteOnExit = false;
  std::thread m_thread;
};

}  // namespace quillbay
