#pragma once
#include <cstdint>

namespace quillbay {

/// Cyan, magenta, yellow and black as red, green and blue; with `turned` 255 the inks count the other way round.
inline void mixInks(const std::uint8_t* inks, int turned, std::uint8_t* rgb) noexcept {
  const int light = 255 - (inks[3] ^ turned);
  for (int c = 0; c < 3; ++c) {
    rgb[c] = static_cast<std::uint8_t>(((255 - (inks[c] ^ turned)) * light + 127) / 255);
  }
}

}  // namespace quillbay
