#include "scanners/lines/color_loops.h"

#include <algorithm>

#include "platform/processor_forms.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

QUILLBAY_BODY void curveBody(const std::uint8_t* row, std::size_t count, const LevelTable& table,
                             std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = table[row[i]];
}

QUILLBAY_BODY void curvesBody(const std::uint8_t* row, std::size_t count, const std::array<LevelTable, 3>& tables,
                              std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i, row += 3, out += 3) {
    out[0] = tables[0][row[0]];
    out[1] = tables[1][row[1]];
    out[2] = tables[2][row[2]];
  }
}

QUILLBAY_BODY std::uint8_t movedAway(int level, int grey, int share) noexcept {
  return static_cast<std::uint8_t>(std::clamp(level + (((level - grey) * share + 64) >> 7), 0, 255));
}

QUILLBAY_BODY void saturateBody(const std::uint8_t* row, std::size_t count, int share, std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const int red = row[3 * i], green = row[3 * i + 1], blue = row[3 * i + 2];
    const int grey = (77 * red + 150 * green + 29 * blue + 128) >> 8;
    out[3 * i] = movedAway(red, grey, share);
    out[3 * i + 1] = movedAway(green, grey, share);
    out[3 * i + 2] = movedAway(blue, grey, share);
  }
}

QUILLBAY_BODY void greyBody(const std::uint8_t* __restrict row, std::size_t count,
                            std::uint8_t* __restrict out) noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = greyOf(row[3 * i], row[3 * i + 1], row[3 * i + 2]);
}

// Division by multiplication: exact for sums up to 255.5 areas while 255.5 area^2 < 2^22; the product fits 32 bits.
template <std::size_t reach>
QUILLBAY_BODY void meansOf(const std::uint16_t* __restrict sums, std::size_t count, std::size_t step,
                           std::uint8_t* __restrict out) noexcept {
  constexpr std::size_t kSide = 2 * reach + 1;
  constexpr std::uint32_t kArea = kSide * kSide, kShift = 22;
  constexpr std::uint32_t kInverse = ((std::uint32_t{1} << kShift) + kArea - 1) / kArea;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint16_t sum = kArea / 2;
    for (std::size_t k = 0; k < kSide; ++k) sum = static_cast<std::uint16_t>(sum + sums[i + k * step]);
    out[i] = static_cast<std::uint8_t>(sum * kInverse >> kShift);
  }
}

QUILLBAY_BODY void meansBody(const std::uint16_t* sums, std::size_t count, std::size_t reach, std::size_t step,
                             std::uint8_t* out) noexcept {
  switch (reach) {
    case 1: return meansOf<1>(sums, count, step, out);
    case 2: return meansOf<2>(sums, count, step, out);
    case 3: return meansOf<3>(sums, count, step, out);
    default: return meansOf<4>(sums, count, step, out);
  }
}

QUILLBAY_BODY void sharpenBody(const std::uint8_t* const rows[3], std::size_t count, std::size_t step, int weight,
                               std::int16_t* __restrict columns, std::uint8_t* __restrict out) noexcept {
  const std::uint8_t* __restrict above = rows[0];
  const std::uint8_t* __restrict row = rows[1];
  const std::uint8_t* __restrict below = rows[2];
  for (std::size_t i = 0; i < count; ++i)
    columns[i + step] = static_cast<std::int16_t>(above[i] + 2 * row[i] + below[i]);
  for (std::size_t k = 0; k < step; ++k) {
    columns[k] = columns[k + step];
    columns[count + step + k] = columns[count + k];
  }
  for (std::size_t i = 0; i < count; ++i) {
    const int sum = columns[i] + 2 * columns[i + step] + columns[i + 2 * step];
    out[i] = static_cast<std::uint8_t>(std::clamp(row[i] + (((16 * row[i] - sum) * weight + 128) >> 8), 0, 255));
  }
}

// NOLINTBEGIN(bugprone-macro-parentheses): an attribute takes none
#define QUILLBAY_LOOPS(name, attribute)                                                                            \
  attribute void curve##name(const std::uint8_t* row, std::size_t count, const LevelTable& table,                  \
                             std::uint8_t* out) noexcept {                                                         \
    curveBody(row, count, table, out);                                                                             \
  }                                                                                                                \
  attribute void curves##name(const std::uint8_t* row, std::size_t count, const std::array<LevelTable, 3>& tables, \
                              std::uint8_t* out) noexcept {                                                        \
    curvesBody(row, count, tables, out);                                                                           \
  }                                                                                                                \
  attribute void saturate##name(const std::uint8_t* row, std::size_t count, int share,                             \
                                std::uint8_t* out) noexcept {                                                      \
    saturateBody(row, count, share, out);                                                                          \
  }                                                                                                                \
  attribute void grey##name(const std::uint8_t* row, std::size_t count, std::uint8_t* out) noexcept {              \
    greyBody(row, count, out);                                                                                     \
  }                                                                                                                \
  attribute void means##name(const std::uint16_t* sums, std::size_t count, std::size_t reach, std::size_t step,    \
                             std::uint8_t* out) noexcept {                                                         \
    meansBody(sums, count, reach, step, out);                                                                      \
  }                                                                                                                \
  attribute void sharpen##name(const std::uint8_t* const rows[3], std::size_t count, std::size_t step, int weight, \
                               std::int16_t* columns, std::uint8_t* out) noexcept {                                \
    sharpenBody(rows, count, step, weight, columns, out);                                                          \
  }                                                                                                                \
  constexpr ColorLoops kColor##name{curve##name, curves##name, saturate##name,                                     \
                                    grey##name,  means##name,  sharpen##name};
