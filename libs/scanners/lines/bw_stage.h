#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "scanners/lines/bw_settings.h"
#include "scanners/lines/row_filter.h"

namespace quillbay {

/// The filters of a black-and-white mode, one behind another: blur, soften/sharpen, then what the mode does.
/// - "BW Threshold" (0): the level; "BW Copy Normal" (2): the level after edges were emphasised, so that pale and
///   thin lines stay;
/// - "BW Adaptive" (1): `AdaptiveFilter`;
/// - "BW Copy Photo" (3): `ScreenFilter`; "BW Copy Adaptive" (4): `PaperFilter`, emphasised edges and a screen.
/// Memory: bands of rows; the longest is about a fifth of an inch high. Used by one thread.
class BwStage {
 public:
  /// `width` >= 1 pixels.
  BwStage(int mode, std::size_t width, std::uint32_t dpi, const BwSettings& settings);
  /// Whether a mode is more than its level.
  [[nodiscard]] static bool isNeeded(int mode, const BwSettings& settings) noexcept {
    return mode != 0 || settings.filters();
  }
  /// The level below which its rows are black.
  [[nodiscard]] int limit() const noexcept { return m_limit; }
  /// As of `RowFilter`.
  const std::uint8_t* push(const std::uint8_t* grey) { return pushInto(0, grey); }
  const std::uint8_t* drain();

 private:
  const std::uint8_t* pushInto(std::size_t index, const std::uint8_t* row);
  template <class Filter, class... Args>
  void add(Args... args);

  int m_limit;
  std::vector<std::unique_ptr<RowFilter>> m_filters;
};

}  // namespace quillbay
