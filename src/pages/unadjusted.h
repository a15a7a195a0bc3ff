#pragma once
#include <memory>

#include "platform/picture.h"
#include "quillbay/param.h"

namespace quillbay {

/// A preview as it would have been without adjustments.
struct Unadjusted {
  std::shared_ptr<const Picture> picture;  ///< null: none can be shown
  bool isExact = true;                     ///< false: what the adjustments have lost is guessed
};

/// Takes the curves of the preview's `request` out of its picture; null where there were none. A level that the
/// curves do not give stands for the nearest that they do, one that several give for their middle. Saturation,
/// filters and palettes stay in the picture, which is then not exact. Pictures of black-and-white modes have lost
/// all tones: null.
[[nodiscard]] Unadjusted unadjusted(std::shared_ptr<const Picture> picture, IParam* request);

}  // namespace quillbay
