#include "destinations/macro_item.h"

#include <locale.h>  // newlocale
#include <clocale>
#include <ctime>
#include <memory>

#include "platform/base_services.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

struct FreeLocale {
  using pointer = locale_t;
  void operator()(locale_t locale) const noexcept { freelocale(locale); }
};

/// A locale of its own per call: the process's may be another one, and is never switched.
std::unique_ptr<locale_t, FreeLocale> timeLocale(const std::string& name) {
  std::unique_ptr<locale_t, FreeLocale> locale(newlocale(LC_TIME_MASK | LC_CTYPE_MASK, name.c_str(), nullptr));
  if (!locale) locale.reset(newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "C.UTF-8", nullptr));
  return locale;
}

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/// What stands between two numbers of a date or time, e.g. '.' or ':'; 0 when it is no ASCII punctuation.
char separatorOf(const std::string& text) noexcept {
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    const char c = text[i];
    const bool punctuation = c > ' ' && static_cast<unsigned char>(c) < 0x7f && !isDigit(c) &&
                             !(c >= 'A' && c <= 'Z') && !(c >= 'a' && c <= 'z');
    if (punctuation && isDigit(text[i - 1]) && (isDigit(text[i + 1]) || text[i + 1] == ' ')) return c;
  }
  return 0;
}

}  // namespace

const std::string& CIMacroItem::keep(std::string value) {
  for (char& c : value)
    if (std::string_view("\\\"*?<>|:/").find(c) != std::string_view::npos) c = '-';
  m_last = std::move(value);
  return m_last;
}

std::string CUserMacro::GetTag() const { return Supp_Translate("<USER>"); }
std::string CCounterMacro::GetTag() const { return Supp_Translate("<COUNTER>"); }
std::string CTimeMacro::GetTag() const { return Supp_Translate("<TIME>"); }
std::string CDateMacro::GetTag() const { return Supp_Translate("<DATE>"); }
std::string CModeMacro::GetTag() const { return Supp_Translate("<COLORSPACE>"); }
std::string CDPIMacro::GetTag() const { return Supp_Translate("<DPI>"); }
std::string CPaperMacro::GetTag() const { return Supp_Translate("<SIZE>"); }

const std::string& CCounterMacro::GetValue(const NameContext& context) {
  return keep(formatCounter(context.values.counterFormat, context.values.counter));
}

const std::string& CTimeMacro::GetValue(const NameContext& context) {
  return keep(localeTime(context.moment, "%X", context.locale));
}

const std::string& CDateMacro::GetValue(const NameContext& context) {
  return keep(localeTime(context.moment, "%x", context.locale));
}

const std::string& CModeMacro::GetValue(const NameContext& context) {
  switch (context.values.currMode) {
    case kModeBwThreshold:
    case kModeBwAdaptive:
    case kModeBwCopyNormal:
    case kModeBwCopyPhoto:
    case kModeBwCopyAdaptive: return keep(loadString(kTextBw));
    case kModeGrey: return keep(loadString(kTextGreyScale));
    case kModePalette: return keep(loadString(kTextPalette));
    case kModeRgb: return keep(loadString(kTextRgb));
    default: return last();
  }
}

const std::string& CDPIMacro::GetValue(const NameContext& context) {
  return keep(toText(static_cast<std::int64_t>(context.values.dpi)));
}

const std::string& CPaperMacro::GetValue(const NameContext& context) { return keep(context.sizeText); }

bool isCounterFormat(std::string_view format) noexcept {
  return format.size() == 4 && format[0] == '%' && format[1] == '.' && format[2] >= '1' && format[2] <= '8' &&
         format[3] == 'd';
}

std::string formatCounter(std::string_view format, std::int32_t counter) {
  const auto digits = static_cast<std::size_t>(isCounterFormat(format) ? format[2] - '0' : 3);
  const std::int64_t wide = counter;
  std::string number = toText(wide < 0 ? -wide : wide);
  if (number.size() < digits) number.insert(0, digits - number.size(), '0');
  return wide < 0 ? '-' + number : number;
}

std::string localeTime(std::int64_t moment, const char* pattern, const std::string& locale) {
  const auto when = static_cast<std::time_t>(moment);
  std::tm local{};
  if (!localtime_r(&when, &local)) return {};
  const auto chosen = timeLocale(locale);
  if (!chosen) return {};
  char buffer[128];
  std::string text(buffer, strftime_l(buffer, sizeof buffer, pattern, &local, chosen.get()));
  if (const char separator = separatorOf(text))
    for (char& c : text)
      if (c == separator) c = '-';
  return text;
}

}  // namespace quillbay
