#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

#include "quillbay/color_space.h"

namespace quillbay {

/// The order of all colours of 24 bits in the tables of this library: the bits of red, green and blue interleaved
/// (Morton's order), red highest. Every aligned group of 8, 64, 512, ... colours is a cube, so that the colours of
/// a picture, which lie close together, share cache lines and pages of memory.
inline constexpr std::size_t kColorCount = std::size_t{1} << 24;

namespace detail {

/// Bit i of a byte at bit 3 i.
constexpr std::uint32_t spreadByte(std::uint32_t value) noexcept {
  std::uint32_t spread = 0;
  for (unsigned bit = 0; bit < 8; ++bit) spread |= (value >> bit & 1U) << (3 * bit);
  return spread;
}

/// Bit 3 i at bit i, of the lowest 24 bits.
constexpr std::uint8_t gatherByte(std::uint32_t spread) noexcept {
  std::uint32_t value = 0;
  for (unsigned bit = 0; bit < 8; ++bit) value |= (spread >> (3 * bit) & 1U) << bit;
  return static_cast<std::uint8_t>(value);
}

inline constexpr std::array<std::uint32_t, 256> kSpread = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < 256; ++i) table[i] = spreadByte(i);
  return table;
}();

}  // namespace detail

/// A colour's place, 0 to 2^24 - 1.
[[nodiscard]] constexpr std::uint32_t colorPlace(std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept {
  return detail::kSpread[red] << 2 | detail::kSpread[green] << 1 | detail::kSpread[blue];
}

/// The colour at a place.
[[nodiscard]] constexpr KXRGBQUAD colorAt(std::uint32_t place) noexcept {
  return {detail::gatherByte(place >> 2), detail::gatherByte(place >> 1), detail::gatherByte(place), 0};
}

}  // namespace quillbay
