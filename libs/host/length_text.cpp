#include "host/length_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <tuple>
#include <utility>
#include <vector>

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

constexpr std::array<std::string_view, 6> kBlanks{" ", "\t", "\r", "\n", "\u00a0", "\u202f"};

/// Without blanks at both ends; no-break spaces, wide and narrow, count as such.
std::string_view trimmed(std::string_view text) {
  for (bool changed = true; std::exchange(changed, false);) {
    for (const std::string_view blank : kBlanks) {
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

constexpr char kBlankMark = ' ';
constexpr char kQuoteMark = '\'';

/// Digits, with the mark before them: none before the first.
struct Part {
  char mark = 0;
  std::string digits;
};

/// A text taken apart: a sign, numbers with marks between them, and what stands behind, without blanks around it.
struct TypedLength {
  bool negative = false;
  std::vector<Part> parts;
  std::string_view unit;
};

/// The mark that a text starts with, and its length in bytes; 0 when there is none. A blank and the quote that some
/// locales group with are marks before a digit only.
std::pair<char, std::size_t> markAt(std::string_view text) {
  if (text.starts_with('.') || text.starts_with(',')) return {text.front(), 1};
  const auto isDigitAt = [text](std::size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '9'; };
  for (const std::string_view blank : kBlanks) {
    if (text.starts_with(blank)) return {kBlankMark, isDigitAt(blank.size()) ? blank.size() : 0};
  }
  constexpr std::string_view quote = "\u2019";
  return {kQuoteMark, text.starts_with(quote) && isDigitAt(quote.size()) ? quote.size() : 0};
}

std::string takeDigits(std::string_view& text) {
  const auto end = std::min(text.find_first_not_of("0123456789"), text.size());
  std::string digits(text.substr(0, end));
  text.remove_prefix(end);
  return digits;
}

/// Nothing when there is no digit.
std::optional<TypedLength> takeApart(std::string_view text) {
  text = trimmed(text);
  TypedLength typed;
  bool sign = false;
  for (const std::string_view minus : {std::string_view("-"), std::string_view("−")}) {
    if (sign || !text.starts_with(minus)) continue;
    typed.negative = sign = true;
    text.remove_prefix(minus.size());
  }
  if (!sign && text.starts_with('+')) text.remove_prefix(1);
  typed.parts.push_back({0, takeDigits(text)});
  for (auto [mark, bytes] = markAt(text); bytes > 0; std::tie(mark, bytes) = markAt(text)) {
    text.remove_prefix(bytes);
    typed.parts.push_back({mark, takeDigits(text)});
  }
  typed.unit = trimmed(text);
  const bool digits =
      std::any_of(typed.parts.begin(), typed.parts.end(), [](const Part& p) { return !p.digits.empty(); });
  return digits ? std::optional(std::move(typed)) : std::nullopt;
}

/// The number as a text with a dot, where `decimal` is the decimal mark and the other marks group; nothing when
/// they do not.
std::optional<std::string> numberText(const std::vector<Part>& parts, char decimal) {
  std::string text = parts.front().digits;
  char grouping = 0;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    const auto& [mark, digits] = parts[i];
    if (mark == decimal) {
      if (i + 1 != parts.size()) return std::nullopt;
      text += '.' + digits;
      continue;
    }
    const std::string& lead = parts.front().digits;
    if (grouping == 0) grouping = mark;
    if (mark != grouping || digits.size() != 3 || lead.empty() || lead.size() > 3 || lead.front() == '0')
      return std::nullopt;
    text += digits;
  }
  return text;
}

std::optional<double> millimetresOf(const TypedLength& typed, const std::string& number, double factor) {
  const auto unit = unitFactor(typed.unit, factor);
  double value = 0;
  if (!unit || !parseNumber(number, &value)) return std::nullopt;
  const double length = (typed.negative ? -value : value) * unit.value_or(0);
  return std::isfinite(length) ? std::optional(length) : std::nullopt;
}

/// What a text may mean.
struct Candidate {
  std::string number;
  double mm = 0;
};

std::optional<Candidate> candidateOf(const TypedLength& typed, char decimal, double factor) {
  auto number = numberText(typed.parts, decimal);
  if (!number) return std::nullopt;
  const auto mm = millimetresOf(typed, *number, factor);
  if (!mm) return std::nullopt;
  return Candidate{std::move(*number), *mm};
}

LengthReading lengthOf(double mm) { return {LengthReading::Kind::Length, mm, {}, {}}; }

/// "1.189" where a comma is the decimal mark: a fraction, or a thousand and 189.
LengthReading ambiguous(const TypedLength& typed, const std::string& fraction, const std::string& grouped) {
  const std::string sign = typed.negative ? "-" : "";
  const std::string unit = typed.unit.empty() ? std::string() : " " + std::string(typed.unit);
  LengthReading reading{LengthReading::Kind::Ambiguous, 0, sign + fraction + unit, sign + grouped + unit};
  std::replace(reading.first.begin(), reading.first.end(), '.', ',');
  return reading;
}

}  // namespace

std::optional<double> parseLength(std::string_view text, double factor, bool decimalComma) {
  const auto typed = takeApart(text);
  if (!typed || typed->parts.size() > 2) return std::nullopt;
  const char mark = typed->parts.back().mark;
  if (mark != 0 && mark != '.' && !(mark == ',' && decimalComma)) return std::nullopt;
  const auto number = numberText(typed->parts, mark);
  return number ? millimetresOf(*typed, *number, factor) : std::nullopt;
}

LengthReading readLength(std::string_view text, double factor, bool decimalComma, const LengthRange& range) {
  if (trimmed(text).empty()) return lengthOf(0);
  const auto typed = takeApart(text);
  if (!typed) return {};
  const auto grouped = candidateOf(*typed, decimalComma ? ',' : '.', factor);
  // A dot is taken for the decimal mark everywhere, unless commas stand beside it.
  const bool hasComma =
      std::any_of(typed->parts.begin(), typed->parts.end(), [](const Part& p) { return p.mark == ','; });
  const auto fraction = decimalComma && !hasComma ? candidateOf(*typed, '.', factor) : std::nullopt;
  if (!grouped) return fraction ? lengthOf(fraction->mm) : LengthReading{};
  const bool isOpen = fraction && fraction->mm != grouped->mm && range.holds(fraction->mm);
  return isOpen ? ambiguous(*typed, fraction->number, grouped->number) : lengthOf(grouped->mm);
}

std::string formatDecimal(double value, int decimals, char point) {
  if (!std::isfinite(value)) return {};
  decimals = std::clamp(decimals, 0, kMaxDecimals);
  const double scale = std::pow(10.0, decimals);
  // Rounded by hand: 0.125 shall read 0.13 for every user, where to_chars would return the even 0.12.
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
