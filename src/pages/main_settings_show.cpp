/// The main page as a mirror of the scan parameters: what its controls show, and how it follows changes made
/// elsewhere. Reactions run inside a broadcast, so what they set is stored without a broadcast of its own.
#include <QAccessible>
#include <QScrollArea>
#include <QTimer>
#include <algorithm>

#include "pages/main_settings.h"
#include "pages/paper_list.h"
#include "pages/scan_area.h"
#include "pages/settings_text.h"
#include "params/found_text.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "platform/scan_to.h"
#include "quillbay/scan_keys.h"
#include "ui_main_settings.h"

namespace quillbay {

void CMainSettings::showAll() {
  const ScanValues& v = params().values();
  if (const int mode = m_form->modeList->findData(v.currMode); mode >= 0) m_form->modeList->setCurrentIndex(mode);
  showResolution(v.dpi);
  if (v.scanType < kAreaPaper)
    selectArea(v.scanType);
  else
    selectPaper(v.paperName);
  setSpinValue(m_form->added, v.addWidthPercent);
  showOrientation();
  showAutodetect();
  showUnits();
  updateSummary();
}

void CMainSettings::showUnits() {
  for (LengthSpin* field : lengthFields()) field->redisplay();
  fillAreas();
  std::string title = Supp_Translate("Scan area");
  if (ILinearUnit* unit = params().units().current()) title += " (" + unit->GetName() + ")";
  m_form->areaGroup->setTitle(QString::fromStdString(title));
}

void CMainSettings::showArea() {
  const AreaFields fields = fieldsOf(params().values());
  // What lies beyond the bed is told as out of range.
  m_form->offset->setLimits(0, std::max(0.0, params().values().bedWidth - fields.width));
  m_form->width->setMillimetres(fields.width);
  m_form->offset->setMillimetres(fields.offset);
  m_form->top->setMillimetres(fields.top);
  m_form->length->setMillimetres(fields.length);
  showAccess();
}

void CMainSettings::showAccess() {
  const FieldAccess access = fieldAccess(params().values());
  m_form->width->setEnabled(access.width);
  m_form->offset->setEnabled(access.offset);
  m_form->top->setEnabled(access.top);
  m_form->length->setEnabled(access.length);
  const std::int32_t type = params().values().scanType;
  const bool follows = type == kAreaAuto || type == kAreaAutoWidth || type == kAreaFixedWidth;
  if (m_lengthTip.isEmpty()) m_lengthTip = m_form->length->toolTip();
  m_form->length->setToolTip(follows ? QString::fromStdString(Supp_Translate(
                                           "The page is as long as the document; this length does not count"))
                                     : m_lengthTip);
  showNote();
}

/// What was typed before is no longer what the user is about.
void CMainSettings::forgetNote() {
  m_fieldNote.clear();
  showNote();
}

/// What keeps a field or the whole page from meaning what was typed.
void CMainSettings::showNote() {
  const ScanValues& v = params().values();
  QString why = m_fieldNote;
  if (why.isEmpty() && v.scanType == kAreaCustom && !(v.rcScan.height() > 0))
    why = QString::fromStdString(Supp_Translate("A custom size needs a length above 0."));
  if (why == m_form->note->text() && m_form->note->isHidden() == why.isEmpty()) return;
  m_form->note->setText(why);
  m_form->note->setVisible(!why.isEmpty());
  if (why.isEmpty()) return;
  // Once there is room for it.
  QTimer::singleShot(0, m_form->note, [note = m_form->note] {
    for (QWidget* w = note->parentWidget(); w; w = w->parentWidget()) {
      if (auto* area = qobject_cast<QScrollArea*>(w)) return area->ensureWidgetVisible(note, 0, 0);
    }
  });
  QAccessibleEvent alert(m_form->note, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void CMainSettings::showOrientation() {
  const ScanValues& v = params().values();
  m_form->portrait->setChecked(v.portrait != 0);
  m_form->landscape->setChecked(v.portrait == 0);
  const PaperRecord* paper = v.scanType == kAreaPaper ? findPaper(params().papers, v.paperName) : nullptr;
  // An orientation that the bed cannot take is no choice, unless the paper fits neither way.
  const bool tall = !paper || fitsBed(paper->size, true, v.bedWidth);
  const bool wide = !paper || fitsBed(paper->size, false, v.bedWidth);
  const bool applies = v.scanType == kAreaPaper;
  m_form->portrait->setEnabled(applies && (tall || !wide));
  m_form->landscape->setEnabled(applies && (wide || !tall));
}

void CMainSettings::showAutodetect() {
  const AutodetectEffect effect = autodetectEffect(params().values());
  m_form->bursting->setEnabled(effect.burstingAllowed);
  m_form->bursting->setChecked(params().values().bursting != 0 && effect.burstingAllowed);
  m_form->centre->setEnabled(effect.centreAllowed);
  showCentring();
}

void CMainSettings::showCentring() {
  m_form->centre->setChecked(params().values().center != 0);
  showArea();
}

void CMainSettings::updateSummary() {
  ScanValues& v = params().quiet();
  if (v.currMode == kModeDirect) return;
  SummaryParts parts;
  if (params().destination) params().destination->GetTargetText(&parts.target);
  parts.preset = m_form->presetList->currentText().toStdString();
  parts.mode = m_form->modeList->currentText().toStdString();
  parts.paper = m_form->areaList->currentText().toStdString();
  parts.detection = v.detectionText;
  if (isFound(v)) parts.found = foundNumbers(params().units(), v.found);
  parts.dpi = v.dpi;
  v.summary = settingsSummary(parts);
}

int CMainSettings::paramChanged(const char* key) {
  if (sameKey(key, key::RcScan))
    m_areaTyped = false;  // another area took its place
  else
    takeTypedArea();
  if (sameKey(key, key::PresetsChanged))
    showPresets();
  else
    showChosenPreset();
  if (sameKey(key, key::ScannerKeyPressed)) reactToKey();
  if (sameKey(key, key::ScanModesChanged)) reactToScanner();
  if (sameKey(key, key::Units)) showUnits();
  if (sameKey(key, key::Autodetect)) reactToAutodetect();
  if (sameKey(key, key::Center)) showCentring();
  if (sameKey(key, key::RcScan)) showArea();
  if (sameKey(key, key::Bursting)) {
    params().setIfChanged(scan_key::Bursting, autodetectEffect(params().values()).bursting);
    showAutodetect();
  }
  if (sameKey(key, key::ScanAreaType) || sameKey(key, key::PaperName)) reactToScanType();
  if (!m_applying && sameKey(key, key::Portrait)) {
    showOrientation();
    if (params().values().scanType == kAreaPaper) applyArea();
  }
  if (!m_applying && sameKey(key, key::Dpi)) showResolution(params().values().dpi);
  if (!m_applying && sameKey(key, key::CurrMode)) {
    const int index = m_form->modeList->findData(params().values().currMode);
    if (index >= 0) {
      m_form->modeList->setCurrentIndex(index);
      applyMode();
    }
  }
  params().quiet().addWidthPercent = m_form->added->value();
  updateSummary();
  return 1;
}

void CMainSettings::reactToKey() {
  const std::int32_t key = params().values().scannerKeyPressed;
  if (key == 0) return;
  PostCommand(this, kScannerKey, key);
  params().quiet().scannerKeyPressed = 0;
}

/// The scanner was set up: its modes, resolutions and bed may be others.
void CMainSettings::reactToScanner() {
  takeLimits();
  fillLists();
  showAll();
  showArea();
  // Not within this broadcast, which hides from others what follows from another mode.
  if (!isDirect() && m_form->modeList->findData(params().values().currMode) < 0)
    PostCommand(this, kModeList, kCodeSelected, m_form->modeList->currentIndex());
}

void CMainSettings::reactToAutodetect() {
  const AutodetectEffect effect = autodetectEffect(params().values());
  params().setIfChanged(scan_key::Bursting, effect.bursting);
  params().setIfChanged(scan_key::Center, effect.center);
  params().set(scan_key::BoundDetectDirty, 1);
  showAutodetect();
}

void CMainSettings::reactToScanType() {
  if (m_applying) return;
  const ScanValues& v = params().values();
  if (v.scanType < kAreaPaper) {
    selectArea(v.scanType);
  } else if (findPaper(params().papers, v.paperName)) {
    selectPaper(v.paperName);
  } else {
    return;
  }
  applyArea();
}

}  // namespace quillbay
