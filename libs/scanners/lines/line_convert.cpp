#include "scanners/lines/line_convert.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "quillbay/run_list.h"

namespace quillbay {

namespace {

// Words hold 64 pixels, the leftmost in bit 0, black is 1.
constexpr std::uint64_t leftPixels(std::uint32_t count) noexcept { return (std::uint64_t{1} << count) - 1; }

// 64 pixels against the threshold (1-255).
std::uint64_t below64(const std::uint8_t* grey, int threshold) noexcept {
#ifdef __SSE2__
  const __m128i limit = _mm_set1_epi8(static_cast<char>(threshold));
  std::uint64_t white = 0;
  for (int i = 0; i < 4; ++i) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(grey + 16 * i));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(v, limit), v)));
    white |= std::uint64_t{mask} << (16 * i);
  }
  return ~white;
#else
  std::uint64_t black = 0;
  for (int i = 0; i < 64; ++i) black |= std::uint64_t{grey[i] < threshold} << i;
  return black;
#endif
}

}  // namespace

std::size_t greyToRuns(const std::uint8_t* grey, std::int32_t width, int threshold, std::uint32_t* runs) noexcept {
  RunListWriter writer(runs);
  const auto pixels = static_cast<std::uint32_t>(std::max(width, 0));
  if (threshold <= 0 || pixels == 0) return writer.finish(pixels);
  if (threshold > 255) {
    writer(0);  // a run that `finish` ends
    return writer.finish(pixels);
  }
  BitChanges<Leftmost::LowestBit> changes;
  std::uint32_t x = 0;
  for (; x + 64 <= pixels; x += 64) changes.word(below64(grey + x, threshold), x, writer);
  if (const std::uint32_t rest = pixels - x; rest != 0) {
    std::uint8_t tail[64] = {};
    std::memcpy(tail, grey + x, rest);
    changes.word(below64(tail, threshold) & leftPixels(rest), x, writer);
  }
  return writer.finish(pixels);
}

void rgbToGrey(const std::uint8_t* rgb, std::size_t count, std::uint8_t* grey) noexcept {
  colorLoops().grey(rgb, count, grey);
}

void greyToRgb(const std::uint8_t* grey, std::size_t count, std::uint8_t* rgb) noexcept {
  for (std::size_t i = 0; i < count; ++i, rgb += 3) rgb[0] = rgb[1] = rgb[2] = grey[i];
}

std::unique_ptr<ToneCurves> ToneCurves::make(const KXRGBQUAD* entries) {
  if (!entries) return nullptr;
  auto curves = std::make_unique<ToneCurves>();
  bool changes = false;
  for (std::size_t i = 0; i < 256; ++i) {
    const KXRGBQUAD& e = entries[i];
    curves->channels[0][i] = e.red;
    curves->channels[1][i] = e.green;
    curves->channels[2][i] = e.blue;
    curves->grey[i] = greyOf(e.red, e.green, e.blue);
    changes = changes || e.red != i || e.green != i || e.blue != i;
  }
  return changes ? std::move(curves) : nullptr;
}

}  // namespace quillbay
