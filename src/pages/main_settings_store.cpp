/// Loading and saving of the main page.
#include <string>

#include "pages/main_settings.h"
#include "pages/scan_area.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "ui_main_settings.h"

namespace quillbay {

namespace {

std::string saveSettingsKey(std::size_t i) { return key::numbered(key::SaveSettings, static_cast<int>(i)); }

}  // namespace

/// A set as the page loads it: a missing key is what the page has, or its default when the set resets the page.
struct CMainSettings::Stored {
  explicit Stored(IParam* from) : store(from), resets(paramInt(from, key::ResetMark) != 0) {}
  IParam* const store;
  const bool resets;
  const ScanValues defaults{};

  [[nodiscard]] std::int32_t number(const char* key, std::int32_t now, std::int32_t fallback) const {
    return paramInt(store, key, resets ? fallback : now);
  }
  /// The value under a key, or without it the list's entry at the index under another; -1 for neither.
  [[nodiscard]] int choice(const char* valueKey, const char* indexKey, const QComboBox& list, int fallback) const {
    if (const int value = paramInt(store, valueKey, -1); value >= 0) return value;
    const QVariant entry = list.itemData(paramInt(store, indexKey, -1));
    return entry.isValid() ? entry.toInt() : resets ? fallback : -1;
  }
};

int CMainSettings::Load(IParam* store) {
  const Loading loading(*this);
  fillLists();
  const Stored stored(store);
  ScanValues& v = params().quiet();
  v.disablePreview = stored.number(key::DisablePreview, v.disablePreview, stored.defaults.disablePreview);
  if (!isDirect()) {  // which answers nothing by itself
    v.autoAnswer = stored.number(key::AutoAnswerEnable, v.autoAnswer, stored.defaults.autoAnswer);
    v.autoAnswerDelay = stored.number(key::AutoAnswerDelay, v.autoAnswerDelay, stored.defaults.autoAnswerDelay);
  }
  takeCentring(paramInt(store, key::Center, 1));
  setSpinValue(m_form->added, paramInt(store, key::AddWidth, 0));
  v.addWidthPercent = m_form->added->value();
  for (std::size_t i = 0; i < v.saveSettings.size(); ++i)
    v.saveSettings[i] = paramString(store, saveSettingsKey(i), stored.resets ? std::string() : v.saveSettings[i]);
  loadChoices(stored);
  noteMisses(stored);
  if (const int mask = stored.number(key::AutoSet, v.autodetect, stored.defaults.autodetect);
      mask != v.autodetect) {
    params().set(scan_key::Autodetect, mask);
    if (NotifyGuard::isSet()) reactToAutodetect();  // nobody told this page
  }
  params().setIfChanged(scan_key::Bursting, autodetectEffect(v).bursting);
  const CKxVariant rect = paramValue(store, key::Rect);
  if (const auto* area = rect.get<tagRRECT>())
    params().setIfChanged(scan_key::RcScan, *area);
  else if (stored.resets)
    params().setIfChanged(scan_key::RcScan, stored.defaults.rcScan);
  showAll();  // also what was stored without a broadcast
  return 1;
}

void CMainSettings::loadChoices(const Stored& stored) {
  showAll();
  loadMode(stored);
  // A stored index is one of the stored mode's list.
  fillResolutions(selectedMode());
  loadResolution(stored);
  loadArea(stored);
  const ScanValues& v = params().values();
  params().setIfChanged(scan_key::Portrait, stored.number(key::Portrait, v.portrait, stored.defaults.portrait));
  params().setIfChanged(scan_key::Bursting, stored.number(key::Bursting, v.bursting, stored.defaults.bursting));
  // Taken before the parameters' echo moves a list.
  const int dpi = selectedDpi(), mode = m_form->modeList->currentIndex();
  applyArea();
  m_form->modeList->setCurrentIndex(mode);
  showResolution(dpi);
  applyResolution();
  applyMode();
}

/// A mode that the scanner does not offer leaves the one that is chosen.
void CMainSettings::loadMode(const Stored& stored) {
  if (isDirect()) return;
  const QComboBox& list = *m_form->modeList;
  const int mode = stored.choice(key::Mode, key::ModeIndex, list, list.itemData(0).toInt());
  if (const int index = list.findData(mode); mode >= 0 && index >= 0) m_form->modeList->setCurrentIndex(index);
}

void CMainSettings::loadResolution(const Stored& stored) {
  const int dpi = stored.choice(key::ImageDpi, key::ResolutionIndex, *m_form->resolutionList, stored.defaults.dpi);
  if (dpi > 0) showResolution(dpi);
}

/// Automatic areas and sizes are known by their numbers; papers by their names, in sets without a name by their
/// place in the list of papers.
void CMainSettings::loadArea(const Stored& stored) {
  if (isDirect()) return;
  const std::string name = paramString(stored.store, key::PaperName);
  int area = paramInt(stored.store, key::PaperIndex, name.empty() ? -1 : kAreaPaper);
  if (area < 0 && stored.resets) area = stored.defaults.scanType;
  if (area >= kAreaPaper && !name.empty())
    selectPaper(name);
  else if (area >= 0 && area < kAreaPaper + static_cast<int>(params().papers.size()))
    selectArea(area);
}

/// What the set names, and counts as something else here.
void CMainSettings::noteMisses(const Stored& stored) {
  m_loadNote.clear();
  if (isDirect()) return;
  const ScanValues& v = params().values();
  const auto add = [this](const std::string& line) { m_loadNote += (m_loadNote.empty() ? "" : "\n") + line; };
  const int mode = paramInt(stored.store, key::Mode, -1), dpi = paramInt(stored.store, key::ImageDpi, -1);
  const std::string paper = paramString(stored.store, key::PaperName);
  if (mode >= 0 && mode <= kModeRgb && mode != v.currMode)
    add(formatText(Supp_Translate("This scanner does not have the mode %s; %s is used."),
                   {Supp_Translate(modeName(mode)), Supp_Translate(modeName(v.currMode))}));
  if (dpi > 0 && dpi != v.dpi)
    add(formatText(Supp_Translate("This scanner does not have %d dpi; %d dpi is used."),
                   {std::to_string(dpi), std::to_string(v.dpi)}));
  if (!paper.empty() && v.scanType != kAreaPaper)
    add(formatText(Supp_Translate("There is no paper %s; its size is used."), {paper}));
}

int CMainSettings::Save(IParam* store) {
  takeTypedArea();
  const ScanValues& v = params().values();
  store->SetValue(key::DisablePreview, v.disablePreview);
  if (!isDirect()) {
    store->SetValue(key::AutoAnswerEnable, v.autoAnswer);
    store->SetValue(key::AutoAnswerDelay, v.autoAnswerDelay);
  }
  store->SetValue(key::Center, v.center);
  store->SetValue(key::AddWidth, m_form->added->value());
  for (std::size_t i = 0; i < v.saveSettings.size(); ++i) store->SetValue(saveSettingsKey(i), v.saveSettings[i]);
  store->SetValue(key::ResolutionIndex, m_form->resolutionList->findData(selectedDpi()));
  store->SetValue(key::ImageDpi, selectedDpi());
  store->SetValue(key::AutoSet, v.autodetect);
  store->SetValue(key::Rect, v.rcScan);
  store->SetValue(key::ModeIndex, m_form->modeList->currentIndex());
  store->SetValue(key::Mode, selectedMode());
  store->SetValue(key::PaperIndex, selectedData(m_form->areaList));
  store->SetValue(key::PaperName, v.scanType == kAreaPaper ? v.paperName : std::string());
  store->SetValue(key::Bursting, v.bursting);
  store->SetValue(key::Portrait, v.portrait);
  return 1;
}

}  // namespace quillbay
