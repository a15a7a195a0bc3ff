#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "platform/picture.h"
#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "stores/reduce_loops.h"

namespace quillbay {

/// Averages areas of lines of codes 8, 16, 256 and 512, in one pass over the lines. One thread at a time.
class ToneReduction {
 public:
  /// Lines of `width` pixels as a picture of `size`; `palette` has 256 entries, of code 8. False when a sum would
  /// not fit 31 bits.
  [[nodiscard]] bool reduce(const std::vector<const std::uint8_t*>& lines, std::int32_t width,
                            KxColorSpace colorSpace, const KXRGBQUAD* palette, KxSize size, Picture* out);

 private:
  void takePalette(const KXRGBQUAD* palette);
  void paintRow(const AreaSpan& span, std::uint32_t unit, const std::uint8_t* const* lines, std::uint32_t* out);

  KxColorSpace m_colorSpace = KxColorSpace::None;
  std::int32_t m_width = 0;  // that m_cells were made for
  CellRow m_cells;
  std::array<std::uint64_t, 256> m_colors{};  // blue, green, red, 0 as 16-bit tones
};

}  // namespace quillbay
