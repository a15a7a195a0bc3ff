#pragma once
#include "control/scan_run.h"

namespace quillbay {

/// A command that starts something, with what hosts call it and what it starts.
struct StartCommand {
  int id;
  StartKind start;
  RunKind run;
};
/// The start of a command's number, also of the preview's countdown; null when the command starts nothing.
[[nodiscard]] const StartCommand* startOf(int id) noexcept;
/// The start that a host asks for.
[[nodiscard]] const StartCommand* startOf(StartKind start) noexcept;

}  // namespace quillbay
