#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include "palettes/color_order.h"

namespace quillbay {

/// How often each colour of 24 bits occurs: a table of 64 MiB, of which a picture takes the pages that its colours
/// lie on. Counts stop at 2^32 - 1. One thread.
class ColorHistogram {
 public:
  /// Colours of a cube of 8 x 8 x 8, which lie together in the table.
  static constexpr std::size_t kCubeColors = 512;
  static constexpr std::size_t kCubes = kColorCount / kCubeColors;
  /// Where a pixel's samples lie, in bytes, and how far apart pixels are.
  struct PixelLayout {
    std::size_t red, green, blue, step;
  };

  /// Gives the memory back.
  void clear() noexcept;
  /// Counts `count` pixels. Throws CXMemException without room for the table.
  void add(const std::uint8_t* pixels, std::size_t count, const PixelLayout& layout);

  /// Pixels that were counted.
  [[nodiscard]] std::uint64_t total() const noexcept { return m_total; }
  /// Whether a cube holds counted colours.
  [[nodiscard]] bool isUsed(std::size_t cube) const noexcept { return m_table && m_isUsed[cube]; }
  /// The counts of a cube's colours, in the order of `colorPlace`.
  [[nodiscard]] std::span<const std::uint32_t, kCubeColors> cube(std::size_t cube) const noexcept {
    return std::span<const std::uint32_t, kCubeColors>(m_table.get() + cube * kCubeColors, kCubeColors);
  }
  /// The colours that occur, in the order of `colorPlace`; stops after `most`.
  [[nodiscard]] std::vector<KXRGBQUAD> colors(std::size_t most) const;

 private:
  struct Free {
    void operator()(std::uint32_t* table) const noexcept { std::free(table); }
  };
  void allocate();

  std::unique_ptr<std::uint32_t[], Free> m_table;
  std::vector<std::uint8_t> m_isUsed;
  std::uint64_t m_total = 0;
};

}  // namespace quillbay
