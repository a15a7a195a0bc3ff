#include "next_page.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>

#include "failure.h"
#include "translated.h"

void NextPage::begin(bool feeds) {
  m_feeds = feeds;
  const bool several = m_options.batch && *m_options.batch != 1;
  if (feeds && several && m_options.bursting && comesBetween()) {
    throw Failure(kUsage, translated("%s and --bursting cannot be used together on a device with a feeder",
                                     {m_options.batchPrompt ? "--batch-prompt" : "--batch-delay"}));
  }
  if (feeds || !several || m_options.batchPrompt || m_options.batchDelay || isatty(STDIN_FILENO) != 0) return;
  throw Failure(
      kUsage,
      translated(
          "--batch: the device has no feeder, and standard input is not a terminal. Use --batch-prompt to read "
          "one line before each further page, or --batch-delay SECONDS"));
}

bool NextPage::comesBetween() const { return m_feeds && (m_options.batchPrompt || m_options.batchDelay); }

bool NextPage::wait(const std::string& what) {
  if (m_options.batchDelay) return sleep(false, *m_options.batchDelay) == Woken::Time;
  m_reporter.prompt(what + " " + translated("Return scans it, Ctrl-D ends the batch:") + " ");
  const bool goesOn = readLine();
  m_reporter.promptEnded(goesOn);
  m_ended = !goesOn && Interrupts::number() == 0;
  return goesOn;
}

NextPage::Woken NextPage::sleep(bool forInput, double seconds) const {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  pollfd waits[] = {{m_interrupts.descriptor(), POLLIN, 0}, {forInput ? STDIN_FILENO : -1, POLLIN, 0}};
  for (;;) {
    const double left = std::chrono::duration<double, std::milli>(end - Clock::now()).count();
    if (!forInput && left <= 0) return Woken::Time;
    const int ready = poll(waits, 2, forInput ? -1 : static_cast<int>(std::ceil(left)));
    if (Interrupts::number() != 0 || waits[0].revents != 0) return Woken::Signal;
    if (ready > 0) return Woken::Input;
    if (ready < 0 && errno != EINTR) return Woken::Signal;  // waiting is not possible
  }
}

bool NextPage::readLine() {
  while (sleep(true, 0) == Woken::Input) {
    char c = 0;
    const ssize_t got = read(STDIN_FILENO, &c, 1);  // one at a time: the rest belongs to the next answer
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    if (c == '\n') return true;
  }
  return false;
}
