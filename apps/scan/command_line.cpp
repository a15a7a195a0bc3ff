#include "command_line.h"

#include <algorithm>

#include "contradictions.h"
#include "failure.h"
#include "names.h"
#include "option_table.h"
#include "translated.h"

namespace {

using Argument = OptionRow::Argument;

[[noreturn]] void refuse(const std::string& text) { throw Failure(kUsage, text); }

std::vector<std::string> shownNames() {
  std::vector<std::string> list;
  for (const OptionRow& row : optionTable()) {
    if (row.group) list.push_back("--" + std::string(row.name));
  }
  return list;
}

const OptionRow& findLong(const std::string& name) {
  const auto table = optionTable();
  std::vector<const OptionRow*> found;
  std::vector<std::string> candidates;
  for (const OptionRow& row : table) {
    const std::string_view own = row.name;
    if (own == name) return row;
    if (row.group && own.starts_with(name) && !name.empty()) {
      found.push_back(&row);
      candidates.push_back("--" + std::string(own));
    }
  }
  if (found.size() == 1) return *found.front();
  if (!found.empty()) refuse(translated("\"--%s\" is not unique: %s", {name, names::joined(candidates)}));
  refuse(translated("unknown option \"--%s\"; %s", {name, names::allowed(shownNames(), "--" + name, "--help")}));
}

const OptionRow& findShort(char letter) {
  const auto table = optionTable();
  const auto found = std::find_if(table.begin(), table.end(), [&](const auto& s) { return s.letter == letter; });
  if (found != table.end()) return *found;
  std::string letters;
  for (const OptionRow& row : table) {
    if (row.letter) letters += std::string(letters.empty() ? "-" : ", -") + row.letter;
  }
  refuse(translated("unknown option \"-%s\"; available: %s; --help lists all", {std::string(1, letter), letters}));
}

/// Reads the arguments in turn.
class Reader {
 public:
  explicit Reader(const std::vector<std::string>& arguments) : m_arguments(arguments) {}

  /// Stores the first fault in `wrong` and reads on: a later --json decides how the fault is reported.
  ScanOptions read(std::string* wrong) {
    while (m_next < m_arguments.size()) {
      try {
        readOne(m_arguments[m_next++]);
      } catch (const Failure& failure) {
        if (wrong->empty()) *wrong = failure.what();
      }
    }
    return m_options;
  }

 private:
  void readOne(const std::string& argument) {
    if (argument.starts_with("--") && argument.size() > 2) {
      readLong(argument.substr(2));
    } else if (argument.starts_with("-") && argument.size() > 1 && argument != "--") {
      readShort(argument.substr(1));
    } else {
      refuse(translated("unexpected argument \"%s\"; write the output file after -o; --help lists the options",
                        {argument}));
    }
  }

  void readLong(const std::string& text) {
    const auto equals = text.find('=');
    const OptionRow& row = findLong(text.substr(0, equals));
    const std::string shown = "--" + std::string(row.name);
    const bool takesNext = row.argument == Argument::Required || row.argument == Argument::Two;
    if (equals != std::string::npos && row.argument == Argument::None)
      refuse(translated("\"%s\" takes no value", {shown}));
    std::string value;
    if (equals != std::string::npos)
      value = text.substr(equals + 1);
    else if (takesNext)
      value = nextValue(row, shown);
    if (row.argument == Argument::Two) value += '\n' + nextValue(row, shown);
    apply(row, shown, value);
  }

  void readShort(std::string text) {
    while (!text.empty()) {
      const OptionRow& row = findShort(text.front());
      const std::string shown = "-" + text.substr(0, 1);
      text.erase(0, 1);
      if (row.argument == Argument::None) {
        apply(row, shown, {});
        continue;
      }
      apply(row, shown, text.empty() ? nextValue(row, shown) : text);
      return;
    }
  }

  std::string nextValue(const OptionRow& row, const std::string& shown) {
    if (m_next == m_arguments.size()) refuse(translated("\"%s\" needs a value: %s", {shown, row.value}));
    return m_arguments[m_next++];
  }

  void apply(const OptionRow& row, const std::string& shown, const std::string& value) {
    const std::string wrong = row.apply(m_options, value);
    if (wrong.empty()) return;
    std::string typed = value.empty() ? shown : shown + " " + value;
    std::replace(typed.begin(), typed.end(), '\n', ' ');  // of two values
    refuse("\"" + typed + "\": " + wrong);
  }

  const std::vector<std::string>& m_arguments;
  std::size_t m_next = 0;
  ScanOptions m_options;
};

}  // namespace

ScanOptions parseCommandLine(const std::vector<std::string>& arguments, std::string* wrong) {
  ScanOptions options = Reader(arguments).read(wrong);
  if (wrong->empty()) *wrong = contradiction(options);
  return options;
}
