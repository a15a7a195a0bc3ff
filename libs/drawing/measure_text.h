#pragma once
#include <string>

#include "quillbay/units.h"

/// Measures as a person reads them, in the user's locale. `unit` null: millimetres.
namespace quillbay::measure {

/// "12.34 mm"
[[nodiscard]] std::string length(double mm, ILinearUnit* unit);
/// "12.34", without the unit's name.
[[nodiscard]] std::string bareLength(double mm, ILinearUnit* unit);
/// "12.34 mm²"
[[nodiscard]] std::string area(double mm2, ILinearUnit* unit);
/// "53.13°", of radians
[[nodiscard]] std::string angle(double radians);

}  // namespace quillbay::measure
