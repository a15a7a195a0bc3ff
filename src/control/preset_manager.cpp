#include "control/preset_manager.h"

#include <QScopedValueRollback>
#include <algorithm>

#include "control/preset_store.h"
#include "pages/pres_dlg.h"
#include "platform/base_services.h"
#include "platform/scan_page.h"
#include "quillbay/host_files.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr const char* kPresetsTopic = "$QBHelp:IDH_Presets$";

/// Changes of these mean that the settings are no longer the chosen preset's.
constexpr const char* kFollowed[] = {key::PaperName,  key::Counter,  key::CounterFormat, key::UseAutoCounter,
                                     key::MultiPage,  key::CurrMode, key::Center,        key::Portrait,
                                     key::Autodetect, key::RcScan,   key::Dpi,           key::ScanAreaType,
                                     key::EjectType,  key::Bursting, key::FileFate};

/// A preset's name as that of a file.
std::string fileNameOf(std::string name) {
  std::replace_if(
      name.begin(), name.end(),
      [](char c) { return std::string_view("\\/\"*?<>|:").find(c) != std::string_view::npos; }, '-');
  if (name.starts_with('.')) name.front() = '-';
  return name + kPresetExtension;
}

/// What a preset holds for a page; null for nothing.
IParam* valuesOf(const quillbay::Preset& preset, std::int32_t number) {
  const auto found = std::find_if(preset.pages.begin(), preset.pages.end(),
                                  [number](const PresetPage& page) { return page.number == number; });
  return found == preset.pages.end() ? nullptr : found->values.get();
}

void addLine(std::string* text, const std::string& line) {
  if (!line.empty()) text->append(text->empty() ? "" : "\n").append(line);
}

}  // namespace

CPResetManager::CPResetManager(IPanelController& controller, QWidget* panel, KxPtr<CSharedScanParams> params)
    : m_controller(controller), m_panel(panel), m_params(std::move(params)) {
  m_changes.Subscribe(m_params->connectionPoint());
}

std::vector<IPresetManager::Preset> CPResetManager::List(int page) {
  std::vector<Preset> list;
  for (const PresetEntry& entry : ListPresets(m_params->app())) {
    const bool holds = std::find(entry.pages.begin(), entry.pages.end(), page) != entry.pages.end();
    if (page == kAnyPage || holds) list.push_back({entry.id, entry.name});
  }
  return list;
}

int CPResetManager::GetChosen(std::int32_t* id) {
  if (!m_chosen) return 0;
  *id = *m_chosen;
  return 1;
}

void CPResetManager::setChosen(std::optional<std::int32_t> id) {
  m_chosen = id;
  m_params->NotifyParam(key::PresetsChanged);
}

void CPResetManager::forgetChosen() {
  if (m_chosen) setChosen(std::nullopt);
}

void CPResetManager::OnParamChanged(std::string_view key) {
  if (m_applying > 0) return;
  const bool follows = std::any_of(std::begin(kFollowed), std::end(kFollowed),
                                   [&](const char* followed) { return sameKey(key, followed); });
  if (follows) m_chosen.reset();  // who shows it hears of this key as well
}

std::vector<IUIScanPage*> CPResetManager::candidates(int page) const {
  std::vector<IUIScanPage*> pages = m_controller.PagesOf(m_params->values().currMode);
  if (page != kAnyPage) std::erase_if(pages, [page](IUIScanPage* p) { return p->GetNumber() != page; });
  return pages;
}

/// The window that holds the panel, not the panel: it goes first, and ends a dialog with it.
QWidget* CPResetManager::dialogParent() const {
  return m_panel && m_panel->parentWidget() ? m_panel->parentWidget() : m_panel.data();
}

quillbay::Preset CPResetManager::take(const std::vector<std::int32_t>& numbers) const {
  quillbay::Preset preset;
  const std::vector<IUIScanPage*> all = m_controller.AllPages();
  for (const std::int32_t number : numbers) {
    const auto page =
        std::find_if(all.begin(), all.end(), [&](IUIScanPage* p) { return p->GetNumber() == number; });
    PresetPage taken{number, new_MemParam()};
    if (page != all.end() && m_controller.SavePage(*page, taken.values.get()))
      preset.pages.push_back(std::move(taken));
  }
  return preset;
}

quillbay::Preset CPResetManager::takeCurrent() const {
  std::vector<std::int32_t> numbers;
  for (IUIScanPage* p : candidates(kAnyPage)) numbers.push_back(p->GetNumber());
  return take(numbers);
}

bool CPResetManager::mayReplace(const std::string& name) {
  PresetEntry there;
  if (!preset_store::find(m_params->app(), PresetId(name), &there)) return true;
  std::string text = formatText(Supp_Translate("There is a preset \"%s\" already. Replace it?"), {there.name});
  if (there.name != name) {
    text = formatText(
        Supp_Translate("The name \"%s\" has the same number as that of the preset \"%s\", which would be "
                       "replaced. Replace it?"),
        {name, there.name});
  }
  return m_controller.Message(EventKind::Question, text + kPresetsTopic, EventButtons::YesNo) ==
         static_cast<int>(EventAnswer::Yes);
}

