#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "quillbay/color_space.h"

namespace quillbay {

/// The palette of a scan, and which of its entries each colour becomes. One thread.
class PaletteMap {
 public:
  static constexpr std::size_t kClasses = 32768;

  /// Every colour becomes the entry that is nearest to it (`colorDistance`), ties go to the earlier one
  /// (`NearestColors`).
  /// @param palette  1 to 256 entries
  static std::shared_ptr<PaletteMap> nearest(std::span<const KXRGBQUAD> palette);
  /// @param entries  256
  /// @param classes  `kClasses` entries' indices, by red5 * 1024 + green5 * 32 + blue5 of a colour's upper five
  /// bits
  static std::shared_ptr<PaletteMap> classified(const KXRGBQUAD* entries, const std::uint8_t* classes);

  virtual ~PaletteMap() = default;
  PaletteMap(const PaletteMap&) = delete;
  PaletteMap& operator=(const PaletteMap&) = delete;

  /// 256 entries; those after the palette's own are zero.
  [[nodiscard]] const KXRGBQUAD* entries() const noexcept { return m_entries.data(); }
  /// The entries of `count` pixels R, G, B.
  virtual void map(const std::uint8_t* rgb, std::size_t count, std::uint8_t* out) noexcept = 0;

 protected:
  explicit PaletteMap(std::span<const KXRGBQUAD> palette) noexcept;

 private:
  std::array<KXRGBQUAD, 256> m_entries{};
};

/// A palette of `count` (8 to 256) colours that are spread evenly: a cube of as many levels for each channel as
/// fit, of which green gets another one first, then red, then blue. The levels go from 0 to 255, blue changes
/// fastest, red slowest. Entries that are left are greys, each in the middle of the widest gap between those that
/// are there.
[[nodiscard]] std::array<KXRGBQUAD, 256> linearPalette(int count);

}  // namespace quillbay
