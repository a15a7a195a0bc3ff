#include "stores/reduce_loops.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/processor_forms.h"

namespace quillbay {
namespace {

/// 257 * 255 is the largest sum that 16 bits hold.
constexpr std::size_t kMostWhole = 257;
/// A half for floats, whose products are off by a little: what is exactly between two tones is rounded up.
constexpr float kFloatHalf = 0.5F + 1e-4F;
/// Source pixels of a block.
constexpr std::int32_t kBlockPixels = 1024;

using Tones = std::uint16_t __attribute__((vector_size(8)));
using Sums = std::int32_t __attribute__((vector_size(16)));
using Floats = float __attribute__((vector_size(16)));

template <class Vector, class From>
QUILLBAY_BODY Vector loaded(const From* p) noexcept {
  Vector v;
  std::memcpy(&v, p, sizeof(v));
  return v;
}

void sumBytes(const WeightedLines& l, std::size_t from, std::size_t begin, std::size_t n,
              std::uint32_t* sums) noexcept {
  for (std::size_t i = begin; i < n; ++i) {
    std::uint32_t whole = 0, sum = 0;
    for (std::size_t k = 0; k < l.wholeCount; ++k) whole += l.whole[k][from + i];
    for (std::size_t k = 0; k < l.partCount; ++k) sum += std::uint32_t{l.parts[k][from + i]} * l.weights[k];
    sums[i] = whole * l.unit + sum;
  }
}

/// Vectors of one size. They are handed on by reference: how they are passed otherwise depends on the processor.
template <std::size_t bytes>
struct VectorsOf;
template <>
struct VectorsOf<16> {
  using Words = std::uint16_t __attribute__((vector_size(16)));
  using Longs = std::uint32_t __attribute__((vector_size(16)));
  using Pairs = std::uint64_t __attribute__((vector_size(16)));
};
template <>
struct VectorsOf<32> {
  using Words = std::uint16_t __attribute__((vector_size(32)));
  using Longs = std::uint32_t __attribute__((vector_size(32)));
  using Pairs = std::uint64_t __attribute__((vector_size(32)));
};

/// a[0] b[0] a[1] b[1] ...: the first half into `low`, the second into `high`.
template <class V>
QUILLBAY_BODY void interleave(const V& a, const V& b, V& low, V& high) noexcept {
  constexpr std::size_t kLanes = sizeof(V) / sizeof(a[0]);
  if constexpr (kLanes == 2) {
    low = __builtin_shufflevector(a, b, 0, 2);
    high = __builtin_shufflevector(a, b, 1, 3);
  } else if constexpr (kLanes == 4) {
    low = __builtin_shufflevector(a, b, 0, 4, 1, 5);
    high = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  } else {
    static_assert(kLanes == 8);
    low = __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
    high = __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
  }
}

/// Four vectors of sums, each of every fourth byte, in the order of the bytes.
template <std::size_t bytes, class Longs>
QUILLBAY_BODY void storeSums(const Longs (&total)[4], std::uint32_t* sums) noexcept {
  using Pairs = typename VectorsOf<bytes>::Pairs;
  Longs first[2], second[2];
  interleave(total[0], total[1], first[0], first[1]);
  interleave(total[2], total[3], second[0], second[1]);
  for (std::size_t half = 0; half < 2; ++half) {
    Pairs a, b, low, high;
    std::memcpy(&a, &first[half], bytes);
    std::memcpy(&b, &second[half], bytes);
    interleave(a, b, low, high);
    std::memcpy(sums + half * 2 * bytes / 4, &low, bytes);
    std::memcpy(sums + (half * 2 + 1) * bytes / 4, &high, bytes);
  }
}

/// Sums `bytes` bytes of all lines at a time. Bytes of even and of odd places are two vectors of 16-bit sums, which
/// take no shuffling to part; of each, even and odd ones are two of 32-bit sums.
template <std::size_t bytes>
QUILLBAY_BODY std::size_t sumBlocks(const WeightedLines& l, std::size_t from, std::size_t n,
                                    std::uint32_t* sums) noexcept {
  using Words = typename VectorsOf<bytes>::Words;
  using Longs = typename VectorsOf<bytes>::Longs;
  const int shift = std::countr_zero(l.unit);
  const auto widen = [](const Words& even, const Words& odd, int by, Longs(&total)[4]) {
    Longs e, o;
    std::memcpy(&e, &even, bytes);
    std::memcpy(&o, &odd, bytes);
    total[0] += (e & 0xFFFF) << by;
    total[1] += (o & 0xFFFF) << by;
    total[2] += (e >> 16) << by;
    total[3] += (o >> 16) << by;
  };
  std::size_t i = 0;
  for (; i + bytes <= n; i += bytes) {
    Longs total[4] = {};
    Words line;
    for (std::size_t k = 0; k < l.wholeCount;) {
      Words even{}, odd{};
      for (const std::size_t end = std::min(l.wholeCount, k + kMostWhole); k < end; ++k) {
        std::memcpy(&line, l.whole[k] + from + i, bytes);
        even += line & 0xFF;
        odd += line >> 8;
      }
      widen(even, odd, shift, total);
    }
    for (std::size_t k = 0; k < l.partCount; ++k) {
      std::memcpy(&line, l.parts[k] + from + i, bytes);
      widen((line & 0xFF) * l.weights[k], (line >> 8) * l.weights[k], 0, total);
    }
    storeSums<bytes>(total, sums + i);
  }
  return i;
}

std::size_t sumBlocksPlain(const WeightedLines& l, std::size_t from, std::size_t n, std::uint32_t* sums) noexcept {
  return sumBlocks<16>(l, from, n, sums);
}

#if QUILLBAY_HAS_AVX2
[[gnu::target("avx2")]] std::size_t sumBlocksAvx2(const WeightedLines& l, std::size_t from, std::size_t n,
                                                  std::uint32_t* sums) noexcept {
  return sumBlocks<32>(l, from, n, sums);
}
#endif

using SumBlocks = std::size_t (*)(const WeightedLines&, std::size_t, std::size_t, std::uint32_t*) noexcept;

/// For this processor.
SumBlocks chooseSumBlocks() noexcept {
#if QUILLBAY_HAS_AVX2
  if (runsAvx2()) return sumBlocksAvx2;
#endif
  return sumBlocksPlain;
}

/// Sums the tones of some neighbouring indices.
template <std::size_t pixels>
QUILLBAY_BODY void sumPixels(const WeightedLines& l, const std::uint64_t* colors, std::size_t at,
                             std::uint32_t* sums) noexcept {
  const int shift = std::countr_zero(l.unit);
  Sums sum[pixels] = {};
  for (std::size_t k = 0; k < l.wholeCount;) {
    std::uint64_t inner[pixels] = {};  // four sums side by side
    for (const std::size_t end = std::min(l.wholeCount, k + kMostWhole); k < end; ++k) {
      const std::uint8_t* line = l.whole[k] + at;
#pragma GCC unroll 4
      for (std::size_t p = 0; p < pixels; ++p) inner[p] += colors[line[p]];
    }
    for (std::size_t p = 0; p < pixels; ++p)
      sum[p] += __builtin_convertvector(loaded<Tones>(&inner[p]), Sums) << shift;
  }
  for (std::size_t k = 0; k < l.partCount; ++k) {
    const std::uint8_t* line = l.parts[k] + at;
    for (std::size_t p = 0; p < pixels; ++p)
      sum[p] += __builtin_convertvector(loaded<Tones>(colors + line[p]) * l.weights[k], Sums);
  }
  std::memcpy(sums, sum, sizeof(sum));
}

/// The four sums of a pixel, of which blue, green and red become bytes.
QUILLBAY_BODY std::uint32_t packed(const Sums& tones) noexcept {
#if QUILLBAY_HAS_AVX2
  const auto words = reinterpret_cast<__m128i>(tones);
  const __m128i halves = _mm_packs_epi32(words, words);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(halves, halves)));
#else
  return static_cast<std::uint32_t>(tones[0] | tones[1] << 8 | tones[2] << 16);
#endif
}

