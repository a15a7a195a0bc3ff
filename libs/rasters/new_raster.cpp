#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/raster.h"
#include "rasters/run_stor.h"
#include "rasters/strip_stor.h"

namespace quillbay {

KxPtr<IRStor> new_IRStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height, std::uint32_t dpi) {
  if (width < 0 || height < 0) {
    throw CXIFaceException(
        formatText(Supp_Translate("A raster of %d x %d pixels cannot be made: sizes are 0 or more."),
                   {toText(std::int64_t{width}), toText(std::int64_t{height})}));
  }
  if (!isRunList(colorSpace)) return KxPtr<IRStor>::adopt(new CStripStor(colorSpace, width, height, dpi));
  if (colorSpace != KxColorSpace::Bitonal && colorSpace != KxColorSpace::BitonalRle) {
    throw CXIFaceException(
        formatText(Supp_Translate("A raster of the colour space %d cannot be made: there is no such colour space."),
                   {toText(static_cast<std::int64_t>(colorSpace))}));
  }
  return KxPtr<IRStor>::adopt(new CRunStor(colorSpace, width, height, dpi));
}

}  // namespace quillbay
