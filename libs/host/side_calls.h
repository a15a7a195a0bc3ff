#pragma once
#include <QObject>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace quillbay {

/// Calls of another thread that run on the user-interface thread, in the order in which they came.
class SideCalls final : public QObject {
 public:
  /// On the user-interface thread, which also destroys it, when no other thread calls any more.
  SideCalls() = default;

  /// Runs `call` there and returns when it has returned; throws what it throws. On the user-interface thread: at
  /// once.
  void run(const std::function<void()>& call);
  /// Runs it later, and before every later `run`.
  void post(std::function<void()> call);
  /// User-interface thread: serves calls until `isDone`, which is asked after each, without an event loop.
  void serveUntil(const std::function<bool()>& isDone);
  /// Whether this is a call from another thread, which waits for its end. User-interface thread.
  [[nodiscard]] bool isServing() const noexcept { return m_serving > 0; }

 protected:
  void customEvent(QEvent* event) override;

 private:
  struct Call {
    std::function<void()> work;
    bool* isDone = nullptr;  // of a caller that waits
    std::exception_ptr* fault = nullptr;
  };
  void add(Call call);
  [[nodiscard]] bool serveOne();

  const std::thread::id m_thread = std::this_thread::get_id();
  int m_serving = 0;  // user-interface thread
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<Call> m_calls;
};

}  // namespace quillbay
