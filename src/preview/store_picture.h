#pragma once
#include <memory>

#include "platform/picture.h"
#include "platform/strip_stor.h"

namespace quillbay {

/// The stretch mode in which bitonal stores are drawn on the screen: areas become tones.
inline constexpr int kHalfTones = 8;

/// A small picture of what a store paints, at most `width` pixels wide and four times as high; null when the store
/// is empty.
[[nodiscard]] std::shared_ptr<const Picture> pictureOf(ISStripStor& store, std::int32_t width);

}  // namespace quillbay
