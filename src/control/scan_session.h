#pragma once
#include <cstdint>
#include <mutex>

namespace quillbay {

/// What the panel is doing.
///
///                    start refused, or ended without a page
///        .<-------------------------------------------------------------.
///        v          scan                  end notification              |
///      Idle ------------------> Scanning ------------------> Finishing -+--> BetweenPages --.
///        ^  \  batch             ^    ^                       (writer)                      |
///        |   `-----> Waiting ----'    '----------------- next batch page or burst piece ----'
///        |  \  prescan                (document loaded)
///        |   `-----> Prescanning -----.
///        |  \  area prescan           | end notification
///        |   `-----> AreaPrescanning -'
///        '----------------------------'
///
/// Only Idle takes a start; BetweenPages takes the next page of the run alone. Finishing waits for the writer.
enum class SessionState : int { Idle, Waiting, Scanning, Finishing, BetweenPages, Prescanning, AreaPrescanning };

[[nodiscard]] const char* nameOf(SessionState state) noexcept;

/// What follows the end notification of a unit.
struct ScanEndDecision {
  bool postScanDone = false;  ///< 6502: hand the page to the destination
  int scanDoneCode = 0;       ///< its notification code: 1 when stopped or failed
  bool postBurstEnd = false;  ///< 6505
  bool clearBatch = false;
  bool clearFragment = false;
  bool restartPreviewTimer = false;
  int answer = 1;
};

/// The state of a run and the decisions that depend on it: state + event -> what to do. No window, no thread of its
/// own. Any thread may call it: the scanner's thread reports the end, everything else is the user interface's.
class ScanSession {
 public:
  [[nodiscard]] SessionState state() const;
  [[nodiscard]] bool isBusy() const { return state() != SessionState::Idle; }

  /// Idle -> `to`. False, and nothing changes, in any other state.
  bool start(SessionState to);
  /// Waiting or BetweenPages -> Scanning. False in any other state.
  bool continueRun();
  /// A page that was handed over: -> BetweenPages when the run goes on, else -> Idle.
  void pageHandled(bool goesOn);
  /// BetweenPages -> Waiting, for the next batch page. False in any other state.
  bool waitForNext();
  /// A start was refused, or the wait was given up: -> Idle.
  void refused();

  /// The unit's end notification, `status` 1 (complete) or 2 (stopped or failed); moves to Finishing, or Idle.
  /// `storeEmpty`: nothing for the destination (an error that waits to be reported is something).
  ScanEndDecision scanEnded(int status, bool storeEmpty);

  [[nodiscard]] bool batch() const;
  void setBatch(bool on);
  [[nodiscard]] bool burstActive() const;
  void setBurstActive(bool on);
  [[nodiscard]] bool fragment() const;
  void setFragment(bool on);

 private:
  void enter(SessionState next);  // the only place that changes the state; logs it

  mutable std::mutex m_mutex;
  SessionState m_state = SessionState::Idle;
  bool m_batch = false;
  bool m_burstActive = false;
  bool m_fragment = false;
};

/// What follows a page that was handed to the destination.
enum class NextStep : int { Nothing, Burst, Batch };
[[nodiscard]] NextStep nextAfterPage(bool taken, bool bursting, bool fragment, bool batch) noexcept;

}  // namespace quillbay
