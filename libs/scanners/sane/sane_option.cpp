#include "scanners/sane/sane_option.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"

namespace quillbay {

namespace {

std::string textOf(const char* text) { return text ? text : ""; }

const char* unitText(SANE_Unit unit) {
  switch (unit) {
    case SANE_UNIT_PIXEL: return "px";
    case SANE_UNIT_BIT: return "bit";
    case SANE_UNIT_MM: return "mm";
    case SANE_UNIT_DPI: return "dpi";
    case SANE_UNIT_PERCENT: return "%";
    case SANE_UNIT_MICROSECOND: return "us";
    default: return "";
  }
}

UnitOptionType typeOf(SANE_Value_Type type) {
  switch (type) {
    case SANE_TYPE_BOOL: return UnitOptionType::Switch;
    case SANE_TYPE_INT: return UnitOptionType::WholeNumber;
    case SANE_TYPE_FIXED: return UnitOptionType::Number;
    case SANE_TYPE_BUTTON: return UnitOptionType::Button;
    default: return UnitOptionType::Text;
  }
}

// Fixed-point numbers carry no more than four digits.
std::string numberText(double number) { return toText(std::round(number * 10000) / 10000); }

std::string join(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text.append(text.empty() ? "" : ", ").append(part);
  return text;
}

void readConstraint(const SANE_Option_Descriptor& d, SaneOption* o) {
  switch (d.constraint_type) {
    case SANE_CONSTRAINT_RANGE:
      o->hasRange = true;
      o->min = fromWord(d.type, d.constraint.range->min);
      o->max = fromWord(d.type, d.constraint.range->max);
      o->step = fromWord(d.type, d.constraint.range->quant);
      break;
    case SANE_CONSTRAINT_WORD_LIST:
      for (SANE_Word i = 1; i <= d.constraint.word_list[0]; ++i)
        o->words.push_back(fromWord(d.type, d.constraint.word_list[i]));
      break;
    case SANE_CONSTRAINT_STRING_LIST:
      for (const SANE_String_Const* s = d.constraint.string_list; *s; ++s) o->strings.emplace_back(*s);
      break;
    default: break;
  }
}

void readValue(SANE_Handle handle, const SANE_Option_Descriptor& d, SaneOption* o) {
  if (!o->isActive() || !(d.cap & SANE_CAP_SOFT_DETECT) || d.size <= 0) return;
  if (d.type == SANE_TYPE_STRING) {
    std::string room(static_cast<std::size_t>(d.size) + 1, '\0');
    if (sane_control_option(handle, o->index, SANE_ACTION_GET_VALUE, room.data(), nullptr) == SANE_STATUS_GOOD)
      o->text = room.c_str();
  } else if (o->isNumber() || d.type == SANE_TYPE_BOOL) {
    std::vector<SANE_Word> room(static_cast<std::size_t>(d.size) / sizeof(SANE_Word));
    if (!room.empty() &&
        sane_control_option(handle, o->index, SANE_ACTION_GET_VALUE, room.data(), nullptr) == SANE_STATUS_GOOD)
      o->value = std::move(room);
  }
}

std::string wordText(const SaneOption& o, SANE_Word word) {
  if (o.type == SANE_TYPE_BOOL) return word ? "yes" : "no";
  return numberText(fromWord(o.type, word));
}

std::string allowedText(const SaneOption& o) {
  const UnitOption d = describeOption(o);
  if (!d.choices.empty()) return join(d.choices);
  if (!d.range.empty()) return d.range;
  return o.isNumber() ? "a number" : "any text";
}

bool refuse(const SaneOption& o, std::string_view text, std::string* why) {
  *why = formatText(Supp_Translate("\"%s\" is not a value of the option \"%s\"; allowed: %s"),
                    {std::string(text), o.name, allowedText(o)});
  return false;
}

bool parseFlag(std::string_view text, SANE_Word* out) {
  for (const char* yes : {"yes", "true", "on", "1"})
    if (sameKey(text, yes)) return *out = SANE_TRUE, true;
  for (const char* no : {"no", "false", "off", "0"})
    if (sameKey(text, no)) return *out = SANE_FALSE, true;
  return false;
}

bool parseNumbers(const SaneOption& o, std::string_view text, std::vector<SANE_Word>* out) {
  const std::size_t count = std::max<std::size_t>(static_cast<std::size_t>(o.size) / sizeof(SANE_Word), 1);
  for (;;) {
    const auto comma = text.find(',');
    double number = 0;
    if (!parseNumber(text.substr(0, comma), &number) || !o.allows(number)) return false;
    out->push_back(toWord(o.type, number));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  return out->size() == count;
}

}  // namespace

double fromWord(SANE_Value_Type type, SANE_Word word) noexcept {
  return type == SANE_TYPE_FIXED ? static_cast<double>(word) / (1 << SANE_FIXED_SCALE_SHIFT) : word;
}

SANE_Word toWord(SANE_Value_Type type, double number) noexcept {
  const double scaled = type == SANE_TYPE_FIXED ? number * (1 << SANE_FIXED_SCALE_SHIFT) : number;
  return static_cast<SANE_Word>(std::lround(std::clamp(scaled, -2147483648.0, 2147483647.0)));
}

double SaneOption::number() const noexcept { return value.empty() ? 0 : fromWord(type, value.front()); }

bool SaneOption::allows(double number) const noexcept {
  // A value that went through fixed-point numbers differs from the same number typed.
  constexpr double kTolerance = 1.0 / 65536;
  if (hasRange) return number >= min - kTolerance && number <= max + kTolerance;
  if (words.empty()) return true;
  return std::any_of(words.begin(), words.end(),
                     [&](double word) { return std::fabs(word - number) <= kTolerance; });
}

SaneOption readSaneOption(SANE_Handle handle, SANE_Int index, const SANE_Option_Descriptor& d) {
  SaneOption o;
  o.index = index;
  o.name = textOf(d.name);
  o.title = textOf(d.title);
  o.description = textOf(d.desc);
  o.type = d.type;
  o.unit = d.unit;
  o.size = d.size;
  o.cap = d.cap;
  readConstraint(d, &o);
  readValue(handle, d, &o);
  return o;
}

UnitOption describeOption(const SaneOption& o) {
  UnitOption d;
  d.name = o.name;
  d.title = o.title;
  d.description = o.description;
  d.unit = unitText(o.unit);
  d.type = typeOf(o.type);
  d.group = o.group;
  d.count = std::max(1, static_cast<int>(o.value.size()));
  d.advanced = (o.cap & SANE_CAP_ADVANCED) != 0;
  d.active = o.isActive();
  d.settable = o.isSettable();
  d.canBeAutomatic = o.canBeAutomatic() && o.isSettable();
  d.choices = o.strings;
  for (const double word : o.words) d.choices.push_back(numberText(word));
  if (o.type == SANE_TYPE_BOOL) d.choices = {"no", "yes"};
  if (o.hasRange) {
    d.range = numberText(o.min) + ".." + numberText(o.max);
    d.least = o.min;
    d.most = o.max;
    d.step = o.step;
    if (o.step > 0) d.range += " (in steps of " + numberText(o.step) + ")";
  }
  d.value = o.text;
  for (const SANE_Word word : o.value) d.value.append(d.value.empty() ? "" : ",").append(wordText(o, word));
  return d;
}

bool isAutomaticValue(const SaneOption& o, std::string_view text) {
  if (!o.canBeAutomatic() || !sameKey(text, kAutomaticValue)) return false;
  return std::none_of(o.strings.begin(), o.strings.end(), [&](const std::string& s) { return sameKey(s, text); });
}

bool parseSaneValue(const SaneOption& o, std::string_view text, SaneValue* out, std::string* why) {
  SaneValue value;
  if (isAutomaticValue(o, text)) {
    value.isAutomatic = true;
    *out = value;
    return true;
  }
  switch (o.type) {
    case SANE_TYPE_BOOL:
      value.words.resize(1);
      if (!parseFlag(text, value.words.data())) return refuse(o, text, why);
      break;
    case SANE_TYPE_INT:
    case SANE_TYPE_FIXED:
      if (!parseNumbers(o, text, &value.words)) return refuse(o, text, why);
      break;
    case SANE_TYPE_STRING: {
      const auto it =
          std::find_if(o.strings.begin(), o.strings.end(), [&](const std::string& s) { return sameKey(s, text); });
      if (!o.strings.empty() && it == o.strings.end()) return refuse(o, text, why);
      value.text = o.strings.empty() ? std::string(text) : *it;
      if (value.text.size() >= static_cast<std::size_t>(o.size)) return refuse(o, text, why);
      break;
    }
    default: break;  // a button is pressed, whatever the text
  }
  *out = std::move(value);
  return true;
}

}  // namespace quillbay
