#pragma once
#include <optional>
#include <span>

#include "params/shared_scan_params.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// A found side may be this much longer than the paper's, in millimetres.
inline constexpr double kPaperToleranceMm = 1.0;

/// The smallest of all papers, in both orientations, that a document of the found size fits on; its sides as they
/// lie. Nothing when no paper is large enough. With `widthOnly` the widths alone count. Of equal ones the first.
[[nodiscard]] std::optional<tagRSIZE> smallestPaper(std::span<const PaperRecord> papers, const tagRSIZE& found,
                                                    bool widthOnly);

/// The area of a found document as that of a paper, about the found one's middle, and moved onto the bed where it
/// passes its left, upper or right edge. With `widthOnly` the length stays as found.
[[nodiscard]] tagRRECT snapToPaper(tagRRECT found, const tagRSIZE& paper, double bedWidth, bool widthOnly) noexcept;

/// The same on a flatbed, whose documents lie anywhere along it: moved onto the bed at its lower edge, too, while
/// the paper is no longer than the bed. A length of the bed of 0 is unknown.
[[nodiscard]] tagRRECT snapOnFlatbed(const tagRRECT& found, const tagRSIZE& paper, const tagRSIZE& bed,
                                     bool widthOnly) noexcept;

/// The area of a document of which a device pulled `pulledIn` millimetres in before the prescan began: it starts at
/// the top and ends that much later. The pulled-in part of a turned document reaches farther to one side; `angle`:
/// radians, as found.
[[nodiscard]] tagRRECT lengthenByMedia(tagRRECT found, double pulledIn, double angle) noexcept;

}  // namespace quillbay
