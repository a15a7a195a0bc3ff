#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "palettes/color_points.h"

namespace quillbay {

/// Two clusters that may become one, and by how much this raises the error (Ward's criterion).
struct ClusterMerge {
  double cost = 0;
  std::size_t a = 0, b = 0;
};

/// The mean of two clusters' points.
[[nodiscard]] ColorPoint mergedCentre(const ColorPoint& a, const ColorPoint& b) noexcept;

/// For each centre the cheapest merge with another one, the cheapest first, no pair twice.
[[nodiscard]] std::vector<ClusterMerge> cheapestMerges(std::span<const ColorPoint> centres);

/// Merges clusters until `count` are left, the cheapest pair at each step.
[[nodiscard]] std::vector<ColorPoint> mergeDownTo(std::size_t count, std::vector<ColorPoint> centres);

}  // namespace quillbay
