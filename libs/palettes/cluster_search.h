#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "palettes/color_points.h"

namespace quillbay {

/// Finds `count` centres (1 to 256; fewer when there are fewer points) of which the points, in the order of
/// `colorPlace`, are at small squared distances, weighted, in sum.
///
/// Wu's cuts of greatest variance make four times as many clusters as are wanted, Ward's merges reduce them, and
/// Lloyd's iterations settle what is left. What those cannot change is then tried by exchanges: two clusters that
/// are nearly one are merged, and another one is cut in two. At last `keepRareColors`.
[[nodiscard]] std::vector<ColorPoint> findClusters(std::span<const ColorPoint> points, std::size_t count);

}  // namespace quillbay
