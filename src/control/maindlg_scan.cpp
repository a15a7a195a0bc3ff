#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include "control/command_ids.h"
#include "control/maindlg.h"
#include "control/scan_rectangle.h"
#include "destinations/file_destination.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "quillbay/scan_keys.h"
#include "stores/simple_stor.h"
#include "stores/view_nothing_stor.h"

namespace quillbay {

namespace {
/// How often a device is asked whether a document is loaded.
constexpr int kLoadedPollMs = 250;
}  // namespace

bool CMaindlg::beginRun(int wantedPages) {
  if (m_session.isBusy() || m_report.isRunning()) return false;
  m_stopAfterPage = false;
  m_stopAsked = false;
  m_report.begin(wantedPages);
  return true;
}

/// A start that came to nothing: the panel is as it was before it.
void CMaindlg::refuse(EndCause cause, UnitFault fault) {
  m_report.note(m_stopAsked ? EndCause::Stopped : cause, std::move(fault));
  m_session.setBatch(false);
  m_session.setFragment(false);
  if (m_session.burstActive()) BurstEnd();
  m_session.refused();
  finishRun();
}

bool CMaindlg::ClearHostRasters(ClearFor what) {
  const auto set = new_MemParam();
  if (values().multiPage) set->SetValue(script_key::MultiPage, 1);
  if (what == ClearFor::Connection) set->SetValue(script_key::Connect, 1);
  if (what == ClearFor::Preview) set->SetValue(script_key::Prescan, 1);
  // The host shall ask nobody in the middle of a run.
  if (m_session.batch() || m_session.burstActive()) set->SetValue(script_key::BatchScan, 1);
  return ExecCommand(script_key::ClearAllRasters, set.get()) == 0;
}

KxPtr<IParam> CMaindlg::CollectRequest() {
  auto request = new_MemParam();
  for (const PageRole role : currentPages()) {
    if (!page(role)->Save(request.get())) return {};
  }
  request->SetValue(key::PaperLength, values().paperLength);
  return request;
}

void CMaindlg::PushSettings() {
  if (!m_initialised || IsBusy()) return;
  if (const auto request = CollectRequest()) m_unit->Scan(m_scanSink.get(), request.get());
}

KxPtr<ISStripStor> CMaindlg::makeViewStore() const {
  // What nobody can see is not drawn.
  return m_viewSync.hasView() ? makeEmptyStore() : KxPtr<ISStripStor>::adopt(new CUnseenStor);
}

void CMaindlg::Scan() {
  const bool nextPage =
      m_session.state() == SessionState::BetweenPages || m_session.state() == SessionState::Waiting;
  if (!(nextPage ? m_session.continueRun() : m_session.start(SessionState::Scanning))) return;
  updateButtons();
  KxPtr<IParam> request;
  if (!prepareScan(request)) return;

  auto plan = makePlan(SessionState::Scanning);
  m_steps.straightening->Begin(values().skew);
  m_steps.colors->Put(request.get());
  request->SetValue(key::RequestType, kRequestScan);
  startUnit(request.get(), std::move(plan));
}

/// False, with a message, when the area is to be found and this panel cannot find any: what would be scanned
/// instead is an area that nobody chose.
bool CMaindlg::canFindArea() {
  if (values().scanType != kAreaAuto || m_steps.detection->IsOffered()) return true;
  showMessage(
      EventKind::Information,
      Supp_Translate("The size of the document cannot be found automatically. Choose a paper, a custom size "
                     "or a fixed width in the list \"Paper\"."),
      EventButtons::Ok);
  return false;
}

/// Everything before the paper moves. False when something refused; the panel is idle again then.
bool CMaindlg::prepareScan(KxPtr<IParam>& request) {
  quiet().detectionText.clear();
  quiet().batch = m_session.batch() ? 1 : 0;
  m_params->destinationStore->Reset();
  quiet().skew = 0;
  // Before the host lets go of pages and questions are asked: nothing of it would be of use.
  if (values().customScanValid == 0 && !canFindArea()) {
    refuse(EndCause::Refused);
    return false;
  }
  if (!ClearHostRasters(ClearFor::Scan)) {
    m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::Stop));
    refuse(EndCause::Refused);
    return false;
  }
  // What was typed last counts already for the name and the room that the file needs.
  if (IUIScanPage* main = page(PageRole::Main)) main->Save(new_MemParam().get());
  if (!m_destination->BeginScan()) {
    refuse(EndCause::Output);
    return false;
  }
  m_params->viewStore = makeViewStore();
  request = CollectRequest();
  if (!request) {
    refuse(EndCause::Refused);
    return false;
  }
  PostCommand(this, command::kRedrawView, 1, 0, true);
  m_params->set(scan_key::BoundDetectDirty, 1);
  SetStatus(2);
  m_session.setFragment(values().customScanValid != 0);

  if (!m_session.fragment() && !m_steps.detection->Detect(request.get(), -1)) {
    refuse(EndCause::Refused);
    return false;
  }
  setScanRectangle(request.get());
  if (!computePalette(request.get())) {
    refuse(EndCause::Device);
    return false;
  }
  const bool burstRuns = m_session.burstActive();
  if (!burstRuns && !m_session.fragment() && !MediaCheck()) {
    refuse(EndCause::Media, unitFault());
    return false;
  }
  if (values().bursting && !burstRuns && !m_session.fragment()) {
    m_burstArea = values().rcScan;
    m_session.setBurstActive(true);
  }
  // A message that was shown on the way let a stop in.
  if (!m_stopAsked) return true;
  refuse(EndCause::Stopped);
  return false;
}

