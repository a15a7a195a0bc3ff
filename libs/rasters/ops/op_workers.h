#pragma once
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace quillbay {

/// Threads that share the parts of a step among themselves and with the calling thread. Used by one thread.
class OpWorkers {
 public:
  OpWorkers();
  ~OpWorkers();
  OpWorkers(const OpWorkers&) = delete;
  OpWorkers& operator=(const OpWorkers&) = delete;

  /// Threads that may be at work at once, the calling one with them; `worker` below is less.
  [[nodiscard]] std::size_t count() const noexcept { return m_threads.size() + 1; }
  /// Has `part(i, worker)` done for every i from 0 to `parts` - 1, in any order, on all threads; the calling one
  /// does `meanwhile` first. Comes back when all is done, or throws the first thing that was thrown once nothing is
  /// at work any more.
  void run(std::int64_t parts, const std::function<void(std::int64_t, std::size_t)>& part,
           const std::function<void()>& meanwhile = {});

 private:
  void threadMain(std::size_t worker);
  void work(std::unique_lock<std::mutex>& lock, std::size_t worker);
  void fail(std::exception_ptr error) noexcept;

  std::mutex m_mutex;
  std::condition_variable m_wake, m_done;
  // Guarded by m_mutex.
  const std::function<void(std::int64_t, std::size_t)>* m_part = nullptr;  // the caller's
  std::int64_t m_next = 0, m_parts = 0, m_running = 0;
  std::exception_ptr m_error;
  bool m_ends = false;

  std::vector<std::thread> m_threads;
};

}  // namespace quillbay
