#pragma once
#include <array>

#include "scanners/lines/box_filter.h"
#include "scanners/lines/color_loops.h"

namespace quillbay {

/// "BW Adaptive": compares a pixel with a limit between the level and the mean of its window, and tells dark ink on
/// paper (mean at or above the level: black is what is clearly darker) from light lines on dark sheets or in solid
/// ink (below it: white is what is clearly lighter). Flat surfaces become what a plain threshold makes of them, so
/// that solid ink stays solid and dirt on paper white. Rows are 0 or 255.
class AdaptiveFilter final : public BoxFilter {
 public:
  /// `suppression` in per cent.
  AdaptiveFilter(std::size_t width, std::size_t reach, int level, int suppression);
  /// The limit below which a pixel is black, for each mean.
  [[nodiscard]] static LevelTable limits(int level, int suppression);

 private:
  const std::uint8_t* make() override;
  LevelTable m_limits;
  std::vector<std::uint8_t> m_out;
};

/// Brings the paper to white, so that tones can be screened: divides by the lightness of the background, which is
/// the upper envelope of the means of windows (it falls slowly from light places into dark ones, so that pictures
/// and solid ink keep their tones). Grey rows.
class PaperFilter final : public BoxFilter {
 public:
  PaperFilter(std::size_t width, std::size_t reach, std::uint32_t dpi, int suppression);

 private:
  const std::uint8_t* make() override;
  void follow() noexcept;

  LevelTable m_same;
  std::array<std::int32_t, 256> m_gains;  // in 256ths, for each background
  std::int32_t m_fall;                    // of the envelope in a row, in 256ths of a level
  std::vector<std::int32_t> m_paper;      // the envelope at every 16th pixel, in 256ths of a level
  std::vector<std::uint8_t> m_out;
};

}  // namespace quillbay
