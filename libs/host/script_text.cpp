#include "host/script_text.h"

#include <algorithm>

#include "platform/base_services.h"

namespace quillbay {
namespace {

constexpr std::string_view kBlanks = " \t";

[[noreturn]] void refuse(const std::string& file, int line, const char* what) {
  throw CXException(
      formatText(Supp_Translate("%s, line %d: %s. Write /COMMAND KEY:value KEY:\"value with blanks\"."),
                 {file, std::to_string(line), what}));
}

/// Takes the next "KEY:value" off `rest`.
std::pair<std::string, std::string> takeArgument(std::string_view& rest, const std::string& file, int line) {
  const auto colon = rest.find_first_of(": \t");
  if (colon == std::string_view::npos || rest[colon] != ':' || colon == 0) {
    refuse(file, line, "an argument without a key and a colon");
  }
  std::pair<std::string, std::string> argument{std::string(rest.substr(0, colon)), {}};
  rest.remove_prefix(colon + 1);
  if (rest.starts_with('"')) {
    const auto close = rest.find('"', 1);
    if (close == std::string_view::npos) refuse(file, line, "a value without its closing quote");
    argument.second = rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
  } else {
    const auto end = std::min(rest.find_first_of(kBlanks), rest.size());
    argument.second = rest.substr(0, end);
    rest.remove_prefix(end);
  }
  return argument;
}

void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

/// The next word of a program's line, from its first character on.
std::string takeRunWord(std::string_view& rest, const std::string& file, int line) {
  std::string word;
  while (!rest.empty() && kBlanks.find(rest.front()) == std::string_view::npos) {
    if (rest.front() != '"') {
      const auto end = std::min(rest.find_first_of(" \t\""), rest.size());
      word += rest.substr(0, end);
      rest.remove_prefix(end);
      continue;
    }
    const auto close = rest.find('"', 1);
    if (close == std::string_view::npos) refuse(file, line, "a value without its closing quote");
    word += rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
  }
  return word;
}

bool isRunKey(std::string_view line) {
  const auto key = line.substr(0, std::min(line.find_first_of(": \t\""), line.size()));
  if (key.size() == line.size() || line[key.size()] != ':') return false;
  return std::any_of(std::begin(kRunKeys), std::end(kRunKeys), [&](auto known) { return sameKey(key, known); });
}

void takeArguments(std::string_view line, const std::string& file, ScriptCommand* command) {
  const bool runs = sameKey(command->name, kRunCommand);
  for (skipBlanks(line); !line.empty(); skipBlanks(line)) {
    if (!runs || (command->words.empty() && isRunKey(line))) {
      command->arguments.push_back(takeArgument(line, file, command->line));
    } else {
      command->words.push_back(takeRunWord(line, file, command->line));
    }
  }
}

}  // namespace

std::string ScriptCommand::argument(std::string_view key) const {
  for (const auto& [argumentName, value] : arguments) {
    if (sameKey(argumentName, key)) return value;
  }
  return {};
}

std::vector<ScriptCommand> parseScript(std::string_view text, const std::string& file) {
  std::vector<ScriptCommand> commands;
  constexpr std::string_view kMark = "\xEF\xBB\xBF";  // that some editors begin a file with
  if (text.starts_with(kMark)) text.remove_prefix(kMark.size());
  for (int number = 1; !text.empty(); ++number) {
    const auto end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    skipBlanks(line);
    if (line.empty()) continue;
    if (!line.starts_with('/')) refuse(file, number, "a command begins with a slash");
    const auto nameEnd = std::min(line.find_first_of(kBlanks), line.size());
    ScriptCommand command{number, std::string(line.substr(0, nameEnd)), {}, {}};
    line.remove_prefix(nameEnd);
    takeArguments(line, file, &command);
    commands.push_back(std::move(command));
  }
  return commands;
}

}  // namespace quillbay
