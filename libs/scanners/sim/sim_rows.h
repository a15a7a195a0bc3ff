#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/file_channel.h"

namespace quillbay {

/// The rows of a picture file's first page, upright, read from top to bottom: 1 (grey) or 3 (RGB) bytes a pixel.
/// Memory does not grow with the picture: a row is read when it is asked for. A page whose lines lie otherwise is
/// read at its first row into a raster, which goes to scratch space beyond its budget.
class SimImageRows {
 public:
  /// Throws CXFileException that names the file and the cause.
  explicit SimImageRows(const std::string& path);

  /// Reads the next row into `out` (width * channels bytes). Throws CXFileException.
  void readRow(std::uint8_t* out);

  [[nodiscard]] std::int32_t width() const noexcept { return m_size.width; }
  [[nodiscard]] std::int32_t height() const noexcept { return m_size.height; }
  [[nodiscard]] int channels() const noexcept { return m_channels; }
  /// Dots per inch; 0: the file does not tell.
  [[nodiscard]] double dpi() const noexcept { return m_dpi; }

 private:
  void readLine(std::uint8_t* out);

  KxPtr<IKxRasterLoadFileChanel> m_file;
  KxPtr<IKxPageLines> m_lines;     // upright ones
  KxPtr<IAccessContext> m_raster;  // of a page that was turned
  KxColorSpace m_space;
  KxSize m_size;
  double m_dpi;
  int m_channels = 1;
  std::int32_t m_next = 0;
  std::unique_ptr<std::uint8_t[]> m_line;  // where it has to be converted
  std::vector<std::uint32_t> m_runs;       // of a page that was turned
  KXRGBQUAD m_palette[256];
};

}  // namespace quillbay
