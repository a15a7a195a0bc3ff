#include "widgets/countdown_timer.h"

#include "widgets/user_interface_thread.h"

namespace quillbay {

CountdownTimer::CountdownTimer(int tickMs, std::unique_ptr<TickSource> ticks)
    : m_ticks(std::move(ticks)), m_tickMs(tickMs) {}

CountdownTimer::~CountdownTimer() { destroy(); }

void CountdownTimer::start(int period, bool run) {
  assertUserInterfaceThread();
  m_period = period;
  m_countdown = run ? period : -1;
  m_started = true;
  keepTime();
}

void CountdownTimer::restart() {
  assertUserInterfaceThread();
  m_countdown = m_period;
  keepTime();
}

void CountdownTimer::halt() {
  m_started = false;
  keepTime();
}

void CountdownTimer::addWindow(QObject* dialog, int id, int code) {
  addClient(KxPtr<ITIMER_CLIENT>::adopt(new CWND_CLIENT(dialog, id, code)));
}

void CountdownTimer::addCallback(void (*function)(void*), void* argument) {
  addClient(KxPtr<ITIMER_CLIENT>::adopt(new CCALLBACK_CLIENT(function, argument)));
}

void CountdownTimer::addSync(ITimerSync* object, int value) {
  if (object) addClient(KxPtr<ITIMER_CLIENT>::adopt(new CSYNC_CLIENT(object, value)));
}

void CountdownTimer::addClient(KxPtr<ITIMER_CLIENT> client) {
  if (!m_closed && client) m_clients->push_back(std::move(client));
}

void CountdownTimer::destroy() {
  m_closed = true;
  halt();
  m_clients->clear();
}

void CountdownTimer::tick() {
  if (m_countdown > 0) --m_countdown;
  if (m_countdown != 0) return;
  m_countdown = -1;
  keepTime();
  const auto clients = m_clients;
  const std::size_t count = clients->size();  // a client added meanwhile waits for the next expiry
  for (std::size_t i = 0; i < count && i < clients->size(); ++i) {
    const auto client = (*clients)[i];
    client->Fire();
  }
}

void CountdownTimer::keepTime() {
  const bool ticking = m_started && m_countdown >= 0;
  if (ticking == m_ticking) return;
  m_ticking = ticking;
  if (ticking) {
    m_ticks->start(m_tickMs, [this] { tick(); });
  } else {
    m_ticks->stop();
  }
}

}  // namespace quillbay
