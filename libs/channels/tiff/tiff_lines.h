#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "channels/tiff/tiff_source.h"

namespace quillbay {

/// The lines of a page, top one first, decompressed. Holds a strip's line, a row of tiles, or, `Rgba`, a strip.
class TiffLines {
 public:
  virtual ~TiffLines() = default;
  /// Bytes of a line.
  [[nodiscard]] virtual std::size_t lineBytes() const noexcept = 0;
  /// Reads the first `size` bytes of the next line into `out`. Throws ModuleError.
  virtual void read(std::uint8_t* out, std::size_t size) = 0;
};

enum class TiffPixels {
  Stored,  ///< samples as the file has them, in the machine's order
  Rgba,    ///< any kind of picture as libtiff shows it: red, green, blue
};

/// The handle and the source outlive the lines. Throws ModuleError for a page that cannot be read so.
[[nodiscard]] std::unique_ptr<TiffLines> makeTiffLines(TIFF* tiff, TiffSource& source, TiffPixels pixels);

}  // namespace quillbay
