#include "quillbay/host.h"

namespace quillbay {

const char* LibraryVersion() { return QUILLBAY_VERSION; }

}  // namespace quillbay
