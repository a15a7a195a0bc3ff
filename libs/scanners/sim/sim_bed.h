#pragma once
#include <memory>
#include <vector>

#include "scanners/sim/sim_config.h"
#include "scanners/sim/sim_drawing.h"
#include "scanners/sim/sim_image.h"
#include "scanners/sim/sim_soil.h"

namespace quillbay {

/// The scan of one page at one resolution: the bed, the paper's shadow on it, the paper with its grain, and the
/// drawing or image on the paper. A pixel depends on its place on the bed alone, so that a part of a page equals
/// the same part of the whole. Used by one thread.
class SimBed {
 public:
  /// Pixels `left` to `right` - 1 of the bed at `dpi`, 1 or 3 bytes a pixel; `page` counts from 0.
  /// Throws CXFileException when an image cannot be read.
  SimBed(const SimConfig& config, std::int64_t page, std::uint32_t dpi, std::int32_t left, std::int32_t right,
         int channels);
  /// Writes row `y` of the bed. Rows ascend. Throws CXFileException.
  void paint(std::int64_t y, std::uint8_t* out);

  /// Where the paper of a page ends on the bed, in millimetres. Throws CXFileException as above.
  [[nodiscard]] static double paperEnd(const SimConfig& config, std::int64_t page);

 private:
  void paintShadow(const SimRow& row, std::int64_t y, const SimSpan& paper) const;
  void paintPaper(const SimRow& row, std::int64_t y, const SimSpan& paper) const;
  // `count` pixels of the paper's grain from pixel `x` of row `y` on.
  void grain(std::uint8_t* out, std::int32_t x, std::int32_t count, std::int64_t y) const noexcept;
  void makeGrain(std::uint64_t seed);

  std::int32_t m_left, m_right;
  int m_channels;
  double m_scale;
  std::uint8_t m_bed;
  SimBox m_paper, m_shadow;
  std::vector<std::uint8_t> m_grain;
  std::unique_ptr<SimSoil> m_soil;  // null: the bed is even
  std::unique_ptr<SimDrawing> m_drawing;
  std::unique_ptr<SimImage> m_image;
};

}  // namespace quillbay
