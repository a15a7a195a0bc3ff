#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/param.h"

namespace quillbay {

enum class ScriptAction {
  Open,
  SaveAs,
  Close,
  Deskew,
  Crop,
  CropToDocument,
  Despeckle,
  Invert,
  Rotate,
  Autocorrect
};

/// A command of a script, checked.
struct ScriptStep {
  ScriptAction action = ScriptAction::Invert;
  int line = 0;              ///< from 1
  std::string name;          ///< as written: "/SaveAs"
  std::string file;          ///< of "/Open" and "/SaveAs": the whole path
  std::optional<double> by;  ///< degrees, clockwise when positive; of "/Despeckle" millimetres
  std::optional<tagRRECT> area;
  bool ignored = false;
  std::vector<std::pair<std::string, std::string>> arguments;  ///< as written

  /// What a log shows: "/Rotate ANGLE:90".
  [[nodiscard]] std::string text() const;
};

/// The name of an argument that says whether its command runs, and of the entry of the settings that does.
inline constexpr const char* kIgnoreCommand = "_ignore_command_";

/// Reads and checks all commands of a script. `file` is the script's path (its folder is where other relative names
/// start); `title` is how messages call it. `settings` are those of `IScriptSyntaxParam`.
/// Throws CXException that names the script, the line and the command for what is wrong.
[[nodiscard]] std::vector<ScriptStep> compileScript(std::string_view text, const std::string& file,
                                                    const std::string& title, IParam* settings);

/// Whether the settings say that a command ("Open") is not to be run.
[[nodiscard]] bool isIgnored(IParam* settings, std::string_view command);

/// The commands and their arguments: a sub-store for each command, therein one for each argument with "KeyWord",
/// "KeyName" and "Help".
[[nodiscard]] KxPtr<IParam> new_ScriptSyntax();

}  // namespace quillbay