int CPResetManager::Create(int page) {
  std::vector<std::string> titles;
  std::vector<std::int32_t> numbers, included;
  for (IUIScanPage* p : candidates(page)) {
    titles.push_back(p->GetTitle());
    numbers.push_back(p->GetNumber());
  }
  if (titles.empty()) return 0;
  const QPointer<CPresDlg> dialog(new CPresDlg(dialogParent(), m_params->app(), titles));
  dialog->accepts = [this](const std::string& name) { return mayReplace(name); };
  // The panel's window may have gone meanwhile, with the dialog.
  const bool isAccepted = dialog->DoModal() == kAnswerOk && dialog && m_panel;
  quillbay::Preset preset;
  if (isAccepted) {
    for (const int row : dialog->chosenPages()) included.push_back(numbers[static_cast<std::size_t>(row)]);
    preset = take(included);
    preset.name = dialog->name();
    preset.comment = dialog->comment();
  }
  delete dialog.data();
  if (!isAccepted) return 0;
  StorePreset(m_params->app(), preset);
  setChosen(PresetId(preset.name));
  return 1;
}

/// Lets pages load what the preset holds for them, or without a preset their defaults.
CPResetManager::Loaded CPResetManager::loadPages(const quillbay::Preset* preset, int page) {
  const auto defaults = new_MemParam();
  defaults->SetValue(key::ResetMark, 1);
  const QScopedValueRollback applying(m_applying, m_applying + 1);
  Loaded loaded;
  for (IUIScanPage* p : m_controller.AllPages()) {
    if (page != kAnyPage && p->GetNumber() != page) continue;
    IParam* values = preset ? valuesOf(*preset, p->GetNumber()) : defaults.get();
    if (!values) continue;
    m_controller.LoadPage(p, values);
    addLine(&loaded.notes, p->GetLoadNote());
    ++loaded.pages;
  }
  return loaded;
}

int CPResetManager::Apply(std::int32_t id, int page) {
  quillbay::Preset preset;
  if (!GetPreset(m_params->app(), id, &preset)) return 0;
  const bool isWhole = page == kAnyPage;
  const Loaded loaded = loadPages(&preset, page);
  if (loaded.pages == 0) return 0;
  // With a page of another preset the settings are neither's.
  if (isWhole || m_chosen != id) setChosen(isWhole ? std::optional(id) : std::nullopt);
  if (!loaded.notes.empty()) m_controller.Message(EventKind::Information, loaded.notes, EventButtons::Ok);
  return 1;
}

int CPResetManager::Reset(int page) {
  const Loaded loaded = loadPages(nullptr, page);
  forgetChosen();
  return loaded.pages > 0 ? 1 : 0;
}

int CPResetManager::Export(std::int32_t id) {
  quillbay::Preset preset;
  const auto dialogs = query<IFileDialogs>(m_params->app());
  if (!dialogs || !GetPreset(m_params->app(), id, &preset)) return 0;
  std::string path = fileNameOf(preset.name), why;
  if (!dialogs->ChooseTarget(kPresetFileChannel, dialogParent(), &path)) return 0;
  if (WritePresetFile(preset, path, true, &why)) return 1;
  m_controller.Message(EventKind::Information, why + kPresetsTopic, EventButtons::Ok);
  return 0;
}

int CPResetManager::Import() {
  const auto dialogs = query<IFileDialogs>(m_params->app());
  std::string path, why;
  if (!dialogs || !dialogs->ChooseFile(kPresetFileChannel, dialogParent(), &path)) return 0;
  quillbay::Preset preset;
  if (!ReadPresetFile(path, &preset, &why)) {
    m_controller.Message(EventKind::Information, why + kPresetsTopic, EventButtons::Ok);
    return 0;
  }
  if (!mayReplace(preset.name)) return 0;
  StorePreset(m_params->app(), preset);
  // What the pages hold is not what it says now.
  setChosen(m_chosen == PresetId(preset.name) ? std::nullopt : m_chosen);
  return 1;
}

int CPResetManager::Delete(std::int32_t id) {
  if (!preset_store::remove(m_params->app(), id)) return 0;
  setChosen(std::nullopt);
  return 1;
}

int CPResetManager::OnMenuCommand(int page, std::int32_t command) {
  switch (command) {
    case kResetPage: return Reset(page);
    case kAddPreset: return Create(page);
    case kDisablePreview: {
      std::int32_t& disabled = m_params->quiet().disablePreview;
      disabled = disabled ? 0 : 1;
      return 1;
    }
    default: return Apply(command, page);
  }
}

}  // namespace quillbay
