#pragma once
#include <memory>

#include "control/panel_parts.h"
#include "control/search_picture.h"
#include "quillbay/param.h"
#include "quillbay/scanner.h"

class QEventLoop;

namespace quillbay {

/// The command that cancels a search scan: the unit stops, closes its device, and stays usable.
inline constexpr UnitCommand kCancelSearch = UnitCommand::Close;

/// How a search scan ended.
enum class SearchEnd : int {
  Complete,   ///< the unit delivered everything that was asked for
  Cancelled,  ///< by the user or a host, or the panel is busy with something else: nothing to tell
  NoMedia,    ///< there is no document; the user was asked for one and gave up
  Fault,      ///< the unit refused the scan or broke it off; nobody was told yet
};

/// Why a run ends that needed the search; a search that is complete ends none.
[[nodiscard]] constexpr EndCause causeOf(SearchEnd end) noexcept {
  return end == SearchEnd::NoMedia ? EndCause::Media
         : end == SearchEnd::Fault ? EndCause::Device
                                   : EndCause::Stopped;
}

struct SearchOutcome {
  SearchEnd end = SearchEnd::Cancelled;
  UnitFault fault;  ///< of `NoMedia` and `Fault`
};

/// Scans that the panel makes for itself, to find a document or its colours, before the page is scanned.
///
/// While one runs, the run is in the state of a search: every start is refused, the status line says what is
/// looked for and shows the progress, and Stop cancels (`kCancelSearch`). The caller waits in an event loop that
/// the unit's end notification ends; the panel and its host stay alive, and the host may close the panel.
/// User-interface thread only.
class SearchScan {
 public:
  explicit SearchScan(PanelParts& parts) : m_parts(parts), m_picture(parts) {}

  /// Asks for a document where there is none, then scans with `request`, which holds all that the unit needs
  /// (`key::RequestType` too), and waits for the end.
  ///
  /// `search`: `Detecting` or `FindingPalette`; entered and left here, unless the run is in it already. `sink` gets
  /// the unit's notifications, mostly on the scanner's thread, and none after this call has returned; what it
  /// throws breaks the scan off and becomes its fault. It runs no event loop and calls nothing of the panel.
  ///
  /// Throws `WindowGone` when the panel is closed meanwhile, and what the unit throws. On every way out the sink is
  /// released, and cursor, progress and state are as before.
  [[nodiscard]] SearchOutcome run(RunState search, IParam* request, IScanSink* sink);

  /// A search for the area has ended. `keeps`: the preview shows its picture from now on; else that of before.
  void settlePicture(bool keeps) { m_picture.settle(keeps); }

  /// The panel closes: the sink gets nothing more, and the wait ends.
  void close();

 private:
  class Sink;
  class Connection;
  [[nodiscard]] SearchOutcome scan(IParam* request, IScanSink* sink);
  [[nodiscard]] SearchOutcome outcomeOf(const Sink& sink) const;
  void wait(const Sink& sink, QEventLoop& waiting) const;

  PanelParts& m_parts;
  SearchPicture m_picture;
  Connection* m_connection = nullptr;  // while one runs
};

}  // namespace quillbay
