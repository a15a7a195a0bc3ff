#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {

/// What the boxes and the codestream's main header say about a picture.
struct Jp2Head {
  struct Component {
    std::int32_t bits = 8;  ///< 1 to 38
    bool isSigned = false;
    std::int32_t stepX = 1, stepY = 1;  ///< canvas points to one sample
  };
  enum class Colours { Unknown, Grey, Rgb, Ycc, Cmyk, Other };

  std::int64_t begin = 0, end = 0;  ///< the codestream in the file
  // On the canvas; right and bottom exclusive.
  std::uint32_t left = 0, top = 0, right = 0, bottom = 0;
  std::uint32_t tileLeft = 0, tileTop = 0, tileWidth = 0, tileLines = 0;
  std::vector<Component> components;
  std::int64_t blockPixels = 0;  ///< the smallest part that is coded apart

  Colours colours = Colours::Unknown;
  std::array<std::int32_t, 3> places = {0, 1, 2};  ///< the components of the colours
  std::int32_t opacity = -1;                       ///< its component
  bool isPremultiplied = false;
  std::int32_t paletteCount = 0;
  std::array<std::uint8_t, 1024> palette{};  ///< red, green, blue, unused
  std::uint32_t dpi = 0;

  [[nodiscard]] std::int64_t width() const noexcept { return std::int64_t{right} - left; }
  [[nodiscard]] std::int64_t height() const noexcept { return std::int64_t{bottom} - top; }
  /// Of tiles; their size is not 0.
  [[nodiscard]] std::int64_t columns() const noexcept {
    return (std::int64_t{right} - tileLeft + tileWidth - 1) / tileWidth;
  }
  [[nodiscard]] std::int64_t rows() const noexcept {
    return (std::int64_t{bottom} - tileTop + tileLines - 1) / tileLines;
  }
  [[nodiscard]] bool hasOneTile() const noexcept { return columns() * rows() == 1; }
  /// Lines of a single tile that are decoded together: every part goes through what describes the whole tile, and
  /// blocks of three of its resolutions lie within one.
  [[nodiscard]] std::int64_t partLines() const noexcept {
    constexpr std::int64_t kLines = 512, kPixels = std::int64_t{8} << 20;
    return std::max<std::int64_t>(kPixels / width() / kLines, 1) * kLines;
  }
};

/// Reads the head of a JP2 file or of a codestream alone. Throws ModuleError.
[[nodiscard]] Jp2Head readJp2Head(const EdgeFile& file);

/// Refuses what would take too much memory, or is no picture that a page can be. Throws ModuleError.
void checkJp2Limits(const Jp2Head& head);

}  // namespace quillbay
