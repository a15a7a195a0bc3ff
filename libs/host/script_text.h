#pragma once
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/scan_keys.h"

namespace quillbay {

/// One command of a script.
struct ScriptCommand {
  int line = 0;      ///< from 1
  std::string name;  ///< "/SaveAs"
  /// In the order of the script; names as written, without their colon.
  std::vector<std::pair<std::string, std::string>> arguments;
  /// Of "/Run": the program and its arguments, quotes removed.
  std::vector<std::string> words;
  /// The argument of a name (without regard to case), or empty.
  [[nodiscard]] std::string argument(std::string_view key) const;
};

/// The command that runs a program: after arguments with one of `kRunKeys`, the rest of its line are words,
/// separated by blanks. A part of a word in double quotes keeps its blanks.
inline constexpr std::string_view kRunCommand = "/Run";
inline constexpr std::string_view kRunKeys[] = {"LIMIT", "IN", "OUT", script_key::IgnoreCommand,
                                                script_key::DontProcessErrors};

/// Reads a script: a command a line, "/NAME KEY:value KEY:"value with blanks"". Lines end in LF or CR LF; empty
/// ones are skipped. Throws CXException that names `file` and the line for what is no command. Safe on any bytes.
[[nodiscard]] std::vector<ScriptCommand> parseScript(std::string_view text, const std::string& file);

}  // namespace quillbay
