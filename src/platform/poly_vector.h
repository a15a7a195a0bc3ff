#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "quillbay/shapes.h"

/// Shapes as lists of elements, what pens draw. Implemented by libs/geometry. No Qt.
namespace quillbay {

/// Part of a circle. Radians from the x axis, anticlockwise.
struct CRArc {
  CRPoint center;
  double radius = 0;
  double start = 0, sweep = 0;
  bool operator==(const CRArc&) const = default;
};

/// Any number of elements, in document millimetres.
class CRPolyVector {
 public:
  enum class Type : int {
    Point = 0,
    Path = 1,  ///< a line of segments; falls apart into lines
    Line = 2,
    Arc = 3,
    Circle = 4
  };
  struct Element {
    Type type = Type::Line;
    CRPoint from, to;                       ///< of a line; `from` is the place of a point, the centre of a circle
    double radius = 0;                      ///< of an arc or circle
    double start = 0, sweep = 0;            ///< of an arc
    std::size_t firstPoint = 0, count = 0;  ///< of a path
    bool operator==(const Element&) const = default;
    [[nodiscard]] CRArc arc() const noexcept { return {from, radius, start, sweep}; }
  };

  void clear() noexcept;
  [[nodiscard]] const std::vector<Element>& elements() const noexcept { return m_elements; }
  /// The points of an element of type `Path`.
  [[nodiscard]] std::span<const CRPoint> pathOf(const Element& element) const noexcept;

  /// Of another vector; not a path.
  void addElement(const Element& element) { m_elements.push_back(element); }
  void addPoint(const CRPoint& at);
  void addLine(const CRPoint& from, const CRPoint& to);
  /// A closed path also joins its last point with its first. One of fewer than two points adds nothing.
  void addPath(std::span<const CRPoint> points, bool closed);
  void addArc(const CRArc& arc);
  void addCircle(const CRCircle& circle);
  /// An upright cross whose arms are `arm` long.
  void addCross(const CRPoint& at, double arm);

  /// Replaces what `out` holds by these elements, paths as their lines. `out` is another one.
  void breakInto(CRPolyVector* out) const;

 private:
  std::vector<Element> m_elements;
  std::vector<CRPoint> m_points;  // of paths
};

}  // namespace quillbay
