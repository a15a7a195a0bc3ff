#pragma once
#include <cstdint>
#include <utility>

#include "scanners/lines/bw_settings.h"
#include "scanners/lines/filter_chain.h"

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
  /// Hands its filters over.
  [[nodiscard]] FilterChain takeFilters() noexcept { return std::move(m_filters); }

 private:
  int m_limit;
  FilterChain m_filters;
};

}  // namespace quillbay
