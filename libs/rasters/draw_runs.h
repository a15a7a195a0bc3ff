#pragma once
#include <cstdint>
#include <vector>

#include "rasters/draw_axis.h"
#include "rasters/draw_tones.h"
#include "rasters/run_lists.h"

namespace quillbay {

/// Makes rows of device pixels from run lists so that dark lines stay visible when shrunk.
///
/// A device pixel over n source pixels each way is black from a coverage of 1/n on, and in proportion below it: a
/// line one source pixel thick that crosses it has just that coverage, whichever way it runs, while one that only
/// grazes it, or a speck of dust, stays fainter. So a thin line comes out whole, black, and one device pixel thin;
/// its place between two device pixels is shared by both.
class RunReducer {
 public:
  /// The axes outlive the reducer. `background` is 0xBBGGRR; ink is black.
  RunReducer(const DrawAxis& columns, const DrawAxis& rows, std::uint32_t background);

  /// Adds a source line to the row; `weight` in parts of 256.
  void addLine(const RunView& line, std::uint32_t weight);
  /// Writes the row, one 0xffRRGGBB per column, and starts the next one.
  void finishRow(std::uint32_t* out);

 private:
  void cover(double from, double to, std::int64_t weight) noexcept;

  const DrawAxis& m_columns;
  double m_gain;
  std::uint32_t m_low = 0, m_high = 0;  // source pixels that any column shows, inclusive
  std::vector<std::int64_t> m_part;     // ink of pixels that a run covers in part, in parts of 2^16 of the weight
  std::vector<std::int64_t> m_step;     // where whole coverage starts and ends
  std::uint64_t m_totalWeight = 0;
  InkColors m_colors;
};

}  // namespace quillbay
