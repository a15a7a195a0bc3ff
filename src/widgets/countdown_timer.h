#pragma once
#include <memory>
#include <vector>

#include "widgets/tick_source.h"
#include "widgets/timer_client.h"

namespace quillbay {

/// Counts ticks down after the last of many changes: the clients fire once, in the order they were added, `period`
/// ticks after a restart, unless another restart comes first. User-interface thread only. The platform's timer runs
/// only while something is counted.
class CountdownTimer final {
 public:
  static constexpr int kTickMs = 50;
  explicit CountdownTimer(int tickMs = kTickMs, std::unique_ptr<TickSource> ticks = platformTicks());
  ~CountdownTimer();
  CountdownTimer(const CountdownTimer&) = delete;
  CountdownTimer& operator=(const CountdownTimer&) = delete;

  /// Stores the period in ticks; with `run` the countdown starts, otherwise it waits for `restart`.
  void start(int period, bool run);
  /// Counts the whole period again.
  void restart();
  /// Lets the platform's timer rest until the next `start`.
  void halt();
  void addWindow(QObject* dialog, int id, int code = 1);
  void addCallback(void (*function)(void*), void* argument);
  void addSync(ITimerSync* object, int value = 0);
  void addClient(KxPtr<ITIMER_CLIENT> client);
  /// Stops and releases all clients; none fires any more, and none can be added.
  void destroy();

  /// One tick, as the platform's timer gives it. A client may restart, destroy or delete the timer.
  void tick();
  /// Ticks left; -1 when stopped.
  [[nodiscard]] int countdown() const noexcept { return m_countdown; }

 private:
  using Clients = std::vector<KxPtr<ITIMER_CLIENT>>;
  void keepTime();

  // Shared with a tick that is firing them, which outlives the timer when a client deletes it.
  std::shared_ptr<Clients> m_clients = std::make_shared<Clients>();
  std::unique_ptr<TickSource> m_ticks;
  const int m_tickMs;
  int m_countdown = -1;
  int m_period = 0;
  bool m_ticking = false;
  bool m_started = false;
  bool m_closed = false;
};

}  // namespace quillbay
