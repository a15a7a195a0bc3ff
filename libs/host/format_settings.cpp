#include "host/format_settings.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "channels/module_loader.h"
#include "core/param_tree.h"
#include "host/format_options.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

// What an entry keeps of its module's file beside the keys that the panel reads.
constexpr const char* kFileSize = "TwFileSize";
constexpr const char* kFileTime = "TwFileTime";
constexpr const char* kFileAbi = "TwFileVersion";
constexpr const char* kReason = "TwReason";

/// The first entries of the lists; others follow in the order of their modules.
constexpr std::array kUsualFormats{"TIFF", "PDF", "JPEG", "JPEG 2000", "JP2", "PNG"};

std::size_t rankOf(const std::string& name) {
  const auto* found = std::find_if(kUsualFormats.begin(), kUsualFormats.end(),
                                   [&](const char* usual) { return sameKey(usual, name); });
  return static_cast<std::size_t>(found - kUsualFormats.begin());
}

bool isInFormatFolder(const std::string& file) { return moduleFile(fio::fileNameOf(file)) == file; }

/// As settings name it: without the folder when it is in that of the formats.
std::string moduleName(const std::string& file) { return isInFormatFolder(file) ? fio::fileNameOf(file) : file; }

std::int64_t readNumber(IParam* entry, const char* key) {
  std::int64_t number = 0;
  return parseNumber(paramString(entry, key), &number) ? number : -1;
}

/// Sets a value, unless it stands there.
void putValue(IParam* entry, const char* key, const CKxVariant& value) {
  CKxVariant now;
  if (!entry->GetValue(key, &now) || !sameValue(now, value)) entry->SetValue(key, value);
}

/// Notes size and time of the file. Returns whether it is another one than the entry was made for.
bool putStamp(IParam* entry, const ModuleAnswer& answer) {
  const std::string module = moduleName(answer.file);
  const bool isOther = paramString(entry, format_key::Module) != module ||
                       readNumber(entry, kFileSize) != answer.size || readNumber(entry, kFileTime) != answer.time;
  putValue(entry, format_key::Module, module);
  putValue(entry, kFileSize, toText(answer.size));
  putValue(entry, kFileTime, toText(answer.time));
  putValue(entry, kFileAbi, static_cast<std::int32_t>(answer.abi));
  return isOther;
}

ModuleAnswer readAnswer(IParam* entry) {
  ModuleAnswer answer;
  answer.file = moduleFile(paramString(entry, format_key::Module));
  answer.size = readNumber(entry, kFileSize);
  answer.time = readNumber(entry, kFileTime);
  answer.abi = static_cast<std::uint32_t>(paramInt(entry, kFileAbi));
  answer.why = paramString(entry, kReason);
  if (!answer.why.empty())
    answer.state = ModuleState::Crashed;
  else if (paramInt(entry, format_key::Exclude) != 0)
    answer.state = ModuleState::Nothing;
  else
    answer.state = ModuleState::Good;
  return answer;
}

/// Adds the answer of an entry; of a module with several formats one that works counts.
void addAnswer(std::vector<ModuleAnswer>* answers, ModuleAnswer answer) {
  const auto same = std::find_if(answers->begin(), answers->end(), [&](const ModuleAnswer& a) {
    return a.file == answer.file && a.size == answer.size && a.time == answer.time && a.abi == answer.abi;
  });
  if (same == answers->end())
    answers->push_back(std::move(answer));
  else if (answer.state == ModuleState::Good)
    *same = std::move(answer);
}

/// The entry of a format that works; one that names another module in use stays that one's.
void putFormat(IParam* section, const ModuleAnswer& answer, const FormatFacts& facts) {
  const auto entry = KxPtr<IParam>::adopt(section->GetSubStore(facts.name, 1));
  const bool isOther = putStamp(entry.get(), answer);
  if (!facts.saves) {
    putValue(entry.get(), format_key::Exclude, 1);
    return;
  }
  entry->Remove(format_key::Exclude);
  entry->Remove(kReason);
  const std::string extension =
      facts.extensions.empty() ? std::string()
                               : facts.extensions.front().substr(facts.extensions.front().starts_with('.') ? 1 : 0);
  if (isOther || paramString(entry.get(), format_key::Extension).empty())
    putValue(entry.get(), format_key::Extension, extension);
  if (isOther || paramString(entry.get(), format_key::Description).empty())
    putValue(entry.get(), format_key::Description, facts.description.empty() ? facts.name : facts.description);
  CKxVariant direct;
  const auto options = KxPtr<IParam>::adopt(entry->GetSubStore(format_key::Options, 0));
  const bool isSaid = entry->GetValue(format_key::DirectSave, &direct) ||
                      (options && options->GetValue(format_key::DirectSave, &direct));
  if (!isSaid) entry->SetValue(format_key::DirectSave, 1);
  putValue(entry.get(), format_key::ColorSpaces, static_cast<std::int32_t>(facts.colorSpaces));
  putValue(entry.get(), format_key::MultiPage, facts.paged ? 1 : 0);
}

/// The entry of a module that cannot be used, under its file's name.
void putFailure(IParam* section, const ModuleAnswer& answer) {
  const std::string name = fio::fileNameOf(answer.file);
  if (answer.state == ModuleState::Unusable || answer.state == ModuleState::Unasked) {
    section->RemoveSubStore(name);  // it is asked again
    return;
  }
  const auto entry = KxPtr<IParam>::adopt(section->GetSubStore(name, 1));
  putStamp(entry.get(), answer);
  putValue(entry.get(), format_key::Exclude, 1);
  if (answer.state != ModuleState::Nothing) putValue(entry.get(), kReason, answer.why);
}

