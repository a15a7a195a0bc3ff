#include "channels/tiff/ordered_team.h"

#include <system_error>
#include <utility>

namespace quillbay {
namespace {

constexpr std::size_t kSlotsPerMember = 4;

}  // namespace

OrderedTeam::OrderedTeam(unsigned members) : m_slots(kSlotsPerMember * members) {
  try {
    for (unsigned i = 1; i < members; ++i) m_threads.emplace_back([this, i] { work(i); });
  } catch (const std::system_error&) {
    // Fewer threads than cores will do; the caller is one.
  }
}

OrderedTeam::~OrderedTeam() {
  {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
  }
  m_waiting.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

void OrderedTeam::work(unsigned member) {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_waiting.wait(lock, [this] { return m_stop || mayTake(); });
    if (m_stop) return;
    makeOne(lock, member);
  }
}

/// The first error counts; no item is begun after it.
void OrderedTeam::fail(std::exception_ptr error) noexcept {
  if (!m_error) m_error = std::move(error);
  m_end = m_next;
}

void OrderedTeam::makeOne(std::unique_lock<std::mutex>& lock, unsigned member) {
  const std::size_t item = m_next++;
  Slot& slot = m_slots[item % m_slots.size()];
  ++m_working;
  lock.unlock();
  std::exception_ptr error;
  try {
    (*m_make)(item, member, slot.bytes);
  } catch (...) {
    error = std::current_exception();
  }
  lock.lock();
  --m_working;
  slot.made = true;
  if (error) fail(std::move(error));
  m_made.notify_one();
}

void OrderedTeam::run(std::size_t count, const Make& make, const Deliver& deliver) {
  std::unique_lock lock(m_mutex);
  for (Slot& slot : m_slots) slot.made = false;
  m_make = &make;
  m_next = m_delivered = 0;
  m_end = count;
  m_error = nullptr;
  m_waiting.notify_all();
  while (m_delivered < m_end && !m_error) {
    Slot& front = m_slots[m_delivered % m_slots.size()];
    if (front.made) {
      lock.unlock();
      std::exception_ptr error;
      try {
        deliver(front.bytes);
      } catch (...) {
        error = std::current_exception();
      }
      lock.lock();
      if (error) fail(std::move(error));
      front.made = false;
      ++m_delivered;
      m_waiting.notify_one();
    } else if (mayTake()) {
      makeOne(lock, 0);
    } else {
      m_made.wait(lock, [&] { return front.made || m_error; });
    }
  }
  m_made.wait(lock, [this] { return m_working == 0; });
  m_end = m_next = 0;
  if (m_error) std::rethrow_exception(std::exchange(m_error, nullptr));
}

}  // namespace quillbay
