#pragma once
#include <span>
#include <string>
#include <string_view>

#include "scan_options.h"

/// One option of the program. The parser, --help, the man page, the completion and the errors all come from this
/// table.
struct OptionRow {
  enum class Argument { None, Required, Optional, Two };
  const char* name;  ///< without its dashes
  char letter;       ///< 0: none
  Argument argument;
  const char* value;  ///< the argument's name in the help; null without one
  const char* group;  ///< heading, in English; null: not shown
  const char* help;   ///< in English
  /// Stores the value; two are parted by a line feed. Returns what is wrong with it, in the user's language; empty
  /// if nothing is.
  std::string (*apply)(ScanOptions& options, std::string_view value);
};

[[nodiscard]] std::span<const OptionRow> optionTable();
