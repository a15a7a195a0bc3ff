#pragma once
#include <QString>

namespace quillbay {

/// A form's text through the one translation function. The forms' generated code calls it in place of the toolkit's
/// own; `comment` is the designer's note to translators.
[[nodiscard]] QString formText(const char* english, const char* comment = nullptr);

}  // namespace quillbay
