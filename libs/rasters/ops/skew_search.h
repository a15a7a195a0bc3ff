#pragma once
#include <optional>

#include "rasters/ops/small_picture.h"

namespace quillbay {

/// The angle that straightens a bitonal picture's lines and edges: radians, clockwise positive, within 15 degrees
/// either way; nothing without a confident answer. Looks for horizontal lines, then for upright ones.
/// @param reduction  1, 2 or 4: how much the picture is reduced for the last, precise steps.
[[nodiscard]] std::optional<double> searchSkew(PIX* ink, int reduction);

}  // namespace quillbay
