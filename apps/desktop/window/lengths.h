#pragma once
#include <QString>

#include "quillbay/app.h"

namespace desktop {

/// Two lengths in millimetres in a unit, "12.3 × 45.6 mm" with `between` " × "; in the user's locale. Null: mm.
/// `isRough` leaves out what a list needs not show.
[[nodiscard]] QString lengthPair(quillbay::ILinearUnit* unit, double x, double y, const QString& between,
                                 bool isRough);

}  // namespace desktop
