#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "rasters/draw_axis.h"
#include "rasters/draw_tones.h"
#include "rasters/raster_levels.h"

namespace quillbay {

/// Makes rows of device pixels from the reduced levels of a raster, each from the coarsest level that is still at
/// least as fine as the device and has the row's lines. One thread.
class LevelRows {
 public:
  /// The axes are those of the raster, of `width` x `height` pixels; they and the levels outlive this object.
  /// `background` is 0xBBGGRR, the paper of run lists.
  LevelRows(const RasterLevels& levels, const DrawAxis& columns, const DrawAxis& rows, KxSize size,
            std::uint32_t background);

  /// No level fits: the picture is not shrunk enough.
  [[nodiscard]] bool isEmpty() const noexcept { return m_best < 0; }
  /// Paints row `i` of the rows' axis; false when no level has its lines yet.
  bool paint(std::size_t i, std::uint32_t* out);

 private:
  struct Part {
    Part(const LevelRows& owner, int level);
    DrawAxis columns, rows;
    ToneReducer reducer;
  };

  const RasterLevels& m_levels;
  const DrawAxis& m_columns;
  const DrawAxis& m_rows;
  const KxSize m_size;
  int m_best = -1;
  InkColors m_ink{};
  std::vector<std::unique_ptr<Part>> m_parts;  // by level, made when first needed
};

}  // namespace quillbay
