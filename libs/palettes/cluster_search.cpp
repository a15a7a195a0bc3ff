#include "palettes/cluster_search.h"

#include <algorithm>
#include <optional>
#include <tuple>
#include <utility>

#include "palettes/cluster_merges.h"
#include "palettes/color_clusters.h"
#include "palettes/rare_colors.h"
#include "palettes/variance_cut.h"

namespace quillbay {
namespace {

constexpr std::size_t kCutsPerCluster = 4;
constexpr std::size_t kMostCuts = 1024;
/// Lloyd's iterations after each change, and at the ends.
constexpr int kSomeRounds = 8, kManyRounds = 30;
constexpr double kSomeGain = 1e-3, kLeastGain = 1e-4;

struct ClusterCut {
  VarianceCut cut;
  std::size_t cluster;
};

struct Exchange {
  ClusterMerge merge;
  ClusterCut cut;
  [[nodiscard]] double gain() const noexcept { return cut.cut.gain - merge.cost; }
};

[[nodiscard]] bool isPossible(const ClusterMerge& merge, const ClusterCut& cut) noexcept {
  return cut.cluster != merge.a && cut.cluster != merge.b;
}

void apply(const Exchange& e, std::vector<ColorPoint>& centres) {
  centres[e.merge.a] = mergedCentre(centres[e.merge.a], centres[e.merge.b]);
  centres[e.merge.b] = e.cut.cut.first.mean();
  centres[e.cut.cluster] = e.cut.cut.second.mean();
}

/// Improves clusters by exchanges of a merge and a cut.
class ClusterSearch {
 public:
  explicit ClusterSearch(ColorClusters& clusters) : m_clusters(clusters) {}

  /// Some exchanges at once, as long as this helps.
  void exchangeMany() {
    constexpr int kMostTimes = 20;
    for (int i = 0; i < kMostTimes; ++i) {
      const auto exchanges = bestExchanges();
      if (exchanges.empty() || !accepts(exchanges)) return;
    }
  }

  /// One exchange at a time: the promising ones are tried in turn until none of them helps.
  void exchangeOnes() {
    constexpr std::size_t kWork = 256, kMostTries = 31;
    std::size_t tries = std::min(kWork / centres().size() - 1, kMostTries);
    const auto helps = [&](const Exchange& e) { return tries > 0 && tries-- > 0 && accepts({&e, 1}); };
    while (tries > 0) {
      const auto exchanges = promisingExchanges();
      if (std::none_of(exchanges.begin(), exchanges.end(), helps)) return;
      m_clusters.settle(kManyRounds, kLeastGain);
    }
  }

 private:
  [[nodiscard]] const std::vector<ColorPoint>& centres() const { return m_clusters.state().centres; }

  /// Makes the exchanges; takes them back, and returns false, when they do not help.
  bool accepts(std::span<const Exchange> exchanges) {
    const ColorClusters::State before = m_clusters.state();
    std::vector<ColorPoint> changed = before.centres;
    for (const Exchange& e : exchanges) apply(e, changed);
    m_clusters.place(std::move(changed));
    m_clusters.settle(kSomeRounds, kSomeGain);
    if (m_clusters.state().error < before.error * (1 - kLeastGain)) return true;
    m_clusters.restore(before);
    return false;
  }

  /// The best cut of each cluster, those that gain most first.
  [[nodiscard]] std::vector<ClusterCut> bestCuts() const {
    const auto& state = m_clusters.state();
    std::vector<std::vector<std::uint32_t>> members(state.centres.size());
    for (std::size_t i = 0; i < state.labels.size(); ++i)
      members[state.labels[i]].push_back(static_cast<std::uint32_t>(i));
    std::vector<ClusterCut> cuts;
    for (std::size_t c = 0; c < members.size(); ++c) {
      const VarianceCut cut = bestCut(m_clusters.points(), members[c]);
      if (cut.gain > 0) cuts.push_back({cut, c});
    }
    std::sort(cuts.begin(), cuts.end(), [](const ClusterCut& x, const ClusterCut& y) {
      return std::tie(y.cut.gain, x.cluster) < std::tie(x.cut.gain, y.cluster);
    });
    return cuts;
  }

  /// Exchanges that have no cluster in common.
  [[nodiscard]] std::vector<Exchange> bestExchanges() const {
    constexpr std::size_t kClustersPerExchange = 16;
    const std::size_t most = std::max<std::size_t>(1, centres().size() / kClustersPerExchange);
    const auto cuts = bestCuts();
    std::vector<bool> isTaken(centres().size());
    std::vector<Exchange> exchanges;
    for (const ClusterMerge& merge : cheapestMerges(centres())) {
      if (exchanges.size() == most) break;
      if (isTaken[merge.a] || isTaken[merge.b]) continue;
      const auto cut = std::find_if(cuts.begin(), cuts.end(), [&](const ClusterCut& c) {
        return !isTaken[c.cluster] && isPossible(merge, c);
      });
      if (cut == cuts.end() || cut->cut.gain <= merge.cost) break;
      exchanges.push_back({merge, *cut});
      isTaken[merge.a] = isTaken[merge.b] = isTaken[cut->cluster] = true;
    }
    return exchanges;
  }

  /// Pairs of a cheap merge and a good cut, by what they seem to gain.
  [[nodiscard]] std::vector<Exchange> promisingExchanges() const {
    constexpr std::size_t kOfEach = 8;
    auto cuts = bestCuts();
    auto merges = cheapestMerges(centres());
    cuts.resize(std::min(cuts.size(), kOfEach));
    merges.resize(std::min(merges.size(), kOfEach));
    std::vector<Exchange> exchanges;
    for (const ClusterMerge& merge : merges)
      for (const ClusterCut& cut : cuts)
        if (isPossible(merge, cut)) exchanges.push_back({merge, cut});
    std::stable_sort(exchanges.begin(), exchanges.end(),
                     [](const Exchange& x, const Exchange& y) { return x.gain() > y.gain(); });
    return exchanges;
  }

  ColorClusters& m_clusters;
};

}  // namespace

std::vector<ColorPoint> findClusters(std::span<const ColorPoint> points, std::size_t count) {
  count = std::min(count, ColorClusters::kMostCentres);
  if (points.empty() || count == 0) return {};
  ColorClusters clusters(points);
  clusters.place(mergeDownTo(count, cutByVariance(points, std::min(kCutsPerCluster * count, kMostCuts))));
  clusters.settle(kSomeRounds, kSomeGain);
  ClusterSearch search(clusters);
  search.exchangeMany();
  clusters.settle(kManyRounds, kLeastGain);
  search.exchangeOnes();
  keepRareColors(clusters);
  return clusters.state().centres;
}

}  // namespace quillbay
