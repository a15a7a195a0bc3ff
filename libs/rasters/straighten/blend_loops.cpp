#include "rasters/straighten/blend_loops.h"

#include <algorithm>

#include "platform/processor_forms.h"

namespace quillbay {
namespace {

/// Parts of a tone in between.
constexpr int kTonePart = 6;

/// `a` plus a share of the way to `b`, in parts of 32768, rounded: what _mm256_mulhrs_epi16 does.
int between(int a, int b, int share) noexcept { return a + (((b - a) * share + 0x4000) >> 15); }

}  // namespace

/// The forms of the loop.
struct BlendForms {
  template <std::size_t bytes>
  static void plain(const BlendLoops& loops, const BlendSpan& span, std::uint8_t* out) noexcept {
    const std::uint8_t* const near = span.lines[0];
    const std::uint8_t* const far = span.lines[1];
    std::uint32_t right = span.right, other = span.other;
    std::size_t i = 0;
    for (std::uint32_t pixel = 0; pixel < span.count; ++pixel) {
      const int shareRight = static_cast<int>(right >> 1), shareOther = static_cast<int>(other >> 1);
      for (std::size_t k = 0; k < bytes; ++k, ++i) {
        const int a = between(near[i] << kTonePart, near[i + bytes] << kTonePart, shareRight);
        const int b = between(far[i] << kTonePart, far[i + bytes] << kTonePart, shareRight);
        out[i] = static_cast<std::uint8_t>((between(a, b, shareOther) + (1 << (kTonePart - 1))) >> kTonePart);
      }
      right -= std::min(right, loops.m_fallRight);
      other -= std::min(other, loops.m_fallOther);
    }
  }

#if QUILLBAY_HAS_AVX2
  [[gnu::target("avx2"), gnu::always_inline]] static __m256i tones(const std::uint8_t* p) noexcept {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return _mm256_slli_epi16(_mm256_cvtepu8_epi16(bytes), kTonePart);
  }
  [[gnu::target("avx2"), gnu::always_inline]] static __m256i mixed(__m256i a, __m256i b, __m256i share) noexcept {
    return _mm256_add_epi16(a, _mm256_mulhrs_epi16(_mm256_sub_epi16(b, a), share));
  }
  /// The shares of a step's bytes, in parts of 32768.
  [[gnu::target("avx2"), gnu::always_inline]] static __m256i shares(std::uint32_t first,
                                                                    const std::uint16_t* fallen) noexcept {
    const __m256i falls = _mm256_load_si256(reinterpret_cast<const __m256i*>(fallen));
    return _mm256_srli_epi16(_mm256_subs_epu16(_mm256_set1_epi16(static_cast<short>(first)), falls), 1);
  }

  template <std::size_t bytes>
  [[gnu::target("avx2")]] static void avx2(const BlendLoops& loops, const BlendSpan& span,
                                           std::uint8_t* out) noexcept {
    constexpr std::size_t kSteps = bytes == 3 ? 3 : 1, kLanes = BlendLoops::kLanes;
    constexpr std::uint32_t kPixels = kSteps * kLanes / bytes;  // after which the steps begin again
    const std::size_t end = span.count * bytes;
    const std::uint8_t* near = span.lines[0];
    const std::uint8_t* far = span.lines[1];
    std::uint32_t right = span.right, other = span.other;
    const __m256i half = _mm256_set1_epi16(1 << (kTonePart - 1));
    for (std::size_t done = 0;;) {
      for (std::size_t step = 0; step < kSteps; ++step) {
        const __m256i shareRight = shares(right, loops.m_right[step]);
        const __m256i a = mixed(tones(near), tones(near + bytes), shareRight);
        const __m256i b = mixed(tones(far), tones(far + bytes), shareRight);
        const __m256i sum = _mm256_add_epi16(mixed(a, b, shares(other, loops.m_other[step])), half);
        const __m256i tone = _mm256_srli_epi16(sum, kTonePart);
        const __m128i packed = _mm_packus_epi16(_mm256_castsi256_si128(tone), _mm256_extracti128_si256(tone, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), packed);
        done += kLanes;
        if (done >= end) return;
        near += kLanes;
        far += kLanes;
      }
      right -= std::min(right, loops.m_fallRight * kPixels);
      other -= std::min(other, loops.m_fallOther * kPixels);
    }
  }
#endif
};

BlendLoops::BlendLoops(std::size_t bytes, std::uint32_t fallRight, std::uint32_t fallOther, bool plain) noexcept
    : m_fallRight(fallRight), m_fallOther(fallOther) {
  const auto fallen = [](std::size_t pixels, std::uint32_t fall) {
    return static_cast<std::uint16_t>(std::min<std::uint64_t>(pixels * std::uint64_t{fall}, 65535));
  };
  for (std::size_t step = 0; step < kSteps; ++step) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const std::size_t pixels = (step * kLanes + lane) / bytes;
      m_right[step][lane] = fallen(pixels, fallRight);
      m_other[step][lane] = fallen(pixels, fallOther);
    }
  }
  m_loop = bytes == 1 ? BlendForms::plain<1> : bytes == 3 ? BlendForms::plain<3> : BlendForms::plain<4>;
#if QUILLBAY_HAS_AVX2
  static const bool avx2 = runsAvx2();
  if (avx2 && !plain) {
    m_loop = bytes == 1 ? BlendForms::avx2<1> : bytes == 3 ? BlendForms::avx2<3> : BlendForms::avx2<4>;
  }
#else
  (void)plain;
#endif
}

}  // namespace quillbay
