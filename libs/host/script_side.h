#pragma once
#include <atomic>
#include <memory>

#include "host/script_run.h"
#include "host/side_calls.h"

namespace quillbay {

/// Whether the script of a queue, or all that wait, were cancelled.
using CancelFlag = std::shared_ptr<std::atomic<bool>>;

/// The world of a script that runs on another thread: every call of the document, of messages and of reports goes
/// to the user-interface thread through `calls`, which outlives it. A progress is shown there and never waited for;
/// `onCancelled` is called there when its user cancelled. Made on the user-interface thread.
[[nodiscard]] ScriptWorld sideWorld(const ScriptWorld& world, SideCalls& calls, CancelFlag cancelled,
                                    std::function<void()> onCancelled);

}  // namespace quillbay
