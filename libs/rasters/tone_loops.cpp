#include "rasters/tone_loops.h"

#include <cstring>

#include "platform/processor_forms.h"

namespace quillbay {
namespace {

/// A half for floats, whose products of 24 bits are off by a little.
constexpr float kFloatHalf = 0.5F + 1e-4F;

using Tones16 = std::uint16_t __attribute__((vector_size(8)));
using Sums = std::int32_t __attribute__((vector_size(16)));
using Floats = float __attribute__((vector_size(16)));

template <class Vector, class From>
QUILLBAY_BODY Vector loaded(const From* p) noexcept {
  Vector v;
  std::memcpy(&v, p, sizeof(v));
  return v;
}

QUILLBAY_BODY void addWholeBody(std::uint16_t* __restrict sums, const std::uint8_t* __restrict line,
                                std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) sums[i] = static_cast<std::uint16_t>(sums[i] + line[i]);
}

QUILLBAY_BODY void addWeightedBody(std::uint32_t* __restrict sums, const std::uint8_t* __restrict line,
                                   std::size_t n, std::uint16_t weight) noexcept {
  for (std::size_t i = 0; i < n; ++i) sums[i] += static_cast<std::uint16_t>(line[i] * weight);
}

QUILLBAY_BODY void moveWholeBody(std::uint32_t* __restrict sums, std::uint16_t* __restrict whole,
                                 std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    sums[i] += static_cast<std::uint32_t>(whole[i]) << 8;
    whole[i] = 0;
  }
}

template <std::size_t lines>
QUILLBAY_BODY void sumLinesOf(std::uint32_t* __restrict sums, const std::uint8_t* const* l, std::size_t n,
                              std::uint16_t first, std::uint16_t last) noexcept {
  const std::uint8_t* __restrict const a = l[0];
  const std::uint8_t* __restrict const z = l[lines - 1];
  for (std::size_t i = 0; i < n; ++i) {
    std::uint32_t sum = static_cast<std::uint16_t>(a[i] * first);
    if constexpr (lines > 1) sum += static_cast<std::uint16_t>(z[i] * last);
    if constexpr (lines > 2) {
      std::uint16_t inner = 0;
      for (std::size_t k = 1; k < lines - 1; ++k) inner = static_cast<std::uint16_t>(inner + l[k][i]);
      sum += static_cast<std::uint32_t>(inner) << 8;
    }
    sums[i] = sum;
  }
}

QUILLBAY_BODY void sumLinesBody(std::uint32_t* sums, const std::uint8_t* const* l, std::size_t count, std::size_t n,
                                std::uint16_t first, std::uint16_t last) noexcept {
  switch (count) {
    case 1: sumLinesOf<1>(sums, l, n, first, last); break;
    case 2: sumLinesOf<2>(sums, l, n, first, last); break;
    case 3: sumLinesOf<3>(sums, l, n, first, last); break;
    case 4: sumLinesOf<4>(sums, l, n, first, last); break;
    case 5: sumLinesOf<5>(sums, l, n, first, last); break;
    case 6: sumLinesOf<6>(sums, l, n, first, last); break;
    case 7: sumLinesOf<7>(sums, l, n, first, last); break;
    case 8: sumLinesOf<8>(sums, l, n, first, last); break;
    default: break;
  }
}

template <std::size_t lines>
QUILLBAY_BODY void sumIndicesOf(std::uint32_t* __restrict sums, const std::uint64_t* __restrict colors,
                                const std::uint8_t* const* l, std::size_t n, std::uint16_t first,
                                std::uint16_t last) noexcept {
  for (std::size_t i = 0; i < n; ++i, sums += 4) {
    const auto part = [&](std::size_t line, std::uint16_t weight) {
      return __builtin_convertvector(loaded<Tones16>(colors + l[line][i]) * weight, Sums);
    };
    Sums sum = part(0, first);
    if constexpr (lines > 1) sum += part(lines - 1, last);
    if constexpr (lines > 2) {
      std::uint64_t inner = 0;  // four sums side by side, each far below 2^16
      for (std::size_t k = 1; k < lines - 1; ++k) inner += colors[l[k][i]];
      sum += __builtin_convertvector(loaded<Tones16>(&inner), Sums) << 8;
    }
    std::memcpy(sums, &sum, sizeof(sum));
  }
}

QUILLBAY_BODY void sumIndicesBody(std::uint32_t* sums, const std::uint64_t* colors, const std::uint8_t* const* l,
                                  std::size_t count, std::size_t n, std::uint16_t first,
                                  std::uint16_t last) noexcept {
  switch (count) {
    case 1: sumIndicesOf<1>(sums, colors, l, n, first, last); break;
    case 2: sumIndicesOf<2>(sums, colors, l, n, first, last); break;
    case 3: sumIndicesOf<3>(sums, colors, l, n, first, last); break;
    case 4: sumIndicesOf<4>(sums, colors, l, n, first, last); break;
    case 5: sumIndicesOf<5>(sums, colors, l, n, first, last); break;
    case 6: sumIndicesOf<6>(sums, colors, l, n, first, last); break;
    case 7: sumIndicesOf<7>(sums, colors, l, n, first, last); break;
    case 8: sumIndicesOf<8>(sums, colors, l, n, first, last); break;
    default: break;
  }
}

