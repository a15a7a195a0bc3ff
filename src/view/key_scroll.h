#pragma once
#include <cstdint>
#include <optional>

#include "quillbay/view.h"

/// How far keys and a pointer outside the window scroll.
namespace quillbay::view {

/// The pixels by which a key scrolls a view of this client size; none when it is no key that scrolls.
/// `stepPercent` of the client size is one step of an arrow, at least a pixel.
[[nodiscard]] std::optional<KxPoint> keyScroll(int key, const KxSize& client, double stepPercent) noexcept;

/// The pixels by which a view scrolls each time while the pointer is outside during panning: they grow with the
/// logarithm of the distance, 1 for the first pixel outside. 0 on an axis where the pointer is inside.
[[nodiscard]] KxPoint autoScroll(const KxPoint& pointer, const KxSize& client) noexcept;

}  // namespace quillbay::view
