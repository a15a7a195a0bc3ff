#pragma once
#include <condition_variable>
#include <cstddef>
#include <initializer_list>
#include <mutex>
#include <vector>

namespace quillbay {

/// Something that happened, for threads to wait for. An auto-reset event lets one waiter pass and is unset again;
/// a manual one lets all pass until `reset`. Any thread may use it; waiting sleeps, it never polls.
class Event {
 public:
  enum class Kind { Auto, Manual };
  explicit Event(Kind kind) : m_kind(kind) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void set();
  void reset();
  /// Whether it is set, without taking it.
  [[nodiscard]] bool isSet() const;
  /// Blocks until it is set; takes it when it is an auto-reset one.
  void wait();
  /// Blocks until one of them is set, takes it (auto-reset), and returns its place in the list. When several are
  /// set, the first counts; the others stay as they are.
  static std::size_t waitAny(std::initializer_list<Event*> events);

 private:
  struct Waiter {
    std::mutex mutex;
    std::condition_variable changed;
    bool woken = false;
  };
  [[nodiscard]] bool take();
  void attach(Waiter* waiter);
  void detach(Waiter* waiter);

  const Kind m_kind;
  mutable std::mutex m_mutex;  // guards the rest; taken before a waiter's
  bool m_set = false;
  std::vector<Waiter*> m_waiters;
};

}  // namespace quillbay
