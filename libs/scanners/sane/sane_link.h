#pragma once

namespace quillbay {

/// Whether a connection of this process to a SANE network daemon was ended by the other side. The network driver
/// does not look at it before it reads the daemon's answer from it, and takes what was in memory for one: nothing
/// but closing the device may be asked of it then.
[[nodiscard]] bool hasBrokenSaneLink();

}  // namespace quillbay
