#pragma once
#include <string>

/// Texts made from the option table.
namespace help_text {
[[nodiscard]] std::string help();  ///< in the user's language; the others are English
[[nodiscard]] std::string manPage(const std::string& version);
[[nodiscard]] std::string bashCompletion();
}  // namespace help_text
