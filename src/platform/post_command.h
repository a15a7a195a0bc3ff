#pragma once
#include <cstdint>

class QObject;

namespace quillbay {

/// Posts a private command to a dialog: delivered on the user-interface thread after the current event, never sent.
/// Any thread. With `merge`, a command of the same dialog and number that waits already is not posted again.
/// Nothing happens when the dialog was destroyed.
void PostCommand(QObject* dialog, int id, int code = 0, std::int64_t value = 0, bool merge = false);

}  // namespace quillbay
