#pragma once
#include <string>

namespace quillbay {

/// The two parts of a button's text: "prompt\ntip".
struct ButtonText {
  std::string prompt;  ///< for a status line, and for screen readers
  std::string tip;     ///< what the tooltip shows; empty: there is none
};

/// The most bytes of a tip, with the zero that ends it.
inline constexpr int kTipBuffer = 260;

/// Splits a text at its first line break. Without one it is all prompt. A longer tip is cut between characters.
[[nodiscard]] ButtonText splitButtonText(const std::string& text);

}  // namespace quillbay
