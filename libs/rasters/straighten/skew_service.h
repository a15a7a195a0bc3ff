#pragma once
#include "platform/binarization.h"

namespace quillbay {

/// The skew service of a bitonal raster, which it keeps.
[[nodiscard]] KxPtr<IRSDeskew> newSkewService(IRStor& raster);

}  // namespace quillbay
