#pragma once
#include <algorithm>
#include <string>
#include <string_view>

namespace quillbay {

inline constexpr int kMostCounterDigits = 8;

/// The format of a counter with so many digits (held to 1 to 8): "%.3d".
[[nodiscard]] inline std::string counterFormat(int digits) {
  return "%." + std::to_string(std::clamp(digits, 1, kMostCounterDigits)) + "d";
}

/// The digits of a counter's format; 0 for a text that is none.
[[nodiscard]] inline int digitsOfCounter(std::string_view format) noexcept {
  const bool fits = format.size() == 4 && format[0] == '%' && format[1] == '.' && format[2] >= '1' &&
                    format[2] <= '0' + kMostCounterDigits && format[3] == 'd';
  return fits ? format[2] - '0' : 0;
}

}  // namespace quillbay
