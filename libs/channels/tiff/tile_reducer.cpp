#include "channels/tiff/tile_reducer.h"

#include <algorithm>

#include "quillbay/palette.h"
#include "quillbay/run_list.h"

namespace quillbay {
namespace {

constexpr std::size_t kBatch = 128;  // pixels that are read

/// Sums of two lines first, since those are vectors whatever the samples.
template <std::size_t Samples>
void halveToneLine(const std::uint8_t* a, const std::uint8_t* b, std::size_t pixels, std::uint8_t* to) noexcept {
  std::uint16_t sums[kBatch * Samples];
  for (std::size_t x = 0; x < pixels; x += kBatch) {
    for (std::size_t i = 0; i < kBatch * Samples; ++i) {
      sums[i] = static_cast<std::uint16_t>(a[i] + b[i]);
    }
    for (std::size_t i = 0; i < kBatch / 2; ++i) {
      for (std::size_t c = 0; c < Samples; ++c) {
        const unsigned four = sums[2 * i * Samples + c] + sums[(2 * i + 1) * Samples + c] + 2U;
        to[i * Samples + c] = static_cast<std::uint8_t>(four >> 2);
      }
    }
    a += kBatch * Samples;
    b += kBatch * Samples;
    to += kBatch / 2 * Samples;
  }
}

/// The bits 63, 61, ... 1 of a word, joined.
constexpr std::uint32_t oddBits(std::uint64_t v) noexcept {
  v = v >> 1 & 0x5555555555555555U;
  v = (v | v >> 1) & 0x3333333333333333U;
  v = (v | v >> 2) & 0x0F0F0F0F0F0F0F0FU;
  v = (v | v >> 4) & 0x00FF00FF00FF00FFU;
  v = (v | v >> 8) & 0x0000FFFF0000FFFFU;
  return static_cast<std::uint32_t>(v | v >> 16);
}
static_assert(oddBits(0x8000000000000000U) == 0x80000000U && oddBits(0x000000000000000AU) == 3);

}  // namespace

PaletteCells::PaletteCells(std::span<const KXRGBQUAD> palette) : m_cells(std::size_t{1} << 15) {
  std::copy_n(palette.begin(), std::min<std::size_t>(palette.size(), 256), m_palette);
  const auto middle = [](std::size_t fifth) { return static_cast<std::uint8_t>((fifth & 31) << 3 | 4); };
  for (std::size_t cell = 0; cell < m_cells.size(); ++cell) {
    const KXRGBQUAD color{middle(cell >> 10), middle(cell >> 5), middle(cell), 0};
    const auto best = std::min_element(palette.begin(), palette.end(), [&](const auto& a, const auto& b) {
      return colorDistance(a, color) < colorDistance(b, color);
    });
    m_cells[cell] = static_cast<std::uint8_t>(best - palette.begin());
  }
}

void halveTones(const TileHalving& tile, int samples) noexcept {
  const auto pixels = static_cast<std::size_t>(tile.size);
  const std::uint8_t* from = tile.from;
  std::uint8_t* to = tile.to;
  for (std::int32_t y = 0; y < tile.lines; ++y, from += 2 * tile.fromStride, to += tile.toStride) {
    if (samples == 1) {
      halveToneLine<1>(from, from + tile.fromStride, pixels, to);
    } else {
      halveToneLine<3>(from, from + tile.fromStride, pixels, to);
    }
  }
}

void halveInk(const TileHalving& tile) noexcept {
  const std::uint8_t* from = tile.from;
  std::uint8_t* to = tile.to;
  for (std::int32_t y = 0; y < tile.lines; ++y, from += 2 * tile.fromStride, to += tile.toStride) {
    for (std::int32_t i = 0; i < tile.size / 64; ++i) {
      const std::uint64_t both = loadBits(from + 8 * i) | loadBits(from + tile.fromStride + 8 * i);
      const std::uint32_t half = __builtin_bswap32(oddBits(both | both << 1));
      std::memcpy(to + 4 * i, &half, sizeof half);
    }
  }
}

void halvePalette(const TileHalving& tile, const PaletteCells& cells) noexcept {
  for (std::int32_t y = 0; y < tile.lines; ++y) {
    const std::uint8_t* a = tile.from + 2 * static_cast<std::size_t>(y) * tile.fromStride;
    const std::uint8_t* b = a + tile.fromStride;
    std::uint8_t* to = tile.to + static_cast<std::size_t>(y) * tile.toStride;
    for (std::int32_t i = 0; i < tile.size / 2; ++i, a += 2, b += 2) {
      if (a[0] == a[1] && a[0] == b[0] && a[0] == b[1]) {
        to[i] = a[0];
        continue;
      }
      const KXRGBQUAD &p = cells.color(a[0]), &q = cells.color(a[1]), &r = cells.color(b[0]),
                      &s = cells.color(b[1]);
      to[i] = cells.nearest((p.red + q.red + r.red + s.red + 2U) >> 2,
                            (p.green + q.green + r.green + s.green + 2U) >> 2,
                            (p.blue + q.blue + r.blue + s.blue + 2U) >> 2);
    }
  }
}

}  // namespace quillbay
