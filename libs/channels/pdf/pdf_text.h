#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "channels/codec/module_support.h"

/// How values are written in a PDF.
namespace quillbay {

/// An object of the document: its number, above 0, and its generation.
struct PdfRef {
  int number = 0, generation = 0;
  bool operator==(const PdfRef&) const = default;
  [[nodiscard]] explicit operator bool() const noexcept { return number > 0; }
};

/// "12 0 R".
[[nodiscard]] std::string refText(PdfRef ref);
/// A length or a factor, at most ten decimals, without an exponent.
[[nodiscard]] std::string numberText(double value);
/// Bytes as a string of hexadecimal digits.
[[nodiscard]] std::string hexText(std::string_view bytes);
/// A text of the document's information: UTF-8 as PDF writes it, what is no UTF-8 left out.
[[nodiscard]] std::string textString(std::string_view utf8);
/// Text inside an XML element: characters that XML does not take are left out.
[[nodiscard]] std::string xmlText(std::string_view utf8);

/// A number in a field of fixed width that is known later: digits and blanks behind them.
inline constexpr std::size_t kNumberField = 19;
[[nodiscard]] std::string numberField(std::int64_t value);

/// "YYYY:MM:DD HH:MM:SS" as a PDF and as XMP have it; empty for other texts.
[[nodiscard]] std::string pdfDate(std::string_view dateTime);
[[nodiscard]] std::string xmpDate(std::string_view dateTime);

}  // namespace quillbay
