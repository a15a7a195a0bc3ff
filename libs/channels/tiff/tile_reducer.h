#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// Palette entries by colour: the nearest one to the middle of each of 32 x 32 x 32 cells, the earlier one of two
/// at the same distance.
class PaletteCells {
 public:
  explicit PaletteCells(std::span<const KXRGBQUAD> palette);
  [[nodiscard]] std::uint8_t nearest(unsigned red, unsigned green, unsigned blue) const noexcept {
    return m_cells[red >> 3 << 10 | green >> 3 << 5 | blue >> 3];
  }
  [[nodiscard]] const KXRGBQUAD& color(std::uint8_t index) const noexcept { return m_palette[index]; }

 private:
  std::vector<std::uint8_t> m_cells;
  KXRGBQUAD m_palette[256] = {};
};

/// Lines of a tile's width, `size` pixels, and where their halves go.
struct TileHalving {
  const std::uint8_t* from;
  std::size_t fromStride;
  std::uint8_t* to;
  std::size_t toStride;
  std::int32_t size;   ///< pixels of a line that is read; a multiple of 128
  std::int32_t lines;  ///< that are written; twice as many are read
};

// A pixel of the smaller picture for each square of four.
/// Grey or red, green, blue: the average, halves rounded up.
void halveTones(const TileHalving& tile, int samples) noexcept;
/// Packed lines: black where one of the four is, so that thin lines stay whole.
void halveInk(const TileHalving& tile) noexcept;
/// Indices: what the four agree on, else the entry nearest to their average.
void halvePalette(const TileHalving& tile, const PaletteCells& cells) noexcept;

}  // namespace quillbay
