#pragma once
#include <cmath>
#include <cstdint>
#include <span>

#include "rasters/straighten/bit_band.h"
#include "rasters/straighten/straighten_frame.h"

namespace quillbay {

/// Paints the runs of source lines, one line after another, into lines of bits. Fixed point, 32 bits of fraction.
///
/// Three kinds of pixels are set:
/// - those whose nearest source pixel is set. They fill areas without holes, but can miss a single pixel, since a
///   turned square may lie between the output's pixels;
/// - those nearest to the places of a run's ends, and of the first pixels above one another of runs that touch. A
///   step of one pixel along or across is at most one in each direction, so these touch each other, and all that
///   was set of the same source pixel;
/// - where runs touch at a corner only, one between the nearest pixels when they are two apart: such a step is up
/// to
///   cos a + sin a long.
class RunPainter {
 public:
  /// Both ends inclusive.
  struct Run {
    std::int32_t first, last;
  };

  RunPainter(const StraightenFrame& frame, BitBand& band);

  /// Paints source line `row`; `above` are the runs of the line before.
  void paint(std::int64_t row, std::span<const Run> above, std::span<const Run> runs) noexcept;

 private:
  struct Place {
    std::int64_t x, y;
  };
  [[nodiscard]] Place placeOf(std::int64_t column) const noexcept {
    return {m_rowX + column * m_cos, m_rowY + column * m_sin};
  }
  [[nodiscard]] Place above(const Place& p) const noexcept { return {p.x + m_sin, p.y - m_cos}; }
  void setNearest(const Place& p) noexcept;
  /// Columns where a line of the output meets a run's middle line and the lines through its ends.
  struct Crossing {
    std::int64_t middle, left, right;
  };
  /// Pixels, both ends inclusive; `to` is less for none.
  struct Part {
    std::int64_t from, to;
  };
  [[nodiscard]] Part within(const Crossing& at) const noexcept;
  void next(Crossing& at) const noexcept;
  void paintRun(const Run& run, const Place& from, const Place& to) noexcept;
  void join(const Run& upper, const Run& lower) noexcept;
  void bridge(const Place& a, const Place& b) noexcept;

  const StraightenFrame m_frame;
  BitBand& m_band;
  const std::int64_t m_cos, m_sin;
  std::int64_t m_cot, m_tan;  // columns for each line of the output, along a run's middle line and across it
  std::int64_t m_cotStep, m_tanStep;
  std::int64_t m_few = 0;                  // pixels of a run that reaches two lines at most
  std::int64_t m_halfLength, m_halfWidth;  // of the part of an output line within a run's thickness, within a pixel
  std::int64_t m_reach;                    // of a turned pixel, up and down
  std::int64_t m_rowX = 0, m_rowY = 0;     // of the current line's column 0
};

}  // namespace quillbay
