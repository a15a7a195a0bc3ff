#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "quillbay/palette.h"

namespace quillbay {

/// Conversions of single lines, without allocation. Lines do not overlap unless a function says that they may.

/// `count` pixels R, G, B to grey.
void rgbToGrey(const std::uint8_t* rgb, std::size_t count, std::uint8_t* grey) noexcept;
void greyToRgb(const std::uint8_t* grey, std::size_t count, std::uint8_t* rgb) noexcept;
/// Runs of the pixels below `threshold` (0: none, 256: all); otherwise like `bitsToRuns`.
std::size_t greyToRuns(const std::uint8_t* grey, std::int32_t width, int threshold, std::uint32_t* runs) noexcept;

/// The tone curves of a scan.
struct ToneCurves {
  std::array<std::uint8_t, 256> red, green, blue;
  /// What a grey sample becomes: the grey of its three curves.
  std::array<std::uint8_t, 256> grey;

  /// Null, or curves that change nothing: no curves.
  [[nodiscard]] static std::unique_ptr<ToneCurves> make(const KXRGBQUAD* entries);
  /// `out` may be the line itself.
  void applyGrey(const std::uint8_t* line, std::size_t count, std::uint8_t* out) const noexcept;
  void applyRgb(const std::uint8_t* line, std::size_t count, std::uint8_t* out) const noexcept;
};

/// The palette of mode 6 while a scan has none of its own: entries 0-215 are the cube of the levels 0, 51, 102,
/// 153, 204 and 255 (red slowest, blue fastest), 216-255 forty greys spread between black and white. A colour goes
/// to the nearest entry, by its upper 5 bits per channel.
class FixedPalette {
 public:
  [[nodiscard]] static const FixedPalette& instance();
  [[nodiscard]] const KXRGBQUAD* entries() const noexcept { return m_entries.data(); }
  void mapGrey(const std::uint8_t* grey, std::size_t count, std::uint8_t* out) const noexcept;
  void mapRgb(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) const noexcept;

 private:
  FixedPalette();
  [[nodiscard]] std::uint8_t nearest(int r, int g, int b) const noexcept;

  std::array<KXRGBQUAD, 256> m_entries;
  std::array<std::uint8_t, 256> m_grey;
  std::array<std::uint8_t, 32768> m_cells;
};

}  // namespace quillbay
