#include "analysis/bound_row_loops.h"

#include <algorithm>

#include "platform/processor_forms.h"

namespace quillbay {

namespace {

constexpr std::size_t kPiece = BoundRowLoops::kPiece;
constexpr std::size_t kLook = BoundRowLoops::kLook;
constexpr int kMorePasses = 4;

// One place before the piece: its left neighbour.
using Piece = std::uint16_t[kPiece + 1];

// sum / 10 for sums up to 2550: 6554 / 65536 is above 1/10 by so little that no quotient changes.
QUILLBAY_BODY std::uint16_t tenth(std::uint32_t sum) noexcept {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(static_cast<std::uint16_t>(sum)) * 6554U >> 16);
}

// What a pass makes of its input is right up to one place behind where the input is.
QUILLBAY_BODY void pass(const std::uint16_t* sums, const std::uint16_t* from, std::uint16_t* to) noexcept {
  for (std::size_t i = 0; i < kPiece; ++i) {
    to[i + 1] = tenth(static_cast<std::uint16_t>(sums[i] + from[i]));
  }
}

// A pass that tells whether it changed anything: when it did not, every value follows from its left neighbour.
QUILLBAY_BODY bool lastPass(const std::uint16_t* sums, const std::uint16_t* from, std::uint16_t* to) noexcept {
  std::uint16_t changed = 0;
  for (std::size_t i = 0; i < kPiece; ++i) {
    const std::uint16_t value = tenth(static_cast<std::uint16_t>(sums[i] + from[i]));
    changed = static_cast<std::uint16_t>(changed | (value ^ from[i + 1]));
    to[i + 1] = value;
  }
  return changed == 0;
}

QUILLBAY_BODY void inOrder(const std::uint16_t* sums, std::uint16_t* values) noexcept {
  for (std::size_t i = 0; i < kPiece; ++i) values[i + 1] = tenth(static_cast<std::uint32_t>(sums[i]) + values[i]);
}

// Each value depends on its left neighbour, but only by a tenth: guessed values are put right by a few passes over
// the whole piece, in each of which all places are independent. Guesses are a ninth, right on even ground.
QUILLBAY_BODY const std::uint16_t* solve(const std::uint16_t* sums, std::uint16_t left, Piece& a,
                                         Piece& b) noexcept {
  a[0] = b[0] = left;
  for (std::size_t i = 0; i < kPiece; ++i) {
    a[i + 1] = static_cast<std::uint16_t>(static_cast<std::uint32_t>(sums[i]) * 7282U >> 16);
  }
  pass(sums, a, b);
  pass(sums, b, a);
  pass(sums, a, b);
  for (int more = 0; more < kMorePasses; ++more) {
    if (lastPass(sums, b, a)) return a;
    if (lastPass(sums, a, b)) return b;
  }
  inOrder(sums, a);
  return a;
}

QUILLBAY_BODY void smoothBody(const BoundBand& band, std::size_t x, std::uint8_t* smoothed,
                              std::uint16_t* columnSums) noexcept {
  const std::uint8_t* __restrict previous = band.previous + x - 1;
  const std::uint8_t* __restrict current = band.current + x;
  const std::uint8_t* __restrict next = band.next + x - 1;
  std::uint16_t outer[kPiece + 2];  // of the rows above and below
  for (std::size_t i = 0; i < kPiece + 2; ++i) outer[i] = static_cast<std::uint16_t>(previous[i] + next[i]);
  std::uint16_t sums[kPiece];
  for (std::size_t i = 0; i < kPiece; ++i) {
    sums[i] = static_cast<std::uint16_t>(outer[i] + outer[i + 1] + outer[i + 2] + 2 * current[i] + current[i + 1]);
  }
  Piece a, b;
  const std::uint16_t* values = solve(sums, smoothed[x - 1], a, b);
  std::uint8_t* __restrict out = smoothed + x;
  std::uint16_t* __restrict columns = columnSums + x;
  for (std::size_t i = 0; i < kPiece; ++i) {
    out[i] = static_cast<std::uint8_t>(values[i + 1]);
    columns[i] = static_cast<std::uint16_t>(outer[i + 1] + values[i + 1]);
  }
}

QUILLBAY_BODY bool findEdgesBody(const std::uint16_t* sums, std::ptrdiff_t x, std::ptrdiff_t first,
                                 std::ptrdiff_t last, std::int16_t least, std::uint8_t* ends) noexcept {
  constexpr std::size_t kEarlier = 16;  // the four columns before are among these
  std::uint8_t strong[kEarlier + kLook];
  const std::ptrdiff_t from = x - static_cast<std::ptrdiff_t>(kEarlier);
  const std::uint16_t* __restrict s = sums + from - 3;
  for (std::size_t i = 0; i < kEarlier + kLook; ++i) {
    const auto right = static_cast<std::int16_t>(s[i + 4] + s[i + 5] + s[i + 6]);
    const auto left = static_cast<std::int16_t>(s[i] + s[i + 1] + s[i + 2]);
    const auto difference = static_cast<std::int16_t>(right - left);
    const auto contrast = static_cast<std::int16_t>(difference < 0 ? -difference : difference);
    strong[i] = contrast >= least ? 0xFF : 0;
  }
  for (std::ptrdiff_t i = from; i < first; ++i) strong[i - from] = 0;
  for (std::ptrdiff_t i = last + 1; i < x + static_cast<std::ptrdiff_t>(kLook); ++i) {
    strong[std::max(i, from) - from] = 0;
  }
  std::uint8_t any = 0;
  const std::uint8_t* __restrict q = strong + kEarlier;
  for (std::size_t i = 0; i < kLook; ++i) {
    const std::uint8_t* p = q + i;
    ends[i] = static_cast<std::uint8_t>(p[0] & p[-1] & p[-2] & p[-3] & p[-4]);
    any = static_cast<std::uint8_t>(any | ends[i]);
  }
  return any != 0;
}

// NOLINTBEGIN(bugprone-macro-parentheses)
#define QUILLBAY_LOOPS(name, attribute)                                                                  \
  attribute void smooth##name(const BoundBand& band, std::size_t x, std::uint8_t* smoothed,              \
                              std::uint16_t* sums) noexcept {                                            \
    smoothBody(band, x, smoothed, sums);                                                                 \
  }                                                                                                      \
  attribute bool findEdges##name(const std::uint16_t* sums, std::ptrdiff_t x, std::ptrdiff_t first,      \
                                 std::ptrdiff_t last, std::int16_t least, std::uint8_t* ends) noexcept { \
    return findEdgesBody(sums, x, first, last, least, ends);                                             \
  }                                                                                                      \
  constexpr BoundRowLoops kLoops##name{smooth##name, findEdges##name};
// NOLINTEND(bugprone-macro-parentheses)

QUILLBAY_LOOPS(Plain, )
#if QUILLBAY_HAS_AVX2
QUILLBAY_LOOPS(Avx2, [[gnu::target("avx2")]])
#endif

}  // namespace

const BoundRowLoops& plainBoundRowLoops() noexcept { return kLoopsPlain; }

const BoundRowLoops& boundRowLoops() noexcept {
#if QUILLBAY_HAS_AVX2
  static const bool avx2 = runsAvx2();
  if (avx2) return kLoopsAvx2;
#endif
  return kLoopsPlain;
}

}  // namespace quillbay
