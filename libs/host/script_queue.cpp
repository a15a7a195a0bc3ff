#include "host/script_queue.h"

#include <algorithm>

namespace quillbay {

void CScriptQueue::add(Job job) {
  m_held.push_back(std::move(job));
  {
    const std::lock_guard lock(m_mutex);
    m_waiting.push_back(&m_held.back().work);  // a deque keeps its elements where they are
  }
  if (m_thread.joinable()) {
    m_changed.notify_one();
  } else {
    m_thread = std::thread([this] { work(); });
  }
  tell();
}

bool CScriptQueue::holds(int page) const {
  return std::any_of(m_held.begin(), m_held.end(), [page](const Job& job) { return job.page == page; });
}

void CScriptQueue::work() {
  for (;;) {
    std::function<void()>* job = nullptr;
    {
      std::unique_lock lock(m_mutex);
      m_changed.wait(lock, [this] { return m_stops || !m_waiting.empty(); });
      if (m_waiting.empty()) return;
      job = m_waiting.front();
      m_waiting.pop_front();
    }
    (*job)();
    m_calls.post([this] { ended(); });
  }
}

void CScriptQueue::ended() {
  m_held.pop_front();
  tell();
}

void CScriptQueue::tell() {
  const auto sinks = m_sinks->Enumerate();
  while (const auto sink = sinks->Next()) sink->QueueChanged(Count());
}

void CScriptQueue::Cancel() {
  for (const Job& job : m_held) {
    if (job.cancelled) *job.cancelled = true;
  }
}

void CScriptQueue::Finish() {
  // In a message of a job, its end would be waited for in vain.
  if (!m_thread.joinable() || m_calls.isServing()) return;
  m_calls.serveUntil([this] { return m_held.empty(); });
  {
    const std::lock_guard lock(m_mutex);
    m_stops = true;
  }
  m_changed.notify_one();
  m_thread.join();
  m_stops = false;
}

}  // namespace quillbay
