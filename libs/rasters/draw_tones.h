#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "quillbay/color_space.h"
#include "rasters/draw_axis.h"

namespace quillbay {

/// 256 colours for codes 4 and 8.
using Palette = std::array<KXRGBQUAD, 256>;

/// Makes rows of device pixels from lines of grey, palette or colour pixels by averaging areas.
/// Lines are first added up whole, column by column, and reduced across once a row: the cost is one addition per
/// source byte. Sums are exact integers, so an even area keeps its value.
class ToneReducer {
 public:
  /// `columns` outlives the reducer. `palette` is used by codes 4 and 8 only.
  ToneReducer(KxColorSpace colorSpace, const Palette& palette, const DrawAxis& columns);

  /// Adds a source line (from its pixel 0) to the row; `weight` in parts of 256.
  void addLine(const std::uint8_t* line, std::uint32_t weight);
  /// Writes the row, one 0xffRRGGBB per column, and begins the next one.
  void finishRow(std::uint32_t* out);
  /// A row that shows one source line, when columns show one source pixel each: no sums needed.
  void copyRow(const std::uint8_t* line, std::uint32_t* out);
  /// Whether every column shows one source pixel.
  [[nodiscard]] bool isPlain() const noexcept { return m_plain; }

 private:
  [[nodiscard]] const std::uint8_t* channelsOf(const std::uint8_t* line);
  void flushWhole() noexcept;
  void reduceAcross() noexcept;

  const KxColorSpace m_colorSpace;
  const Palette m_palette;
  const DrawAxis& m_columns;
  bool m_plain = true;
  std::int32_t m_low = 0;                // first source pixel that any column shows
  std::size_t m_bytes = 0;               // bytes from there to the last one
  int m_channels = 1;                    // bytes per pixel in sums
  std::array<int, 3> m_order;            // where red, green and blue are within a pixel
  std::vector<std::uint8_t> m_expanded;  // codes 4 and 8: the line as R, G, B
  std::vector<std::uint16_t> m_whole;    // sums of whole lines, at most kWholeLines
  std::vector<std::uint32_t> m_sums;     // sums in parts of 256
  std::vector<std::uint64_t> m_across;   // three per column
  std::uint32_t m_wholeLines = 0;
  std::uint32_t m_sumWeight = 0;    // of what is in m_sums
  std::uint64_t m_totalWeight = 0;  // of the row so far, what is in m_across only
};

}  // namespace quillbay
