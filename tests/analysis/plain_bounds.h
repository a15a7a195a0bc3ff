#pragma once
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/bound_extents.h"

namespace quillbay::test {

/// Grey pixels, row by row.
struct GreyImage {
  int width = 0, height = 0;
  std::vector<std::uint8_t> pixels;
};

/// Bound detection step by step, as slow as that is: what the fast one is compared with.
[[nodiscard]] std::vector<RowExtent> plainExtents(GreyImage image, int threshold);
/// The search for the angle over all points.
[[nodiscard]] double plainSkew(std::span<const RowExtent> extents);

}  // namespace quillbay::test
