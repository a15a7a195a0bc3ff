#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "quillbay/color_space.h"

/// What is computed of colours, palettes and samples, in integers and the same everywhere.
namespace quillbay {

/// Brightness of a colour by the weights of Rec. 601: 0.299 red + 0.587 green + 0.114 blue.
[[nodiscard]] constexpr std::uint8_t greyOf(std::uint32_t red, std::uint32_t green, std::uint32_t blue) noexcept {
  return static_cast<std::uint8_t>((77 * red + 150 * green + 29 * blue + 128) >> 8);
}

/// The high byte of the 16-bit sample `i`, samples in the machine's order.
[[nodiscard]] inline std::uint8_t highByte(const std::uint8_t* samples, std::size_t i) noexcept {
  std::uint16_t sample = 0;
  std::memcpy(&sample, samples + 2 * i, sizeof sample);
  return static_cast<std::uint8_t>(sample >> 8);
}

/// The high bytes of `count` 16-bit samples; `out` may be the samples themselves.
inline void highBytes(const std::uint8_t* samples, std::size_t count, std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = highByte(samples, i);
}

/// Squared differences of red, green and blue, summed; at most 3 * 255^2.
[[nodiscard]] constexpr int colorDistance(KXRGBQUAD a, KXRGBQUAD b) noexcept {
  const int red = a.red - b.red, green = a.green - b.green, blue = a.blue - b.blue;
  return red * red + green * green + blue * blue;
}

/// The index of the entry that blank lines are filled with; 0 for an empty palette. The nearest to white, ties to
/// the earlier entry; entries whose channels are all at least 208 go before the others. That is what
/// `CPalletteCube` of 8 divisions finds in the cell of white.
[[nodiscard]] inline std::size_t nearestWhite(std::span<const KXRGBQUAD> palette) noexcept {
  constexpr KXRGBQUAD kWhite{255, 255, 255, 0};
  constexpr std::uint8_t kLeast = 208;
  constexpr int kOutside = 3 * 255 * 255 + 1;
  const auto rank = [&](KXRGBQUAD c) {
    return colorDistance(c, kWhite) + (std::min({c.red, c.green, c.blue}) < kLeast ? kOutside : 0);
  };
  const auto best =
      std::min_element(palette.begin(), palette.end(), [&](KXRGBQUAD a, KXRGBQUAD b) { return rank(a) < rank(b); });
  return static_cast<std::size_t>(best - palette.begin());
}

/// The grey of a pixel 0xRRGGBB; its upper byte does not count.
[[nodiscard]] constexpr std::uint8_t greyOf(std::uint32_t rgb) noexcept {
  return greyOf(rgb >> 16 & 255, rgb >> 8 & 255, rgb & 255);
}

/// A palette of 16-bit entries, one list for each channel, by their high bytes; by their low ones when none is
/// above 255, since some programs store entries of 8 bits in that place.
inline void narrowPalette(const std::uint16_t* red, const std::uint16_t* green, const std::uint16_t* blue,
                          std::size_t count, KXRGBQUAD* out) noexcept {
  const auto isWide = [count](const std::uint16_t* channel) {
    return std::any_of(channel, channel + count, [](std::uint16_t v) { return v > 255; });
  };
  const int shift = isWide(red) || isWide(green) || isWide(blue) ? 8 : 0;
  const auto narrow = [shift](std::uint16_t v) { return static_cast<std::uint8_t>(v >> shift); };
  for (std::size_t i = 0; i < count; ++i) out[i] = {narrow(red[i]), narrow(green[i]), narrow(blue[i]), 0};
}

}  // namespace quillbay
