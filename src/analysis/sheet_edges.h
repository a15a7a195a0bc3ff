#pragma once
#include <optional>

#include "analysis/bound_stripes.h"
#include "analysis/sheet_outline.h"

namespace quillbay {

/// The sheet that a grey picture shows within about `reach` of where bounds were found, with its edges to parts of
/// a pixel. All in pixels of the picture; the bounds of `IBoundDetect` lie some pixels outside of the sheet, and
/// more of a sheet that lies askew, for straightening takes them for those of the sheet.
///
/// An edge is the first clear step towards the light on the way in. Each edge is looked for at many places along a
/// side; a side on which they do not agree, or beyond which the picture ends, stays where the bounds have it. A
/// sheet at the picture's end lasts as long as the picture. Nothing when less than two sides were found, or the
/// picture is bitonal.
[[nodiscard]] std::optional<Sheet> fitSheet(const BoundStripes& stripes, const KxRect& bounds, double angle,
                                            double reach);

}  // namespace quillbay
