#pragma once
#include <chrono>
#include <string>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// How long looking for devices may take.
inline constexpr std::chrono::milliseconds kListLimit{15000};

/// Lists the SANE devices in a helper process (`quillbay-list-scanners`), which is looked for in the folder that
/// QUILLBAY_LIBEXEC names, in `programFolder`, beside the running program and this library, in the folders where an
/// installation puts it, and in the build tree. Answers false with the reason in `*why` when it is missing,
/// crashed, or did not end within `limit`; what it said before is in `*out`, which is appended to.
[[nodiscard]] bool listSaneDevices(const std::string& programFolder, std::chrono::milliseconds limit,
                                   std::vector<ScannerEntry>* out, std::string* why);

}  // namespace quillbay
