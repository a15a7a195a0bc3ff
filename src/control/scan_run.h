#pragma once
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "control/run_record.h"
#include "quillbay/control.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// What the panel is doing. Only Idle takes a start; every other state refuses it.
///
///   Idle --scan, preview--> Preparing --prepared--> Scanning ---end---> Finishing --handled--> Ending --> Idle
///    | |                     ^ ^ |  |                                    ^     |                 ^
///    | |                     | | |  '--> Prescanning, AreaPrescanning ---|-----|------ end ------'
///    | |                     | | '<--> Detecting, FindingPalette         |     |
///    | |                     | |                                         |     | the run goes on
///    | |     document loaded | '------- next piece of a burst -----.     |     v
///    | '-batch--> Waiting ---'                                      '----|-- Between
///    |             ^   ^                                                 |    |   |
///    |             |   '---- OK ---- Asking <--- no feeder --------------|----'   |
///    |             '---------------- next document ----------------------|--------'
///    '-fragment----------------------------------------------------------'
///   From every state a refusal, a stop and a failure lead to Ending; where a device runs, after its end.
///   So do a page without lines, a batch without a document, and Cancel in Asking. In a burst, a document that
///   ended with its last piece leads from Preparing and Scanning to Between.
///
/// Detecting and FindingPalette return to where they began; a page of the panel begins them from Idle, too. Waiting
/// is for a document in the device, Asking for the user's next one, Finishing for the writer.
enum class RunState : int {
  Idle,
  Preparing,
  Detecting,
  FindingPalette,
  Waiting,
  Asking,
  Scanning,
  Finishing,
  Between,
  Prescanning,
  AreaPrescanning,
  Ending,
};
[[nodiscard]] const char* nameOf(RunState state) noexcept;

/// How a run was started. The page of a fragment is in the store already.
enum class RunKind : int { Scan, Batch, Fragment, Prescan, AreaPrescan };
[[nodiscard]] constexpr bool isPreview(RunKind kind) noexcept {
  return kind == RunKind::Prescan || kind == RunKind::AreaPrescan;
}

/// What the controller does next. Actions named `Later` are posted, so that the window handles its events first.
enum class Do : int {
  ShowState,        ///< buttons, pages and status follow the state
  Prepare,          ///< everything before the paper moves; then `prepared` or `refused`
  StartUnit,        ///< arm the unit and run it; `refused` when it will not
  WaitForDocument,  ///< ask the device; then `documentLoaded` or `waitEnded`
  AskForDocument,   ///< ask the user; then `documentAnswered`
  StopUnit,         ///< the unit stops
  CancelSearch,     ///< the unit ends a detection or palette prescan
  WakeStore,        ///< the scanner's thread stops waiting for a full queue
  StopPrinting,     ///< a page whose lines have all come is given up, if a printer holds it up
  EndPageLater,     ///< value 1: the page is dropped
  DropPage,         ///< the destination drops the open page
  NextPieceLater,
  EndBurstLater,
  NextDocumentLater,
  LeaveDocument,  ///< eject; stores are emptied
  MoveArea,       ///< the scan area becomes `pieceArea`: the next piece's, or after a burst the user's own again
  ForgetFragment,
  RestartPreview,  ///< the countdown to the preview of the visible part
  TellStarted,
  TellLines,
  TellPage,
  End,  ///< the file of the run gets its name, the user hears what failed; then `ended`
  TellEnded,
};

struct Action {
  Do what;
  int value = 0;
  bool operator==(const Action&) const = default;
};
using Actions = std::vector<Action>;

/// What a page's preparation found out.
struct Prepared {
  bool bursting = false;           ///< the page is the first piece of a burst
  bool fragment = false;           ///< the fragment is scanned, not the area
  tagRRECT area{};                 ///< `key::RcScan`
  std::int64_t expectedLines = 0;  ///< 0: unknown
};

/// How a page ended.
struct PageEnd {
  bool cancelled = false;
  bool taken = false;   ///< the destination has the page
  bool failed = false;  ///< its file could not be written or named; the user was told
  PageInfo info;
};

/// The whole state of a panel's runs and what follows each event. An event that does not fit the state changes
/// nothing and has no actions. No window, no thread of its own; user-interface thread only, but for `queueStart`.
class ScanRun {
 public:
  [[nodiscard]] RunState state() const noexcept { return m_state; }
  [[nodiscard]] bool isBusy() const noexcept { return m_state != RunState::Idle; }
  /// Whether the unit runs a page or a preview.
  [[nodiscard]] bool isRunning() const noexcept;
  [[nodiscard]] RunKind kind() const noexcept { return m_kind; }
  [[nodiscard]] bool batch() const noexcept { return m_batch; }
  [[nodiscard]] bool burst() const noexcept { return m_burst; }
  [[nodiscard]] bool fragment() const noexcept { return m_fragment; }
  [[nodiscard]] bool stopAsked() const noexcept { return m_stopAsked; }
  [[nodiscard]] bool stopsAfterPage() const noexcept { return m_stopAfterPage; }
  /// Whether a page runs: from when it takes its settings to its end.
  [[nodiscard]] bool holdsSettings() const noexcept;
  /// Whether another page of this run follows the one that runs, as far as is known.
  [[nodiscard]] bool goesOn() const noexcept;
  /// The scan area that the user chose while a burst has moved it.
  [[nodiscard]] const tagRRECT& ownArea() const noexcept { return m_ownArea; }
  /// The area of the next piece.
  [[nodiscard]] const tagRRECT& pieceArea() const noexcept { return m_piece; }
  [[nodiscard]] std::int64_t expectedLines() const noexcept { return m_expectedLines; }
  /// What hosts hear of a run.
  [[nodiscard]] const ScanStartInfo& startInfo() const noexcept { return m_start; }
  [[nodiscard]] const PageInfo& page() const noexcept { return m_page; }
  [[nodiscard]] std::int64_t lines() const noexcept { return m_lines; }
  [[nodiscard]] const RunRecord& record() const noexcept { return m_record; }
  [[nodiscard]] RunRecord& record() noexcept { return m_record; }