void CMaindlg::setScanRectangle(IParam* request) {
  const ScanValues& v = values();
  const bool fragment = m_session.fragment();
  tagRRECT rect = applyLengthRule(computeScanRectangle({v.rcScan, v.addWidthPercent, v.bedWidth, v.minWidth,
                                                        v.center != 0, fragment, m_steps.detection->AreaFound()}),
                                  v.scanType);
  quiet().lastScanArea = rect;
  noteWidening(rect.width());
  if (fragment && !m_session.batch()) rect = v.rcCustomScan;
  request->SetValue(key::Rect, rect);
  request->SetValue(key::BatchMode, m_session.batch() ? 1 : 0);
  m_expectedLines = rect.height() > 0 ? roundHalfUp(mmToPixels(rect.height(), v.dpi)) : 0;
}

/// A run whose pages come out wider than they were asked for is told so, once.
void CMaindlg::noteWidening(double width) {
  const double asked = values().rcScan.width() * (1 + values().addWidthPercent * 0.01);
  const auto events = query<IEvents>(m_params->app());
  if (!events || m_report.pages() > 0 || m_session.fragment() || width <= asked + 0.01) return;
  CScanUnits& units = m_params->units();
  events->Note("quillbay.control",
               formatText(Supp_Translate("The scan is %s wide, the least width, instead of %s."),
                          {units.lengthText(width), units.lengthText(asked)})
                   .c_str());
}

bool CMaindlg::computePalette(IParam* request) {
  if (!m_steps.palette->IsNeeded()) return true;
  SetStatus(4);
  if (!m_steps.palette->Run(request, values().previewDpi)) return false;
  SetStatus(2);
  return true;
}

bool CMaindlg::MediaCheck() {
  while (!m_unit->Command(nullptr, static_cast<int>(UnitCommand::IsLoaded))) {
    if (m_stopAsked) return false;
    int answer = static_cast<int>(EventAnswer::GiveUp);
    showMessage(EventKind::Retry, Supp_Translate("Scanner not ready: <Media not loaded>"),
                EventButtons::RetryCancel, &answer);
    if (answer == static_cast<int>(EventAnswer::GiveUp)) return false;
  }
  return true;
}

/// Whether no page of the run follows the one being started, as far as is known.
bool CMaindlg::isLastPage() const {
  if (m_session.burstActive()) return false;
  return !m_session.batch() || m_stopAfterPage || m_report.isLastWanted();
}

std::shared_ptr<ScanPlan> CMaindlg::makePlan(SessionState kind) const {
  auto plan = std::make_shared<ScanPlan>();
  plan->kind = kind;
  const auto* files = dynamic_cast<const IFileDestination*>(m_destination.get());
  if (files) {
    plan->draft = files->draft(isLastPage());
  } else {
    plan->draft.names = makeNameContext(*m_params);
  }
  plan->draft.expectedLines = m_expectedLines;
  plan->destination = m_params->destinationStore;
  plan->view = m_params->viewStore;
  plan->straightening = m_steps.straightening;
  return plan;
}

/// Arms the router and the unit and runs the scan; a unit that refuses has said why, and the person hears it once.
void CMaindlg::startUnit(IParam* request, std::shared_ptr<ScanPlan> plan) {
  const bool preview = plan->kind != SessionState::Scanning;
  m_progress->setCancelled(false);
  m_router->arm(std::move(plan));
  enablePages(false);
  updateButtons();
  if (m_unit->Scan(m_scanSink.get(), request) &&
      m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::Run))) {
    return;
  }
  m_router->cancelArmed();
  const UnitFault fault = unitFault();
  const bool isMedia = fault.code == UnitFaultCode::NoDocuments;
  // The end of a run tells of a device that failed.
  if ((preview || isMedia) && !fault.text.empty())
    showMessage(EventKind::Information, fault.text, EventButtons::Ok);
  enablePages(true);
  if (preview) {
    m_session.refused();
    SetStatus(0);
    updateButtons();
    return;
  }
  refuse(isMedia ? EndCause::Media : EndCause::Device, fault);
}

