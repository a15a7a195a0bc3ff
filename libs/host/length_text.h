#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace quillbay {

/// Reads a length as people type it: digits with at most one decimal point, then, optionally, a unit: mm, cm, dm,
/// m, in, ft, their names, and the marks ' and ". The decimal point is a dot, or also a comma where `decimalComma`
/// says that people write one; digits are never grouped, so that "1.234" means the same everywhere. Answers
/// millimetres, a number without unit being in units of `factor` millimetres; nothing for what is no length.
[[nodiscard]] std::optional<double> parseLength(std::string_view text, double factor, bool decimalComma);

/// `value` with `decimals` digits after `point`, halves away from zero; never "-0", never grouped.
[[nodiscard]] std::string formatDecimal(double value, int decimals, char point);

}  // namespace quillbay