template <std::size_t tones, bool swapped>
void finishColorCells(const SumCell* cells, std::size_t count, const std::uint32_t* sums, float rowInverse,
                      std::uint32_t* out) noexcept {
  const auto floats = [](const Sums& s) { return __builtin_convertvector(s, Floats); };
  for (std::size_t i = 0; i < count; ++i) {
    const SumCell& c = cells[i];
    const std::uint32_t* p = sums + std::size_t{c.offset} * tones;
    Floats total = floats(loaded<Sums>(p)) * c.first;
    if (c.inner != SumCell::kSingle) {
      Sums inner{};
      p += tones;
      for (std::int32_t k = 0; k < c.inner; ++k, p += tones) inner += loaded<Sums>(p);
      total += floats(inner) * c.whole + floats(loaded<Sums>(p)) * c.last;
    }
    const Sums mean = __builtin_convertvector(total * rowInverse + kFloatHalf, Sums);
    out[i] = packed(swapped ? __builtin_shufflevector(mean, mean, 2, 1, 0, 3) : mean) | 0xFF000000U;
  }
}

/// Of a number below 2^31, which is faster converted as a signed one.
float toFloat(std::uint32_t v) noexcept { return static_cast<float>(static_cast<std::int32_t>(v)); }

void finishGreyCells(const SumCell* cells, std::size_t count, const std::uint32_t* sums, float rowInverse,
                     std::uint32_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const SumCell& c = cells[i];
    const std::uint32_t* p = sums + c.offset;
    float total = toFloat(*p) * c.first;
    if (c.inner != SumCell::kSingle) {
      std::uint32_t inner = 0;
      for (std::int32_t k = 0; k < c.inner; ++k) inner += *++p;
      total += toFloat(inner) * c.whole + toFloat(*++p) * c.last;
    }
    const auto tone = static_cast<std::uint32_t>(static_cast<std::int32_t>(total * rowInverse + kFloatHalf));
    out[i] = 0xFF000000U | tone * 0x010101U;
  }
}

}  // namespace

