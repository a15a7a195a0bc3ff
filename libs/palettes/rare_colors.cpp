#include "palettes/rare_colors.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "palettes/cluster_merges.h"
#include "palettes/variance_cut.h"

namespace quillbay {
namespace {

constexpr float kFar = 48;           // levels from the centre
constexpr double kTimesTypical = 4;  // what is usual in the picture
constexpr float kRadius = 24;        // levels: pixels of one colour, with noise and soft edges
constexpr double kShare = 1.0 / 500;
constexpr double kGrowth = 0.04, kGrowthOfPixel = 4;

/// Points that are badly served by their centres.
std::vector<ColorPoint> farPoints(const ColorClusters& clusters, double total) {
  const auto& state = clusters.state();
  const double far =
      std::max(static_cast<double>(kFar * kFar), kTimesTypical * kTimesTypical * state.error / total);
  std::vector<ColorPoint> found;
  for (std::size_t i = 0; i < state.labels.size(); ++i) {
    const ColorPoint& p = clusters.points()[i];
    if (static_cast<double>(squaredDistance(p, state.centres[state.labels[i]])) >= far) found.push_back(p);
  }
  return found;
}

/// Where most of the points lie together: the mean of those within the radius, or nothing (weight 0).
ColorPoint densest(const std::vector<ColorPoint>& points) {
  constexpr std::size_t kSide = 16;
  std::vector<PointSums> cells(kSide * kSide * kSide);
  for (const ColorPoint& p : points) {
    const auto level = [](float v) { return static_cast<std::size_t>(v) / (256 / kSide); };
    cells[(level(p.red) * kSide + level(p.green)) * kSide + level(p.blue)].add(p);
  }
  const auto heaviest = std::max_element(
      cells.begin(), cells.end(), [](const PointSums& x, const PointSums& y) { return x.weight < y.weight; });
  if (heaviest->weight <= 0) return {};
  ColorPoint mean = heaviest->mean();
  constexpr int kShifts = 3;  // towards where the points are denser
  for (int i = 0; i < kShifts; ++i) {
    PointSums near;
    for (const ColorPoint& p : points)
      if (squaredDistance(p, mean) <= kRadius * kRadius) near.add(p);
    if (near.weight > 0) mean = near.mean();
  }
  return mean;
}

/// The centres with the new one, whose place the cheapest merge of two others makes.
bool placeColor(ColorClusters& clusters, const ColorPoint& color) {
  const ColorClusters::State before = clusters.state();
  std::vector<std::size_t> free;
  std::vector<ColorPoint> movable;
  for (std::size_t c = 0; c < before.centres.size(); ++c) {
    if (before.isHeld[c]) continue;
    free.push_back(c);
    movable.push_back(before.centres[c]);
  }
  const auto merges = cheapestMerges(movable);
  if (merges.empty()) return false;
  const std::size_t a = free[merges.front().a], b = free[merges.front().b];
  std::vector<ColorPoint> centres = before.centres;
  centres[a] = mergedCentre(centres[a], centres[b]);
  centres[b] = color;
  clusters.place(std::move(centres));
  for (std::size_t c = 0; c < before.isHeld.size(); ++c)
    if (before.isHeld[c] || c == b) clusters.hold(c);
  return true;
}

}  // namespace

void keepRareColors(ColorClusters& clusters) {
  constexpr int kRounds = 8;
  constexpr double kEnough = 1e-3;
  double total = 0;
  for (const ColorPoint& p : clusters.points()) total += static_cast<double>(p.weight);
  const std::size_t count = clusters.state().centres.size();
  const double least = total * kShare / static_cast<double>(count), error = clusters.state().error;
  const double most = error + std::min(error * kGrowth, total * kGrowthOfPixel);
  for (std::size_t i = 0; i < count / 4; ++i) {
    const ColorPoint color = densest(farPoints(clusters, total));
    if (static_cast<double>(color.weight) < std::max(least, 1.0)) return;
    const ColorClusters::State before = clusters.state();
    if (!placeColor(clusters, color)) return;
    clusters.settle(kRounds, kEnough);
    if (clusters.state().error > most) {
      clusters.restore(before);
      return;
    }
  }
}

}  // namespace quillbay
