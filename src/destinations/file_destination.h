#pragma once
#include "destinations/page_draft.h"

namespace quillbay {

/// What became of a run's multi-page file at the run's end.
struct RunFile {
  enum class Fate { None, Published, Failed } fate = Fate::None;
  std::string file;        ///< its final name; when it failed, the part that holds the pages
  std::int32_t pages = 0;  ///< of this run
};

/// A destination as the controller sees it beside `CScanTo` (reached from it by dynamic_cast). User-interface
/// thread.
///
///   BeginScan -> draft -> (the scanner starts: makePageTarget) -> pageStarted -> EndScan -> ... -> endRun
class IFileDestination {
 public:
  virtual ~IFileDestination() = default;
  /// Whether the next page is written into a file by its store.
  [[nodiscard]] virtual bool writesFile() const = 0;
  /// After `BeginScan`: the page that it prepared. `isLast`: no page of the run follows, as far as is known.
  [[nodiscard]] virtual PageDraft draft(bool isLast) const = 0;
  /// The page's target was made: takes over its name and counter without a broadcast, and ends the page by it.
  virtual void pageStarted(const NamedPage& page) = 0;
  /// The run is over: a multi-page file of it that is still a part gets its final name. When that was taken
  /// meanwhile, the rule for existing files gives another one, or the part stays and the user was told where it is.
  [[nodiscard]] virtual RunFile endRun() = 0;
  /// The file of the page that ended last, and whether it is complete there, where that is not its store's file.
  /// False: it is.
  [[nodiscard]] virtual bool endedPage(std::string* /*file*/, bool* /*published*/) const { return false; }
  /// The folder-and-mask name that the next page would get, after the rule for existing files; no side effects.
  [[nodiscard]] virtual std::string nextFile() const = 0;
};

}  // namespace quillbay
