#pragma once
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// How long looking for devices may take.
inline constexpr std::chrono::milliseconds kListLimit = std::chrono::seconds(kListLimitSeconds);

/// Lists the SANE devices in a helper process (`quillbay-list-scanners`), which is looked for in the folder that
/// QUILLBAY_LIBEXEC names, in `programFolder`, beside the running program and this library, in the folders where an
/// installation puts it, and in the build tree. Returns false with the reason in `*why` when it is missing,
/// crashed, or did not end within `limit`; what it said before is in `*out`, which is appended to.
/// Any thread. With `unlisted`, a device that no driver lists is in `*out`, by its device string alone, when it can
/// be opened. `stopped` (may be empty) is asked some times a second whether to give up.
[[nodiscard]] bool listSaneDevices(const std::string& programFolder, std::chrono::milliseconds limit,
                                   std::vector<ScannerEntry>* out, std::string* why,
                                   const std::string& unlisted = {}, const std::function<bool()>& stopped = {});

}  // namespace quillbay
