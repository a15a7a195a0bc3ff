#pragma once
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "channels/codec/byte_buffer.h"

namespace quillbay {

/// Makes numbered items on all cores and delivers them in order on the caller's thread, which makes items, too,
/// while it waits. A bounded number of results is held. Threads: used on one thread.
class OrderedTeam {
 public:
  /// Makes an item into `out`; `member` is below `members()` and is at work on one item at a time.
  using Make = std::function<void(std::size_t item, unsigned member, ByteBuffer& out)>;
  using Deliver = std::function<void(const ByteBuffer&)>;

  /// `members` counts the caller.
  explicit OrderedTeam(unsigned members);
  ~OrderedTeam();
  OrderedTeam(const OrderedTeam&) = delete;
  OrderedTeam& operator=(const OrderedTeam&) = delete;

  [[nodiscard]] unsigned members() const noexcept { return static_cast<unsigned>(m_threads.size()) + 1; }
  /// Makes the items 0 to `count` - 1. Throws the first error of either function; nobody is at work any more then.
  void run(std::size_t count, const Make& make, const Deliver& deliver);

 private:
  struct Slot {
    ByteBuffer bytes;
    bool made = false;
  };
  void work(unsigned member);
  void makeOne(std::unique_lock<std::mutex>& lock, unsigned member);
  [[nodiscard]] bool mayTake() const noexcept { return m_next < m_end && m_next - m_delivered < m_slots.size(); }
  void fail(std::exception_ptr error) noexcept;

  std::vector<Slot> m_slots;  // an item's is at its number modulo their count
  std::vector<std::thread> m_threads;

  std::mutex m_mutex;  // guards what follows, and `made`
  std::condition_variable m_waiting, m_made;
  const Make* m_make = nullptr;
  std::size_t m_next = 0, m_end = 0, m_delivered = 0;  // items
  unsigned m_working = 0;                              // members
  std::exception_ptr m_error;
  bool m_stop = false;
};

}  // namespace quillbay
