#pragma once
#include <cstdint>
#include <vector>

#include "scanners/sim/sim_shapes.h"

namespace quillbay {

/// What makes a bed uneven: noise, and where it is dirty dust of up to 0.5 mm and streaks along the feed. A pixel
/// depends on its place on the bed alone. Rows ascend.
class SimSoil {
 public:
  struct Kind {
    int noise = 0;  ///< greatest deviation of a tone
    bool dust = false;
  };
  /// For pixels `left` to `right` - 1 of the bed; `scale` is pixels per millimetre.
  SimSoil(const Kind& kind, std::uint64_t seed, double scale, std::int32_t left, std::int32_t right);
  /// Changes the tones of pixels `from` to `to` - 1 of row `y`.
  void paint(const SimRow& row, std::int64_t y, std::int32_t from, std::int32_t to);

 private:
  struct Speck {
    double x, y, radius;  // pixels
    int tone;
  };
  void makeStreaks(std::uint64_t seed);
  void enterCells(std::int64_t row);

  const bool m_dust;
  const std::uint64_t m_seed;
  const double m_scale;
  const std::int32_t m_left, m_right;
  std::vector<std::int16_t> m_noise, m_streaks;
  std::vector<Speck> m_specks;  // of the cells that the current row crosses
  std::int64_t m_cellRow = INT64_MIN;
};

}  // namespace quillbay
