#pragma once
#include <string>

#include "interrupts.h"
#include "reporter.h"
#include "scan_options.h"

/// What happens between the pages of a batch: nothing, a pause, or a wait for the user at standard input.
class NextPage {
 public:
  NextPage(const ScanOptions& options, Reporter& reporter, const Interrupts& interrupts)
      : m_options(options), m_reporter(reporter), m_interrupts(interrupts) {}

  /// To be called before the first page. `feeds`: the device feeds the next document. Throws Failure (usage)
  /// if it does not and no terminal can ask for the next document.
  void begin(bool feeds);
  /// Whether the device feeds, and something happens between its pages all the same.
  [[nodiscard]] bool comesBetween() const;
  /// Waits; `what` goes before the question. Returns whether the next page is scanned; a signal and the end of
  /// standard input mean no.
  bool wait(const std::string& what);
  /// Whether the user has ended the batch.
  [[nodiscard]] bool isEnded() const noexcept { return m_ended; }

 private:
  enum class Woken { Input, Signal, Time };
  [[nodiscard]] Woken sleep(bool forInput, double seconds) const;
  /// Reads up to the end of a line; false at the end of the input, or after a signal.
  bool readLine();

  const ScanOptions& m_options;
  Reporter& m_reporter;
  const Interrupts& m_interrupts;
  bool m_feeds = true;
  bool m_ended = false;
};
