#pragma once
#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>

/// SIGINT, SIGTERM and SIGHUP: the first one wakes the event loop, the second one ends the program at once
/// with 128 + its number, whatever the program is doing. SIGPIPE is ignored (the readers of scanner drivers raise
/// it). One object per process.
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;
  /// Called on the thread of the event loop for the first signal.
  void onFirst(std::function<void(int number)> handler);
  /// The first signal's number; 0 when there was none.
  [[nodiscard]] static int number() noexcept;
  /// Becomes readable with the first signal, for who waits for something else as well; nothing is to be read.
  [[nodiscard]] int descriptor() const noexcept { return m_pipe[0]; }

 private:
  int m_pipe[2] = {-1, -1};
  std::unique_ptr<QSocketNotifier> m_notifier;
  std::function<void(int)> m_handler;
};
