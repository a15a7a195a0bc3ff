#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "palettes/color_points.h"

namespace quillbay {

/// Points, each assigned to the nearest of some centres: what Lloyd's algorithm (k-means) improves. Nothing depends
/// on chance. One thread.
class ColorClusters {
 public:
  static constexpr std::size_t kMostCentres = 256;

  struct State {
    std::vector<ColorPoint> centres;    ///< the weights are those of their points
    std::vector<bool> isHeld;           ///< a held centre does not move
    std::vector<std::uint16_t> labels;  ///< of each point: its centre
    double error = 0;                   ///< squared distances of the points from their centres, weighted, summed
  };

  /// Points in the order of `colorPlace` are assigned fast, others as well. They outlive the clusters.
  explicit ColorClusters(std::span<const ColorPoint> points);

  [[nodiscard]] std::span<const ColorPoint> points() const noexcept { return m_points; }
  [[nodiscard]] const State& state() const noexcept { return m_state; }
  void restore(const State& state) { m_state = state; }

  /// Assigns the points to other centres: at least one, at most `kMostCentres`; none of them is held.
  void place(std::vector<ColorPoint> centres);
  void hold(std::size_t centre) { m_state.isHeld[centre] = true; }
  /// Lloyd's iterations: moves the centres to the means of their points and assigns anew, at most `rounds` times,
  /// or until an iteration makes the error less by only this part of it.
  void settle(int rounds, double leastGain);

 private:
  /// Points that follow one another, and the box around them.
  struct Group {
    std::uint32_t begin, end;
    float low[3], high[3];
  };
  void makeGroups();
  std::size_t findCandidates(const Group& group, std::uint16_t* candidates) const noexcept;
  double assignGroup(const Group& group) noexcept;
  void assign() noexcept;
  void moveCentres();

  std::span<const ColorPoint> m_points;
  std::vector<Group> m_groups;
  State m_state;
};

}  // namespace quillbay
