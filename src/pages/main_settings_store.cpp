/// Loading and saving of the main page.
#include <string>

#include "pages/main_settings.h"
#include "pages/scan_area.h"
#include "platform/base_services.h"
#include "ui_main_settings.h"

namespace quillbay {

namespace {

std::string saveSettingsKey(std::size_t i) { return "SaveSettings" + toText(static_cast<std::int64_t>(i)); }

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
  v.disablePreview = paramInt(store, "m_fDisablePreview", v.disablePreview);
  takeCentring(paramInt(store, "m_fCenter", 1));
  setSpinValue(m_form->added, paramInt(store, "m_Add", 0));
  v.addWidthPercent = m_form->added->value();
  for (std::size_t i = 0; i < v.saveSettings.size(); ++i)
    v.saveSettings[i] = paramString(store, saveSettingsKey(i), v.saveSettings[i]);
  loadChoices(store);
  if (const int mask = paramInt(store, "AUTO_SET", v.autodetect); mask != v.autodetect) {
    params().set(scan_key::Autodetect, mask);
    if (NotifyGuard::isSet()) reactToAutodetect();  // nobody told this page
  }
  params().setIfChanged(scan_key::Bursting, autodetectEffect(v).bursting);
  const CKxVariant rect = paramValue(store, "RECT");
  if (const auto* area = rect.get<tagRRECT>()) params().setIfChanged(scan_key::RcScan, *area);
  showAll();  // also what was stored without a broadcast
  return 1;
}

void CMainSettings::loadChoices(IParam* store) {
  showAll();
  selectStored(m_form->modeList, store, "m_ctrlModes");
  // The stored index is one of the stored mode's list.
  fillResolutions(selectedMode());
  selectStored(m_form->resolutionList, store, "m_ctrlDPI");
  // One that was typed has no index.
  if (paramInt(store, "m_ctrlDPI", -1) < 0) showResolution(paramInt(store, "ImageDPI"));
  selectStored(m_form->areaList, store, "m_ctrlPaperList");
  params().setIfChanged(scan_key::Portrait, paramInt(store, "m_bPortrait", params().values().portrait));
  params().setIfChanged(scan_key::Bursting, paramInt(store, "m_fBursting", params().values().bursting));
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
  store->SetValue("m_fDisablePreview", v.disablePreview);
  store->SetValue("m_fCenter", v.center);
  store->SetValue("m_Add", m_form->added->value());
  for (std::size_t i = 0; i < v.saveSettings.size(); ++i) store->SetValue(saveSettingsKey(i), v.saveSettings[i]);
  store->SetValue("m_ctrlDPI", m_form->resolutionList->findData(selectedDpi()));
  store->SetValue("ImageDPI", selectedDpi());
  store->SetValue("AUTO_SET", v.autodetect);
  store->SetValue("RECT", v.rcScan);
  store->SetValue("m_ctrlModes", m_form->modeList->currentIndex());
  store->SetValue("MODE", selectedMode());
  store->SetValue("m_ctrlPaperList", m_form->areaList->currentIndex());
  store->SetValue("m_fBursting", v.bursting);
  store->SetValue("m_bPortrait", v.portrait);
  return 1;
}

}  // namespace quillbay
