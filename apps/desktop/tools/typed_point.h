#pragma once
#include <QString>
#include <optional>

#include "quillbay/shapes.h"
#include "quillbay/units.h"

namespace desktop {

/// What typed coordinates count from, in the view's document (millimetres, y up).
struct TypedBasis {
  quillbay::CRPoint corner;               ///< the page's top left one
  std::optional<quillbay::CRPoint> last;  ///< the point that was fixed last
  quillbay::CRPoint pointer;
};

/// What a person typed: a place, or why it is none.
struct TypedPoint {
  std::optional<quillbay::CRPoint> at;
  QString why;
};

/// Reads a place, lengths in `unit` (null: mm) unless they have a unit of their own, numbers as the locale writes
/// them: "x;y" or "x y" from the page's corner, x to the right and y down; "@dx;dy" from the last point;
/// "length<angle" from the last point, in degrees anticlockwise from the right; a lone length from the last point
/// towards the pointer.
[[nodiscard]] TypedPoint readTypedPoint(const QString& text, const TypedBasis& basis, quillbay::ILinearUnit* unit);

/// What `readTypedPoint` understands, for a person.
[[nodiscard]] QString typedPointHelp();

}  // namespace desktop
