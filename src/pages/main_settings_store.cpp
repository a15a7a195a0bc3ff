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

/// Selects the entry that a store names; a key that is missing or out of range leaves the list as it is.
void selectStored(QComboBox* list, IParam* store, const char* key) {
  const int index = paramInt(store, key, -1);
  if (index >= 0 && index < list->count()) list->setCurrentIndex(index);
}

}  // namespace

int CMainSettings::Load(IParam* store) {
  const Loading loading(*this);
  fillLists();
  ScanValues& v = params().quiet();
  v.disablePreview = paramInt(store, key::DisablePreview, v.disablePreview);
  takeCentring(paramInt(store, key::Center, 1));
  setSpinValue(m_form->added, paramInt(store, key::AddWidth, 0));
  v.addWidthPercent = m_form->added->value();
  for (std::size_t i = 0; i < v.saveSettings.size(); ++i)
    v.saveSettings[i] = paramString(store, saveSettingsKey(i), v.saveSettings[i]);
  loadChoices(store);
  if (const int mask = paramInt(store, key::AutoSet, v.autodetect); mask != v.autodetect) {
    params().set(scan_key::Autodetect, mask);
    if (NotifyGuard::isSet()) reactToAutodetect();  // nobody told this page
  }
  params().setIfChanged(scan_key::Bursting, autodetectEffect(v).bursting);
  const CKxVariant rect = paramValue(store, key::Rect);
  if (const auto* area = rect.get<tagRRECT>()) params().setIfChanged(scan_key::RcScan, *area);
  showAll();  // also what was stored without a broadcast
  return 1;
}

void CMainSettings::loadChoices(IParam* store) {
  showAll();
  selectStored(m_form->modeList, store, key::ModeIndex);
  // The stored index is one of the stored mode's list.
  fillResolutions(selectedMode());
  selectStored(m_form->resolutionList, store, key::ResolutionIndex);
  // One that was typed has no index.
  if (paramInt(store, key::ResolutionIndex, -1) < 0) showResolution(paramInt(store, key::ImageDpi));
  selectStored(m_form->areaList, store, key::PaperIndex);
  params().setIfChanged(scan_key::Portrait, paramInt(store, key::Portrait, params().values().portrait));
  params().setIfChanged(scan_key::Bursting, paramInt(store, key::Bursting, params().values().bursting));
  // Taken before the parameters' echo moves a list.
  const int dpi = selectedDpi(), mode = m_form->modeList->currentIndex();
  applyArea();
  m_form->modeList->setCurrentIndex(mode);
  showResolution(dpi);
  applyResolution();
  applyMode();
}

int CMainSettings::Save(IParam* store) {
  takeTypedArea();
  const ScanValues& v = params().values();
  store->SetValue(key::DisablePreview, v.disablePreview);
  store->SetValue(key::Center, v.center);
  store->SetValue(key::AddWidth, m_form->added->value());
  for (std::size_t i = 0; i < v.saveSettings.size(); ++i) store->SetValue(saveSettingsKey(i), v.saveSettings[i]);
  store->SetValue(key::ResolutionIndex, m_form->resolutionList->findData(selectedDpi()));
  store->SetValue(key::ImageDpi, selectedDpi());
  store->SetValue(key::AutoSet, v.autodetect);
  store->SetValue(key::Rect, v.rcScan);
  store->SetValue(key::ModeIndex, m_form->modeList->currentIndex());
  store->SetValue(key::Mode, selectedMode());
  store->SetValue(key::PaperIndex, m_form->areaList->currentIndex());
  store->SetValue(key::Bursting, v.bursting);
  store->SetValue(key::Portrait, v.portrait);
  return 1;
}

}  // namespace quillbay
