#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "stores/area_span.h"

namespace quillbay {

/// Lines that make one reduced line: `wholeCount` of them weigh `unit` each, the `partCount` others as they say, at
/// most 256.
struct WeightedLines {
  const std::uint8_t* const* whole = nullptr;
  std::size_t wholeCount = 0;
  std::uint32_t unit = 256;
  const std::uint8_t* const* parts = nullptr;
  const std::uint16_t* weights = nullptr;
  std::size_t partCount = 0;
};

/// How the tones of a pixel follow each other in sums.
enum class ToneOrder { Grey, Rgb, Bgr, BgrX };
/// Sums of a pixel.
[[nodiscard]] constexpr std::size_t toneCount(ToneOrder order) noexcept {
  return order == ToneOrder::Grey ? 1 : order == ToneOrder::BgrX ? 4 : 3;
}

/// One reduced pixel over sums of source pixels.
struct SumCell {
  static constexpr std::int32_t kSingle = -1;  ///< `inner` of a cell over one source pixel
  std::uint32_t offset = 0;                    ///< of its first source pixel, in its block
  std::int32_t inner = kSingle;                ///< whole source pixels between first and last
  float first = 1, whole = 0, last = 0;        ///< weights of a source pixel, together 1
};

/// Cells whose sums are made together: few enough for the processor's nearest cache.
struct CellBlock {
  std::size_t firstCell = 0, cellCount = 0;
  std::size_t firstPixel = 0, pixelCount = 0;  ///< source pixels
};

/// A row of reduced pixels, and room for the sums of a block.
struct CellRow {
  std::vector<SumCell> cells;
  std::vector<CellBlock> blocks;
  std::vector<std::uint32_t> sums;

  /// `spans` are those of the row's cells, in the order of the cells; whole pixels weigh 256.
  void make(const std::vector<AreaSpan>& spans);
};

/// sums[i] = sum of line[from + i] * weight, 0 <= i < n, for bytes. All sums are below 2^31.
void sumLines(const WeightedLines& lines, std::size_t from, std::size_t n, std::uint32_t* sums) noexcept;
/// The same for lines of indices: four sums a pixel. `colors` has 256 entries of four 16-bit tones of at most 255.
void sumIndices(const WeightedLines& lines, const std::uint64_t* colors, std::size_t from, std::size_t n,
                std::uint32_t* sums) noexcept;
/// Writes `count` pixels 0xffRRGGBB: tone = weighted mean of the sums * rowInverse, rounded. Four sums from the
/// last pixel's first one on can be read, whatever its order is.
void finishCells(ToneOrder order, const SumCell* cells, std::size_t count, const std::uint32_t* sums,
                 float rowInverse, std::uint32_t* out) noexcept;

}  // namespace quillbay
