#include "destinations/part_publisher.h"

#include <cerrno>

#include "destinations/file_names.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/log_category.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {

constexpr int kTries = 100;  // somebody may be faster again

struct Choice {
  OutputName name;
  bool replaces = false;
};

/// The name that the part may get now; refused when the rule gives none.
Choice chooseName(const NamedPage& page, IEvents* events) {
  Choice choice;
  NameContext names = page.names;
  const std::int32_t fate = names.values.fileFate;
  choice.name.path = page.target.path;
  choice.name.counter = names.values.counter;
  choice.name.useAutoCounter = names.values.useAutoCounter;
  choice.replaces = page.target.mayReplace;
  if (choice.replaces || !fio::exists(page.target.path)) return choice;
  if (page.target.joinsPart && fate != kFateIncrement) {
    choice.name.refused = true;
    return choice;
  }
  names.values.multiPage = 0;  // the counter makes the name another one
  choice.name = applyExistsRule(names);
  const bool asks = choice.name.refused && choice.name.exists;
  choice.replaces = fate == kFateOverwrite || (asks && mayOverwrite(events, choice.name.path));
  if (asks) choice.name.refused = !choice.replaces;
  return choice;
}

std::string takenText(const std::string& path) {
  return formatText(
      Supp_Translate("The name %s was taken while the file was scanned, and nothing was replaced. The "
                     "scanned pages are in %s. Give that file another name to keep them."),
      {path, path + ".part"});
}

std::string failedText(const std::string& path, const std::string& cause) {
  return formatText(Supp_Translate("%s could not be finished: %s. The scanned pages are in %s."),
                    {path, cause, path + ".part"});
}

}  // namespace

bool mayOverwrite(IEvents* events, const std::string& path) {
  if (!events) return false;
  const std::string question = formatText(loadString(kTextOverwrite), {path});
  return events->Message(static_cast<int>(EventKind::Question), question.c_str(), 0,
                         static_cast<int>(EventButtons::YesNo)) == static_cast<int>(EventAnswer::Yes);
}

PartFate publishByRule(const NamedPage& page, IEvents* events) {
  const std::string& path = page.target.path;
  PartFate fate;
  for (int i = 0; i < kTries && fate.why.empty(); ++i) {
    const Choice choice = chooseName(page, events);
    if (choice.name.refused) break;
    try {
      fio::createFolder(fio::folderOf(choice.name.path));
      PublishPartAs(path, choice.name.path, choice.replaces);
      return {choice.name.path, {}, choice.name.counter, choice.name.useAutoCounter};
    } catch (const CXFileException& e) {
      logLine(LogLevel::Warning, kStoreLog, e.what());
      if (e.systemError() != EEXIST) fate.why = failedText(path, e.what());
    }
  }
  if (fate.why.empty()) fate.why = takenText(path);
  AbandonPart(path);
  return fate;
}

}  // namespace quillbay
