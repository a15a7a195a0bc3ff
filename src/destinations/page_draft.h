#pragma once
#include <functional>
#include <string>

#include "destinations/name_context.h"
#include "platform/page_target.h"

namespace quillbay {

/// A page whose scan is about to start: a copy of all that its target depends on, but for what the scanner will
/// report. Taken on the user-interface thread, used on the scanner's.
struct PageDraft {
  NameContext names;               ///< `names.values.outputFile` is the prepared name; empty: no file
  std::string openPart;            ///< the run's multi-page file, which the page joins; empty: it has none yet
  bool mayReplace = false;         ///< a file of the prepared name may be replaced
  bool addsToFile = false;         ///< a multi-page file of the prepared name was there already
  bool isLast = true;              ///< no page of the run follows, as far as is known
  std::int64_t expectedLines = 0;  ///< as far as the settings tell; 0: unknown

  // For a page that is written elsewhere than its name says, and brought there later; called on the scanner's
  // thread.
  std::function<bool(const std::string& name)> isTaken;  ///< whether a file has the name; null: asks the folder
  std::function<std::string(const std::string& name)>
      place;  ///< the file to write; may throw. Null: the name itself
};

/// What a scanner says when it starts.
struct ScannedAs {
  KxColorSpace colorSpace = KxColorSpace::None;
  std::uint32_t dpi = 0;
  std::int64_t lines = -1;  ///< -1: unknown
};

/// The target of a page, and what its name came from.
struct NamedPage {
  PageTarget target;
  NameContext names;  ///< the draft's, with what the scanner said, and the counter and its switch moved
  /// The file that users know: the target's, unless the page is written elsewhere first. Empty without a file.
  [[nodiscard]] std::string file() const { return target.path.empty() ? std::string() : names.values.outputFile; }
  std::string refused;  ///< why the page can have no file, for the user; empty when `target` is valid
};

/// Makes the page's target, with its folder. The prepared name stays unless resolution or colours change it: then
/// the rule for existing files is applied to the new one. Any thread.
[[nodiscard]] NamedPage makePageTarget(const PageDraft& draft, const ScannedAs& scanned);

/// Lines that a page of these settings is padded to: none when its length follows the document, else the height of
/// the area, or of the sheet that straightening makes of it.
[[nodiscard]] std::int32_t leastPageLines(const ScanValues& values) noexcept;

}  // namespace quillbay
