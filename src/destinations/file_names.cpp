#include "destinations/file_names.h"

#include <limits>

#include "destinations/macro_list.h"
#include "destinations/path_rules.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

MacroList& macrosOf(const NameContext& context) {
  return context.macros ? *context.macros : *MacroList::process(context.values);
}

std::string problemOf(const NameContext& context, const std::string& path) {
  std::string why = folderProblem(context.values.dir, macrosOf(context));
  if (why.empty()) why = maskProblem(context.values.mask);
  if (why.empty()) why = pathProblem(path);
  return why;
}

void refuse(OutputName& name, std::string why) {
  name.refused = true;
  name.why = std::move(why);
}

/// One step of "increment". Returns false when no other name comes out of it.
bool nextName(NameContext& context, OutputName& name) {
  ScanValues& v = context.values;
  if (v.counter == std::numeric_limits<std::int32_t>::max()) {
    refuse(name, Supp_Translate("The file counter has reached its end. Set it to a lower value."));
    return false;
  }
  ++v.counter;
  const std::string path = buildOutputPath(context);
  if (path == name.path) {
    if (v.useAutoCounter) {
      refuse(name, formatText(Supp_Translate("The file %s exists, and counting up gives no other name."), {path}));
      return false;
    }
    v.useAutoCounter = 1;
  }
  name.path = path;
  return true;
}

}  // namespace

std::string buildOutputPath(const NameContext& context) {
  const ScanValues& v = context.values;
  if (v.mask.empty() || v.dir.empty()) return {};
  std::string name = v.mask;
  if (v.useAutoCounter && !v.multiPage) name += formatCounter(v.counterFormat, v.counter);
  name += extensionOf(v, colorClassOf(v.colorSpace));
  const std::string path = fio::withDelimiter(fio::expandHome(v.dir)) + name;
  return replaceInvalid(macrosOf(context).expand(path, context));
}

std::string tagList(const NameContext& context) { return macrosOf(context).tagList(); }

bool namesTime(const ScanValues& values) {
  const std::string text = toLowerAscii(values.dir + '/' + values.mask);
  return text.find(toLowerAscii(CTimeMacro().GetTag())) != std::string::npos ||
         text.find(toLowerAscii(CDateMacro().GetTag())) != std::string::npos;
}

OutputName applyExistsRule(NameContext context, const ExistsTest& exists) {
  const auto taken = [&](const std::string& path) { return exists ? exists(path) : fio::exists(path); };
  ScanValues& v = context.values;
  OutputName name;
  name.path = buildOutputPath(context);
  if (name.path.empty()) {
    refuse(name, Supp_Translate("Output folder or file mask is empty."));
  } else if (std::string why = problemOf(context, name.path); !why.empty()) {
    refuse(name, std::move(why));
  } else if (v.multiPage || v.fileFate == kFateOverwrite) {
    name.exists = taken(name.path);
  } else if (v.fileFate == kFateAsk) {
    name.exists = taken(name.path);
    if (name.exists)
      refuse(name, formatText(Supp_Translate("The file %s exists already, and replacing it was not agreed to."),
                              {name.path}));
  } else {
    while (taken(name.path) && nextName(context, name)) {
    }
    // A counter that was switched on makes the name longer.
    if (std::string tooLong = pathProblem(name.path); !name.refused && !tooLong.empty())
      refuse(name, std::move(tooLong));
  }
  name.counter = v.counter;
  name.useAutoCounter = v.useAutoCounter;
  return name;
}

OutputName nameAtStart(const NameContext& context, const std::string& prepared, const ExistsTest& exists) {
  if (buildOutputPath(context) != prepared) return applyExistsRule(context, exists);
  OutputName name;
  name.path = prepared;
  name.counter = context.values.counter;
  name.useAutoCounter = context.values.useAutoCounter;
  return name;
}

}  // namespace quillbay
