#pragma once

namespace quillbay {

/// Whether an entry point was called on the user-interface thread of a program that has one; otherwise a line in
/// the log says what `entryPoint` needs.
[[nodiscard]] bool onEntryThread(const char* entryPoint);

}  // namespace quillbay
