#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/param.h"
#include "quillbay/scan_keys.h"

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
  Autocorrect,
  Run
};

/// A program that a script runs ("/Run"). Its words may hold places: `%i` the file with the page, `%o` the file
/// that becomes the page, `%b` the page's own file without its extension, `%%` a percent sign.
struct ScriptProgram {
  std::vector<std::string> words;       ///< the program first; not empty
  int limit = 0;                        ///< seconds; 0: that of the settings
  std::string in = "tif", out = "tif";  ///< extensions of `%i` and `%o`
  /// Whether a word has the place of this letter.
  [[nodiscard]] bool uses(char place) const;
};

/// A command of a script, checked.
struct ScriptStep {
  ScriptAction action = ScriptAction::Invert;
  int line = 0;              ///< from 1
  std::string name;          ///< as written: "/SaveAs"
  std::string file;          ///< of "/Open" and "/SaveAs": the whole path
  std::optional<double> by;  ///< degrees, clockwise when positive; of "/Despeckle" millimetres
  std::optional<tagRRECT> area;
  ScriptProgram program;  ///< of "/Run"
  bool ignored = false;
  std::vector<std::pair<std::string, std::string>> arguments;  ///< as written

  /// What a log shows: "/Rotate ANGLE:90".
  [[nodiscard]] std::string text() const;
};

/// The name of an argument that says whether its command runs, and of the entry of the settings that does.
inline constexpr const char* kIgnoreCommand = script_key::IgnoreCommand;

/// Reads and checks all commands of a script. `file` is the script's path (its folder is where other relative names
/// start); `title` is how messages call it. `settings` are those of `IScriptSyntaxParam`.
/// Throws CXException that names the script, the line and the command for what is wrong; nothing else, whatever the
/// bytes are.
[[nodiscard]] std::vector<ScriptStep> compileScript(std::string_view text, const std::string& file,
                                                    const std::string& title, IParam* settings);

/// A word of a program's line with what stands for its places; `file` gets the letter.
[[nodiscard]] std::string fillPlaces(const std::string& word, const std::function<std::string(char)>& file);

/// Whether the settings say that a command ("Open") is not to be run.
[[nodiscard]] bool isIgnored(IParam* settings, std::string_view command);

/// The commands and their arguments: a sub-store for each command, therein one for each argument with "KeyWord",
/// "KeyName" and "Help".
[[nodiscard]] KxPtr<IParam> new_ScriptSyntax();

}  // namespace quillbay
