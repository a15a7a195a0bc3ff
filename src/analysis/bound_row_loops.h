#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// Three rows of bytes, as the smoothing of the middle one reads them.
struct BoundBand {
  const std::uint8_t* previous;  ///< smoothed
  const std::uint8_t* current;
  const std::uint8_t* next;
};

/// The inner loops of bound detection, over pieces of a fixed length.
struct BoundRowLoops {
  static constexpr std::size_t kPiece = 256;  ///< columns that are smoothed at once
  static constexpr std::size_t kLook = 112;   ///< columns that are searched at once
  static constexpr std::size_t kBefore = 19;  ///< sums that are read left of the searched columns
  static constexpr std::size_t kBehind = 3;   ///< and right of them

  /// Smooths the columns `x` to `x` + kPiece - 1 of the current row: each becomes the sum of its 3 x 3 pixels, its
  /// own counted twice, divided by 10 without the remainder. Its left neighbour is the one already smoothed,
  /// `smoothed[x - 1]`. `sums[i]` gets the sum of column i of the previous, the smoothed and the next row.
  void (*smooth)(const BoundBand& band, std::size_t x, std::uint8_t* smoothed, std::uint16_t* sums) noexcept;

  /// For the columns `x` to `x` + kLook - 1: `ends[i]` is not 0 when the contrasts of column x + i and of the four
  /// before all reach `least`. The contrast of a column is the difference between the 3 x 3 pixels centred two
  /// columns left and two columns right of it; those of columns before `first` and behind `last` do not count.
  /// Answers whether any `ends[i]` is not 0.
  bool (*findEdges)(const std::uint16_t* sums, std::ptrdiff_t x, std::ptrdiff_t first, std::ptrdiff_t last,
                    std::int16_t least, std::uint8_t* ends) noexcept;
};

/// The loops for this processor.
[[nodiscard]] const BoundRowLoops& boundRowLoops() noexcept;
/// Those that run everywhere.
[[nodiscard]] const BoundRowLoops& plainBoundRowLoops() noexcept;

}  // namespace quillbay
