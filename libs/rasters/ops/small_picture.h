#pragma once
#include <leptonica/allheaders.h>

#include <memory>

#include "quillbay/raster.h"

/// Reduced pictures of rasters in the form that leptonica takes.
namespace quillbay {

struct PixDeleter {
  void operator()(PIX* pix) const noexcept { pixDestroy(&pix); }
};
using PixPtr = std::unique_ptr<PIX, PixDeleter>;

/// Passes on what leptonica made. Throws CXMemException when it made nothing.
[[nodiscard]] PixPtr madePix(PIX* pix);

/// A part of a raster, drawn smaller.
struct SmallPicture {
  PixPtr grey;       ///< 8 bits, 255 is white; empty when drawing was cancelled
  double scale = 1;  ///< of its pixels to the raster's, at most 1
};

/// Draws `part` (within the raster, not empty) in `scale`, 0 < scale <= 1, in brightness. A picture in memory: the
/// caller chooses a scale that keeps it small. Throws CXIFaceException when the raster cannot be drawn.
[[nodiscard]] SmallPicture drawSmall(IRStor& source, const KxRect& part, double scale, IProgress* progress);

}  // namespace quillbay
