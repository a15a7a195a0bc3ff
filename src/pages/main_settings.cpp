#include "pages/main_settings.h"

#include <QLineEdit>
#include <QMenu>
#include <QScopedValueRollback>
#include <QStandardItemModel>
#include <utility>

#include "pages/paper_delegate.h"
#include "pages/paper_list.h"
#include "pages/scan_area.h"
#include "platform/base_services.h"
#include "platform/preset_manager.h"
#include "quillbay/events.h"
#include "ui_main_settings.h"

namespace quillbay {

namespace {

constexpr int kApplyTicks = 20;
constexpr int kDetectWidthMask = 8;

}  // namespace

CMainSettings::CMainSettings(IPanelController& controller, KxPtr<CSharedScanParams> params)
    : CTab(controller, std::move(params), kNumber), m_form(std::make_unique<Ui::MainSettings>()) {
  m_applyTimer.addWindow(this, kApplyArea);
  m_applyTimer.start(kApplyTicks, false);
}

CMainSettings::~CMainSettings() { m_applyTimer.destroy(); }

std::string CMainSettings::GetTitle() { return Supp_Translate("Main"); }

void CMainSettings::createForm(int) {
  m_form->setupUi(this);
  for (LengthSpin* field : lengthFields()) {
    field->setUnits(&params().units());
    connect(field, &UnitSpin::noted, this, [this](const QString& why) {
      m_fieldNote = why;
      showNote();
    });
    connect(field, &UnitSpin::edited, this, &CMainSettings::forgetNote);
  }
  m_form->areaList->setItemDelegate(new PaperDelegate(m_form->areaList));
  takeLimits();
  m_form->resolutionList->setEditable(m_dpiRange.has_value());
  if (auto* typed = m_form->resolutionList->lineEdit()) {
    typed->setAccessibleName(m_form->resolutionList->accessibleName());
    m_form->resolutionList->setCompleter(nullptr);  // it would make 600 of a 60
    // What the device does not take gives way to the resolution that stands.
    connect(typed, &QLineEdit::editingFinished, this, [this] { showResolution(selectedDpi()); });
  }
  makePresetMenu();
  fillLists();
  showAll();
}

void CMainSettings::takeLimits() {
  const double maxLength = controller().Unit()->GetMaxLength();
  const double longest = maxLength > 0 ? maxLength : 1e6;
  const ScanValues& v = params().values();
  m_form->width->setLimits(std::min(v.minWidth, v.bedWidth), v.bedWidth);
  m_form->offset->setLimits(0, v.bedWidth);
  m_form->top->setLimits(0, longest);
  m_form->length->setLimits(0, longest);
  m_dpiRange = resolutionRange(*controller().Unit());
}

bool CMainSettings::OnPageCommand(int id, int code, std::int64_t value) {
  if (id < kWidth || id > kLength) takeTypedArea();  // before what depends on it
  switch (id) {
    case kScannerKey: stepList(code); return true;
    case kApplyArea:
      m_applyTimer.start(kApplyTicks, false);
      showArea();
      params().set(scan_key::UpdateRect, params().values().updateRect ? 0 : 1);
      controller().AreaChanged();
      return true;
    case kDetect: detectArea(); return true;
    case kPortrait: setOrientation(true); return true;
    case kLandscape: setOrientation(false); return true;
    case kCentre: takeCentring(m_form->centre->isChecked() ? 1 : 0); return true;
    case kDetectWidth: toggleDetection(2); return true;
    case kDetectLength: toggleDetection(4); return true;
    case kDetectPosition: toggleDetection(kDetectCentreFree); return true;
    case kDetectSkew: toggleDetection(16); return true;
    case kBursting: params().set(scan_key::Bursting, m_form->bursting->isChecked() ? 1 : 0); return true;
    case kPresetList:
      // By its place: the list may show the one that was chosen before again.
      if (code == kCodeAccepted) choosePreset(static_cast<int>(value));
      return true;
    case kCreatePreset:
      if (controller().Presets()) controller().Presets()->Create(IPresetManager::kAnyPage);
      return true;
    case kDeletePreset: deletePreset(m_form->presetList->currentIndex()); return true;
    default: return code == kCodeSelected ? choose(id) : edited(id);
  }
}

bool CMainSettings::choose(int id) {
  m_fieldNote.clear();  // another choice answers it
  switch (id) {
    case kModeList: applyMode(); return true;
    case kAreaList:
      if (selectedData(m_form->areaList) == kMorePapers)
        showMorePapers();
      else
        chooseArea();
      return true;
    case kResolutionList: applyResolution(); return true;
    default: return false;
  }
}

bool CMainSettings::edited(int id) {
  switch (id) {
    case kResolutionList:
      forgetNote();
      resolutionTyped();
      return true;
    case kAddedWidth:
      forgetNote();
      params().quiet().addWidthPercent = m_form->added->value();
      return true;
    case kWidth:
    case kOffset:
    case kTop:
    case kLength:
      m_areaTyped = true;
      m_applyTimer.restart();
      return true;
    default: return false;
  }
}

/// An area that the user names is scanned as it is; one that is to be found needs the search.
void CMainSettings::chooseArea() {
  const int chosen = selectedData(m_form->areaList);
  const bool finds = chosen == kAreaAuto || chosen == kAreaAutoWidth;
  if (params().values().offersDetection && chosen >= 0 && finds != (params().values().autodetect != 0))
    params().set(scan_key::Autodetect, finds ? kDetectAll : 0);
  applyArea();
}

void CMainSettings::applyArea() {
  const int chosen = selectedData(m_form->areaList);
  if (chosen < 0) return;
  const QScopedValueRollback applying(m_applying, true);
  takeTypedArea();
  controller().ForgetPalette();
  const std::size_t paper =
      chosen >= kAreaPaper ? static_cast<std::size_t>(chosen - kAreaPaper) : params().papers.size();
  if (paper < params().papers.size()) params().setIfChanged(scan_key::PaperName, params().papers[paper].name);
  params().setIfChanged(scan_key::ScanType, std::min<int>(chosen, kAreaPaper));
  if (paper < params().papers.size()) {
    const tagRSIZE& size = params().papers[paper].size;
    const ScanValues& v = params().values();
    const bool portrait = usableOrientation(size, v.portrait != 0, v.bedWidth);
    params().setIfChanged(scan_key::Portrait, portrait ? 1 : 0);
    params().setIfChanged(scan_key::RcScan, paperArea(size, v));
  }
  // While loading, detection may still be switched off.
  if (!isLoading()) params().setIfChanged(scan_key::Bursting, autodetectEffect(params().values()).bursting);
  showAutodetect();
  showOrientation();
  showArea();
  updateSummary();
}

void CMainSettings::applyResolution() {
  const QScopedValueRollback applying(m_applying, true);
  params().set(scan_key::Dpi, selectedDpi());
  updateSummary();
}

void CMainSettings::resolutionTyped() {
  const int typed = m_form->resolutionList->currentText().toInt();
  if (m_dpiRange && m_dpiRange->holds(typed)) applyResolution();
}

bool CMainSettings::isDirect() const { return params().values().currMode == kModeDirect; }

std::array<LengthSpin*, 4> CMainSettings::lengthFields() const {
  return {m_form->width, m_form->offset, m_form->length, m_form->top};
}

void CMainSettings::applyMode() {
  const QScopedValueRollback applying(m_applying, true);
  controller().ForgetPalette();
  params().set(scan_key::CurrMode, selectedMode());
  fillResolutions(params().values().currMode);
  params().setIfChanged(scan_key::Dpi, selectedDpi());
  updateSummary();
}

void CMainSettings::setOrientation(bool portrait) {
  {
    const QScopedValueRollback applying(m_applying, true);
    params().set(scan_key::Portrait, portrait ? 1 : 0);
  }
  applyArea();  // outside that broadcast: others hear of the area, too
}

void CMainSettings::takeCentring(std::int32_t wished) {
  params().set(scan_key::Center, allowedCentring(params().values().centring, wished));
  showCentring();
}

void CMainSettings::stepList(int key) {
  if (!isEnabled()) return;  // a page is being scanned with these settings
  const KeyStep step = keyStep(key);
  if (isDirect() && (step.list == KeyList::Mode || step.list == KeyList::Area)) return;
  QComboBox* list = nullptr;
  switch (step.list) {
    case KeyList::Mode: list = m_form->modeList; break;
    case KeyList::Area: list = m_form->areaList; break;
    case KeyList::Resolution: list = m_form->resolutionList; break;
    case KeyList::Preset: list = m_form->presetList; break;
    case KeyList::None: return;
  }
  int next = stepIndex(list->currentIndex(), list->count(), step.step);
  const auto* entries = qobject_cast<const QStandardItemModel*>(list->model());
  const auto isChoice = [&](int row) {
    return (!entries || entries->item(row)->isEnabled()) && list->itemData(row).toInt() != kMorePapers;
  };
  for (int i = 0; i < list->count() && next >= 0 && !isChoice(next); ++i)
    next = stepIndex(next, list->count(), step.step);
  if (next < 0) return;
  list->setCurrentIndex(next);
  OnCommand(list->property("controlId").toInt(), step.list == KeyList::Preset ? kCodeAccepted : kCodeSelected,
            next);
}

void CMainSettings::toggleDetection(int bit) {
  params().set(scan_key::Autodetect, params().values().autodetect ^ bit);
}

void CMainSettings::detectArea() {
  const bool widthOnly = params().values().scanType == kAreaFixedWidth;
  // Who finds nothing, or was cancelled, has said so.
  if (controller().DetectArea(widthOnly ? kDetectWidthMask : kDetectAll) == 0) return;
  takeCentring(params().values().centring == kAlwaysCentres ? 1 : 0);
  showArea();
  updateSummary();
}

/// The countdown goes on: whoever shows the area hears of it once, after the last of many changes.
void CMainSettings::takeTypedArea() {
  if (!std::exchange(m_areaTyped, false)) return;
  const AreaFields fields{m_form->width->millimetres(), m_form->offset->millimetres(), m_form->top->millimetres(),
                          m_form->length->millimetres()};
  params().setIfChanged(scan_key::RcScan, areaOf(fields, params().values()));
  showArea();
}

std::string CMainSettings::GetRefusal() {
  std::string why = finishEdits(lengthFields());
  takeTypedArea();
  const ScanValues& v = params().values();
  if (why.empty() && v.scanType == kAreaCustom && !(v.rcScan.height() > 0))
    why = Supp_Translate(
        "The custom size has a length of 0. Type a length, or choose Fixed Width to scan to the end of the "
        "document.");
  return why;
}

void CMainSettings::fillMenu(QMenu& menu) {
  addToMenu(menu, *m_form->portrait, kPortrait);
  addToMenu(menu, *m_form->landscape, kLandscape);
  menu.addSeparator();
  addToMenu(menu, *m_form->detect, kDetect);
  if (!params().values().offersDetection) return;
  struct Bit {
    const char* text;
    int id, bit;
  };
  static constexpr Bit kBits[] = {{"Detect the width", kDetectWidth, 2},
                                  {"Detect the length", kDetectLength, 4},
                                  {"Detect the position", kDetectPosition, kDetectCentreFree},
                                  {"Detect the skew", kDetectSkew, 16}};
  for (const Bit& b : kBits)
    addToMenu(menu, Supp_Translate(b.text), b.id, (params().values().autodetect & b.bit) != 0);
}

}  // namespace quillbay
