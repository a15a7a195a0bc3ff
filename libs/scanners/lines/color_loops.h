#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// A value for each 8-bit level.
using LevelTable = std::array<std::uint8_t, 256>;

/// The inner loops of the grey and colour modes, in the form that suits the processor best. All forms give the same
/// bytes. Rows do not overlap; where a loop says "in place", `out` may be the row itself.
struct ColorLoops {
  static constexpr std::size_t kMostReach = 4;

  /// `out[i] = table[row[i]]`; in place.
  void (*curve)(const std::uint8_t* row, std::size_t count, const LevelTable& table, std::uint8_t* out) noexcept;
  /// Each channel of `count` pixels R, G, B by its own table; in place.
  void (*curves)(const std::uint8_t* row, std::size_t count, const std::array<LevelTable, 3>& tables,
                 std::uint8_t* out) noexcept;
  /// Moves each channel away from the pixel's grey by `share` 128ths (-128 to 128) of its distance; in place.
  void (*saturate)(const std::uint8_t* row, std::size_t count, int share, std::uint8_t* out) noexcept;
  /// `count` pixels R, G, B to grey: `greyOf`.
  void (*grey)(const std::uint8_t* row, std::size_t count, std::uint8_t* out) noexcept;
  /// The rounded means of windows of 2 `reach` + 1 (`reach` 1 to kMostReach) pixels of `step` samples. `sums` holds
  /// `count + 2 * reach * step` columns, each the sum of 2 `reach` + 1 samples.
  void (*means)(const std::uint16_t* sums, std::size_t count, std::size_t reach, std::size_t step,
                std::uint8_t* out) noexcept;
  /// Adds `weight` sixteenths of a sample's difference to the weighted mean of its 3 x 3 pixels of `step` samples
  /// (1 2 1 in both directions); -16 gives that mean. `columns` is room for `count + 2 * step` values.
  void (*sharpen)(const std::uint8_t* const rows[3], std::size_t count, std::size_t step, int weight,
                  std::int16_t* columns, std::uint8_t* out) noexcept;
};

/// For this processor. Any thread.
[[nodiscard]] const ColorLoops& colorLoops() noexcept;
/// Every form that this processor has, for tests.
[[nodiscard]] std::array<const ColorLoops*, 3> allColorLoops() noexcept;

}  // namespace quillbay
