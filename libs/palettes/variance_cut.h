#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "palettes/color_points.h"

namespace quillbay {

/// Sums of weighted points.
struct PointSums {
  double weight = 0, red = 0, green = 0, blue = 0;

  void add(const ColorPoint& p) noexcept;
  PointSums& operator+=(const PointSums& o) noexcept;
  PointSums& operator-=(const PointSums& o) noexcept;
  /// The squared length of the sums over their weight: what a set of points explains of its squares. 0 when empty.
  [[nodiscard]] double explained() const noexcept;
  [[nodiscard]] ColorPoint mean() const noexcept;
};

/// Where a set of points is best cut in two, across one channel.
struct VarianceCut {
  int channel = 0;            ///< 0 red, 1 green, 2 blue
  float limit = 0;            ///< points below it are in the first part
  double gain = 0;            ///< by how much the squared errors become less; 0: all points are alike
  PointSums first, second{};  ///< the two parts

  [[nodiscard]] bool isFirst(const ColorPoint& p) const noexcept {
    return (channel == 0 ? p.red : channel == 1 ? p.green : p.blue) < limit;
  }
};

/// The cut after which the squared distances from the parts' means are least (Wu's criterion), of those between
/// whole levels of a channel. `members` are indices of `points`.
[[nodiscard]] VarianceCut bestCut(std::span<const ColorPoint> points, std::span<const std::uint32_t> members);

/// The means of at most `count` parts of all points: the part whose best cut gains most is cut, again and again.
[[nodiscard]] std::vector<ColorPoint> cutByVariance(std::span<const ColorPoint> points, std::size_t count);

}  // namespace quillbay
