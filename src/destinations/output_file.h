#pragma once
#include "params/shared_scan_params.h"
#include "quillbay/events.h"

namespace quillbay {

/// What became of the output file before a page.
struct PreparedFile {
  bool goOn = false;        ///< false: the person was told why
  bool mayReplace = false;  ///< an existing file of this name may be replaced when the page is whole
  std::int64_t moment = 0;  ///< what the name shows as time and date
};

/// Tells a host that a file or folder cannot be written. `events` may be null.
void signalCannotWrite(IEvents* events, const std::string& path, const std::string& cause);

/// Creates the folder of a path with its missing parents and tests that the file can be written; otherwise event 9
/// with the cause, and false.
[[nodiscard]] bool checkWritable(IEvents* events, const std::string& path);

/// Builds the output path, stores it as the output file name, and applies the rule for existing files: the counter
/// and its switch change through their setters, "ask" asks. A part that a killed program left under that name is
/// set aside and the person told, unless `ownPart` says that it belongs to the running batch.
/// User-interface thread. `events` may be null; then nobody can be asked and "ask" refuses.
[[nodiscard]] PreparedFile PrepareOutputFile(CSharedScanParams& params, IEvents* events, bool ownPart);

/// A file appeared under the output file's name while a single page was scanned, and the page waits in its part:
/// applies the rule for existing files once more, as `PrepareOutputFile`, and gives the page the name that comes
/// out. False: it still waits there, or there is no such page.
[[nodiscard]] bool publishByRule(CSharedScanParams& params, IEvents* events);

/// Compares the folder's free space with the expected page. A warning goes to the host's log, and to the person
/// when `interactive`; false, after event 9, when next to nothing is free.
[[nodiscard]] bool checkSpace(const ScanValues& values, IEvents* events, bool interactive);

}  // namespace quillbay
