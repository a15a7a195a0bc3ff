#pragma once
#include <cstddef>
#include <cstdint>

/// Lines of bits in 64-bit words: pixel 0 is the highest bit of word 0, 1 is foreground.
namespace quillbay {

[[nodiscard]] constexpr std::size_t bitWords(std::int64_t pixels) noexcept {
  return static_cast<std::size_t>((pixels + 63) / 64);
}

/// Transposes 64 rows of 64 pixels: afterwards row i holds what was column i.
inline void transpose64(std::uint64_t (&rows)[64]) noexcept {
  std::uint64_t mask = 0x00000000FFFFFFFF;
  for (unsigned half = 32; half != 0; half /= 2, mask ^= mask << half) {
    for (unsigned i = 0; i < 64; i = ((i | half) + 1) & ~half) {
      const std::uint64_t swapped = (rows[i] ^ (rows[i | half] >> half)) & mask;
      rows[i] ^= swapped;
      rows[i | half] ^= swapped << half;
    }
  }
}

}  // namespace quillbay
