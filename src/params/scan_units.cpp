#include "params/scan_units.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>
#include <system_error>

#include "quillbay/geometry.h"

namespace quillbay {

namespace {

constexpr int kSimpleRoom = 32;

/// Copies as much of `text` as fits with its terminator; returns the whole text's length.
int copyText(std::string_view text, char* buffer, int size) {
  if (buffer && size > 0) {
    const auto n = std::min(text.size(), static_cast<std::size_t>(size - 1));
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
  }
  return static_cast<int>(text.size());
}

constexpr std::string_view kBlanks = " \t\r\n\v\f";

/// The decimal number that a text starts with, without words ("inf", "nan") and with one sign; its length in
/// characters, 0 when there is none that a double holds.
std::size_t leadingNumber(std::string_view text, double* value) {
  const std::size_t sign = text.starts_with('+') || text.starts_with('-') ? 1 : 0;
  const bool starts =
      text.size() > sign && std::string_view("0123456789.").find(text[sign]) != std::string_view::npos;
  if (!starts) return 0;
  const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
  double parsed = 0;
  const auto [end, error] = std::from_chars(begin, text.data() + text.size(), parsed);
  if (error != std::errc()) return 0;
  *value = parsed;
  return static_cast<std::size_t>(end - text.data());
}

}  // namespace

std::optional<double> readPlainNumber(std::string_view text) {
  const auto begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return 0.0;
  text = text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
  double value = 0;
  return leadingNumber(text, &value) == text.size() ? std::optional(value) : std::nullopt;
}

void CScanUnits::takeUnits(IStyleManager* styles) {
  m_millimetres = KxPtr<ILinearUnit>::adopt(styles->GetLinearUnit("mm"));
  m_inches = KxPtr<ILinearUnit>::adopt(styles->GetLinearUnit("inch"));
  select(m_index);
}

void CScanUnits::select(int index) {
  m_index = index != 0 ? 1 : 0;
  m_current = m_index ? m_inches : m_millimetres;
}

int CScanUnits::FormatValue(double value, char* buffer, int size) {
  return m_current ? m_current->FormatValue(value, buffer, size) : 0;
}

int CScanUnits::ParseValue(const char* text, double* value) {
  return m_current ? m_current->ParseValue(text, value) : 0;
}

int CScanUnits::FormatLength(double value, char* buffer, int size, int isLength) {
  if (!m_current) return copyText({}, buffer, size);
  if (isLength && m_index) value *= kInchPerMm;
  std::array<char, 512> number{};
  m_current->FormatPattern(value, m_index ? "0.0" : "0", number.data(), static_cast<int>(number.size()));
  return copyText(std::string(number.data()) + ' ' + m_current->GetName(), buffer, size);
}

int CScanUnits::ParseLength(const char* text, double* value, int isLength) {
  if (!m_current) return 0;
  double parsed = 0;
  const bool isEmpty = !text || std::string_view(text).find_first_not_of(kBlanks) == std::string_view::npos;
  if (!isEmpty && !m_current->ParseValue(text, &parsed)) return 0;
  *value = isLength && m_index ? parsed * kMmPerInch : parsed;
  return 1;
}

LengthReading CScanUnits::readLength(const std::string& text, double least, double most) {
  const double factor = m_index ? kMmPerInch : 1.0;
  if (const auto reader = query<ILengthReader>(m_current.get())) {
    LengthReading reading = reader->ReadLength(text.c_str(), least / factor, most / factor);
    reading.value *= factor;
    return reading;
  }
  LengthReading reading;
  if (ParseLength(text.c_str(), &reading.value, 1)) reading.kind = LengthReading::Kind::Length;
  return reading;
}

std::string CScanUnits::lengthText(double mm) {
  std::array<char, 128> text{};
  FormatLength(mm, text.data(), static_cast<int>(text.size()), 1);
  return text.data();
}

int CStdDecimalUnit::FormatValue(double value, char* buffer, int size) {
  return m_wrapped->FormatValue(std::fabs(value), buffer, size);
}

int CStdDecimalUnit::FormatPattern(double value, const char* pattern, char* buffer, int size) {
  return m_wrapped->FormatPattern(std::fabs(value), pattern, buffer, size);
}

int CSimpleUnit::FormatValue(double value, char* buffer, int size) {
  if (!buffer) return kSimpleRoom;
  std::array<char, 512> text{};
  const int decimals = m_kind == 0 || m_kind == 4 ? 0 : m_kind == 1 ? 6 : -1;
  std::size_t length = 0;
  if (decimals >= 0) {
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
    if (end.ec == std::errc()) length = static_cast<std::size_t>(end.ptr - text.data());
  }
  copyText({text.data(), length}, buffer, std::min(size, kSimpleRoom));
  return kSimpleRoom;
}

int CSimpleUnit::ParseValue(const char* text, double* value) {
  std::string_view rest = text ? text : "";
  const auto start = rest.find_first_not_of(kBlanks);
  rest = start == std::string_view::npos ? std::string_view{} : rest.substr(start);
  double parsed = 0;
  leadingNumber(rest, &parsed);
  *value = parsed;
  return 1;
}

int CSimpleUnit::FormatPair(const double* values, char* buffer, int size) {
  std::array<char, 1024> first{}, second{};
  FormatValue(values[0], first.data(), static_cast<int>(first.size()));
  FormatValue(values[1], second.data(), static_cast<int>(second.size()));
  return copyText(std::string(first.data()) + ", " + second.data(), buffer, size);
}

int CSimpleUnit::ParsePair(const char* text, double* values) {
  const std::string_view whole = text ? text : "";
  const auto comma = whole.find(',');
  if (comma == std::string_view::npos) return 0;
  const std::string first(whole.substr(0, comma)), second(whole.substr(comma + 1));
  if (first.empty()) {
    values[0] = 0;
    return 1;
  }
  ParseValue(first.c_str(), &values[0]);
  if (second.empty()) {
    values[1] = 0;
    return 1;
  }
  return ParseValue(second.c_str(), &values[1]);
}

}  // namespace quillbay
