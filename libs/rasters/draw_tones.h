#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "quillbay/color_space.h"
#include "rasters/draw_axis.h"

namespace quillbay {

/// 256 colours for codes 4 and 8.
using Palette = std::array<KXRGBQUAD, 256>;

/// 0xffRRGGBB by darkness 0..255 of ink on paper.
using InkColors = std::array<std::uint32_t, 256>;
/// Black ink on paper of the colour 0xBBGGRR.
[[nodiscard]] InkColors inkColors(std::uint32_t background) noexcept;

/// Writes `pixels` pixels of a line of codes 4 or 8, from pixel `low` on, as R, G, B.
void expandIndices(KxColorSpace colorSpace, const Palette& palette, const std::uint8_t* line, std::size_t low,
                   std::size_t pixels, std::uint8_t* out) noexcept;

/// Makes rows of device pixels from lines of grey, palette or colour pixels by averaging areas.
/// Lines are first added up whole, column by column, and reduced across once a row: the cost is one addition per
/// source byte. Sums are exact integers, so an even area keeps its value.
class ToneReducer {
 public:
  /// `columns` outlives the reducer. `palette` is used by codes 4 and 8 only.
  ToneReducer(KxColorSpace colorSpace, const Palette& palette, const DrawAxis& columns);

  /// The lines (of code 16) are darkness 0..255, which is multiplied by `gain` once it is averaged.
  void setInk(double gain, const InkColors& colors);

  /// Paints a row that shows the lines of `span`; `lineAt(i)` answers where line `i` is (its pixel 0).
  template <class LineAt>
  void paintRow(const AxisSpan& span, LineAt&& lineAt, std::uint32_t* out) {
    if (m_plain && span.first == span.last && !m_ink) {
      copyRow(lineAt(span.first), out);
    } else if (span.last - span.first < kLinesAtOnce && m_expanded.empty()) {
      std::array<const std::uint8_t*, kLinesAtOnce> lines;
      for (std::int32_t i = span.first; i <= span.last; ++i)
        lines[static_cast<std::size_t>(i - span.first)] = lineAt(i);
      addFew(lines.data(), span);
      finishRow(out);
    } else {
      for (std::int32_t i = span.first; i <= span.last; ++i) addLine(lineAt(i), span.weight(i));
      finishRow(out);
    }
  }

  /// Adds a source line (from its pixel 0) to the row; `weight` in parts of 256.
  void addLine(const std::uint8_t* line, std::uint32_t weight);
  /// Writes the row, one 0xffRRGGBB per column, and begins the next one.
  void finishRow(std::uint32_t* out);
  /// A row that shows one source line, when columns show one source pixel each: no sums needed.
  void copyRow(const std::uint8_t* line, std::uint32_t* out);

 private:
  static constexpr std::int32_t kLinesAtOnce = 8;
  /// Of a column's pixels, together 1.
  struct ColumnWeights {
    float first, inner, last;
  };
  void addFew(const std::uint8_t* const* lines, const AxisSpan& span);
  template <int channels>
  void finishColors(std::uint32_t* out) noexcept;
  void finishGrey(std::uint32_t* out) noexcept;
  [[nodiscard]] const std::uint8_t* channelsOf(const std::uint8_t* line);
  void flushWhole() noexcept;
  void freshenSums() noexcept;
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
  std::vector<std::uint64_t> m_across;   // three per column, used when a row's sums do not fit 32 bits
  std::vector<ColumnWeights> m_weights;
  std::vector<double> m_inverse;   // 1 / weight of each column
  std::uint64_t m_mostWeight = 0;  // of a column
  bool m_stale = false;            // m_sums are those of a row that is done
  std::uint32_t m_wholeLines = 0;
  std::uint32_t m_sumWeight = 0;    // of what is in m_sums
  std::uint64_t m_totalWeight = 0;  // of the row so far, what is in m_across only
  double m_gain = 1;
  const InkColors* m_ink = nullptr;
};

}  // namespace quillbay
