#pragma once
#include <cstddef>
#include <cstdint>

namespace quillbay {

/// Colour-space codes of stripes and rasters. Any other code is treated as a run list.
enum class KxColorSpace : std::int32_t {
  None = 0,
  Bitonal = 1,     ///< run lists
  BitonalRle = 2,  ///< run lists
  Four = 4,        ///< 4 bits per pixel
  Palette = 8,     ///< 8-bit index into a palette of up to 256
  Grey = 16,       ///< 8-bit grey
  Rgba = 32,       ///< 32 bits per pixel
  Bgra = 64,       ///< 32 bits per pixel
  Rgb = 256,       ///< bytes R, G, B
  Bgr = 512,       ///< bytes B, G, R
};

/// Ends a bitonal run list. A list of n runs is n pairs of 32-bit (first, last) pixel indices, both inclusive,
/// ascending, and this word: n * 2 + 1 words, stored in (n + 1) * 8 bytes with the last word zero.
inline constexpr std::uint32_t RunEnd = 0x0FFFFFFF;

/// A palette or curve entry.
struct KXRGBQUAD {
  std::uint8_t red = 0, green = 0, blue = 0, reserved = 0;
  bool operator==(const KXRGBQUAD&) const = default;
};
static_assert(sizeof(KXRGBQUAD) == 4);

/// Whether lines of `cs` are run lists.
[[nodiscard]] constexpr bool isRunList(KxColorSpace cs) noexcept {
  switch (cs) {
    case KxColorSpace::Four:
    case KxColorSpace::Palette:
    case KxColorSpace::Grey:
    case KxColorSpace::Rgba:
    case KxColorSpace::Bgra:
    case KxColorSpace::Rgb:
    case KxColorSpace::Bgr: return false;
    default: return true;
  }
}

/// Bits per pixel of `cs`; 1 for run lists.
[[nodiscard]] constexpr int bitsPerPixel(KxColorSpace cs) noexcept {
  switch (cs) {
    case KxColorSpace::Four: return 4;
    case KxColorSpace::Palette:
    case KxColorSpace::Grey: return 8;
    case KxColorSpace::Rgba:
    case KxColorSpace::Bgra: return 32;
    case KxColorSpace::Rgb:
    case KxColorSpace::Bgr: return 24;
    default: return 1;
  }
}

/// Bytes of one line of `width` pixels; 0 for run lists, whose lines differ in length.
[[nodiscard]] constexpr std::size_t fixedLineBytes(KxColorSpace cs, std::int32_t width) noexcept {
  if (isRunList(cs) || width <= 0) return 0;
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel(cs)) / 8;
}

/// Runs of a list before `RunEnd`.
[[nodiscard]] inline std::size_t runCount(const std::uint32_t* runs) noexcept {
  std::size_t n = 0;
  while (runs[2 * n] != RunEnd) ++n;
  return n;
}

/// Bytes that a list of `runs` occupies in a stripe or a raster.
[[nodiscard]] constexpr std::size_t runListBytes(std::size_t runs) noexcept { return (runs + 1) * 8; }

/// 256 for codes that carry a palette (8 and 16), else 0.
[[nodiscard]] constexpr int paletteSize(KxColorSpace cs) noexcept {
  return cs == KxColorSpace::Palette || cs == KxColorSpace::Grey ? 256 : 0;
}

}  // namespace quillbay
