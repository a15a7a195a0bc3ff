#pragma once
#include <array>
#include <optional>

#include "quillbay/shapes.h"

/// The geometry of shapes in a document (y pointing up). Implemented by libs/geometry. No Qt.
namespace quillbay::shape {

[[nodiscard]] double distance(const CRPoint& a, const CRPoint& b) noexcept;
/// From the x axis to the direction from `from` to `to`: radians, anticlockwise, above -pi up to pi.
[[nodiscard]] double direction(const CRPoint& from, const CRPoint& to) noexcept;

/// The rectangle that two corners span: left <= right, top <= bottom.
[[nodiscard]] CRRect spanned(const CRPoint& a, const CRPoint& b) noexcept;
/// The circle through three points; none when they lie on a line, or so nearly that it is no circle in doubles.
[[nodiscard]] std::optional<CRCircle> circleThrough(const CRPoint& a, const CRPoint& b, const CRPoint& c) noexcept;

/// In mm2, positive when the points run anticlockwise; an open polygon counts as closed. The sum of the trapezoids
/// (shoelace formula) of points relative to the first one, so that places far from the origin lose no digits.
[[nodiscard]] double signedArea(const CRPolygon& polygon) noexcept;
/// The length of all segments.
[[nodiscard]] double perimeter(const CRPolygon& polygon) noexcept;

/// From `origin` on, anticlockwise.
[[nodiscard]] std::array<CRPoint, 4> corners(const CRFrame& frame) noexcept;
/// The frame on the base line from `from` to `to` that reaches as far as `third`, on whichever side it lies: its
/// angle is that of the base line. None for a base without length.
[[nodiscard]] std::optional<CRFrame> frameOver(const CRPoint& from, const CRPoint& to,
                                               const CRPoint& third) noexcept;

/// `at` moved to the nearest direction from `origin` that is a multiple of 45 degrees, to its foot there.
[[nodiscard]] CRPoint heldTo45(const CRPoint& origin, const CRPoint& at) noexcept;

/// The part of a segment that lies in a rectangle (top <= bottom); none when it does not touch it.
[[nodiscard]] std::optional<CRLine> clipped(const CRLine& line, const CRRect& area) noexcept;

}  // namespace quillbay::shape