void CellRow::make(const std::vector<AreaSpan>& spans) {
  cells.clear();
  blocks.clear();
  std::int32_t low = 0, high = 0;  // of the block
  std::size_t most = 0;
  for (const AreaSpan& span : spans) {
    const std::int32_t newLow = std::min(low, span.first), newHigh = std::max(high, span.last);
    if (blocks.empty() || newHigh - newLow >= kBlockPixels) {
      blocks.push_back({cells.size(), 0, 0, 0});
      low = span.first;
      high = span.last;
    } else {
      low = newLow;
      high = newHigh;
    }
    CellBlock& block = blocks.back();
    ++block.cellCount;
    block.firstPixel = static_cast<std::size_t>(low);
    block.pixelCount = static_cast<std::size_t>(high - low) + 1;
    most = std::max(most, block.pixelCount);
    const float inverse = 1.0F / static_cast<float>(span.weight(kWholePixel));
    cells.push_back({static_cast<std::uint32_t>(span.first),
                     span.first == span.last ? SumCell::kSingle : span.whole(), span.firstWeight * inverse,
                     kWholePixel * inverse, span.lastWeight * inverse});
  }
  for (const CellBlock& block : blocks) {
    for (std::size_t i = 0; i < block.cellCount; ++i)
      cells[block.firstCell + i].offset -= static_cast<std::uint32_t>(block.firstPixel);
  }
  sums.assign((most + 1) * 4, 0);
}

void sumLines(const WeightedLines& lines, std::size_t from, std::size_t n, std::uint32_t* sums) noexcept {
  static const SumBlocks blocks = chooseSumBlocks();
  sumBytes(lines, from, blocks(lines, from, n, sums), n, sums);
}

void sumIndices(const WeightedLines& l, const std::uint64_t* colors, std::size_t from, std::size_t n,
                std::uint32_t* sums) noexcept {
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) sumPixels<4>(l, colors, from + i, sums + 4 * i);
  for (; i < n; ++i) sumPixels<1>(l, colors, from + i, sums + 4 * i);
}

void finishCells(ToneOrder order, const SumCell* cells, std::size_t count, const std::uint32_t* sums,
                 float rowInverse, std::uint32_t* out) noexcept {
  switch (order) {
    case ToneOrder::Grey: finishGreyCells(cells, count, sums, rowInverse, out); break;
    case ToneOrder::Rgb: finishColorCells<3, true>(cells, count, sums, rowInverse, out); break;
    case ToneOrder::Bgr: finishColorCells<3, false>(cells, count, sums, rowInverse, out); break;
    case ToneOrder::BgrX: finishColorCells<4, false>(cells, count, sums, rowInverse, out); break;
  }
}

}  // namespace quillbay
