#pragma once
#include "scanners/lines/box_filter.h"

namespace quillbay {

/// Filters of rows of `width` pixels with `channels` samples each (1 grey, 3 colour); channels do not mix. Beyond a
/// row's ends its first and last pixel repeat.

/// A pixel becomes the mean of the square window around it, `reach` (1 to `ColorLoops::kMostReach`) pixels to each
/// side.
class BlurFilter final : public BoxFilter {
 public:
  BlurFilter(std::size_t width, std::size_t channels, std::size_t reach);

 private:
  const std::uint8_t* make() override;

  std::vector<std::uint8_t> m_out;
};

/// Softens or sharpens: see `ColorLoops::sharpen`.
class SharpenFilter final : public BandFilter {
 public:
  SharpenFilter(std::size_t width, std::size_t channels, int weight);
  /// The weight of a sharpness of -8 (the mean of 3 x 3 pixels) to 8.
  [[nodiscard]] static constexpr int weightOf(int sharpness) noexcept {
    return sharpness < 0 ? 2 * sharpness : 8 * sharpness;
  }

 private:
  const std::uint8_t* make() override;

  std::size_t m_channels;
  int m_weight;
  std::vector<std::int16_t> m_columns;
  std::vector<std::uint8_t> m_out;
};

}  // namespace quillbay
