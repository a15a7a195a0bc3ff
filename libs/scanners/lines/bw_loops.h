#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay::bw_loops {

/// The inner loops of the black-and-white modes. Rows do not overlap.

/// `sums[x] += row[x]`
void addRow(const std::uint8_t* row, std::size_t count, std::uint16_t* sums) noexcept;
/// `sums[x] += in[x] - out[x]`
void exchangeRow(const std::uint8_t* in, const std::uint8_t* out, std::size_t count, std::uint16_t* sums) noexcept;

/// Widest window: the sums of its columns are held in 16 bits, and the division below is exact.
inline constexpr std::size_t kMostReach = 127;
/// `out[x] = table[mean]`: the rounded mean of the 2 `reach` + 1 columns from `sums[x]` on, each the sum of as many
/// pixels. `sums` holds `count + 2 reach` columns.
void windowMeans(const std::uint16_t* sums, std::size_t count, std::size_t reach, const std::uint8_t* table,
                 std::uint8_t* out) noexcept;

/// 0 where `grey` is below `limits`, else 255. `out` may be either.
void blackBelow(const std::uint8_t* grey, const std::uint8_t* limits, std::size_t count,
                std::uint8_t* out) noexcept;

/// Multiplies `count` pixels by a gain in 256ths (at most 65535) that goes evenly from `from` towards `to`, which
/// it would reach at pixel `step`.
void applyGain(const std::uint8_t* grey, std::size_t count, std::int32_t from, std::int32_t to, std::int32_t step,
               std::uint8_t* out) noexcept;

/// Diffuses the error of one row (weights of Floyd and Steinberg) from left to right, or back. `tones[grey]` is the
/// lightness to reproduce. `errors` and `next` hold `count + 2` values, in sixteenths of a grey level: those that
/// the row above left, and those for the row below.
void diffuse(const std::uint8_t* grey, std::size_t count, bool backwards, const std::uint8_t* tones,
             const std::int16_t* errors, std::int16_t* next, std::uint8_t* out) noexcept;

}  // namespace quillbay::bw_loops
