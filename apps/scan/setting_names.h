#pragma once
#include <string>
#include <string_view>

/// Readable names of the panel's parameters and page keys, and the options that set them.
namespace setting_names {

/// "Resolution in dots per inch"; empty for a key that has none.
[[nodiscard]] std::string titleOf(std::string_view key);
/// "--resolution"; empty for a key that only --set reaches.
[[nodiscard]] std::string optionOf(std::string_view key);
/// The key of a short name ("brightness", "sharpen": the scan mode's own); other names are keys already.
[[nodiscard]] std::string keyOf(std::string_view name, int mode);
/// Whether a slider of the colour page sets the key; what the curves say counts in its place where they are chosen.
[[nodiscard]] bool isColourSlider(std::string_view key);
/// The text with every key that an option sets replaced by that option: what the panel says, for the user who has
/// typed options.
[[nodiscard]] std::string withOptions(std::string text);

}  // namespace setting_names
