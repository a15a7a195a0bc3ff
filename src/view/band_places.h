#pragma once
#include <vector>

#include "platform/poly_vector.h"

namespace quillbay {

/// Appends the places where two drawings differ, which are paths broken into lines: narrow rectangles along the
/// elements that one of them lacks, as far as they touch `visible`. Millimetres, top <= bottom.
/// @param pixel  millimetres of a pixel on the screen
void placesOfDifference(const CRPolyVector& before, const CRPolyVector& now, const CRRect& visible, double pixel,
                        std::vector<CRRect>* places);

/// Replaces what `out` holds by the elements of `drawing`, which has no paths, that may reach into an area.
void elementsIn(const CRPolyVector& drawing, const CRRect& area, CRPolyVector* out);

}  // namespace quillbay
