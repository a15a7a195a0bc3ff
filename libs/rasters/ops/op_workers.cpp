#include "rasters/ops/op_workers.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace quillbay {

OpWorkers::OpWorkers() {
  const std::size_t threads = std::clamp(std::thread::hardware_concurrency(), 1U, 8U) - 1;
  m_threads.reserve(threads);
  try {
    while (m_threads.size() < threads) m_threads.emplace_back([this, i = m_threads.size()] { threadMain(i + 1); });
  } catch (const std::system_error&) {
    // The system has no more threads to give: those that there are do it.
  }
}

OpWorkers::~OpWorkers() {
  {
    const std::lock_guard lock(m_mutex);
    m_ends = true;
  }
  m_wake.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

/// Keeps the first error, and leaves out what was not begun. The caller holds m_mutex.
void OpWorkers::fail(std::exception_ptr error) noexcept {
  if (!m_error) m_error = std::move(error);
  m_next = m_parts;
}

/// Does parts until none is left.
void OpWorkers::work(std::unique_lock<std::mutex>& lock, std::size_t worker) {
  while (m_next < m_parts) {
    const std::int64_t i = m_next++;
    ++m_running;
    lock.unlock();
    std::exception_ptr error;
    try {
      (*m_part)(i, worker);
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    --m_running;
    if (error) fail(std::move(error));
  }
  if (m_running == 0) m_done.notify_all();
}

void OpWorkers::run(std::int64_t parts, const std::function<void(std::int64_t, std::size_t)>& part,
                    const std::function<void()>& meanwhile) {
  std::unique_lock lock(m_mutex);
  m_part = &part;
  m_next = 0;
  m_parts = parts;
  m_wake.notify_all();
  if (meanwhile) {
    lock.unlock();
    std::exception_ptr error;
    try {
      meanwhile();
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    if (error) fail(std::move(error));
  }
  work(lock, 0);
  m_done.wait(lock, [this] { return m_running == 0; });
  if (m_error) std::rethrow_exception(std::exchange(m_error, nullptr));
}

void OpWorkers::threadMain(std::size_t worker) {
  std::unique_lock lock(m_mutex);
  while (!m_ends) {
    work(lock, worker);
    m_wake.wait(lock, [this] { return m_ends || m_next < m_parts; });
  }
}

}  // namespace quillbay
