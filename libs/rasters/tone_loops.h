#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// One device column over sums of source pixels, of which it shows a first one, `inner` whole ones and a last one.
struct ColumnSpan {
  static constexpr std::int32_t kSingle = -1;  ///< `inner` of a column that shows one pixel, its first
  std::uint32_t offset = 0;                    ///< of the first pixel, from the lowest one that any column shows
  std::int32_t inner = kSingle;
  float first = 1, whole = 0, last = 0;  ///< weights of a pixel, together 1 over the column
};

/// The inner loops of averaging areas, in the form that suits the processor best. All forms give the same results.
struct ToneLoops {
  static constexpr std::size_t kMostLines = 8;

  /// sums[i] += line[i], below 2^16.
  void (*addWhole)(std::uint16_t* sums, const std::uint8_t* line, std::size_t n) noexcept;
  /// sums[i] += line[i] * weight, `weight` at most 256.
  void (*addWeighted)(std::uint32_t* sums, const std::uint8_t* line, std::size_t n, std::uint16_t weight) noexcept;
  /// sums[i] += 256 * whole[i], and empties `whole`.
  void (*moveWhole)(std::uint32_t* sums, std::uint16_t* whole, std::size_t n) noexcept;
  /// sums[i] = lines[0][i] * first + 256 * (those between) + lines[count - 1][i] * last, for 1..kMostLines lines;
  /// one line weighs `first`.
  void (*sumLines)(std::uint32_t* sums, const std::uint8_t* const* lines, std::size_t count, std::size_t n,
                   std::uint16_t first, std::uint16_t last) noexcept;
  /// The same for lines of indices: four sums per pixel. `colors` has 256 entries of four 16-bit tones.
  void (*sumIndices)(std::uint32_t* sums, const std::uint64_t* colors, const std::uint8_t* const* lines,
                     std::size_t count, std::size_t n, std::uint16_t first, std::uint16_t last) noexcept;
  /// Writes `n` columns as 0xffRRGGBB: tone = sum * weight * rowInverse, rounded. Sums of all tones of a column are
  /// below 2^31, and exact in floats. The four sums from a pixel's first on can be read, whatever its channels are.
  /// [0] three sums a pixel (R, G, B), [1] four; [2] and [3] the same with B, G, R.
  void (*finishColors[4])(std::uint32_t* out, const ColumnSpan* columns, std::size_t n, const std::uint32_t* sums,
                          float rowInverse) noexcept;
};

/// For this processor. Any thread.
[[nodiscard]] const ToneLoops& toneLoops() noexcept;

}  // namespace quillbay