// NOLINTEND(bugprone-macro-parentheses)

QUILLBAY_LOOPS(Plain, )

#if QUILLBAY_HAS_AVX2
QUILLBAY_LOOPS(Avx2, [[gnu::target("avx2")]])

#define QUILLBAY_VBMI [[gnu::target("avx512f,avx512bw,avx512vbmi")]]

// A table of 256 bytes in four registers.
struct Lookup {
  __m512i quarters[4];
};

QUILLBAY_VBMI QUILLBAY_BODY Lookup loadedTable(const LevelTable& table) noexcept {
  Lookup l;
  for (std::size_t i = 0; i < 4; ++i) l.quarters[i] = _mm512_loadu_si512(table.data() + 64 * i);
  return l;
}

QUILLBAY_VBMI QUILLBAY_BODY __m512i lookedUp(const Lookup& l, __m512i levels) noexcept {
  const __m512i low = _mm512_permutex2var_epi8(l.quarters[0], levels, l.quarters[1]);
  const __m512i high = _mm512_permutex2var_epi8(l.quarters[2], levels, l.quarters[3]);
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(levels), low, high);
}

QUILLBAY_VBMI void curveVbmi(const std::uint8_t* row, std::size_t count, const LevelTable& table,
                             std::uint8_t* out) noexcept {
  const Lookup l = loadedTable(table);
  std::size_t i = 0;
  for (; i + 64 <= count; i += 64) _mm512_storeu_si512(out + i, lookedUp(l, _mm512_loadu_si512(row + i)));
  curveBody(row + i, count - i, table, out + i);
}

QUILLBAY_VBMI void curvesVbmi(const std::uint8_t* row, std::size_t count, const std::array<LevelTable, 3>& tables,
                              std::uint8_t* out) noexcept {
  // Which bytes of three registers are a channel's: a register starts with red, blue or green.
  constexpr __mmask64 kFirst = 0x9249249249249249U, kSecond = kFirst << 1, kThird = kFirst << 2;
  constexpr __mmask64 kGreens[3] = {kSecond, kFirst, kThird}, kBlues[3] = {kThird, kSecond, kFirst};
  const Lookup red = loadedTable(tables[0]), green = loadedTable(tables[1]), blue = loadedTable(tables[2]);
  std::size_t i = 0;
  for (; i + 64 <= count; i += 64) {
    for (std::size_t k = 0; k < 3; ++k) {
      const __m512i levels = _mm512_loadu_si512(row + 3 * i + 64 * k);
      __m512i made = lookedUp(red, levels);
      made = _mm512_mask_blend_epi8(kGreens[k], made, lookedUp(green, levels));
      made = _mm512_mask_blend_epi8(kBlues[k], made, lookedUp(blue, levels));
      _mm512_storeu_si512(out + 3 * i + 64 * k, made);
    }
  }
  curvesBody(row + 3 * i, count - i, tables, out + 3 * i);
}

constexpr ColorLoops kColorVbmi{curveVbmi, curvesVbmi, saturateAvx2, greyAvx2, meansAvx2, sharpenAvx2};
#endif

}  // namespace

std::array<const ColorLoops*, 3> allColorLoops() noexcept {
  std::array<const ColorLoops*, 3> all{&kColorPlain, nullptr, nullptr};
#if QUILLBAY_HAS_AVX2
  if (!runsAvx2()) return all;
  all[1] = &kColorAvx2;
  const bool looksUp = __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
                       __builtin_cpu_supports("avx512vbmi") != 0;
  if (looksUp) all[2] = &kColorVbmi;
#endif
  return all;
}

const ColorLoops& colorLoops() noexcept {
  static const ColorLoops& best = []() -> const ColorLoops& {
    const auto all = allColorLoops();
    return all[2] ? *all[2] : all[1] ? *all[1] : *all[0];
  }();
  return best;
}

}  // namespace quillbay
