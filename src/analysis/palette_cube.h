#pragma once
#include <cstdint>
#include <span>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// Finds the palette entry near a colour, quickly: the colour space is cut into divisions^3 cells, and each cell
/// knows the entries that may be the nearest for its colours (those within half a cell around it; where there is
/// none, those nearest to its centre and corners). Distances are squared differences of red, green and blue,
/// summed; ties go to the earlier entry. The answer is the true nearest where the palette is dense, and close to it
/// where it is sparse. Immutable, so any thread may use it.
class CPalletteCube {
 public:
  /// Entries that are taken of a palette; the rest is not looked at.
  static constexpr std::size_t kMaxEntries = 512;
  /// @param divisions  cells per channel, 1 to 256 (throws CXException otherwise). Where it does not divide 256 the
  ///                   last cell of each channel takes the values that are left.
  CPalletteCube(int divisions, std::span<const KXRGBQUAD> palette);

  /// The index of the entry for `color`; 0 for an empty palette.
  [[nodiscard]] std::uint32_t Nearest(KXRGBQUAD color) const noexcept;

 private:
  using Index = std::uint16_t;
  struct Range {
    int low, high;  // both inclusive
  };
  [[nodiscard]] Range widened(int cell) const noexcept;
  [[nodiscard]] int cellOf(std::uint8_t value) const noexcept;
  [[nodiscard]] Index searchAll(KXRGBQUAD color) const noexcept;
  void fillCell(int red, int green, int blue);
  void fillEmptyCell(int red, int green, int blue);

  int m_divisions;
  int m_width;  // values of a channel in one cell
  std::vector<KXRGBQUAD> m_palette;
  std::vector<std::uint32_t> m_begin;  // where each cell's candidates begin; one more at the end
  std::vector<Index> m_candidates;     // of all cells, red fastest, then green, then blue
};

}  // namespace quillbay
