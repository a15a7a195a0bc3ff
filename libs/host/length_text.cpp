#include "host/length_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "platform/base_services.h"
#include "quillbay/geometry.h"

namespace quillbay {
namespace {

constexpr double kMmPerFoot = 12 * kMmPerInch;
constexpr int kMaxDecimals = 9;

struct UnitName {
  std::string_view name;
  double factor;  // millimetres
};
constexpr std::array kUnitNames{
    UnitName{"mm", 1},
    UnitName{"millimeter", 1},
    UnitName{"millimeters", 1},
    UnitName{"millimetre", 1},
    UnitName{"millimetres", 1},
    UnitName{"cm", 10},
    UnitName{"centimeter", 10},
    UnitName{"centimeters", 10},
    UnitName{"centimetre", 10},
    UnitName{"centimetres", 10},
    UnitName{"dm", 100},
    UnitName{"m", 1000},
    UnitName{"meter", 1000},
    UnitName{"meters", 1000},
    UnitName{"metre", 1000},
    UnitName{"metres", 1000},
    UnitName{"in", kMmPerInch},
    UnitName{"inch", kMmPerInch},
    UnitName{"inches", kMmPerInch},
    UnitName{"\"", kMmPerInch},
    UnitName{"''", kMmPerInch},
    UnitName{"″", kMmPerInch},
    UnitName{"ft", kMmPerFoot},
    UnitName{"foot", kMmPerFoot},
    UnitName{"feet", kMmPerFoot},
    UnitName{"'", kMmPerFoot},
    UnitName{"′", kMmPerFoot},
};

/// Without blanks at both ends; no-break spaces, wide and narrow, count as such.
std::string_view trimmed(std::string_view text) {
  constexpr std::array<std::string_view, 6> blanks{" ", "\t", "\r", "\n", "\u00a0", "\u202f"};
  for (bool changed = true; std::exchange(changed, false);) {
    for (const std::string_view blank : blanks) {
      const bool before = text.starts_with(blank), after = !before && text.ends_with(blank);
      if (before) text.remove_prefix(blank.size());
      if (after) text.remove_suffix(blank.size());
      changed = changed || before || after;
    }
  }
  return text;
}

std::optional<double> unitFactor(std::string_view name, double own) {
  if (name.empty()) return own;
  const auto* const found =
      std::find_if(kUnitNames.begin(), kUnitNames.end(), [&](const UnitName& u) { return sameKey(u.name, name); });
  return found == kUnitNames.end() ? std::nullopt : std::optional(found->factor);
}

}  // namespace

std::optional<double> parseLength(std::string_view text, double factor, bool decimalComma) {
  text = trimmed(text);
  std::string number;
  for (const std::string_view minus : {std::string_view("-"), std::string_view("−")}) {
    if (!text.starts_with(minus)) continue;
    number = "-";
    text.remove_prefix(minus.size());
    break;
  }
  if (number.empty() && text.starts_with('+')) text.remove_prefix(1);

  bool digits = false, point = false;
  std::size_t used = 0;
  for (; used < text.size(); ++used) {
    const char c = text[used];
    if (c >= '0' && c <= '9') {
      number += c;
      digits = true;
    } else if (!point && (c == '.' || (c == ',' && decimalComma))) {
      number += '.';
      point = true;
    } else {
      break;
    }
  }
  if (!digits) return std::nullopt;
  const auto mm = unitFactor(trimmed(text.substr(used)), factor);
  double value = 0;
  if (!mm || !parseNumber(number, &value) || !std::isfinite(value)) return std::nullopt;
  return value * *mm;
}

std::string formatDecimal(double value, int decimals, char point) {
  if (!std::isfinite(value)) return {};
  decimals = std::clamp(decimals, 0, kMaxDecimals);
  const double scale = std::pow(10.0, decimals);
  // Rounded by hand: 0.125 shall read 0.13 for everybody, where to_chars would answer the even 0.12.
  const double scaled = value * scale;
  const double rounded = std::abs(scaled) < 1e15 ? std::round(scaled) / scale : value;
  std::array<char, 400> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), rounded + 0.0,
                                          std::chars_format::fixed, decimals);
  std::string text(buffer.data(), error == std::errc() ? end : buffer.data());
  if (text.starts_with('-') && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
  if (const auto dot = text.find('.'); dot != std::string::npos) text[dot] = point;
  return text;
}

}  // namespace quillbay
