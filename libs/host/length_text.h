#pragma once
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "quillbay/units.h"

namespace quillbay {

/// Reads a length of a script or a command line: digits with at most one decimal mark, then, optionally, a unit:
/// mm, cm, dm, m, in, ft, their names, and the marks ' and ". The decimal mark is a dot, or also a comma where
/// `decimalComma` says that users write one; digits are never grouped, so that "1.234" means the same everywhere.
/// Returns millimetres, a number without unit being in units of `factor` millimetres; nothing for what is no
/// length.
[[nodiscard]] std::optional<double> parseLength(std::string_view text, double factor, bool decimalComma);

/// The values that a field takes, in millimetres.
struct LengthRange {
  double least = -std::numeric_limits<double>::infinity();
  double most = std::numeric_limits<double>::infinity();
  [[nodiscard]] bool holds(double mm) const noexcept { return mm >= least && mm <= most; }
};

/// Reads a length that a user types into a field, as `parseLength`, and with groups of three digits: separated by
/// blanks, or by the mark that is not the locale's decimal mark. A dot with three digits behind it, where the
/// decimal mark is the comma, may be either: it groups when the range excludes the fraction, else the text is
/// ambiguous. An empty text is 0. The value is in millimetres.
[[nodiscard]] LengthReading readLength(std::string_view text, double factor, bool decimalComma,
                                       const LengthRange& range);

/// `value` with `decimals` digits after `point`, halves away from zero; never "-0", never grouped.
[[nodiscard]] std::string formatDecimal(double value, int decimals, char point);

}  // namespace quillbay