/// The four tones 0..255 as bytes, the first one lowest.
QUILLBAY_BODY std::uint32_t packed(const Sums& tones) noexcept {
#if QUILLBAY_HAS_AVX2
  const auto words = reinterpret_cast<__m128i>(tones);
  const __m128i halves = _mm_packs_epi32(words, words);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(halves, halves)));
#else
  return static_cast<std::uint32_t>(tones[0] | tones[1] << 8 | tones[2] << 16);
#endif
}

/// Colours side by side in one register.
template <int channels, bool swapped>
QUILLBAY_BODY void finishColorsBody(std::uint32_t* __restrict out, const ColumnSpan* __restrict columns,
                                    std::size_t n, const std::uint32_t* __restrict sums,
                                    float rowInverse) noexcept {
  const auto at = [](const std::uint32_t* p) { return loaded<Sums>(p); };
  const auto floats = [](const Sums& s) { return __builtin_convertvector(s, Floats); };
  for (std::size_t i = 0; i < n; ++i) {
    const ColumnSpan& c = columns[i];
    const std::uint32_t* p = sums + std::size_t{c.offset} * channels;
    Floats total = floats(at(p)) * c.first;
    if (c.inner != ColumnSpan::kSingle) {
      Sums inner{};
      p += channels;
      for (std::int32_t k = 0; k < c.inner; ++k, p += channels) inner += at(p);
      total += floats(inner) * c.whole + floats(at(p)) * c.last;
    }
    const Sums tones = __builtin_convertvector(total * rowInverse + kFloatHalf, Sums);
    out[i] = packed(swapped ? tones : __builtin_shufflevector(tones, tones, 2, 1, 0, 3)) | 0xFF000000U;
  }
}

// NOLINTBEGIN(bugprone-macro-parentheses): an attribute takes none
#define QUILLBAY_LOOPS(name, attribute)                                                                   \
  attribute void addWhole##name(std::uint16_t* sums, const std::uint8_t* line, std::size_t n) noexcept {  \
    addWholeBody(sums, line, n);                                                                          \
  }                                                                                                       \
  attribute void addWeighted##name(std::uint32_t* sums, const std::uint8_t* line, std::size_t n,          \
                                   std::uint16_t weight) noexcept {                                       \
    addWeightedBody(sums, line, n, weight);                                                               \
  }                                                                                                       \
  attribute void moveWhole##name(std::uint32_t* sums, std::uint16_t* whole, std::size_t n) noexcept {     \
    moveWholeBody(sums, whole, n);                                                                        \
  }                                                                                                       \
  attribute void sumLines##name(std::uint32_t* sums, const std::uint8_t* const* lines, std::size_t count, \
                                std::size_t n, std::uint16_t first, std::uint16_t last) noexcept {        \
    sumLinesBody(sums, lines, count, n, first, last);                                                     \
  }                                                                                                       \
  attribute void sumIndices##name(std::uint32_t* sums, const std::uint64_t* colors,                       \
                                  const std::uint8_t* const* lines, std::size_t count, std::size_t n,     \
                                  std::uint16_t first, std::uint16_t last) noexcept {                     \
    sumIndicesBody(sums, colors, lines, count, n, first, last);                                           \
  }                                                                                                       \
  template <int channels, bool swapped>                                                                   \
  attribute void finishColors##name(std::uint32_t* out, const ColumnSpan* columns, std::size_t n,         \
                                    const std::uint32_t* sums, float rowInverse) noexcept {               \
    finishColorsBody<channels, swapped>(out, columns, n, sums, rowInverse);                               \
  }                                                                                                       \
  constexpr ToneLoops kLoops##name{addWhole##name,                                                        \
                                   addWeighted##name,                                                     \
                                   moveWhole##name,                                                       \
                                   sumLines##name,                                                        \
                                   sumIndices##name,                                                      \
                                   {finishColors##name<3, false>, finishColors##name<4, false>,           \
                                    finishColors##name<3, true>, finishColors##name<4, true>}};
// NOLINTEND(bugprone-macro-parentheses)

QUILLBAY_LOOPS(Plain, )
#if QUILLBAY_HAS_AVX2
QUILLBAY_LOOPS(Avx2, [[gnu::target("avx2")]])
#endif

}  // namespace

const ToneLoops& toneLoops() noexcept {
#if QUILLBAY_HAS_AVX2
  static const bool avx2 = runsAvx2();
  if (avx2) return kLoopsAvx2;
#endif
  return kLoopsPlain;
}

}  // namespace quillbay
