#pragma once
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "channels/format_facts.h"

namespace quillbay {

enum class ModuleState {
  Good,
  Nothing,   ///< none of its formats can be written; not asked again while the file stays as it is
  Unusable,  ///< no module, one of another version, or a library is missing: asked again at every start
  Crashed,   ///< while it was examined; not asked again while the file stays as it is
  Hung,      ///< the same
  Unasked,   ///< the helper program is missing
};

/// What was found out of a module file.
struct ModuleAnswer {
  std::string file;                 ///< complete path
  std::int64_t size = 0, time = 0;  ///< of the file: bytes, and nanoseconds since 1970 of its last change
  std::uint32_t abi = 0;            ///< of the program that asked
  ModuleState state = ModuleState::Unasked;
  std::string why;  ///< for the log, unless `Good`
  std::vector<FormatFacts> formats;
};

/// Stores size and time of a file. False when it cannot be looked at.
[[nodiscard]] bool stampFile(ModuleAnswer* answer);

/// How long a file may take to be examined.
inline constexpr std::chrono::milliseconds kProbeLimit{10000};

/// What the files are as format modules, in their order; files that do not exist are left out. An answer in `known`
/// for the same path, size, time and program counts, save for `Unusable`; all others are examined by a helper
/// program (`quillbay-probe-formats`), so that one which crashes or hangs costs itself alone. `examined` (may be
/// null) counts those. Any thread.
[[nodiscard]] std::vector<ModuleAnswer> examineModules(const std::vector<std::string>& files,
                                                       const std::vector<ModuleAnswer>& known,
                                                       std::chrono::milliseconds limit = kProbeLimit,
                                                       int* examined = nullptr);

}  // namespace quillbay
