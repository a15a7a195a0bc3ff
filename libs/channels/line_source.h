#pragma once
#include <memory>

#include "channels/format_module.h"
#include "quillbay/raster.h"

namespace quillbay {

/// The lines of a raster in the blocks that a format module takes. One thread.
class LineSource {
 public:
  virtual ~LineSource() = default;
  /// Stores the next lines in `*block` with a hold that the caller gives back. False at the page's end.
  virtual bool next(QbBlock* block) = 0;
  /// The page ended because it was abandoned.
  virtual bool abandoned() = 0;
  /// Copies the palette as far as it is known (after the first block). Returns the count of entries.
  virtual int palette(KXRGBQUAD out[256]) = 0;
};

/// A raster that offers its stripes is read without copying; any other line by line, while line < height.
/// `width` is the page's. Throws CXIFaceException when the raster cannot be read.
[[nodiscard]] std::unique_ptr<LineSource> makeLineSource(IRStor* raster, KxColorSpace colorSpace,
                                                         std::int32_t width);

}  // namespace quillbay
