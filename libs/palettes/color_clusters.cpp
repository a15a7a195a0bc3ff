#include "palettes/color_clusters.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "palettes/variance_cut.h"

namespace quillbay {
namespace {

constexpr std::size_t kGroupPoints = 32;

constexpr float squareOf(float v) noexcept { return v * v; }

}  // namespace

ColorClusters::ColorClusters(std::span<const ColorPoint> points) : m_points(points) {
  m_state.labels.resize(points.size());
  makeGroups();
}

void ColorClusters::makeGroups() {
  for (std::size_t begin = 0; begin < m_points.size(); begin += kGroupPoints) {
    const std::size_t end = std::min(begin + kGroupPoints, m_points.size());
    Group group{static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end), {255, 255, 255}, {0, 0, 0}};
    for (const ColorPoint& p : m_points.subspan(begin, end - begin)) {
      const float channels[3] = {p.red, p.green, p.blue};
      for (std::size_t c = 0; c < 3; ++c) {
        group.low[c] = std::min(group.low[c], channels[c]);
        group.high[c] = std::max(group.high[c], channels[c]);
      }
    }
    m_groups.push_back(group);
  }
}

void ColorClusters::place(std::vector<ColorPoint> centres) {
  m_state.centres = std::move(centres);
  m_state.isHeld.assign(m_state.centres.size(), false);
  assign();
}

void ColorClusters::settle(int rounds, double leastGain) {
  for (int round = 0; round < rounds; ++round) {
    const double before = m_state.error;
    moveCentres();
    assign();
    if (before - m_state.error <= leastGain * before) return;
  }
}

void ColorClusters::assign() noexcept {
  m_state.error = 0;
  for (const Group& group : m_groups) m_state.error += assignGroup(group);
}

void ColorClusters::moveCentres() {
  std::vector<PointSums> sums(m_state.centres.size());
  for (std::size_t i = 0; i < m_points.size(); ++i) sums[m_state.labels[i]].add(m_points[i]);
  for (std::size_t c = 0; c < sums.size(); ++c) {
    ColorPoint& centre = m_state.centres[c];
    if (sums[c].weight > 0 && !m_state.isHeld[c]) centre = sums[c].mean();
    centre.weight = static_cast<float>(sums[c].weight);
  }
}

/// The centres that may be the nearest of a point in the box: those that are no farther from its nearest place than
/// the best centre is from its farthest.
std::size_t ColorClusters::findCandidates(const Group& group, std::uint16_t* candidates) const noexcept {
  constexpr float kRounding = 1.0001F;
  const std::size_t count = m_state.centres.size();
  std::array<float, kMostCentres> nearest;
  float leastFar = std::numeric_limits<float>::max();
  for (std::size_t c = 0; c < count; ++c) {
    const ColorPoint& centre = m_state.centres[c];
    const float channels[3] = {centre.red, centre.green, centre.blue};
    float nearSum = 0, farSum = 0;
    for (std::size_t a = 0; a < 3; ++a) {
      const float below = group.low[a] - channels[a], above = channels[a] - group.high[a];
      nearSum += squareOf(std::max(std::max(below, above), 0.0F));
      farSum += squareOf(std::min(below, above));
    }
    nearest[c] = nearSum;
    leastFar = std::min(leastFar, farSum);
  }
  std::size_t found = 0;
  for (std::size_t c = 0; c < count; ++c) {
    candidates[found] = static_cast<std::uint16_t>(c);
    found += nearest[c] <= leastFar * kRounding;
  }
  return found;
}

/// Labels the group's points. Returns their error.
double ColorClusters::assignGroup(const Group& group) noexcept {
  std::uint16_t candidates[kMostCentres + 1];
  const std::size_t count = findCandidates(group, candidates);
  std::array<float, kGroupPoints> red{}, green{}, blue{}, best;
  std::array<std::int32_t, kGroupPoints> label{};
  const auto points = m_points.subspan(group.begin, group.end - group.begin);
  for (std::size_t i = 0; i < points.size(); ++i) {
    red[i] = points[i].red;
    green[i] = points[i].green;
    blue[i] = points[i].blue;
  }
  best.fill(std::numeric_limits<float>::max());
  for (std::size_t c = 0; c < count; ++c) {
    const ColorPoint centre = m_state.centres[candidates[c]];
    const std::int32_t index = candidates[c];
    for (std::size_t i = 0; i < kGroupPoints; ++i) {
      const float distance =
          squareOf(red[i] - centre.red) + squareOf(green[i] - centre.green) + squareOf(blue[i] - centre.blue);
      label[i] = distance < best[i] ? index : label[i];
      best[i] = std::min(distance, best[i]);
    }
  }
  double error = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    m_state.labels[group.begin + i] = static_cast<std::uint16_t>(label[i]);
    error += static_cast<double>(best[i]) * static_cast<double>(points[i].weight);
  }
  return error;
}

}  // namespace quillbay
