#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace quillbay {

/// The label of a format's option, translated; of one that is not known its key, in words ("StripBytes" is
/// "Strip bytes").
[[nodiscard]] std::string formatOptionLabel(std::string_view key);
/// How a choice is shown, translated; one that is not known as it is.
[[nodiscard]] std::string formatChoiceText(std::string_view choice);
/// The colour spaces that a choice of a format's option is for, as bits; all bits for one that is not known.
[[nodiscard]] std::uint32_t formatChoiceColors(std::string_view format, std::string_view key,
                                               std::string_view choice);

}  // namespace quillbay
