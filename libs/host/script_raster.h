#pragma once
#include <functional>
#include <string>

#include "host/script_step.h"
#include "quillbay/raster.h"

namespace quillbay {

/// Runs a command that works on a raster ("/Deskew" to "/Autocorrect") and returns the new one; the same raster
/// when there was nothing to do, which `note` reports; null when it was cancelled. `progress` may be null.
/// Throws CXException for what cannot be done with this raster.
[[nodiscard]] KxPtr<IRStor> runRasterStep(const ScriptStep& step, IRStor* raster, IProgress* progress,
                                          const std::function<void(const std::string&)>& note);

}  // namespace quillbay
