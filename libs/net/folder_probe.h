#pragma once
#include <string>

#include "quillbay/scan_server.h"

namespace quillbay {

/// How long a folder may take to answer before it counts as away.
inline constexpr int kProbeLimitMs = 3000;

/// Looks at a hot folder on this thread: its mount, kind, rights and room. Writes nothing.
[[nodiscard]] HotFolderState probeHotFolder(const std::string& folder, const std::string& mountPoint);

/// Whether an error of the system is the folder's, which may be over later: a server that is away, a full disk. Of
/// the others, `isOfName` tells those of one file's name from those that a user has to look into.
[[nodiscard]] bool isPassing(int error) noexcept;
[[nodiscard]] bool isOfName(int error) noexcept;

}  // namespace quillbay
