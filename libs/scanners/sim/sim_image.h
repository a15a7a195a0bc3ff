#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "scanners/sim/sim_shapes.h"

namespace quillbay {

/// The rows of an image file, read from top to bottom: 1 (grey) or 3 (RGB) bytes a pixel. Bitonal and palette
/// pictures are brought to that, 16-bit samples to their high byte.
class SimImageRows {
 public:
  SimImageRows() = default;
  SimImageRows(const SimImageRows&) = delete;
  SimImageRows& operator=(const SimImageRows&) = delete;
  virtual ~SimImageRows() = default;

  /// Reads the next row into `out` (width * channels bytes). Throws CXFileException.
  virtual void readRow(std::uint8_t* out) = 0;

  std::int32_t width = 0, height = 0;
  int channels = 1;
  double dpi = 0;  ///< 0: the file does not tell
};

/// Opens a PNM (P1 to P6), TIFF or PNG file. Throws CXFileException that names the file and the cause.
[[nodiscard]] std::unique_ptr<SimImageRows> openSimImage(const std::string& path);

[[nodiscard]] std::unique_ptr<SimImageRows> openPnmRows(const std::string& path);
[[nodiscard]] std::unique_ptr<SimImageRows> openTiffRows(const std::string& path);
[[nodiscard]] std::unique_ptr<SimImageRows> openPngRows(const std::string& path);

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

  std::unique_ptr<SimImageRows> m_rows;
  SimTransform m_transform;
  double m_step;  // image pixels per pixel of the bed
  int m_samples;  // taken per pixel of the bed, along each axis
  bool m_plain;   // pixel for pixel
  std::size_t m_rowBytes;
  std::unique_ptr<std::uint8_t[]> m_ring;
  std::int32_t m_capacity = 0, m_first = 0, m_next = 0;  // rows of the ring; kept rows are m_first to m_next - 1
};

}  // namespace quillbay
