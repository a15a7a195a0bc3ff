#include "interrupts.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "failure.h"
#include "translated.h"

namespace {

// The only state that the signal handler may touch.
std::atomic<int> g_first{0};
std::atomic<int> g_pipe{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void takeSignal(int number) {
  int none = 0;
  if (!g_first.compare_exchange_strong(none, number)) _exit(kSignal + number);
  const int saved = errno;
  const char byte = 1;
  // A full pipe is no loss: one byte is enough to wake the loop.
  [[maybe_unused]] const ssize_t written = write(g_pipe.load(), &byte, 1);
  errno = saved;
}

void install(int number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(number, &action, nullptr);
}

}  // namespace

Interrupts::Interrupts() {
  if (pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw Failure(kUsage, translated("no pipe can be made: too many files are open; close other programs"));
  }
  g_pipe = m_pipe[1];
  install(SIGPIPE, SIG_IGN);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) install(number, takeSignal);
}

Interrupts::~Interrupts() {
  m_notifier.reset();
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) install(number, SIG_DFL);
  g_pipe = -1;
  close(m_pipe[0]);
  close(m_pipe[1]);
}

void Interrupts::onFirst(std::function<void(int)> handler) {
  m_handler = std::move(handler);
  m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
  QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
    m_notifier->setEnabled(false);
    m_handler(g_first.load());
  });
}

int Interrupts::number() noexcept { return g_first.load(); }