void CMaindlg::Prescan() {
  if (m_report.isRunning() || !m_session.start(SessionState::Prescanning)) return;
  const auto request = ClearHostRasters(ClearFor::Preview) ? CollectRequest() : KxPtr<IParam>{};
  if (!request) {
    m_session.refused();
    return;
  }
  m_viewSync.invalidate();
  m_params->destinationStore->Reset();
  m_params->viewStore->Reset();
  m_params->previewStore = makeEmptyStore();
  m_prescanRows = 0;
  const tagRRECT frame = values().rcPreview;
  const double down = values().rcScan.top - frame.top;
  m_params->set(scan_key::RcPreview, {frame.left, frame.top + down, frame.right, frame.bottom + down});
  const bool fragment = values().customScanValid != 0;
  if (values().boundDetectDirty && !fragment && !m_steps.detection->Detect(request.get(), -1)) {
    m_session.refused();
    SetStatus(0);
    return;
  }
  const tagRRECT rect = applyLengthRule(values().rcScan, values().scanType);
  m_params->set(scan_key::RcScan, rect);
  quiet().lastScanArea = rect;
  request->SetValue(key::Rect, rect);
  StartPreview(request.get(), SessionState::Prescanning);
}

void CMaindlg::AreaPrescan() {
  if (m_directMode) return;
  if (IsBusy()) {
    m_previewTimer.restart();  // the visible part is still out of date
    return;
  }
  const auto area = CViewSync::visibleArea();
  if (!area || !m_session.start(SessionState::AreaPrescanning)) return;
  const auto request = ClearHostRasters(ClearFor::Preview) ? CollectRequest() : KxPtr<IParam>{};
  if (!request) {
    m_session.refused();
    return;
  }
  m_params->set(scan_key::RcPreview, *area);
  m_params->viewStore = makeEmptyStore();
  request->SetValue(key::Rect, *area);
  quiet().lastScanArea = *area;
  StartPreview(request.get(), SessionState::AreaPrescanning);
}

void CMaindlg::StartPreview(IParam* request, SessionState kind) {
  m_steps.colors->Put(request);
  const bool prescan = kind == SessionState::Prescanning;
  if (!computePalette(request)) {
    m_session.refused();
    SetStatus(0);
    return;
  }
  if (prescan) {
    request->SetValue(key::ImageDpi, values().previewDpi);
    if (!MediaCheck()) {
      m_session.refused();
      SetStatus(0);
      return;
    }
  }
  SetStatus(3);
  request->SetValue(key::RequestType, kRequestPrescan);
  startUnit(request, makePlan(kind));
}

void CMaindlg::BatchScan() {
  if (m_session.state() == SessionState::BetweenPages) {
    m_session.waitForNext();
  } else if (!m_session.start(SessionState::Waiting)) {
    return;
  }
  m_session.setBatch(true);
  updateButtons();
  waitForDocument();
}

/// Scans as soon as a document is loaded. Without a person before it, and in direct mode, the device is asked once.
void CMaindlg::waitForDocument() {
  if (m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::IsLoaded))) {
    Scan();
    return;
  }
  if (m_directMode || !isInteractive()) {
    refuse(EndCause::Media, unitFault());
    return;
  }
  auto* box = new QMessageBox(QMessageBox::NoIcon, windowTitle(),
                              QString::fromStdString(Supp_Translate("Wait for original loading....")),
                              QMessageBox::Cancel, this);
  box->setAttribute(Qt::WA_DeleteOnClose);
  auto* timer = new QTimer(box);
  connect(timer, &QTimer::timeout, box, [this, box] {
    if (m_session.state() != SessionState::Waiting) {
      box->done(QMessageBox::Close);
    } else if (m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::IsLoaded))) {
      box->done(QMessageBox::Close);
      Scan();
    }
  });
  connect(box, &QMessageBox::finished, this, [this](int result) {
    if (result == QMessageBox::Cancel && m_session.state() == SessionState::Waiting) {
      refuse(m_report.pages() > 0 ? EndCause::Done : EndCause::Media);
    }
  });
  timer->start(kLoadedPollMs);
  box->open();
}

void CMaindlg::BatchNext() {
  if (m_session.state() != SessionState::BetweenPages) return;
  m_params->viewStore->Reset();
  SetStatus(0);
  EjectDocument();
  m_viewSync.invalidate();
  BatchScan();
}

void CMaindlg::BurstNext() {
  if (m_session.state() != SessionState::BetweenPages) return;
  m_params->viewStore->Reset();
  SetStatus(0);
  tagRRECT area = values().rcScan;
  const double height = area.height();
  const double limit = m_unit->GetMaxLength();
  area.top = area.bottom;
  area.bottom += height;
  // The bed ends here: the last piece was the one before.
  if (height <= 0 || (limit > 0 && area.top >= limit - 0.001)) {
    refuse(EndCause::Done);
    return;
  }
  m_params->set(scan_key::RcScan, area);
  Scan();
}

void CMaindlg::BurstEnd() {
  m_params->viewStore->Reset();
  reportStoreError();
  m_params->destinationStore->Reset();
  SetStatus(0);
  if (!m_session.burstActive()) return;
  m_session.setBurstActive(false);
  m_params->set(scan_key::RcScan, m_burstArea);
}

}  // namespace quillbay
