#include "stores/event.h"

#include <algorithm>

namespace quillbay {

void Event::set() {
  const std::lock_guard lock(m_mutex);
  m_set = true;
  for (Waiter* waiter : m_waiters) {
    // Notified under the lock: a waiter may be gone as soon as it could take the event.
    const std::lock_guard waking(waiter->mutex);
    waiter->woken = true;
    waiter->changed.notify_one();
  }
}

void Event::reset() {
  const std::lock_guard lock(m_mutex);
  m_set = false;
}

bool Event::isSet() const {
  const std::lock_guard lock(m_mutex);
  return m_set;
}

void Event::wait() { waitAny({this}); }

std::size_t Event::waitAny(std::initializer_list<Event*> events) {
  Waiter waiter;
  for (Event* event : events) event->attach(&waiter);
  std::size_t taken = 0;
  for (;;) {
    const auto* found = std::find_if(events.begin(), events.end(), [](Event* event) { return event->take(); });
    taken = static_cast<std::size_t>(found - events.begin());
    if (found != events.end()) break;
    std::unique_lock lock(waiter.mutex);
    waiter.changed.wait(lock, [&] { return waiter.woken; });
    waiter.woken = false;
  }
  for (Event* event : events) event->detach(&waiter);
  return taken;
}

bool Event::take() {
  const std::lock_guard lock(m_mutex);
  if (!m_set) return false;
  if (m_kind == Kind::Auto) m_set = false;
  return true;
}

void Event::attach(Waiter* waiter) {
  const std::lock_guard lock(m_mutex);
  m_waiters.push_back(waiter);
}

void Event::detach(Waiter* waiter) {
  const std::lock_guard lock(m_mutex);
  std::erase(m_waiters, waiter);
}

}  // namespace quillbay
