#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "quillbay/color_space.h"
#include "rasters/draw_axis.h"
#include "rasters/tone_loops.h"

namespace quillbay {

/// 256 colours for codes 4 and 8.
using Palette = std::array<KXRGBQUAD, 256>;

/// 0xffRRGGBB by darkness 0..255 of ink on paper.
using InkColors = std::array<std::uint32_t, 256>;
/// Black ink on paper of the colour 0xBBGGRR.
[[nodiscard]] InkColors inkColors(std::uint32_t background) noexcept;

/// The pixels of a palette as bytes R, G, B, 0 in memory.
using PixelBytes = std::array<std::uint32_t, 256>;
[[nodiscard]] PixelBytes pixelBytes(const Palette& palette) noexcept;

/// Writes `pixels` pixels of a line of codes 4 or 8, from pixel `low` on, as four bytes each.
void expandIndices(KxColorSpace colorSpace, const PixelBytes& colors, const std::uint8_t* line, std::size_t low,
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
    } else if (span.last - span.first < kLinesAtOnce && m_colorSpace != KxColorSpace::Four) {
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
  /// Writes the row, one 0xffRRGGBB per column, and starts the next one.
  void finishRow(std::uint32_t* out);
  /// A row that shows one source line, when columns show one source pixel each: no sums needed.
  void copyRow(const std::uint8_t* line, std::uint32_t* out);

 private:
  static constexpr std::int32_t kLinesAtOnce{ToneLoops::kMostLines};
  void takePalette(const Palette& palette);
  void addFew(const std::uint8_t* const* lines, const AxisSpan& span);
  void finishGrey(std::uint32_t* out) noexcept;
  [[nodiscard]] const std::uint8_t* channelsOf(const std::uint8_t* line);
  void flushWhole() noexcept;
  void freshenSums() noexcept;
  void reduceAcross() noexcept;

  const ToneLoops& m_loops = toneLoops();
  const KxColorSpace m_colorSpace;
  const DrawAxis& m_columns;
  bool m_plain = true;
  std::int32_t m_low = 0;                // first source pixel that any column shows
  std::size_t m_bytes = 0;               // bytes from there to the last one
  int m_channels = 1;                    // sums per pixel
  std::array<int, 3> m_order;            // where red, green and blue are within a pixel
  PixelBytes m_colors{};                 // codes 4 and 8
  std::vector<std::uint64_t> m_tones;    // code 8: R, G, B, 0 of each index in 16 bits each
  std::vector<std::uint8_t> m_expanded;  // codes 4 and 8: the line as R, G, B, 0
  std::vector<std::uint16_t> m_whole;    // sums of whole lines, at most kWholeLines
  std::vector<std::uint32_t> m_sums;     // sums in parts of 256
  std::vector<std::uint64_t> m_across;   // three per column, used when a row's sums do not fit 32 bits
  std::vector<ColumnSpan> m_spans;       // of the columns
  std::vector<double> m_inverse;         // 1 / weight of each column
  std::uint64_t m_mostWeight = 0;        // of a column
  bool m_stale = false;                  // m_sums are those of a row that is done
  std::uint32_t m_wholeLines = 0;
  std::uint32_t m_sumWeight = 0;    // of what is in m_sums
  std::uint64_t m_totalWeight = 0;  // of the row so far, what is in m_across only
  double m_gain = 1;
  const InkColors* m_ink = nullptr;
};

}  // namespace quillbay
