#pragma once
#include <memory>

#include "channels/pdf/image_lines.h"

namespace quillbay {

/// The lines of a JPEG through libjpeg-turbo: samples as the image's plan has them, inks as they are stored.
[[nodiscard]] std::unique_ptr<SampleLines> makeJpegLines(std::unique_ptr<ByteSource> from, const ImagePlan& plan);

}  // namespace quillbay
