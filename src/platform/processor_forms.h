#pragma once
/// For loops that are written once, as a body, and compiled for the least processor and, on x86-64, for AVX2 as
/// well; which form is used is decided when the program runs.

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
/// Whether the compiler makes the form for AVX2.
#define QUILLBAY_HAS_AVX2 1
#else
#define QUILLBAY_HAS_AVX2 0
#endif

/// Of a body: it becomes a part of each form.
#define QUILLBAY_BODY [[gnu::always_inline]] inline

namespace quillbay {

/// Whether the form for AVX2 was made, and this processor runs it.
[[nodiscard]] inline bool runsAvx2() noexcept {
#if QUILLBAY_HAS_AVX2
  return __builtin_cpu_supports("avx2") != 0;
#else
  return false;
#endif
}

}  // namespace quillbay
