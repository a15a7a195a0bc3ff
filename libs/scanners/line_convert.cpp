#include "scanners/line_convert.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "scanners/line_pipeline.h"

namespace quillbay {

namespace {

// Writes the places where a line changes between white and black: starts and inclusive ends in turn.
// Words hold 64 pixels, the leftmost in bit 0, black is 1.
class RunWriter {
 public:
  explicit RunWriter(std::uint32_t* runs) noexcept : m_runs(runs) {}
  void word(std::uint64_t black, std::uint32_t firstPixel) noexcept {
    std::uint64_t changes = black ^ ((black << 1) | m_last);
    m_last = black >> 63;
    while (changes != 0) {
      const auto pixel = firstPixel + static_cast<std::uint32_t>(std::countr_zero(changes));
      m_runs[m_count] = pixel - static_cast<std::uint32_t>(m_count & 1);
      ++m_count;
      changes &= changes - 1;
    }
  }
  std::size_t finish(std::uint32_t width) noexcept {
    if (m_count & 1) m_runs[m_count++] = width - 1;
    m_runs[m_count] = RunEnd;
    return m_count / 2;
  }

 private:
  std::uint32_t* m_runs;
  std::size_t m_count = 0;
  std::uint64_t m_last = 0;
};

constexpr std::uint64_t leftPixels(std::uint32_t count) noexcept { return (std::uint64_t{1} << count) - 1; }

std::uint64_t reverseBitsOfBytes(std::uint64_t v) noexcept {
  v = ((v >> 1) & 0x5555555555555555U) | ((v & 0x5555555555555555U) << 1);
  v = ((v >> 2) & 0x3333333333333333U) | ((v & 0x3333333333333333U) << 2);
  return ((v >> 4) & 0x0F0F0F0F0F0F0F0FU) | ((v & 0x0F0F0F0F0F0F0F0FU) << 4);
}

std::uint64_t loadPixels(const std::uint8_t* bits, std::size_t bytes) noexcept {
  std::uint64_t v = 0;
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(&v, bits, bytes);
  } else {
    for (std::size_t i = 0; i < bytes; ++i) v |= std::uint64_t{bits[i]} << (8 * i);
  }
  return reverseBitsOfBytes(v);
}

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

std::size_t bitsToRuns(const std::uint8_t* bits, std::int32_t width, std::uint32_t* runs) noexcept {
  RunWriter writer(runs);
  const auto pixels = static_cast<std::uint32_t>(std::max(width, 0));
  std::uint32_t x = 0;
  for (; x + 64 <= pixels; x += 64) writer.word(loadPixels(bits + x / 8, 8), x);
  if (const std::uint32_t rest = pixels - x; rest != 0)
    writer.word(loadPixels(bits + x / 8, (rest + 7) / 8) & leftPixels(rest), x);
  return writer.finish(pixels);
}

std::size_t greyToRuns(const std::uint8_t* grey, std::int32_t width, int threshold, std::uint32_t* runs) noexcept {
  RunWriter writer(runs);
  const auto pixels = static_cast<std::uint32_t>(std::max(width, 0));
  if (threshold <= 0 || pixels == 0) return writer.finish(pixels);
  if (threshold > 255) {
    writer.word(~std::uint64_t{0}, 0);  // a run that begins at 0 and that `finish` ends
    return writer.finish(pixels);
  }
  std::uint32_t x = 0;
  for (; x + 64 <= pixels; x += 64) writer.word(below64(grey + x, threshold), x);
  if (const std::uint32_t rest = pixels - x; rest != 0) {
    std::uint8_t tail[64] = {};
    std::memcpy(tail, grey + x, rest);
    writer.word(below64(tail, threshold) & leftPixels(rest), x);
  }
  return writer.finish(pixels);
}

void highBytes(const std::uint8_t* samples, std::size_t count, std::uint8_t* out) noexcept {
  constexpr std::size_t high = std::endian::native == std::endian::little ? 1 : 0;
  for (std::size_t i = 0; i < count; ++i) out[i] = samples[2 * i + high];
}

void rgbToGrey(const std::uint8_t* rgb, std::size_t count, std::uint8_t* grey) noexcept {
  for (std::size_t i = 0; i < count; ++i, rgb += 3) grey[i] = greyOf(rgb[0], rgb[1], rgb[2]);
}

void greyToRgb(const std::uint8_t* grey, std::size_t count, std::uint8_t* rgb) noexcept {
  for (std::size_t i = 0; i < count; ++i, rgb += 3) rgb[0] = rgb[1] = rgb[2] = grey[i];
}

void bitsToGrey(const std::uint8_t* bits, std::size_t count, std::uint8_t* grey) noexcept {
  for (std::size_t i = 0; i < count; ++i)
    grey[i] = static_cast<std::uint8_t>(((bits[i / 8] >> (7 - i % 8)) & 1) - 1);
}

std::unique_ptr<ToneCurves> ToneCurves::make(const KXRGBQUAD* entries) {
  if (!entries) return nullptr;
  auto curves = std::make_unique<ToneCurves>();
  bool changes = false;
  for (std::size_t i = 0; i < 256; ++i) {
    const KXRGBQUAD& e = entries[i];
    curves->red[i] = e.red;
    curves->green[i] = e.green;
    curves->blue[i] = e.blue;
    curves->grey[i] = greyOf(e.red, e.green, e.blue);
    changes = changes || e.red != i || e.green != i || e.blue != i;
  }
  return changes ? std::move(curves) : nullptr;
}

void ToneCurves::applyGrey(const std::uint8_t* line, std::size_t count, std::uint8_t* out) const noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = grey[line[i]];
}

