#pragma once
#include <malloc.h>

namespace quillbay {

/// For the beginning of a program that is a host: blocks that codecs free after each strip are kept for the next
/// one. The allocator's own rule gives them back to the system, thread by thread, and each strip would pay for its
/// pages anew: more than a third of the time of JPEG in TIFF. The values are those that its rule reaches in the end
/// when large blocks are freed, so that no more is kept than without this. Other allocators do nothing.
inline void keepFreedMemory() noexcept {
#ifdef M_TRIM_THRESHOLD
  constexpr int kLargest = 32 << 20;  // larger blocks are the system's at once
  mallopt(M_MMAP_THRESHOLD, kLargest);
  mallopt(M_TRIM_THRESHOLD, 2 * kLargest);
#endif
}

}  // namespace quillbay
