#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillbay {

/// A point of a drawing in millimetres on the paper, or on the bed in pixels.
struct SimPoint {
  double x = 0, y = 0;
};

/// A part from 0 to 1 in steps of 1/256, rounded.
[[nodiscard]] inline int steps256(double part) noexcept { return (static_cast<int>(part * 512) + 1) >> 1; }

struct SimInk {
  std::uint8_t red = 0, green = 0, blue = 0;
};

/// A row of pixels under work: 1 or 3 bytes a pixel, pixels `left` to `right` - 1 of the bed.
struct SimRow {
  std::uint8_t* pixels = nullptr;
  std::int32_t left = 0, right = 0;
  int channels = 1;
  [[nodiscard]] std::uint8_t* at(std::int32_t x) const noexcept {
    return pixels + static_cast<std::ptrdiff_t>(x - left) * channels;
  }
};

/// A rectangle of any direction, in pixels of the bed. Coverage falls off over one pixel around its edges.
struct SimBox {
  double cx = 0, cy = 0;  ///< its middle
  double ux = 1, uy = 0;  ///< its direction, length 1; the other one is (-uy, ux)
  double hu = 0, hv = 0;  ///< half its size along and across the direction
};

/// Where a row crosses a box: pixels from `outer0` on have part in it, from `inner0` to `inner1` - 1 wholly.
struct SimSpan {
  std::int32_t outer0 = 0, inner0 = 0, inner1 = 0, outer1 = 0;
};

/// The crossing of the row's middle line with a box, cut to the row.
[[nodiscard]] SimSpan spanOf(const SimBox& box, std::int64_t y, const SimRow& row) noexcept;
/// How much of a pixel a box covers, 0 to 1.
[[nodiscard]] double coverageOf(const SimBox& box, std::int32_t x, std::int64_t y) noexcept;

/// Where the paper lies on the bed: millimetres on the paper to pixels of the bed.
struct SimTransform {
  double originX = 0, originY = 0;  ///< the paper's top left corner in pixels
  double cosine = 1, sine = 0;      ///< of its clockwise turn
  double scale = 1;                 ///< pixels per millimetre
  [[nodiscard]] SimPoint map(SimPoint p) const noexcept {
    return {originX + scale * (p.x * cosine - p.y * sine), originY + scale * (p.x * sine + p.y * cosine)};
  }
};

/// Lines, circles and areas of a part of a drawing, painted row by row. Built from millimetres, kept in pixels; a
/// row depends on nothing but its number, so that any sequence of ascending rows shows the same picture.
class SimDisplayList {
 public:
  explicit SimDisplayList(const SimTransform& transform) : m_transform(transform) {}

  /// A straight line with square ends.
  void line(SimPoint a, SimPoint b, double width, SimInk ink);
  void polyline(const std::vector<SimPoint>& points, double width, SimInk ink, bool closed = false);
  void circle(SimPoint middle, double radius, double width, SimInk ink);
  /// An arc from one angle to another, in degrees clockwise from the right.
  void arc(SimPoint middle, double radius, double from, double to, double width, SimInk ink);
  /// A filled polygon that tints what lies below.
  void area(const std::vector<SimPoint>& points, SimInk ink);
  /// After the last shape and before the first row.
  void seal();

  /// Paints all shapes that cross row `y`. Rows are asked for from top to bottom.
  void paint(const SimRow& row, std::int64_t y);
  /// Nothing is painted from row `y` on.
  [[nodiscard]] bool isDone(std::int64_t y) const noexcept { return y > m_bottom; }

 private:
  struct Extent {
    std::int64_t top, bottom;  // rows, both inclusive
  };
  struct Line : Extent {
    SimBox box;
    float strength;
    SimInk ink;
  };
  struct Ring : Extent {
    double cx, cy, radius, half;
    float strength;
    SimInk ink;
  };
  struct Area : Extent {
    std::uint32_t first, count;  // in m_points
    SimInk ink;
  };
  // The shapes of one kind: sorted by their top, those that cross the current row in `active`.
  template <class Shape>
  struct Layer {
    std::vector<Shape> shapes;
    std::vector<std::uint32_t> active;
    std::size_t next = 0;
    void seal();
    template <class Paint>
    void paint(std::int64_t y, const Paint& paintShape);
  };

  template <int channels>
  void paintChannels(const SimRow& row, std::int64_t y);
  template <int channels>
  void paintArea(const Area& area, const SimRow& row, std::int64_t y);
  void keep(const Extent& extent) noexcept;

  SimTransform m_transform;
  Layer<Area> m_areas;
  Layer<Ring> m_rings;
  Layer<Line> m_lines;
  std::vector<SimPoint> m_points;
  std::vector<double> m_crossings;
  std::int64_t m_bottom = INT64_MIN;
};

}  // namespace quillbay
