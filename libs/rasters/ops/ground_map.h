#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "rasters/ops/op_support.h"

namespace quillbay {

/// The brightness 0..255 of pixels: of colours 0.299 R + 0.587 G + 0.114 B.
class BrightnessOf {
 public:
  explicit BrightnessOf(IRStor& source);
  void operator()(const std::uint8_t* pixels, std::size_t count, std::uint8_t* out) const noexcept;
  /// Whether pixels are indices into a palette.
  [[nodiscard]] bool isIndexed() const noexcept { return m_indexed; }

 private:
  const std::size_t m_bytes;
  const bool m_indexed;
  std::size_t m_red = 0, m_blue = 2;
  std::array<std::uint8_t, 256> m_entries{};  // brightness of indices
};

/// How dark a pixel has to be to differ from the ground around it, block by block. A block's ground is what a
/// quarter of its pixels exceeds; the limit lies under it, the further the more the block's tones vary, so that a
/// picture's texture is no ground with specks on it. Of a block and its neighbours the highest limit counts: a dark
/// area is dark up to its edge and well beyond. Blocks are looked at line after line; one thread.
class GroundMap {
 public:
  /// `blockSize` > 0.
  GroundMap(IRStor& source, std::int32_t blockSize);
  [[nodiscard]] std::int32_t blockSize() const noexcept { return m_size; }
  /// A limit for each block of the line: a darker pixel differs. Lines come in ascending order.
  [[nodiscard]] const std::vector<std::uint8_t>& limits(std::int32_t line);

 private:
  void measureRow(std::int32_t row, std::vector<std::uint8_t>& out);

  const std::int32_t m_size;
  const KxSize m_pixels;
  const std::size_t m_blocks;
  PixelReader m_reader;
  BrightnessOf m_brightness;
  std::vector<std::uint8_t> m_line, m_tones;
  std::vector<std::array<std::uint32_t, 256>> m_histograms;
  std::array<std::vector<std::uint8_t>, 3> m_rows;  // limits of the row above, this one and the next
  std::vector<std::uint8_t> m_limits;
  std::int32_t m_row = -1;
};

}  // namespace quillbay
