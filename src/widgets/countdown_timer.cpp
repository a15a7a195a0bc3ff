#include "widgets/countdown_timer.h"

#include "platform/post_command.h"

namespace quillbay {

int CWND_CLIENT::Fire() {
  if (m_dialog) PostCommand(m_dialog, m_id, m_code);
  return 1;
}

int CCALLBACK_CLIENT::Fire() {
  m_function(m_argument);
  return 1;
}

CountdownTimer::CountdownTimer(int tickMs) {
  m_timer.setInterval(tickMs);
  QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { tick(); });
}

void CountdownTimer::start(int period, bool run) {
  m_period = period;
  m_countdown = run ? period : -1;
  m_started = true;
  keepTime();
}

void CountdownTimer::restart() {
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

void CountdownTimer::addClient(KxPtr<ITIMER_CLIENT> client) {
  if (!m_closed && client) m_clients.push_back(std::move(client));
}

void CountdownTimer::destroy() {
  m_closed = true;
  halt();
  m_clients.clear();
}

void CountdownTimer::tick() {
  if (m_countdown > 0) --m_countdown;
  if (m_countdown != 0) return;
  m_countdown = -1;
  keepTime();
  const auto clients = m_clients;  // a client may add one, or destroy the list
  for (const auto& client : clients) client->Fire();
}

void CountdownTimer::keepTime() {
  if (m_started && m_countdown >= 0) {
    if (!m_timer.isActive()) m_timer.start();
  } else {
    m_timer.stop();
  }
}

}  // namespace quillbay
