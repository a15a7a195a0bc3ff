#pragma once
#include "quillbay/host_services.h"

namespace quillbay {

/// The information object of the library `oeminfo.so`, which has the entry `extern "C" IOemInfo* new_IOemInfo()`
/// that returns a reference. It is looked for in the folder that the environment variable QUILLBAY_OEMINFO names,
/// beside the program, and in the library's folder. Null when the library, its entry or the object is missing.
[[nodiscard]] KxPtr<IOemInfo> loadOemInfo();

}  // namespace quillbay