  /// A start was posted and waits in the event queue; any thread.
  void queueStart() noexcept { ++m_startsQueued; }
  [[nodiscard]] bool startWaits() const noexcept { return m_startsQueued > 0; }
  /// The posted start is delivered.
  void startDelivered() noexcept {
    if (m_startsQueued > 0) --m_startsQueued;
  }

  /// A start. `wanted` documents of a batch; 0: until none comes.
  [[nodiscard]] Actions start(RunKind kind, int wanted);
  /// Starts a search for the area or the palette, from Idle or Preparing. False in any other state.
  [[nodiscard]] bool beginSearch(RunState search);
  /// The search ended; the state before it returns.
  void endSearch();
  /// Nothing refused; the paper may move.
  [[nodiscard]] Actions prepared(const Prepared& page);
  /// Something refused the page or preview. `told`: the user knows why.
  [[nodiscard]] Actions refused(EndCause cause, const UnitFault& fault = {}, bool told = true);
  /// The scanner reported what it will deliver. `refused`: the page cannot have a file, and the user is told why.
  [[nodiscard]] Actions started(const ScanStartInfo& info, bool refused);
  [[nodiscard]] Actions linesArrived(std::int64_t lines);
  /// The unit's end notification: status 1 complete, 2 stopped or failed. `empty`: nothing for the destination (an
  /// error that waits to be told is something).
  [[nodiscard]] Actions unitEnded(int status, bool empty, const UnitFault& fault);
  /// The destination has handled the page.
  [[nodiscard]] Actions pageHandled(const PageEnd& page);
  /// The posted steps between pages. `limit`: where the bed ends in millimetres; 0: nowhere.
  [[nodiscard]] Actions nextPiece(const tagRRECT& area, double limit);
  [[nodiscard]] Actions endBurst();
  [[nodiscard]] Actions nextDocument(bool hasFeeder);
  [[nodiscard]] Actions documentLoaded();
  /// There is no document: the device reported it, or the user gave up.
  [[nodiscard]] Actions waitEnded(bool byUser, const UnitFault& fault);
  [[nodiscard]] Actions documentAnswered(bool goesOn);
  [[nodiscard]] Actions stop();
  [[nodiscard]] Actions stopAfterPage();
  /// A host or a unit threw an exception during a step; the user is told.
  [[nodiscard]] Actions failed();
  /// The panel closes, and the device has stopped.
  [[nodiscard]] Actions closed();
  /// `End` was carried out.
  [[nodiscard]] Actions ended();

  /// No page of a batch follows.
  void clearBatch() noexcept { m_batch = false; }
  /// The user's own area of a burst was changed by the host.
  void setOwnArea(const tagRRECT& area) {
    if (m_burst) m_ownArea = area;
  }
  /// A whole page was handed to the writer, which has not reported yet.
  void writerBegins() noexcept { m_writerFinishes = true; }
  [[nodiscard]] bool awaitsWriter() const noexcept { return m_writerFinishes; }
  /// Whether a page that was scanned to its end still has to be handed over.
  [[nodiscard]] bool hasWholePage() const noexcept { return m_wholePage; }
  /// Rows of a prescan were handled; returns how many there were.
  std::int64_t addPrescanRows(std::int64_t rows) noexcept { return m_prescanRows += rows; }

 private:
  void enter(RunState next);  // the only place that changes the state; logs it
  [[nodiscard]] Actions end(EndCause cause, const UnitFault& fault = {}, bool told = true);
  [[nodiscard]] Actions endOfPreview(int status, const UnitFault& fault);
  void noteFault(const UnitFault& fault);
  [[nodiscard]] bool stops() const noexcept { return m_stopAsked || m_stopAfterPage; }

  std::atomic<int> m_startsQueued{0};
  RunState m_state = RunState::Idle;
  RunState m_searchFrom = RunState::Idle;
  RunKind m_kind = RunKind::Scan;
  bool m_batch = false;
  bool m_fragment = false;
  bool m_stopAsked = false;
  bool m_stopAfterPage = false;
  bool m_writerFinishes = false;
  bool m_wholePage = false;  // scanned to its end, not handed over
  bool m_dropsPage = false;  // a page is open that no destination takes
  bool m_burst = false;
  tagRRECT m_ownArea{};  // the user's, while a burst runs
  int m_pieces = 0;      // of the burst's document
  tagRRECT m_piece{};
  std::int64_t m_expectedLines = 0;
  std::int64_t m_lines = 0;
  std::int64_t m_prescanRows = 0;
  ScanStartInfo m_start;
  PageInfo m_page;
  RunRecord m_record;
};

}  // namespace quillbay
