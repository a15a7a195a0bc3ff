#pragma once
#include <optional>
#include <string>

#include "destinations/macro_list.h"

namespace quillbay {

/// Why a folder or a path cannot be used, as a sentence for a person; empty when it can.
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
/// A text with question marks is a full path whose delimiters were lost in transit, they become backslashes. An
/// absolute path is one as well. Nothing for any other text, which is pasted as it is.
[[nodiscard]] std::optional<PastedPath> splitPastedPath(const std::string& text);

}  // namespace quillbay
