#pragma once
#include <cstdint>
#include <cstring>

#include "quillbay/run_list.h"

namespace quillbay {

/// `pixels` of `Step` bytes as red, green, blue; `Red` and `Blue` are the places of those bytes.
template <int Step, int Red, int Blue>
void toRgb(const std::uint8_t* from, std::int32_t pixels, std::uint8_t* to) noexcept {
  for (std::int32_t i = 0; i < pixels; ++i, from += Step, to += 3) {
    to[0] = from[Red];
    to[1] = from[1];
    to[2] = from[Blue];
  }
}

/// A line of a block as files have it: packed pixels, bytes, or red, green, blue.
inline void lineToBytes(KxColorSpace colorSpace, std::int32_t width, const std::uint8_t* line, bool packed,
                        std::uint8_t* to) noexcept {
  const auto pixels = static_cast<std::size_t>(width);
  switch (colorSpace) {
    case KxColorSpace::Bgr: return toRgb<3, 2, 0>(line, width, to);
    case KxColorSpace::Rgba: return toRgb<4, 0, 2>(line, width, to);
    case KxColorSpace::Bgra: return toRgb<4, 2, 0>(line, width, to);
    case KxColorSpace::Grey:
    case KxColorSpace::Palette: std::memcpy(to, line, pixels); return;
    case KxColorSpace::Rgb: std::memcpy(to, line, 3 * pixels); return;
    default: break;
  }
  if (packed) {
    std::memcpy(to, line, (pixels + 7) / 8);
  } else {
    runsToBits(reinterpret_cast<const std::uint32_t*>(line), width, to);
  }
}

}  // namespace quillbay
