#include "channels/pdf/pdf_text.h"

#include <charconv>

namespace quillbay {
namespace {

constexpr char32_t kNoCharacter = 0xffffffff;
constexpr int kDecimals = 10;

/// Takes one character of UTF-8 from the front; `kNoCharacter` for bytes that are none.
char32_t takeCharacter(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  text.remove_prefix(1);
  if (first < 0x80) return first;
  const std::size_t more = first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : 1;
  if (first < 0xc2 || first > 0xf4 || text.size() < more) return kNoCharacter;
  char32_t c = first & (0x3fU >> more);
  for (std::size_t i = 0; i < more; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xc0) != 0x80) return kNoCharacter;
    c = c << 6 | (byte & 0x3fU);
  }
  text.remove_prefix(more);
  const bool isShortest = c >= (more == 3 ? 0x10000U : more == 2 ? 0x800U : 0x80U);
  const bool isSurrogate = c >= 0xd800 && c < 0xe000;
  return isShortest && !isSurrogate && c < 0x110000 ? c : kNoCharacter;
}

/// Whether XML 1.0 takes it; the document's information is held to the same, since both must say the same.
bool isText(char32_t c) {
  return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c != 0xfffe && c != 0xffff && c != kNoCharacter);
}

void appendUtf8(std::string& out, char32_t c) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | (c >> shift & 0x3f)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xc0 | c >> 6);
    tail(0);
  } else if (c < 0x10000) {
    out += static_cast<char>(0xe0 | c >> 12);
    tail(6), tail(0);
  } else {
    out += static_cast<char>(0xf0 | c >> 18);
    tail(12), tail(6), tail(0);
  }
}

bool isDate(std::string_view text) {
  constexpr std::string_view kForm = "dddd:dd:dd dd:dd:dd";
  if (text.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == 'd' ? !isDigit : text[i] != kForm[i]) return false;
  }
  return true;
}

}  // namespace

std::string refText(PdfRef ref) { return std::to_string(ref.number) + ' ' + std::to_string(ref.generation) + " R"; }

std::string numberText(double value) {
  char digits[400];
  const auto [end, error] =
      std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, kDecimals);
  std::string text(digits, error == std::errc{} ? end : digits);
  if (text.find('.') == std::string::npos) return text;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string hexText(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "<";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text + '>';
}

std::string textString(std::string_view utf8) {
  std::string wide = "\xfe\xff";  // the mark of UTF-16, high byte first
  const auto put = [&wide](char32_t unit) {
    wide += static_cast<char>(unit >> 8);
    wide += static_cast<char>(unit & 255);
  };
  while (!utf8.empty()) {
    const char32_t c = takeCharacter(utf8);
    if (!isText(c)) continue;
    if (c < 0x10000) {
      put(c);
    } else {
      put(0xd800 + ((c - 0x10000) >> 10));
      put(0xdc00 + ((c - 0x10000) & 0x3ff));
    }
  }
  return hexText(wide);
}

std::string xmlText(std::string_view utf8) {
  std::string text;
  while (!utf8.empty()) {
    const char32_t c = takeCharacter(utf8);
    if (!isText(c)) continue;
    switch (c) {
      case '&': text += "&amp;"; break;
      case '<': text += "&lt;"; break;
      case '>': text += "&gt;"; break;
      case '\r': text += "&#13;"; break;
      default: appendUtf8(text, c);
    }
  }
  return text;
}

std::string numberField(std::int64_t value) {
  std::string text = std::to_string(value);
  text.resize(std::max(kNumberField, text.size()), ' ');
  return text;
}

std::string pdfDate(std::string_view dateTime) {
  if (!isDate(dateTime)) return {};
  std::string text = "D:";
  for (const char c : dateTime) {
    if (c != ':' && c != ' ') text += c;
  }
  return text;
}

std::string xmpDate(std::string_view dateTime) {
  if (!isDate(dateTime)) return {};
  std::string text(dateTime);
  text[4] = text[7] = '-';
  text[10] = 'T';
  return text;
}

}  // namespace quillbay