void ToneCurves::applyRgb(const std::uint8_t* line, std::size_t count, std::uint8_t* out) const noexcept {
  for (std::size_t i = 0; i < count; ++i, line += 3, out += 3) {
    out[0] = red[line[0]];
    out[1] = green[line[1]];
    out[2] = blue[line[2]];
  }
}

const FixedPalette& FixedPalette::instance() {
  static const FixedPalette palette;
  return palette;
}

FixedPalette::FixedPalette() {
  for (std::size_t i = 0; i < 216; ++i) {
    const auto level = [](std::size_t step) { return static_cast<std::uint8_t>(step * 51); };
    m_entries[i] = {level(i / 36), level(i / 6 % 6), level(i % 6), 0};
  }
  for (std::size_t i = 0; i < 40; ++i) {
    const auto v = static_cast<std::uint8_t>(((i + 1) * 255 + 20) / 41);
    m_entries[216 + i] = {v, v, v, 0};
  }
  for (int v = 0; v < 256; ++v) m_grey[static_cast<std::size_t>(v)] = nearest(v, v, v);
  const auto middle = [](std::size_t cell) { return static_cast<int>((cell * 255 + 15) / 31); };
  for (std::size_t i = 0; i < m_cells.size(); ++i)
    m_cells[i] = nearest(middle(i >> 10), middle((i >> 5) & 31), middle(i & 31));
}

std::uint8_t FixedPalette::nearest(int r, int g, int b) const noexcept {
  const auto distance = [&](std::size_t i) {
    const KXRGBQUAD& e = m_entries[i];
    return (e.red - r) * (e.red - r) + (e.green - g) * (e.green - g) + (e.blue - b) * (e.blue - b);
  };
  const auto step = [](int v) { return static_cast<std::size_t>((v + 25) / 51); };
  std::size_t best = step(r) * 36 + step(g) * 6 + step(b);
  for (std::size_t i = 216; i < 256; ++i)
    if (distance(i) < distance(best)) best = i;
  return static_cast<std::uint8_t>(best);
}

void FixedPalette::mapGrey(const std::uint8_t* grey, std::size_t count, std::uint8_t* out) const noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = m_grey[grey[i]];
}

void FixedPalette::mapRgb(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) const noexcept {
  for (std::size_t i = 0; i < count; ++i, rgb += 3)
    out[i] = m_cells[(std::size_t{rgb[0]} >> 3) << 10 | (std::size_t{rgb[1]} >> 3) << 5 | rgb[2] >> 3];
}

}  // namespace quillbay
