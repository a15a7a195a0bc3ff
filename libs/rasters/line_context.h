#pragma once
#include "quillbay/raster.h"
#include "rasters/raster_base.h"

namespace quillbay {

/// The context that fits the raster's colour space; it holds the raster.
[[nodiscard]] KxPtr<IAccessContext> newLineContext(RasterBase& raster, bool writes);
/// The context of codes 4, 8 and 16; empty for others.
[[nodiscard]] KxPtr<IPalContext> newPalContext(RasterBase& raster, bool writes);

}  // namespace quillbay
