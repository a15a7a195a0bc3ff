#include "pages/scan_setup.h"

#include <QShowEvent>
#include <algorithm>
#include <utility>

#include "pages/field_texts.h"
#include "params/found_angle.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "ui_scan_setup.h"

namespace quillbay {

namespace {

constexpr double kLeastPrescan = 50, kMostPrescan = 100000, kPrescanStep = 10;  // mm
constexpr int kLeastThreshold = 10, kMostThreshold = 192;
constexpr int kLeastDelay = 1, kMostDelay = 100;  // half seconds
constexpr int kStays = 2;                         // the document, in `ScanValues::rewind`
constexpr UnitKeyRange kUsualSpeeds{100, 25, 100, 25};

QString shown(const std::string& english) { return QString::fromStdString(Supp_Translate(english)); }

}  // namespace

CScanSetup::CScanSetup(IPanelController& controller, KxPtr<CSharedScanParams> params)
    : CTab(controller, std::move(params), kNumber), m_form(std::make_unique<Ui::ScanSetup>()) {}

CScanSetup::~CScanSetup() = default;

std::string CScanSetup::GetTitle() { return Supp_Translate("Scanner Setup"); }

void CScanSetup::createForm(int) {
  m_form->setupUi(this);
  m_setup = UnitSetupOf(controller().Unit(), {});
  m_form->modelSetup->setEnabled(static_cast<bool>(m_setup));
  if (!m_setup) m_form->modelSetup->setToolTip(shown("This scanner has no settings of its own"));
  m_form->units->addItem(shown("mm"), kMillimetres);
  m_form->units->addItem(shown("inch"), kInches);
  m_form->eject->addItem(shown("Unload forward"), 0);
  m_form->eject->addItem(shown("Unload to back"), 1);
  m_form->eject->addItem(shown("Leave in the scanner"), kStays);
  takeSpeedRange();
  m_form->speed->setValue(m_usualSpeed);
  limitFields();
  explain();
  showValues();
}

/// A scanner that does not know the speed has one alone.
void CScanSetup::takeSpeedRange() {
  UnitKeyRange range = kUsualSpeeds;
  const auto ranges = query<IUnitKeyRanges>(controller().Unit());
  const bool isKnown = ranges && ranges->GetKeyRange(key::ScanSpeed, &range) != 0;
  m_form->speed->setRange(static_cast<int>(range.least), static_cast<int>(range.most));
  m_form->speed->setSingleStep(std::max(1, static_cast<int>(range.step)));
  m_form->speed->setPageStep(m_form->speed->singleStep());
  m_usualSpeed = static_cast<int>(range.initial);
  for (QWidget* part : {static_cast<QWidget*>(m_form->speed), static_cast<QWidget*>(m_form->speedLabel),
                        static_cast<QWidget*>(m_form->slow), static_cast<QWidget*>(m_form->normal)})
    part->setEnabled(isKnown);
  m_form->speed->setToolTip(isKnown
                                ? shown("Slower is for delicate documents, and for a disk or network that cannot "
                                        "keep up")
                                : shown("This scanner has one speed, or sets it in Model Setup"));
}

std::array<UnitSpin*, 3> CScanSetup::fields() const {
  return {m_form->prescanLength, m_form->threshold, m_form->answerDelay};
}

void CScanSetup::limitFields() {
  m_form->prescanLength->setUnits(&params().units());
  m_form->prescanLength->setLimits(kLeastPrescan, kMostPrescan);
  m_form->prescanLength->setStep(kPrescanStep);
  m_form->threshold->setLimits(kLeastThreshold, kMostThreshold);
  m_form->answerDelay->setLimits(kLeastDelay, kMostDelay);
  for (UnitSpin* field : fields()) showNotesOf(*field, m_form->note);
}

/// What depends on other choices says so.
void CScanSetup::explain() {
  const bool straightens = params().values().deskew != 0;
  m_form->standardPapers->setEnabled(!straightens);
  m_form->standardPapers->setToolTip(
      straightens ? shown("Not with Auto deskew: a straightened document keeps the size that was found")
                  : shown("The found area grows to the smallest paper of the list that holds it"));
}

bool CScanSetup::answersMessages() const { return params().values().currMode != kModeDirect; }

void CScanSetup::showValues() {
  const ScanValues& v = params().values();
  m_form->units->setCurrentIndex(m_form->units->findData(v.units != kMillimetres ? kInches : kMillimetres));
  m_form->eject->setCurrentIndex(m_form->eject->findData(v.rewind == 0 || v.rewind == 1 ? v.rewind : kStays));
  m_form->prescanLength->setMillimetres(v.paperLength);
  m_form->threshold->setValue(v.autoPaper);
  m_form->answerDelay->setValue(v.autoAnswerDelay);
  m_form->standardPapers->setChecked(v.standardPapers != 0);
  m_form->autoAnswer->setChecked(v.autoAnswer != 0);
  m_form->deskew->setChecked(v.deskew != 0);
  m_form->answerDelay->setEnabled(v.autoAnswer != 0);
  ILinearUnit* unit = params().units().current();
  m_form->lengthUnit->setText(unit ? QString::fromStdString(unit->GetName()) : QString());
  m_form->prescanLength->redisplay();
  explain();
}

/// Values without a broadcast may have changed while the page was hidden.
void CScanSetup::showEvent(QShowEvent* event) {
  if (!event->spontaneous()) showValues();
  CTab::showEvent(event);
}

int CScanSetup::paramChanged(const char* key) {
  for (const char* own : {key::Units, key::Rewind, key::PaperLength, key::DetectionThreshold, key::StandardPapers,
                          key::AutoAnswerDelay, key::AutoAnswerEnable, key::Deskew}) {
    if (sameKey(key, own)) showValues();
  }
  if (sameKey(key, key::ScanModesChanged)) takeSpeedRange();
  return 1;
}

bool CScanSetup::OnPageCommand(int id, int code, std::int64_t) {
  ScanValues& v = params().quiet();
  switch (id) {
    case kSpeed: return true;
    case kUnits:
      if (code == kCodeSelected) params().setIfChanged(scan_key::Units, m_form->units->currentData().toInt());
      return true;
    case kEject:
      if (code == kCodeSelected) v.rewind = m_form->eject->currentData().toInt();
      return true;
    case kPrescanLength: v.paperLength = m_form->prescanLength->millimetres(); return detectionChanged(), true;
    case kThreshold: v.autoPaper = static_cast<int>(m_form->threshold->value()); return detectionChanged(), true;
    case kStandardPapers:
      v.standardPapers = m_form->standardPapers->isChecked() ? 1 : 0;
      return detectionChanged(), true;
    case kDeskew:
      setDeskew(params(), m_form->deskew->isChecked());
      explain();
      return detectionChanged(), true;
    case kAutoAnswer:
      v.autoAnswer = m_form->autoAnswer->isChecked() ? 1 : 0;
      m_form->answerDelay->setEnabled(v.autoAnswer != 0);
      return true;
    case kAnswerDelay: v.autoAnswerDelay = static_cast<int>(m_form->answerDelay->value()); return true;
    case kModelSetup: return setUpModel(), true;
    default: return false;
  }
}

void CScanSetup::detectionChanged() { params().set(scan_key::BoundDetectDirty, 1); }

/// The unit answers whether a document is loaded; some show that in their dialog.
void CScanSetup::setUpModel() {
  if (!m_setup) return;
  std::ignore = controller().Unit()->Command(nullptr, static_cast<int>(UnitCommand::IsLoaded));
  const auto setup = m_setup;
  const auto shared = KxPtr<CSharedScanParams>::share(&params());
  // The page outlives this call, also when the host closes the panel meanwhile (`IPanelController::Guarded`).
  if (setup->Show(this)) shared->NotifyParam(key::ScanModesChanged);
}

int CScanSetup::Load(IParam* store) {
  const Loading loading(*this);
  loadValues(store, paramInt(store, key::ResetMark) != 0);
  showValues();
  if (m_setup && m_setup->Load(store)) params().NotifyParam(key::ScanModesChanged);
  return 1;
}

void CScanSetup::loadValues(IParam* store, bool resets) {
  const ScanValues defaults;
  ScanValues& v = params().quiet();
  const auto number = [&](const char* key, std::int32_t now, std::int32_t fallback) {
    return paramInt(store, key, resets ? fallback : now);
  };
  const auto flag = [&](const char* key, std::int32_t now, std::int32_t fallback) {
    return number(key, now, fallback) != 0 ? 1 : 0;
  };
  m_form->speed->setValue(number(key::ScanSpeed, m_form->speed->value(), m_usualSpeed));
  v.rewind = number(key::Rewind, v.rewind, defaults.rewind);
  const double length = paramDouble(store, key::PaperLength, resets ? defaults.paperLength : v.paperLength);
  v.paperLength = std::clamp(length, kLeastPrescan, kMostPrescan);
  v.autoPaper =
      std::clamp(number(key::DetectionThreshold, v.autoPaper, defaults.autoPaper), kLeastThreshold, kMostThreshold);
  v.standardPapers = flag(key::StandardPapers, v.standardPapers, defaults.standardPapers);
  if (answersMessages()) {
    v.autoAnswerDelay = std::clamp(number(key::AutoAnswerDelay, v.autoAnswerDelay, defaults.autoAnswerDelay),
                                   kLeastDelay, kMostDelay);
    v.autoAnswer = flag(key::AutoAnswerEnable, v.autoAnswer, defaults.autoAnswer);
  }
  setDeskew(params(), flag(key::Deskew, v.deskew, defaults.deskew) != 0);
  params().setIfChanged(scan_key::Units, flag(key::Units, v.units, defaults.units));
}

int CScanSetup::Save(IParam* store) {
  const ScanValues& v = params().values();
  store->SetValue(key::ScanSpeed, m_form->speed->value());
  store->SetValue(key::Units, v.units);
  store->SetValue(key::Rewind, v.rewind);
  store->SetValue(key::PaperLength, v.paperLength);
  store->SetValue(key::DetectionThreshold, v.autoPaper);
  store->SetValue(key::StandardPapers, v.standardPapers);
  if (answersMessages()) {
    store->SetValue(key::AutoAnswerDelay, v.autoAnswerDelay);
    store->SetValue(key::AutoAnswerEnable, v.autoAnswer);
  }
  store->SetValue(key::Deskew, v.deskew);
  store->SetValue(key::FileFate, v.fileFate);
  if (m_setup) m_setup->Save(store);
  return 1;
}

std::string CScanSetup::GetRefusal() { return finishEdits(fields()); }

}  // namespace quillbay
