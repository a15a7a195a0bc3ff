#include "palettes/variance_cut.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace quillbay {

void PointSums::add(const ColorPoint& p) noexcept {
  const double w = p.weight;
  weight += w;
  red += w * static_cast<double>(p.red);
  green += w * static_cast<double>(p.green);
  blue += w * static_cast<double>(p.blue);
}

PointSums& PointSums::operator+=(const PointSums& o) noexcept {
  weight += o.weight;
  red += o.red;
  green += o.green;
  blue += o.blue;
  return *this;
}

PointSums& PointSums::operator-=(const PointSums& o) noexcept {
  weight -= o.weight;
  red -= o.red;
  green -= o.green;
  blue -= o.blue;
  return *this;
}

double PointSums::explained() const noexcept {
  return weight > 0 ? (red * red + green * green + blue * blue) / weight : 0;
}

ColorPoint PointSums::mean() const noexcept {
  const auto part = [this](double sum) { return static_cast<float>(sum / weight); };
  return {part(red), part(green), part(blue), static_cast<float>(weight)};
}

namespace {

using ChannelBins = std::array<PointSums, 256>;

std::size_t binOf(float value) noexcept { return static_cast<std::size_t>(value); }

void cutChannel(const ChannelBins& bins, int channel, const PointSums& all, VarianceCut& best) {
  const double whole = all.explained();
  PointSums first;
  for (std::size_t level = 0; level + 1 < bins.size(); ++level) {
    if (bins[level].weight == 0) continue;
    first += bins[level];
    PointSums second = all;
    second -= first;
    if (second.weight <= 0.5) break;  // a point weighs at least 1: what is left is rounding
    const double gain = first.explained() + second.explained() - whole;
    if (gain > best.gain) best = {channel, static_cast<float>(level + 1), gain, first, second};
  }
}

struct VariancePart {
  std::size_t begin, end;
  VarianceCut cut;
};

}  // namespace

VarianceCut bestCut(std::span<const ColorPoint> points, std::span<const std::uint32_t> members) {
  std::array<ChannelBins, 3> bins{};
  PointSums all;
  for (const std::uint32_t i : members) {
    const ColorPoint& p = points[i];
    PointSums sums;
    sums.add(p);
    all += sums;
    bins[0][binOf(p.red)] += sums;
    bins[1][binOf(p.green)] += sums;
    bins[2][binOf(p.blue)] += sums;
  }
  VarianceCut best;
  for (std::size_t channel = 0; channel < 3; ++channel)
    cutChannel(bins[channel], static_cast<int>(channel), all, best);
  return best;
}

std::vector<ColorPoint> cutByVariance(std::span<const ColorPoint> points, std::size_t count) {
  if (points.empty() || count == 0) return {};
  std::vector<std::uint32_t> order(points.size());
  std::iota(order.begin(), order.end(), 0U);
  const auto membersOf = [&order](std::size_t begin, std::size_t end) {
    return std::span<std::uint32_t>(order).subspan(begin, end - begin);
  };
  std::vector<VariancePart> parts{{0, points.size(), bestCut(points, order)}};
  while (parts.size() < count) {
    const auto largest = std::max_element(parts.begin(), parts.end(),
                                          [](const auto& a, const auto& b) { return a.cut.gain < b.cut.gain; });
    if (largest->cut.gain <= 0) break;
    const auto members = membersOf(largest->begin, largest->end);
    const auto middle = std::partition(members.begin(), members.end(),
                                       [&](std::uint32_t i) { return largest->cut.isFirst(points[i]); });
    const std::size_t end = largest->end;
    const std::size_t begin = largest->begin + static_cast<std::size_t>(middle - members.begin());
    *largest = {largest->begin, begin, bestCut(points, membersOf(largest->begin, begin))};
    parts.push_back({begin, end, bestCut(points, membersOf(begin, end))});
  }
  std::vector<ColorPoint> means;
  for (const VariancePart& part : parts) {
    PointSums sums;
    for (const std::uint32_t i : membersOf(part.begin, part.end)) sums.add(points[i]);
    means.push_back(sums.mean());
  }
  return means;
}

}  // namespace quillbay
