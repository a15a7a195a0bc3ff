#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>

#include "platform/base_services.h"

namespace quillbay {
namespace {

std::atomic<Translator> g_translator{nullptr};

constexpr char lowerAscii(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

/// from_chars takes no plus sign, but a user's "+1.5" is a number.
std::string_view withoutPlus(std::string_view text) noexcept {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+') text.remove_prefix(1);
  return text;
}

template <class Number>
bool parseWhole(std::string_view text, Number* value) {
  text = withoutPlus(text);
  Number parsed{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (error != std::errc{} || end != text.data() + text.size()) return false;
  *value = parsed;
  return true;
}

template <class Number>
std::string shortest(Number value) {
  std::array<char, 40> buffer{};  // the longest double needs 24
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), result.ptr};
}

}  // namespace

std::string Supp_Translate(std::string_view english) {
  const Translator translate = g_translator.load(std::memory_order_acquire);
  return translate ? translate(english) : std::string(english);
}

void SetTranslator(Translator translate) { g_translator.store(translate, std::memory_order_release); }

bool sameKey(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lowerAscii(x) == lowerAscii(y); });
}

std::string toLowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), lowerAscii);
  return lower;
}

std::string formatText(std::string_view pattern, const std::vector<std::string>& arguments) {
  std::string out;
  out.reserve(pattern.size() + 32 * arguments.size());
  std::size_t next = 0;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const bool isPlace =
        pattern[i] == '%' && i + 1 < pattern.size() && (pattern[i + 1] == 's' || pattern[i + 1] == 'd');
    if (isPlace && next < arguments.size()) {
      out += arguments[next++];  // never scanned again: a file name may hold "%s"
      ++i;
    } else {
      out += pattern[i];
    }
  }
  return out;
}

std::string toText(double value) { return shortest(value); }
std::string toText(std::int64_t value) { return shortest(value); }

bool parseNumber(std::string_view text, double* value) {
  double parsed = 0;
  // "inf" and "nan" are no lengths, speeds or angles.
  if (!parseWhole(text, &parsed) || !std::isfinite(parsed)) return false;
  *value = parsed;
  return true;
}

bool parseNumber(std::string_view text, std::int64_t* value) { return parseWhole(text, value); }

}  // namespace quillbay
