#pragma once
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "quillbay/app.h"
#include "quillbay/kx_unknown.h"
#include "scanners/sane/sane_auth.h"

namespace quillbay {

/// The one thread of the process on which SANE is called (except `sane_cancel`, which any thread may call).
/// It starts with the first task, initialises SANE, and lives as long as the process, since drivers keep threads
/// and state of their own that cannot be taken down safely. A running scan occupies it: its reading loop is a task.
/// SIGPIPE is blocked on it, and so on the drivers' threads, which are started from it.
class SaneThread {
 public:
  static SaneThread& instance();

  /// Runs `work` there and waits; what it throws is thrown here. Passwords that SANE asks for meanwhile are asked
  /// for on the calling thread, through the `IEvents` of `app` (may be null: then without a password). From the
  /// thread itself: runs at once.
  void call(IApp* app, const std::function<void()>& work);
  /// Runs `work` there later. It must not throw. Passwords are asked for on the SANE thread.
  void post(KxPtr<IApp> app, std::function<void()> work);
  [[nodiscard]] bool isCurrent() const noexcept;
  /// Scans of any device that wait for the thread or occupy it: a `call` would have to wait for their end.
  void beginScan() noexcept { ++m_scans; }
  void endScan() noexcept { --m_scans; }
  [[nodiscard]] bool isScanning() const noexcept { return m_scans > 0; }
  /// The number of open devices; `SaneDevice` sets it, on the thread.
  void deviceOpened() noexcept { ++m_devices; }
  void deviceClosed() noexcept { --m_devices; }
  /// On the thread: takes the drivers down and up again, since many know only the devices that they found when they
  /// started. Some drivers do not like it: only when a device that is there cannot be opened otherwise. Does
  /// nothing and answers false while a device is open.
  bool renewDrivers();
  /// The passwords given so far were refused: ask again next time.
  void forgetPasswords() { m_auth.forget(); }

 private:
  struct Task;
  struct Question;
  SaneThread();
  void run();
  static void startDrivers();
  void runTask(Task& task);
  void enqueue(std::shared_ptr<Task> task);
  bool askCaller(const std::string& prompt, bool secret, std::string* answer);
  static void authorise(const char* resource, char* user, char* password);

  SaneAuth m_auth;
  std::atomic<int> m_scans{0};
  int m_devices = 0;   // SANE thread
  std::mutex m_mutex;  // guards the rest
  std::condition_variable m_wake;
  std::condition_variable m_progress;  // a task is done, or has a question, or its question is answered
  std::deque<std::shared_ptr<Task>> m_tasks;
  std::shared_ptr<Task> m_running;
};

/// Lets a write into a closed pipe fail with an error instead of ending the program: drivers restore the default
/// after a scan, so it is called before each.
void ignoreSigpipe() noexcept;

}  // namespace quillbay
