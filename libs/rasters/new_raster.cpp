#include <string>

#include "quillbay/errors.h"
#include "quillbay/raster.h"
#include "rasters/run_stor.h"
#include "rasters/strip_stor.h"

namespace quillbay {

KxPtr<IRStor> new_IRStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi) {
  if (width < 0 || height < 0) {
    throw CXIFaceException("A raster of " + std::to_string(width) + " x " + std::to_string(height) +
                           " pixels cannot be made: sizes are 0 or more.");
  }
  if (!isRunList(colorSpace)) return KxPtr<IRStor>::adopt(new CStripStor(colorSpace, width, height, dpi));
  if (colorSpace != KxColorSpace::Bitonal && colorSpace != KxColorSpace::BitonalRle) {
    throw CXIFaceException("A raster of the colour space " + std::to_string(static_cast<std::int32_t>(colorSpace)) +
                           " cannot be made: there is no such colour space.");
  }
  return KxPtr<IRStor>::adopt(new CRunStor(colorSpace, width, height, dpi));
}

}  // namespace quillbay
