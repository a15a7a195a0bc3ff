#include <algorithm>

#include "channels/module_loader.h"
#include "channels/module_probe.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/log_category.h"
#include "quillbay/format_settings.h"

namespace quillbay {

namespace {

ModuleAnswer answerOf(const std::string& file) {
  const auto& all = moduleAnswers();
  const auto known = std::find_if(all.begin(), all.end(), [&](const ModuleAnswer& a) { return a.file == file; });
  if (known != all.end()) return *known;
  auto examined = examineModules({file}, {});
  return examined.empty() ? ModuleAnswer{} : std::move(examined.front());
}

bool hasExtension(const FormatFacts& facts, const std::string& extension) {
  const std::string dotted = extension.starts_with('.') ? extension : '.' + extension;
  return std::any_of(facts.extensions.begin(), facts.extensions.end(),
                     [&](const std::string& e) { return sameKey(e, dotted); });
}

}  // namespace

int ProbeSaveFormat(std::string_view name, IParam* entry) {
  const std::string module = paramString(entry, format_key::Module);
  if (module.empty()) return 0;
  const std::string file = moduleFile(module);
  const ModuleAnswer answer = answerOf(file);
  const bool isModule = answer.state == ModuleState::Good || answer.state == ModuleState::Nothing;
  if (!isModule) {
    logLine(LogLevel::Warning, kChannelsLog,
            "format " + std::string(name) + ": " + file +
                " is not used: " + (answer.why.empty() ? "there is no such file" : answer.why));
    return 0;
  }
  const std::string extension = paramString(entry, format_key::Extension);
  auto found = std::find_if(answer.formats.begin(), answer.formats.end(),
                            [&](const FormatFacts& facts) { return sameKey(facts.name, name); });
  if (found == answer.formats.end()) {
    found = std::find_if(answer.formats.begin(), answer.formats.end(),
                         [&](const FormatFacts& facts) { return hasExtension(facts, extension); });
  }
  if (found == answer.formats.end() || !found->saves) {
    entry->SetValue(format_key::Exclude, 1);
    return 1;
  }
  entry->SetValue(format_key::ColorSpaces, static_cast<std::int32_t>(found->colorSpaces));
  entry->SetValue(format_key::MultiPage, found->paged ? 1 : 0);
  return 1;
}

}  // namespace quillbay
