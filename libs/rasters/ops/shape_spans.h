#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quillbay/raster_edit.h"

namespace quillbay {

/// Pixels first..end-1 of a line.
struct PixelSpan {
  std::int32_t first, end;
  bool operator==(const PixelSpan&) const = default;
};
using PixelSpans = std::vector<PixelSpan>;  ///< ascending; neither touching nor empty

/// The four corners of a frame on a raster, from its upper left one on, clockwise on the screen.
[[nodiscard]] CRPolygon cornersOf(const CRFrame& frame);

/// Which pixels of a line belong to a shape, line by line: a list of the edges that cross a line, which is brought
/// along from line to line. Memory is that of the edges.
class ShapeSpans {
 public:
  /// Throws CXIFaceException for a shape that has places which are no numbers.
  ShapeSpans(const RasterShape& shape, KxSize raster);

  /// Lines below `top` and from `bottom` on hold nothing of the shape; both lie on the raster.
  [[nodiscard]] std::int32_t top() const noexcept { return m_top; }
  [[nodiscard]] std::int32_t bottom() const noexcept { return m_bottom; }
  /// The pixels of `line`, which is not less than at the call before. Valid until the next call.
  [[nodiscard]] const PixelSpans& at(std::int32_t line);

 private:
  /// Crosses the centres of lines first..end-1: at x + (line - first) * slope.
  struct Edge {
    std::int32_t first, end;
    double x, slope;
  };
  void setPolygon(const CRPolygon& polygon);
  void setCircle(const CRCircle& circle);
  void addEdge(const CRPoint& from, const CRPoint& to);
  void bringEdges(std::int32_t line);
  [[nodiscard]] std::int32_t column(double x) const noexcept;

  const KxSize m_size;
  std::int32_t m_top = 0, m_bottom = 0;
  CRCircle m_circle;           // radius above 0: the shape is one
  std::vector<Edge> m_edges;   // by their first line
  std::size_t m_next = 0;      // edge that was not reached yet
  std::vector<Edge> m_active;  // reached and not passed
  std::vector<std::int32_t> m_columns;
  PixelSpans m_spans;
};

/// What of 0..width-1 no span holds.
void complementOf(const PixelSpans& spans, std::int32_t width, PixelSpans* out);

}  // namespace quillbay
