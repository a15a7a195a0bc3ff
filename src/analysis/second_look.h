#pragma once
#include <optional>

#include "analysis/bound_detect.h"

namespace quillbay {

/// What a second look at a prescan found. Pixels; right and bottom exclusive.
struct SecondLook {
  KxRect bounds;
  double angle = 0;  ///< radians; 0 without one
};

/// Looks for a document where bound detection found none, or less than all of it: at the highest sensitivity, along
/// the rows and along the columns, so that an edge that lies along one of them is found by the other. `wantsAngle`:
/// looks for the skew, too.
///
/// Looks at averages of areas where the picture is finer than 60 dpi, which takes out dirt; the edges are as
/// coarse. Needs the room of two such pictures.
[[nodiscard]] std::optional<SecondLook> lookAgain(const BoundStripes& stripes, const BoundServices& services,
                                                  bool wantsAngle);

/// Whether `first` leaves out a part of `second`, in pixels of the same picture, that is wider than what both may
/// be off.
[[nodiscard]] bool isLess(const KxRect& first, const KxRect& second) noexcept;
/// Whether both mean the same document: `second` lies within `first`, and no farther from its edges than bound
/// detection places them outside of the document, whose contrast begins some pixels before it.
[[nodiscard]] bool isNearer(const KxRect& first, const KxRect& second) noexcept;

}  // namespace quillbay
