#pragma once
#include <functional>
#include <string>

#include "host/script_step.h"
#include "quillbay/raster.h"

namespace quillbay {

/// What a command reports of its work on a page, for a user.
struct StepNote {
  std::string text;
  bool isMiss = false;  ///< what the command looks for was not found; the page stays as it is
};

/// Runs a command that works on a raster ("/Deskew" to "/Autocorrect") and returns the new one; the same raster
/// when there was nothing to do, which `note` reports; null when it was cancelled. `progress` may be null.
/// Throws CXException for what cannot be done with this raster.
[[nodiscard]] KxPtr<IRStor> runRasterStep(const ScriptStep& step, IRStor* raster, IProgress* progress,
                                          const std::function<void(const StepNote&)>& note);

}  // namespace quillbay
