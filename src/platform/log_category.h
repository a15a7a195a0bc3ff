#pragma once

namespace quillbay {

/// Log categories (see `logLine`) that several sources of a folder write to.
inline constexpr char kStoreLog[] = "quillbay.store";
inline constexpr char kChannelsLog[] = "quillbay.channels";

}  // namespace quillbay
