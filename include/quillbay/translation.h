#pragma once
/// Every text that the panel and its programs show to users, in forms, messages and tooltips, passes through one
/// function. A host that installs a translator replaces all of them.
#include <string>
#include <string_view>

#include "quillbay/export.h"

namespace quillbay {

/// Gives the text to show for `english`, UTF-8 both; called on any thread, often while windows are made. Places
/// such as "%s" keep their order, a "&" marks the letter of a shortcut, and a help topic between dollar signs at
/// the end stays as it is.
using Translator = std::string (*)(std::string_view english);

/// Installs `translate` for the process; null restores English. Install it before the first panel is made: texts
/// on show are not fetched again. Not while other threads translate.
QUILLBAY_API void SetTranslator(Translator translate);

/// The translation of `english` by the installed translator.
[[nodiscard]] QUILLBAY_API std::string Supp_Translate(std::string_view english);

}  // namespace quillbay
