#pragma once
#include "quillbay/shapes.h"

namespace desktop {

/// The area of what belongs to a closed outline: of one that crosses itself the parts with an odd number of
/// crossings to the outside, as tools fill it. In squares of the places' unit. Takes time as n log n for outlines
/// whose segments are short beside the whole, up to n^2 for others.
[[nodiscard]] double outlineArea(const quillbay::CRPolygon& outline);

}  // namespace desktop
