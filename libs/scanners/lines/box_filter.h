#pragma once
#include "scanners/lines/row_filter.h"

namespace quillbay {

/// Filters by the square window around a pixel, `reach` (at most `bw_loops::kMostReach`) pixels to each side; rows
/// of `width` pixels with `channels` samples each, which do not mix. A row costs the same whatever the window's
/// height.
class BoxFilter : public BandFilter {
 public:
  BoxFilter(std::size_t width, std::size_t channels, std::size_t reach);

 protected:
  void enter(const std::uint8_t* entering, const std::uint8_t* leaving) final;
  [[nodiscard]] std::size_t channels() const noexcept { return m_channels; }
  /// The sums of the window's columns for the row that is made, with `reach` pixels that repeat at both ends.
  [[nodiscard]] const std::uint16_t* columnSums() noexcept;

 private:
  std::size_t m_channels;
  std::vector<std::uint16_t> m_sums;
};

}  // namespace quillbay
