#pragma once
#include <functional>
#include <set>
#include <string>

#include "destinations/page_draft.h"
#include "params/shared_scan_params.h"
#include "quillbay/events.h"

namespace quillbay {

/// Tells a host that a file or folder cannot be written. `events` may be null.
void signalCannotWrite(IEvents* events, const std::string& path, const std::string& cause);

/// Creates the folder of a path with its missing parents and tests that the file can be written; otherwise event 9
/// with the cause, and false.
[[nodiscard]] bool checkWritable(IEvents* events, const std::string& path);

/// Builds the output path, stores it as the output file name, and applies the rule for existing files: the counter
/// and its switch change through their setters, "ask" asks. A part that a killed program left under that name is
/// set aside, and the user is told. Returns 1 and fills in `*draft`; 0 when the user was told why there is no file.
/// User-interface thread. `events` may be null; then nobody can be asked and "ask" refuses. `pending` are files
/// that this program will write or is writing: they are in the way as if they existed, and what is left of them is
/// not set aside.
[[nodiscard]] int PrepareOutputFile(CSharedScanParams& params, IEvents* events, PageDraft* draft,
                                    const std::set<std::string>& pending = {});

/// Compares the folder's free space with the expected page. When it is little, `interactive` asks: Retry looks
/// again and goes on unless next to nothing is free, Cancel stops (false). Otherwise a warning goes to the host's
/// log, and next to nothing is event 9, and false.
/// `space` null: asks the file system for a folder's free bytes.
using SpaceTest = std::function<std::int64_t(const std::string& folder)>;
[[nodiscard]] bool checkSpace(const ScanValues& values, IEvents* events, bool interactive,
                              const SpaceTest& space = {});

}  // namespace quillbay
