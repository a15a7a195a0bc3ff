#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

/// The inner loops of a rotation. A kernel says what a cell of the box of source pixels holds and how a row of the
/// result is sampled along a line through the box. No branches, no bounds: the box holds all that is touched.
namespace quillbay {

/// Fraction bits of places in the box; a box is less than 2048 cells wide and high.
inline constexpr int kPlaceBits = 20;

/// A row of samples: the first place, relative to the box's first cell, and the step from sample to sample.
struct SampleLine {
  std::int32_t x, y, stepX, stepY;
  std::int32_t count;
};

namespace detail {

[[nodiscard]] inline std::uint32_t fraction(std::int32_t place) noexcept {
  return static_cast<std::uint32_t>(place >> (kPlaceBits - 8)) & 255;
}

/// Calls `take(cell, fx, fy)` for each sample; fractions are parts of 256.
template <class Cell, class Take>
inline void alongLine(const Cell* box, std::size_t stride, SampleLine line, Take&& take) noexcept {
  for (; line.count > 0; --line.count) {
    const auto column = static_cast<std::size_t>(line.x >> kPlaceBits);
    const auto row = static_cast<std::size_t>(line.y >> kPlaceBits);
    take(box + row * stride + column, fraction(line.x), fraction(line.y));
    line.x += line.stepX;
    line.y += line.stepY;
  }
}

/// Between the four cells, whose 16-bit lanes hold the pixel and its right neighbour; in parts of 65536.
[[nodiscard]] inline std::uint32_t mixGrey(const std::uint32_t* cell, std::size_t stride, std::uint32_t fx,
                                           std::uint32_t fy) noexcept {
  const std::uint32_t both = cell[0] * (256 - fy) + cell[stride] * fy;
  return (both & 0xFFFF) * (256 - fx) + (both >> 16) * fx;
}

}  // namespace detail

/// 8-bit grey. A cell holds a pixel and its right neighbour.
struct GreyKernel {
  using Cell = std::uint32_t;
  static constexpr std::size_t kBytes = 1;
  /// `pixels` has one more pixel than there are cells.
  static void load(const std::uint8_t* pixels, std::size_t cells, Cell* out) noexcept {
    for (std::size_t i = 0; i < cells; ++i) {
      out[i] = pixels[i] | static_cast<std::uint32_t>(pixels[i + 1]) << 16;
    }
  }
  static void sample(const Cell* box, std::size_t stride, const SampleLine& line, std::uint8_t* out) noexcept {
    detail::alongLine(box, stride, line, [&](const Cell* cell, std::uint32_t fx, std::uint32_t fy) {
      *out++ = static_cast<std::uint8_t>((detail::mixGrey(cell, stride, fx, fy) + 0x8000) >> 16);
    });
  }
};

/// Three or four bytes a pixel, one in each 16-bit lane of a cell.
template <std::size_t bytes>
struct ColorKernel {
  using Cell = std::uint64_t;
  static constexpr std::size_t kBytes = bytes;
  static void load(const std::uint8_t* pixels, std::size_t cells, Cell* out) noexcept {
    for (std::size_t i = 0; i < cells; ++i, pixels += bytes) {
      Cell cell = pixels[0] | static_cast<Cell>(pixels[1]) << 16 | static_cast<Cell>(pixels[2]) << 32;
      if constexpr (bytes == 4) cell |= static_cast<Cell>(pixels[3]) << 48;
      out[i] = cell;
    }
  }
  static void sample(const Cell* box, std::size_t stride, const SampleLine& line, std::uint8_t* out) noexcept {
    constexpr Cell kLanes = 0x00FF00FF00FF00FF, kHalves = 0x0080008000800080;
    detail::alongLine(box, stride, line, [&](const Cell* cell, std::uint32_t fx, std::uint32_t fy) {
      // A lane never exceeds 255 * 256 + 128: the lanes do not touch.
      const Cell left = (cell[0] * (256 - fy) + cell[stride] * fy + kHalves) >> 8 & kLanes;
      const Cell right = (cell[1] * (256 - fy) + cell[stride + 1] * fy + kHalves) >> 8 & kLanes;
      const Cell both = (left * (256 - fx) + right * fx + kHalves) >> 8 & kLanes;
      const Cell pairs = both | both >> 8;  // bytes 0 and 1 below, 2 and 3 from bit 32 on
      const auto pixel = static_cast<std::uint32_t>((pairs & 0xFFFF) | (pairs >> 16 & 0xFFFF0000));
      std::memcpy(out, &pixel, bytes);
      out += bytes;
    });
  }
};

/// Indices into a palette: the pixel that is nearest.
struct IndexKernel {
  using Cell = std::uint8_t;
  static constexpr std::size_t kBytes = 1;
  static void load(const std::uint8_t* pixels, std::size_t cells, Cell* out) noexcept {
    std::memcpy(out, pixels, cells);
  }
  static void sample(const Cell* box, std::size_t stride, SampleLine line, std::uint8_t* out) noexcept {
    line.x += 1 << (kPlaceBits - 1);
    line.y += 1 << (kPlaceBits - 1);
    detail::alongLine(box, stride, line, [&](const Cell* cell, std::uint32_t, std::uint32_t) { *out++ = *cell; });
  }
};

/// Bitonal pixels as 0 and 1, in cells as of grey: dark when half of what lies around the sample is dark. A tie is
/// dark, so that a line one pixel thick comes out whole.
struct BitKernel {
  using Cell = std::uint32_t;
  static void load(const std::uint8_t* pixels, std::size_t cells, Cell* out) noexcept {
    GreyKernel::load(pixels, cells, out);
  }
  /// Writes whole words, pixel 0 in the highest bit; what lies beyond the line is 0.
  static void sample(const Cell* box, std::size_t stride, const SampleLine& line, std::uint64_t* out) noexcept {
    constexpr std::uint32_t kHalf = 0x8000 - 0x400;  // fractions are rounded down to parts of 256: ties lose some
    std::uint64_t word = 0;
    int bits = 0;
    detail::alongLine(box, stride, line, [&](const Cell* cell, std::uint32_t fx, std::uint32_t fy) {
      word = word << 1 | (detail::mixGrey(cell, stride, fx, fy) >= kHalf ? 1U : 0U);
      if (++bits < 64) return;
      *out++ = word;
      bits = 0;
    });
    if (bits > 0) *out = word << (64 - bits);
  }
};

}  // namespace quillbay
