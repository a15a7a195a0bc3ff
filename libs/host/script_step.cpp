#include "host/script_step.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/script_text.h"
#include "platform/base_services.h"

namespace quillbay {
namespace {

constexpr double kMaxMm = 1e6, kMaxSpeckMm = 10, kMaxDeskew = 45, kMaxTurn = 36000;
constexpr double kMaxLimit = 86400;  // seconds
constexpr std::string_view kPlaces = "iob%";

struct Key {
  const char* name;
  const char* help;
};

struct Rule {
  const char* name;
  ScriptAction action;
  bool obeysSettings;  // a batch may have the host leave it out
  std::array<Key, 4> keys;
};

constexpr Rule kRules[] = {
    {"Open", ScriptAction::Open, true, {{{"FNAME", "picture file to work on"}}}},
    {"SaveAs", ScriptAction::SaveAs, true, {{{"FNAME", "picture file to write"}}}},
    {"Close", ScriptAction::Close, true, {}},
    {"Deskew", ScriptAction::Deskew, false, {{{"ANGLE", "degrees clockwise; default: the detected skew"}}}},
    {"Crop",
     ScriptAction::Crop,
     false,
     {{{"LEFT", "mm"}, {"TOP", "mm"}, {"WIDTH", "mm; default: the detected content"}, {"HEIGHT", "mm"}}}},
    {"CropToDocument", ScriptAction::CropToDocument, false, {}},
    {"Despeckle", ScriptAction::Despeckle, false, {{{"SIZE", "mm, the largest speck that is removed"}}}},
    {"Invert", ScriptAction::Invert, false, {}},
    {"Rotate", ScriptAction::Rotate, false, {{{"ANGLE", "degrees clockwise"}}}},
    {script_key::Autocorrect, ScriptAction::Autocorrect, false, {}},
    {"Run",
     ScriptAction::Run,
     false,
     {{{"LIMIT", "seconds that the program may take"},
       {"IN", "extension of the file %i; default: tif"},
       {"OUT", "extension of the file %o; default: tif"}}}},
};

/// What every command may carry.
constexpr Key kCommon[] = {{kIgnoreCommand, "1: the command is skipped; 0: it runs regardless of the settings"},
                           {script_key::DontProcessErrors, "1: a failure is not listed"}};

/// A command with the words for what is wrong with it.
class Checker {
 public:
  Checker(const ScriptCommand& command, const std::string& title) : m_command(command), m_title(title) {}

  [[noreturn]] void refuse(const std::string& why) const {
    throw CXException(formatText(Supp_Translate("%s, line %d: %s: %s"),
                                 {m_title, toText(std::int64_t{m_command.line}), m_command.name, why}));
  }
  [[nodiscard]] const std::string* find(std::string_view key) const {
    for (const auto& [name, value] : m_command.arguments) {
      if (sameKey(name, key)) return &value;
    }
    return nullptr;
  }
  [[nodiscard]] std::optional<double> number(const char* key, double least, double most) const {
    const std::string* text = find(key);
    if (!text) return {};
    double value = 0;
    if (!parseNumber(*text, &value) || !(value >= least && value <= most)) {
      refuse(formatText(Supp_Translate("%s is \"%s\"; write a number from %s to %s, with a decimal point"),
                        {key, *text, toText(least), toText(most)}));
    }
    return value;
  }
  [[nodiscard]] std::optional<bool> flag(const char* key) const {
    const std::string* text = find(key);
    if (!text) return {};
    if (*text != "0" && *text != "1") refuse(formatText(Supp_Translate("%s is 0 or 1"), {key}));
    return *text == "1";
  }
  void checkKeys(const Rule& rule) const {
    for (const auto& [name, value] : m_command.arguments) {
      const auto same = [&key = name](const Key& k) { return k.name && sameKey(k.name, key); };
      if (std::none_of(rule.keys.begin(), rule.keys.end(), same) &&
          std::none_of(std::begin(kCommon), std::end(kCommon), same)) {
        refuse(formatText(Supp_Translate("it has no argument %s"), {name}));
      }
    }
  }

