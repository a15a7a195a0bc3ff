#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "quillbay/palette.h"
#include "scanners/lines/color_loops.h"

namespace quillbay {

/// Conversions of single lines, without allocation. Lines do not overlap unless a function says that they may.

/// `count` pixels R, G, B to grey (`greyOf`), and back.
void rgbToGrey(const std::uint8_t* rgb, std::size_t count, std::uint8_t* grey) noexcept;
void greyToRgb(const std::uint8_t* grey, std::size_t count, std::uint8_t* rgb) noexcept;
/// Runs of the pixels below `threshold` (0: none, 256: all); otherwise like `bitsToRuns`.
std::size_t greyToRuns(const std::uint8_t* grey, std::int32_t width, int threshold, std::uint32_t* runs) noexcept;

/// The tone curves of a scan.
struct ToneCurves {
  std::array<LevelTable, 3> channels;  ///< red, green, blue
  /// What a grey sample becomes: the grey of its three curves, as it would be of the same sample in colour.
  LevelTable grey;

  /// Null, or curves that change nothing: no curves.
  [[nodiscard]] static std::unique_ptr<ToneCurves> make(const KXRGBQUAD* entries);
};

}  // namespace quillbay
