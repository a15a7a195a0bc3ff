#pragma once
#include <span>

#include "analysis/bound_extents.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// The rotation that makes the box around all extents smallest, in radians (`bound_detect.h` has the convention):
/// steps of 0.05 degrees from 0 up to 45, then from 0 down, each way until 5 degrees brought nothing better. Of
/// equal boxes the first one counts. `extents` has one for each row; empty ones do not count.
[[nodiscard]] double searchSkew(std::span<const RowExtent> extents);

/// Moves left and right of a turned document's box apart until it holds a portrait page: one 1.41428 times as long
/// as wide, of the width that the box and the angle (radians, not 0) tell. A box that tells none stays as it is.
void widenToPage(KxRect* bounds, double angle) noexcept;

}  // namespace quillbay
