#pragma once
#include <string>

#include "destinations/page_draft.h"
#include "quillbay/events.h"

namespace quillbay {

/// What became of a part that was to get its final name.
struct PartFate {
  std::string file;          ///< the name that it has now; empty: it is still the part, `why` says the reason
  std::string why;           ///< for the user: what is in the way, and which file holds the pages
  std::int32_t counter = 0;  ///< of a page of its own: the counter that goes with the name
  std::int32_t useAutoCounter = 0;
};

/// Gives the whole pages in the page's part their final name. When another program took that name meanwhile, the
/// rule for existing files is applied again: "increment" finds the next free name; "ask" asks about a page of its
/// own; a multi-page file never replaces another one. A part that stays no longer belongs to a run. User-interface
/// thread. `events` may be null; then nobody can be asked.
[[nodiscard]] PartFate publishByRule(const NamedPage& page, IEvents* events);

/// Asks whether a file is replaced. False without `events`.
[[nodiscard]] bool mayOverwrite(IEvents* events, const std::string& path);

}  // namespace quillbay
