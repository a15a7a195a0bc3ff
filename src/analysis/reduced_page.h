#pragma once
#include <vector>

#include "quillbay/raster.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// A page in the size of a prescan, in grey.
struct ReducedPage {
  std::vector<KxPtr<IScanBuffer>> stripes;
  double scale = 1;  ///< its pixels to those of the page, at most 1
};

/// Draws `page` at up to `mostDpi`, with at most `mostPixels` pixels; brightness where it is coloured. `progress`
/// may be null; it gets positions from 0 to `end`. No stripes when the user cancelled or the page is empty. Throws
/// CXIFaceException for a page that cannot draw itself, CXMemException.
[[nodiscard]] ReducedPage reducePage(IRStor& page, double mostDpi, double mostPixels, IProgress* progress, int end);

}  // namespace quillbay
