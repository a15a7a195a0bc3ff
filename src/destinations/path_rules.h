#pragma once
#include <functional>
#include <optional>
#include <string>

#include "destinations/macro_list.h"

namespace quillbay {

/// Why a folder or a path cannot be used, as a sentence for the user; empty when it can.
/// Characters that the path rules would replace (" * ? | and angle brackets that form no tag) are refused in a
/// folder, so that files never land beside the folder that was chosen.
[[nodiscard]] std::string folderProblem(const std::string& folder, const MacroList& macros);
/// Steps out of the output folder, and control characters.
[[nodiscard]] std::string maskProblem(const std::string& mask);
/// Backslashes, names longer than a file system takes (with the ".part" of a file that is being written), and paths
/// longer than the system takes.
[[nodiscard]] std::string pathProblem(const std::string& path);

/// Replaces " * ? < > | by "-"; slashes, backslashes and colons of the path stay.
[[nodiscard]] std::string replaceInvalid(std::string path);

/// A path that was pasted into the folder or mask field.
struct PastedPath {
  std::string folder;
  std::string mask;  ///< file name without extension; empty: the path was a folder's
};
/// The field that a text is pasted into.
enum class PasteField { Folder, Mask };
/// A text with question marks is a full path whose delimiters were lost in transit, they become backslashes. An
/// absolute path is one as well: a folder's when it ends with a delimiter, when the folder exists, or, in the
/// folder field, when it has no extension of a picture; else a file's. Nothing for any other text, which is pasted
/// as it is. `isPicture`: whether a format has this extension (with its dot).
[[nodiscard]] std::optional<PastedPath> splitPastedPath(
    const std::string& text, PasteField field, const std::function<bool(const std::string& extension)>& isPicture);

}  // namespace quillbay
