#pragma once
#include <cstdint>

#include "rasters/draw_axis.h"

namespace quillbay {

/// Makes rows of device pixels from a raster's own lines. One thread.
class RowSource {
 public:
  RowSource() = default;
  RowSource(const RowSource&) = delete;
  RowSource& operator=(const RowSource&) = delete;
  virtual ~RowSource() = default;
  /// Paints a row that shows the lines of `span`, one 0xffRRGGBB per column.
  virtual void paint(const AxisSpan& span, std::uint32_t* out) = 0;
};

}  // namespace quillbay
