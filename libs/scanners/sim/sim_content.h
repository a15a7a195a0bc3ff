#pragma once
#include "scanners/sim/sim_pen.h"

namespace quillbay::sim {

/// Draws a part of a technical plan (a flange with its section, a floor plan, a parts list, notes) into `r`.
void drawPlan(SimDisplayList& list, const Rect& r, SimRandom& random);

/// The land that all cells of a map show: height lines, roads and the grid run on from cell to cell.
class SimLand {
 public:
  explicit SimLand(std::uint64_t seed);
  /// Draws the part of the map that `r` shows; `random` places what lies within it.
  void drawMap(SimDisplayList& list, const Rect& r, SimRandom& random) const;

 private:
  [[nodiscard]] double height(double x, double y) const noexcept;
  [[nodiscard]] double roadAt(double y) const noexcept;
  void drawContours(SimDisplayList& list, const Rect& r) const;
  void drawRoad(SimDisplayList& list, const Rect& r) const;

  struct Wave {
    double kx, ky, phase, size;
  };
  Wave m_waves[6];
  double m_road;
};

/// The title block of a sheet.
void drawTitleBlock(SimDisplayList& list, const Rect& r, std::int64_t seed, std::int64_t page);

}  // namespace quillbay::sim
