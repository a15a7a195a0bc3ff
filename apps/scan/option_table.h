#pragma once
#include <span>
#include <string>
#include <string_view>

#include "scan_options.h"

/// One option of the program. The parser, --help, the man page, the completion and the errors all come from this
/// table.
struct OptionRow {
  enum class Argument { None, Required, Optional };
  const char* name;  ///< without its dashes
  char letter;       ///< 0: none
  Argument argument;
  const char* value;  ///< the argument's name in the help; null without one
  const char* group;  ///< heading; null: not shown
  const char* help;
  /// Takes the value over. Answers what is wrong with it, empty for nothing.
  std::string (*apply)(ScanOptions& options, std::string_view value);
};

[[nodiscard]] std::span<const OptionRow> optionTable();
