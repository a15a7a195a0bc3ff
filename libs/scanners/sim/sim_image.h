#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "scanners/sim/sim_rows.h"
#include "scanners/sim/sim_shapes.h"

namespace quillbay {

/// An image file laid on the bed. Holds the band of rows that a row of the bed touches: one without skew.
class SimImage {
 public:
  /// `transform` maps the image's millimetres, at `dpi`, to the bed. Throws CXFileException.
  SimImage(const std::string& path, double dpi, const SimTransform& transform);
  /// Writes the image's pixels over the row's, `from` to `to` - 1. Rows ascend. Throws CXFileException.
  void paint(const SimRow& row, std::int64_t y, std::int32_t from, std::int32_t to);

 private:
  [[nodiscard]] const std::uint8_t* rowAt(std::int32_t y) const noexcept;
  // Makes rows `first` to `last` available and forgets those before.
  void need(std::int32_t first, std::int32_t last);
  void growRing(std::int32_t rows);
  template <int channels>
  void sample(const SimRow& row, std::int64_t y, std::int32_t from, std::int32_t to);

  SimImageRows m_rows;
  SimTransform m_transform;
  double m_step;  // image pixels per pixel of the bed
  int m_samples;  // taken per pixel of the bed, along each axis
  bool m_plain;   // pixel for pixel
  std::size_t m_rowBytes;
  std::unique_ptr<std::uint8_t[]> m_ring;
  std::int32_t m_capacity = 0, m_first = 0, m_next = 0;  // rows of the ring; kept rows are m_first to m_next - 1
};

}  // namespace quillbay
