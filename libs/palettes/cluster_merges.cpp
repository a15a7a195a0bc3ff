#include "palettes/cluster_merges.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace quillbay {
namespace {

/// In single precision, which the compiler turns into vectors; a cluster without points costs nothing.
float mergeCost(const ColorPoint& a, const ColorPoint& b) noexcept {
  const float weights = a.weight + b.weight;
  return weights > 0 ? squaredDistance(a, b) * (a.weight * (b.weight / weights)) : 0;
}

ClusterMerge cheapestOf(std::span<const ColorPoint> centres, std::size_t a) noexcept {
  float least = std::numeric_limits<float>::max();
  std::size_t other = a;
  for (std::size_t b = 0; b < centres.size(); ++b) {
    const float cost = a == b ? std::numeric_limits<float>::max() : mergeCost(centres[a], centres[b]);
    if (cost >= least) continue;
    least = cost;
    other = b;
  }
  return {static_cast<double>(least), a, other};
}

}  // namespace

ColorPoint mergedCentre(const ColorPoint& a, const ColorPoint& b) noexcept {
  const float weight = a.weight + b.weight;
  if (weight <= 0) return a;
  const float part = b.weight / weight;
  return {a.red + part * (b.red - a.red), a.green + part * (b.green - a.green), a.blue + part * (b.blue - a.blue),
          weight};
}

std::vector<ClusterMerge> cheapestMerges(std::span<const ColorPoint> centres) {
  std::vector<ClusterMerge> merges;
  if (centres.size() < 2) return merges;
  std::vector<std::size_t> others;
  for (std::size_t a = 0; a < centres.size(); ++a) {
    const ClusterMerge merge = cheapestOf(centres, a);
    others.push_back(merge.b);
    if (merge.b > a || others[merge.b] != a) merges.push_back(merge);
  }
  std::sort(merges.begin(), merges.end(), [](const ClusterMerge& x, const ClusterMerge& y) {
    return std::tie(x.cost, x.a) < std::tie(y.cost, y.a);
  });
  return merges;
}

std::vector<ColorPoint> mergeDownTo(std::size_t count, std::vector<ColorPoint> centres) {
  std::vector<ClusterMerge> nearest;
  if (centres.size() <= count) return centres;
  for (std::size_t a = 0; a < centres.size(); ++a) nearest.push_back(cheapestOf(centres, a));
  while (centres.size() > std::max<std::size_t>(count, 1)) {
    const auto cheapest =
        std::min_element(nearest.begin(), nearest.end(), [](auto& x, auto& y) { return x.cost < y.cost; });
    // The merged cluster stays in the first one's place, the last one moves to the second one's.
    const std::size_t a = std::min(cheapest->a, cheapest->b), b = std::max(cheapest->a, cheapest->b);
    const std::size_t last = centres.size() - 1;
    centres[a] = mergedCentre(centres[a], centres[b]);
    centres[b] = centres[last];
    nearest[b] = {nearest[last].cost, b, nearest[last].b};
    centres.pop_back();
    nearest.pop_back();
    for (std::size_t i = 0; i < centres.size(); ++i) {
      std::size_t& other = nearest[i].b;
      const bool isGone = i == a || other == a || other == b;
      if (isGone)
        nearest[i] = cheapestOf(centres, i);
      else if (other == last)
        other = b;
    }
  }
  return centres;
}

}  // namespace quillbay
