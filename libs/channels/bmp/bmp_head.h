#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

#include "channels/codec/module_support.h"

namespace quillbay {

inline constexpr std::size_t kBmpFileHead = 14, kBmpInfoHead = 40;
inline constexpr std::int64_t kBmpHeightAt = 22;

[[nodiscard]] inline std::uint32_t little16(const std::uint8_t* from) noexcept {
  return from[0] | std::uint32_t{from[1]} << 8;
}
[[nodiscard]] inline std::uint32_t little32(const std::uint8_t* from) noexcept {
  return little16(from) | little16(from + 2) << 16;
}
inline void putLittle32(std::uint8_t* to, std::uint32_t value) noexcept {
  for (int i = 0; i < 4; ++i) to[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

/// What the head of a bitmap says; all of its kinds, from 12 to 124 bytes.
struct BmpHead {
  enum class Coding { Plain, Runs8, Runs4 };
  /// The bits of one colour in a pixel.
  struct Field {
    unsigned shift = 0, bits = 0;
  };
  std::int32_t width = 0, height = 0;  ///< both > 0
  bool isTopDown = false;
  int bits = 0;  ///< of a pixel: 1, 2, 4, 8, 16, 24, 32
  Coding coding = Coding::Plain;
  std::array<Field, 3> fields{};  ///< red, green, blue of pixels of 16 and 32 bits
  std::uint32_t dpi = 0;
  std::int32_t paletteCount = 0;
  std::array<std::uint8_t, 1024> palette{};  ///< red, green, blue, unused
  std::int64_t pixelsAt = 0;                 ///< in the file
  [[nodiscard]] std::int64_t stride() const noexcept { return (std::int64_t{width} * bits + 31) / 32 * 4; }
  /// Two colours, black and white, in either order.
  [[nodiscard]] bool isBitonal() const noexcept;
  /// The palette is 256 tones from black to white.
  [[nodiscard]] bool isGrey() const noexcept;
};

/// Reads and checks a head. Throws ModuleError.
[[nodiscard]] BmpHead readBmpHead(const EdgeFile& file);

}  // namespace quillbay
