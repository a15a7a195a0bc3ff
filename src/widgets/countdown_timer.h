#pragma once
#include <QPointer>
#include <QTimer>
#include <vector>

#include "quillbay/kx_unknown.h"

namespace quillbay {

/// Told when a countdown expires.
class ITIMER_CLIENT : public IKxUnknown {
 public:
  virtual int Fire() = 0;
};

/// Posts a command to a dialog; nothing when it is gone.
class CWND_CLIENT final : public CKxUnknownImpl<ITIMER_CLIENT> {
 public:
  CWND_CLIENT(QObject* dialog, int id, int code) : m_dialog(dialog), m_id(id), m_code(code) {}
  int Fire() override;

 private:
  QPointer<QObject> m_dialog;
  int m_id, m_code;
};

/// Calls a function with its argument.
class CCALLBACK_CLIENT final : public CKxUnknownImpl<ITIMER_CLIENT> {
 public:
  CCALLBACK_CLIENT(void (*function)(void*), void* argument) : m_function(function), m_argument(argument) {}
  int Fire() override;

 private:
  void (*m_function)(void*);
  void* m_argument;
};

/// Counts ticks down after the last of many changes: the clients fire once, in the order they were added, `period`
/// ticks after a restart, unless another restart comes first. User-interface thread only. The platform's timer runs
/// only while something is counted.
class CountdownTimer final {
 public:
  static constexpr int kTickMs = 50;
  explicit CountdownTimer(int tickMs = kTickMs);

  /// Stores the period in ticks; with `run` the countdown starts, otherwise it waits for `restart`.
  void start(int period, bool run);
  /// Counts the whole period again.
  void restart();
  /// Lets the platform's timer rest until the next `start`.
  void halt();
  void addWindow(QObject* dialog, int id, int code = 1);
  void addCallback(void (*function)(void*), void* argument);
  void addClient(KxPtr<ITIMER_CLIENT> client);
  /// Stops and releases all clients; none can be added afterwards.
  void destroy();

  /// One tick, as the platform's timer gives it.
  void tick();
  /// Ticks left; -1 when stopped.
  [[nodiscard]] int countdown() const noexcept { return m_countdown; }

 private:
  void keepTime();

  std::vector<KxPtr<ITIMER_CLIENT>> m_clients;
  QTimer m_timer;
  int m_countdown = -1;
  int m_period = 0;
  bool m_started = false;
  bool m_closed = false;
};

}  // namespace quillbay