/// Entries whose module does not work any more are examined again by who uses them.
void forgetOld(IParam* section, const std::vector<ModuleAnswer>& answers) {
  for (const std::string& name : section->GetSubStores()) {
    const auto entry = KxPtr<IParam>::adopt(section->GetSubStore(name, 0));
    const std::string module = paramString(entry.get(), format_key::Module);
    if (module.empty()) continue;
    const auto of = std::find_if(answers.begin(), answers.end(),
                                 [&](const ModuleAnswer& a) { return a.file == moduleFile(module); });
    const bool isFailure = of != answers.end() && of->state != ModuleState::Good;
    const bool isOurs = readNumber(entry.get(), kFileSize) >= 0;
    if (isOurs && (of == answers.end() || isFailure)) entry->Remove(format_key::ColorSpaces);
    if (isOurs && of == answers.end()) entry->Remove(format_key::Exclude);
    // A failure of an older file does not count for the one that works now.
    if (of != answers.end() && of->state == ModuleState::Good && sameKey(name, fio::fileNameOf(of->file)))
      section->RemoveSubStore(name);
  }
}

void putAnswers(IParam* section, const std::vector<ModuleAnswer>& answers) {
  std::vector<std::pair<const ModuleAnswer*, const FormatFacts*>> formats;
  for (const ModuleAnswer& answer : answers) {
    if (answer.state != ModuleState::Good) putFailure(section, answer);
    if (answer.state != ModuleState::Good) continue;
    for (const FormatFacts& facts : answer.formats) {
      const bool isTaken = std::any_of(formats.begin(), formats.end(),
                                       [&](const auto& f) { return sameKey(f.second->name, facts.name); });
      if (!isTaken && !facts.name.empty()) formats.emplace_back(&answer, &facts);
    }
  }
  std::stable_sort(formats.begin(), formats.end(),
                   [](const auto& a, const auto& b) { return rankOf(a.second->name) < rankOf(b.second->name); });
  for (const auto& [answer, facts] : formats) putFormat(section, *answer, *facts);
  forgetOld(section, answers);
}

/// Adds what `kept` knows. It names no module: one outside the formats' folder counts when `known` has it.
void addKept(std::vector<ModuleAnswer>* known, IProfile* kept) {
  const std::vector<ModuleAnswer> named = *known;
  for (ModuleAnswer& answer : knownModules(kept)) {
    const bool isNamed =
        std::any_of(named.begin(), named.end(), [&](const ModuleAnswer& a) { return a.file == answer.file; });
    if (isNamed || isInFormatFolder(answer.file)) addAnswer(known, std::move(answer));
  }
}

}  // namespace

std::vector<ModuleAnswer> knownModules(IProfile* profile) {
  std::vector<ModuleAnswer> known;
  for (const char* name : {format_key::AllSaveFormats, format_key::ExportedProject}) {
    const auto entries = KxPtr<IParam>::adopt(profile->GetSection(name, 0));
    if (!entries) continue;
    for (const std::string& entryName : entries->GetSubStores()) {
      const auto entry = KxPtr<IParam>::adopt(entries->GetSubStore(entryName, 0));
      if (!entry || paramString(entry.get(), format_key::Module).empty()) continue;
      ModuleAnswer answer = readAnswer(entry.get());
      // The folder's modules are loaded in any case; another one only for an entry that counts.
      const bool isUsed = paramInt(entry.get(), format_key::Enabled, 1) != 0 || isInFormatFolder(answer.file);
      if (isUsed) addAnswer(&known, std::move(answer));
    }
  }
  return known;
}

CFormatSettings::CFormatSettings(KxPtr<IProfile> profile, KxPtr<CIOParams> options, KxPtr<IProfile> kept)
    : m_profile(std::move(profile)), m_options(std::move(options)), m_kept(std::move(kept)) {
  std::vector<ModuleAnswer> known = knownModules(m_profile.get());
  if (m_kept) addKept(&known, m_kept.get());
  rememberModules(std::move(known));
}

KxPtr<IParam> CFormatSettings::section(std::string_view name) const {
  auto found = KxPtr<IParam>::adopt(m_profile->GetSection(name, 1));
  return found ? found : new_MemParam();
}

IParam* CFormatSettings::GetSection(std::string_view name) {
  if (!m_isUpToDate) {
    m_isUpToDate = true;
    putAnswers(section(format_key::AllSaveFormats).get(), moduleAnswers());
    keepAnswers();
  }
  return section(name).detach();
}

/// The profile of this run is not saved: the next one finds the answers here.
void CFormatSettings::keepAnswers() const {
  if (!m_kept) return;
  const auto entries = KxPtr<IParam>::adopt(m_kept->GetSection(format_key::AllSaveFormats, 1));
  if (entries) putAnswers(entries.get(), moduleAnswers());
  m_kept->Flush();  // it may be lost: the log says why
}

int CFormatSettings::ShowOptions(std::string_view format, IParam* entry, QWidget* parent) {
  const auto& formats = loadedFormats();
  const auto found =
      std::find_if(formats.begin(), formats.end(), [&](const QbFormat* f) { return sameKey(f->name, format); });
  if (found == formats.end()) {
    logLine(LogLevel::Warning, "quillbay.host", "no module offers the format " + std::string(format));
    return 0;
  }
  const auto options = KxPtr<IParam>::adopt(entry->GetSubStore(format_key::Options, 1));
  return ShowFormatOptions(**found, options.get(), parent) ? 1 : 0;
}

void CFormatSettings::OptionsChanged() { m_options->takeSaved(section(format_key::Formats).get()); }

}  // namespace quillbay
