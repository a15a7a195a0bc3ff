#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "quillbay/raster.h"
#include "stores/picture_part.h"

namespace quillbay {

using PictureParts = std::vector<std::shared_ptr<const PicturePart>>;

/// Draws the parts of a page, which follow each other from top to bottom, into the target's clip: the device pixels
/// whose centre lies on a part. `tfm` maps reduced pixels (a part's `top` and `bottom` down, its picture's columns
/// across) to device pixels; either scale may be negative. A device pixel is the average of what it covers; of ink
/// it is as dark as its darkest part, scaled by coverage. Stretch mode 0 of the target takes single pixels.
void paintParts(const PictureParts& parts, IRasterDC& target, const CRDirectTfm& tfm);

/// All pictures one below the other, as wide as the widest, white beside the others.
[[nodiscard]] Picture joinParts(const PictureParts& parts);

/// The parts as one picture of `height` pixels.
[[nodiscard]] std::shared_ptr<const PicturePart> mergeParts(const PictureParts& parts, std::int32_t height);

}  // namespace quillbay
