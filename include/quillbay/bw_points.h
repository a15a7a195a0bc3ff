#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "quillbay/color_space.h"
#include "quillbay/param.h"

namespace quillbay {

/// "HARDBWPOINT": for each channel the level that becomes 0 and the one that becomes 255.
struct BwPoints {
  KXRGBQUAD black{0, 0, 0, 0}, white{255, 255, 255, 0};
  bool operator==(const BwPoints&) const = default;
};

/// Whether black is below white in every channel.
[[nodiscard]] constexpr bool isUsable(const BwPoints& p) noexcept {
  return p.black.red < p.white.red && p.black.green < p.white.green && p.black.blue < p.white.blue;
}

/// Takes the bytes of the key. False for other sizes and points that are not usable; `*out` stays as it was.
[[nodiscard]] inline bool readBwPoints(const CKxBlob& bytes, BwPoints* out) noexcept {
  BwPoints read;
  if (bytes.size() != sizeof read) return false;
  std::memcpy(&read, bytes.data(), sizeof read);
  if (!isUsable(read)) return false;
  read.black.reserved = read.white.reserved = 0;
  *out = read;
  return true;
}

[[nodiscard]] inline CKxBlob bwPointBytes(const BwPoints& points) {
  CKxBlob bytes(sizeof points);
  std::memcpy(bytes.data(), &points, sizeof points);
  return bytes;
}

/// What a level becomes between a black and a white point: (level - black) * 255 / (white - black), rounded with
/// halves upward, held within 0 to 255.
[[nodiscard]] constexpr std::uint8_t spreadLevel(int level, int black, int white) noexcept {
  if (level <= black) return 0;
  if (level >= white) return 255;
  return static_cast<std::uint8_t>((2 * (level - black) * 255 + (white - black)) / (2 * (white - black)));
}

/// The curves of points with a gamma table behind them (256 entries, or null for none): what a unit does that sets
/// the points in its own table.
[[nodiscard]] inline std::array<KXRGBQUAD, 256> curvesOf(const BwPoints& p, const KXRGBQUAD* gamma) noexcept {
  std::array<KXRGBQUAD, 256> curves{};
  for (int level = 0; level < 256; ++level) {
    const KXRGBQUAD spread{spreadLevel(level, p.black.red, p.white.red),
                           spreadLevel(level, p.black.green, p.white.green),
                           spreadLevel(level, p.black.blue, p.white.blue), 0};
    KXRGBQUAD& entry = curves[static_cast<std::size_t>(level)];
    entry = spread;
    if (gamma) entry = {gamma[spread.red].red, gamma[spread.green].green, gamma[spread.blue].blue, 0};
  }
  return curves;
}

}  // namespace quillbay
