#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "quillbay/color_space.h"

namespace quillbay {

/// Finds the palette entry that is nearest to a colour, exactly and for whole lines: the distance is the squared
/// differences of red, green and blue, summed; ties go to the earlier entry.
///
/// The answers for all colours are a table of 16 MiB. Each cube of 8 x 8 x 8 colours is filled in when the first of
/// its colours is asked for, in some microseconds, so that only the colours of a picture take time and memory.
/// One thread.
class NearestColors {
 public:
  /// Entries that are taken of a palette; the rest is not looked at.
  static constexpr std::size_t kMaxEntries = 256;
  /// An empty palette answers 0 for every colour. Throws std::bad_alloc.
  explicit NearestColors(std::span<const KXRGBQUAD> palette);

  /// The index of the entry nearest to `color`.
  [[nodiscard]] std::uint8_t nearest(KXRGBQUAD color) noexcept;
  /// The indices of `count` pixels R, G, B; `out` may be the line itself.
  void mapRgb(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) noexcept;

 private:
  static constexpr std::size_t kCubeColors = 512;
  static constexpr std::size_t kCubes = 32768;
  using Channel = std::array<std::int32_t, kMaxEntries>;

  [[nodiscard]] std::size_t findCandidates(KXRGBQUAD corner, std::uint16_t* candidates) const noexcept;
  void fillCube(std::uint32_t cube) noexcept;

  std::size_t m_count;
  Channel m_red{}, m_green{}, m_blue{};
  std::unique_ptr<std::uint8_t[]> m_table;  // by `colorPlace`
  std::array<std::uint8_t, kCubes> m_isFilled{};
};

}  // namespace quillbay
