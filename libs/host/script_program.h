#pragma once
#include <functional>
#include <string>
#include <vector>

#include "host/script_step.h"
#include "quillbay/app.h"
#include "quillbay/raster.h"

namespace quillbay {

/// Whether scripts may run programs, and for how long.
struct ProgramPolicy {
  bool allowed = false;
  int limit = 600;  ///< seconds, where the command names none
};

/// The settings of the host: section "Scripts", keys "AllowPrograms" (int) and "ProgramTimeLimit" (int, seconds).
[[nodiscard]] ProgramPolicy programPolicyOf(IProfile* profile);

/// What a message says when programs are not allowed.
[[nodiscard]] std::string programsNotAllowed(const std::string& program);

/// What a "/Run" works on.
struct ProgramWork {
  const std::vector<KxPtr<IRStor>>& rasters;
  std::string file;       ///< of the page, for `%b`; empty: it has none
  bool isOnePage = true;  ///< the result must be one page
};

/// Runs the program of a step over the pages: they are written to the file `%i` when the step names it, with the
/// format's own options, which lose nothing, and read from `%o` afterwards. `log` gets the lines of standard error.
/// Returns the pages, the same when there is no `%o`, and none when it was cancelled. Throws CXException with the
/// exit status and the end of standard error, or with what is wrong with the output. Its files are in a folder of
/// their own, which is removed. Any thread.
[[nodiscard]] std::vector<KxPtr<IRStor>> runProgramStep(const ScriptStep& step, const ProgramPolicy& policy,
                                                        const ProgramWork& work, IProgress* progress,
                                                        const std::function<void(const std::string&)>& log);

}  // namespace quillbay