 private:
  const ScriptCommand& m_command;
  const std::string& m_title;
};

std::string listCommands() {
  std::string all;
  for (const Rule& rule : kRules) all += std::string(all.empty() ? "/" : ", /") + rule.name;
  return all;
}

const Rule& ruleOf(const ScriptCommand& command, const Checker& check) {
  for (const Rule& rule : kRules) {
    if (sameKey(std::string_view(command.name).substr(1), rule.name)) return rule;
  }
  check.refuse(formatText(Supp_Translate("unknown command; available: %s"), {listCommands()}));
}

std::string wholePath(const Checker& check, const std::string& script) {
  const std::string* name = check.find("FNAME");
  if (!name || name->empty()) check.refuse(Supp_Translate("FNAME must name a file"));
  const std::string path = fio::expandHome(*name);
  return path.starts_with('/') ? path : fio::folderOf(script) + path;
}

std::optional<tagRRECT> cropArea(const Checker& check) {
  const auto left = check.number("LEFT", 0, kMaxMm), top = check.number("TOP", 0, kMaxMm);
  const auto width = check.number("WIDTH", 0, kMaxMm), height = check.number("HEIGHT", 0, kMaxMm);
  if (!left && !top && !width && !height) return {};
  if (!width || !height || *width <= 0 || *height <= 0) {
    check.refuse(Supp_Translate("a rectangle needs WIDTH and HEIGHT above 0"));
  }
  const double x = left.value_or(0), y = top.value_or(0);
  return tagRRECT{x, y, x + *width, y + *height};
}

std::string extensionFor(const Checker& check, const char* key) {
  const std::string* text = check.find(key);
  if (!text) return "tif";
  const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
  std::string name = toLowerAscii(*text);
  if (name.empty() || name.size() > 8 || !std::all_of(name.begin(), name.end(), isPlain)) {
    check.refuse(formatText(Supp_Translate("%s is the extension of a picture file, such as tif or png"), {key}));
  }
  return name;
}

/// The letters that follow the percent signs of a word.
template <class F>
void eachPlace(std::string_view word, F&& take) {
  for (auto at = word.find('%'); at != std::string_view::npos; at = word.find('%', at + 2))
    take(at + 1 < word.size() ? word[at + 1] : '\0');
}

ScriptProgram programOf(const Checker& check, const ScriptCommand& command, const std::string& script) {
  ScriptProgram program;
  program.words = command.words;
  if (program.words.empty() || program.words.front().empty())
    check.refuse(Supp_Translate("write the program and its arguments after it"));
  std::string& name = program.words.front();
  name = fio::expandHome(name);
  if (!name.starts_with('/') && name.find('/') != std::string::npos) name = fio::folderOf(script) + name;
  for (const std::string& word : program.words) {
    if (word.find('\0') != std::string::npos) check.refuse(Supp_Translate("a word holds a zero byte"));
    eachPlace(word, [&](char place) {
      if (place == '\0' || kPlaces.find(place) == std::string_view::npos) {
        check.refuse(formatText(
            Supp_Translate("\"%s\": after a percent sign stands i, o, b, or another percent sign"), {word}));
      }
    });
  }
  program.limit = static_cast<int>(check.number("LIMIT", 1, kMaxLimit).value_or(0));
  program.in = extensionFor(check, "IN");
  program.out = extensionFor(check, "OUT");
  return program;
}

ScriptStep compileStep(const ScriptCommand& command, const std::string& file, const std::string& title,
                       IParam* settings) {
  const Checker check(command, title);
  const Rule& rule = ruleOf(command, check);
  check.checkKeys(rule);
  (void)check.flag(script_key::DontProcessErrors);
  ScriptStep step;
  step.action = rule.action;
  step.line = command.line;
  step.name = command.name;
  step.arguments = command.arguments;
  step.ignored = check.flag(kIgnoreCommand).value_or(rule.obeysSettings && isIgnored(settings, rule.name));
  switch (rule.action) {
    case ScriptAction::Open:
    case ScriptAction::SaveAs: step.file = wholePath(check, file); break;
    case ScriptAction::Deskew: step.by = check.number("ANGLE", -kMaxDeskew, kMaxDeskew); break;
    case ScriptAction::Crop: step.area = cropArea(check); break;
    case ScriptAction::Despeckle:
      step.by = check.number("SIZE", 0, kMaxSpeckMm);
      if (step.by && *step.by <= 0) check.refuse(Supp_Translate("SIZE must be above 0"));
      break;
    case ScriptAction::Rotate:
      step.by = check.number("ANGLE", -kMaxTurn, kMaxTurn);
      if (!step.by) check.refuse(Supp_Translate("ANGLE is missing; give it in degrees, clockwise"));
      break;
    case ScriptAction::Run: step.program = programOf(check, command, file); break;
    case ScriptAction::Close:
    case ScriptAction::CropToDocument:
    case ScriptAction::Invert:
    case ScriptAction::Autocorrect: break;
  }
  return step;
}

}  // namespace

std::string ScriptStep::text() const {
  const auto quoted = [](const std::string& value) {
    const bool needs = value.empty() || value.find_first_of(" \t") != std::string::npos;
    return needs ? "\"" + value + "\"" : value;
  };
  std::string all = name;
  for (const auto& [key, value] : arguments) all.append(" ").append(key).append(":").append(quoted(value));
  for (const std::string& word : program.words) {
    const bool isLikeKey = word.find(':') != std::string::npos;
    all.append(" ").append(isLikeKey ? "\"" + word + "\"" : quoted(word));
  }
  return all;
}

bool ScriptProgram::uses(char place) const {
  bool found = false;
  for (const std::string& word : words) eachPlace(word, [&](char letter) { found = found || letter == place; });
  return found;
}

std::string fillPlaces(const std::string& word, const std::function<std::string(char)>& file) {
  std::string filled;
  for (std::size_t at = 0; at < word.size(); ++at) {
    const bool isPlace = word[at] == '%' && at + 1 < word.size();
    if (!isPlace) {
      filled += word[at];
    } else if (const char letter = word[++at]; letter == '%') {
      filled += '%';
    } else {
      filled += file(letter);
    }
  }
  return filled;
}

std::vector<ScriptStep> compileScript(std::string_view text, const std::string& file, const std::string& title,
                                      IParam* settings) {
  std::vector<ScriptStep> steps;
  for (const ScriptCommand& command : parseScript(text, title)) {
    steps.push_back(compileStep(command, file, title, settings));
  }
  return steps;
}

bool isIgnored(IParam* settings, std::string_view command) {
  const auto entries = settings ? KxPtr<IParam>::adopt(settings->GetSubStore(command, 0)) : KxPtr<IParam>{};
  if (!entries) return false;
  for (const std::string& name : entries->GetSubStores()) {
    const auto entry = KxPtr<IParam>::adopt(entries->GetSubStore(name, 0));
    if (entry && sameKey(paramString(entry.get(), script_key::KeyWord), kIgnoreCommand)) {
      return paramInt(entry.get(), kIgnoreCommand) != 0;
    }
  }
  return false;
}

KxPtr<IParam> new_ScriptSyntax() {
  auto syntax = new_MemParam();
  for (const Rule& rule : kRules) {
    const auto command = KxPtr<IParam>::adopt(syntax->GetSubStore(rule.name, 1));
    for (const Key& key : rule.keys) {
      if (!key.name) continue;
      const auto entry = KxPtr<IParam>::adopt(command->GetSubStore(key.name, 1));
      entry->SetValue(script_key::KeyWord, key.name);
      entry->SetValue(script_key::KeyName, key.name);
      entry->SetValue("Help", key.help);
    }
  }
  return syntax;
}

}  // namespace quillbay
