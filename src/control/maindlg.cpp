#include "control/maindlg.h"

#include <QTimer>

#include "control/command_ids.h"
#include "control/panel_sink.h"
#include "control/param_access.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "stores/simple_stor.h"

namespace quillbay {

namespace {
/// How long closing waits for a device that does not answer before it is left to itself.
constexpr std::chrono::seconds kCloseLimit{10};
}  // namespace

CMaindlg::CMaindlg(IApp* app, IKxView* view, CWnd* parent, IScriptCmdSink* script, eTarnwellMode mode)
    : CDialog(parent),
      m_params(CSharedScanParams::acquire(app, &makeEmptyStore)),
      m_script(KxPtr<IScriptCmdSink>::share(script)),
      m_sink(KxPtr<PanelSink>::adopt(new PanelSink(this))),
      m_changeSink(this),
      m_viewSync(view),
      m_router(std::make_shared<ScanRouter>(this, &m_session)),
      m_scanSink(KxPtr<ScanSinkForwarder>::adopt(new ScanSinkForwarder(m_router))),
      m_progress(KxPtr<PanelProgress>::adopt(new PanelProgress)) {
  ScanValues& v = quiet();
  v.multiPageRequested = mode == ScanToViewMultiPage ? 1 : 0;
  v.mode = mode == ScanToViewMultiPage ? ScanToView : mode;
  m_params->setApp(app);
  m_previewTimer.addWindow(this, command::kPreviewTimer, 1);
  m_params->set(scan_key::MinDpi, 100);
  m_params->set(scan_key::PreviewDpi, 100);
  m_params->set(scan_key::MultiPage, v.multiPageRequested);
  m_params->set(scan_key::Dir, {});
  m_params->set(scan_key::Mask, "scan");
}

CMaindlg::~CMaindlg() {
  m_previewTimer.destroy();
  if (m_unit) {
    m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::Close));
    if (const auto outcome = query<IStoreOutcome>(m_params->destinationStore.get())) outcome->Wake();
    if (!m_router->waitIdle(kCloseLimit)) {
      logLine(LogLevel::Error, "quillbay.control",
              "scanner " + m_unitName + " did not end its scan; the panel closes without waiting for it");
    }
    m_router->disarm();
    // A whole page that only waits for its writer is kept.
    if (m_writerFinishes) {
      m_stopAfterPage = true;
      finishPage(false);
    }
    m_params->destinationStore->Reset();
    endRunFile();
    m_report.note(EndCause::Stopped);
    m_report.end();  // whoever heard a run begin hears its end
    if (m_initialised) SaveSettings();
    if (const auto ex = query<IQuillbayUnitEx>(m_unit.get())) ex->SetStationSink(nullptr);
    if (const auto sinks = KxPtr<IConnectionPoint<IScanSink>>::adopt(m_unit->GetScanSinks())) {
      sinks->Unsubscribe(m_scanSink.get());
    }
  }
  m_sink->dialogIsGone();
  m_changeSink.Unsubscribe();
  m_params->destination = nullptr;
  m_params->progress = nullptr;
  m_destination.reset();
  for (auto& p : m_pages) p.reset();
}

IQuillbaySink* CMaindlg::sink() const noexcept { return m_sink.get(); }

bool CMaindlg::OnCommand(int id, int code, std::int64_t value) {
  switch (id) {
    case command::kScan:
      m_startPosted = false;
      if (!beginRun(1)) return true;
      m_session.setBatch(false);
      Scan();
      return true;
    case command::kPrescan:
      m_startPosted = false;
      Prescan();
      return true;
    case command::kAreaPrescan: m_startPosted = false; [[fallthrough]];
    case command::kPreviewTimer: AreaPrescan(); return true;
    case command::kStop: StopRun(StopKind::Now); return true;
    case command::kStopAfterPage: StopRun(StopKind::AfterPage); return true;
    case command::kEject: EjectDocument(); return true;
    case command::kBatch:
      m_startPosted = false;
      if (beginRun(static_cast<int>(value))) BatchScan();
      return true;
    case command::kSwitchLayout: SwitchLayout(); return true;
    case command::kHelp: showHelp(); return true;
    case command::kScannerKey: m_params->set(scan_key::ScannerKeyPressed, code); return true;
    case command::kApplyParams: applyHostParams(); return true;
    case command::kStarted: onStarted(); return true;
    case command::kProgress: onProgress(); return true;
    case command::kPrescanStripes: onPrescanStripes(); return true;
    case command::kScanDone: onScanDone(code); return true;
    case command::kWritten: finishPage(false); return true;
    case command::kReady: onReady(); return true;
    case command::kRedrawPort:
    case command::kRedrawView: m_viewSync.invalidate(); return true;
    case command::kBatchNext: BatchNext(); return true;
    case command::kBurstNext: BurstNext(); return true;
    case command::kBurstEnd: BurstEnd(); return true;
    case command::kPageChanged: PageChanged(); return true;
    case command::kTabs: showTab(static_cast<int>(value)); return true;
    default: return CDialog::OnCommand(id, code, value);
  }
}

int CMaindlg::OnParamChanging(const char* key) {
  if (sameKey(key, scan_key::CurrMode.name)) {
    quiet().colorSpace = colorSpaceOfMode(values().currMode);
    fillTabs();
  } else if (sameKey(key, scan_key::RcPreview.name)) {
    PostCommand(this, command::kRedrawPort, 1, 0, true);
  }
  return 0;
}

int CMaindlg::EnableViewSync(int enable) { return m_viewSync.enable(enable); }

int CMaindlg::ApplyParams(IParam* params) {
  auto copy = new_MemParam();
  Param_CopyTo(params, copy.get());
  {
    const std::lock_guard lock(m_hostMutex);
    std::swap(m_hostParams, copy);
  }
  PostCommand(this, command::kApplyParams, 1);
  return 1;
}

void CMaindlg::applyHostParams() {
  const auto given = [this] {
    const std::lock_guard lock(m_hostMutex);
    return m_hostParams;
  }();
  if (!given) return;
  const NotifyGuard guard;
  const auto merged = new_MemParam();
  GetPageParams(merged.get());
  Param_CopyTo(given.get(), merged.get());
  const std::int32_t mode = values().currMode;
  for (const PageRole role : currentPages()) page(role)->Load(merged.get());
  // Under the guard nobody tells this dialog of another mode.
  if (values().currMode != mode) OnParamChanging(scan_key::CurrMode.name);
  m_destination->LoadParams(merged.get());
}

int CMaindlg::SetParam(std::string_view key, const CKxVariant& value, std::string* why) {
  const std::string refusal = setScanParam(*m_params, *m_unit, key, value);
  if (refusal.empty()) return 1;
  if (why) *why = refusal;
  return 0;
}

int CMaindlg::GetParam(std::string_view key, CKxVariant* out) const { return getScanParam(values(), key, out); }

int CMaindlg::GetPageParams(IParam* out) {
  for (const PageRole role : currentPages()) page(role)->Save(out);
  m_destination->SaveParams(out);
  return 1;
}

int CMaindlg::Start(StartKind kind, int count) {
  if (m_startPosted || IsBusy()) return 0;
  m_startPosted = true;
  switch (kind) {
    case StartKind::Scan: PostCommand(this, command::kScan, 1); break;
    case StartKind::Prescan: PostCommand(this, command::kPrescan, 1); break;
    case StartKind::AreaPrescan: PostCommand(this, command::kAreaPrescan, 1); break;
    case StartKind::Batch: PostCommand(this, command::kBatch, 1, count); break;
  }
  return 1;
}

int CMaindlg::StopRun(StopKind kind) {
  if (m_startPosted) {  // after the start that waits
    PostCommand(this, kind == StopKind::Now ? command::kStop : command::kStopAfterPage, 1);
    return 1;
  }
  if (kind == StopKind::AfterPage) {
    m_stopAfterPage = true;
    updateButtons();
    return 1;
  }
  m_stopAsked = m_report.isRunning();
  m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::Stop));
  if (m_session.state() == SessionState::Waiting || m_session.state() == SessionState::BetweenPages) {
    m_session.setBatch(false);
    refuse(EndCause::Stopped);
    return 1;
  }
  // A scanner that waits for a full queue notices the stop only when it is let go.
  if (m_session.state() == SessionState::Scanning) {
    if (const auto outcome = query<IStoreOutcome>(m_params->destinationStore.get())) outcome->Wake();
  }
  return 1;
}

int CMaindlg::EjectDocument() {
  if (m_session.isBusy() && m_session.state() != SessionState::BetweenPages) return 0;
  m_params->destinationStore->Reset();
  m_params->previewStore->Reset();
  m_params->viewStore->Reset();
  ForgetPalette();
  PostCommand(this, command::kRedrawView, 1, 0, true);
  const int rewind = values().rewind;
  if (rewind == 0 || rewind == 1) {
    m_unit->Command(m_scanSink.get(), rewind + static_cast<int>(UnitCommand::UnloadForward));
  }
  m_params->set(scan_key::BoundDetectDirty, 1);
  return 1;
}

int CMaindlg::IsBusy() const { return m_session.isBusy() || m_report.isRunning() ? 1 : 0; }

void CMaindlg::clearBatch() { m_session.setBatch(false); }

IRStor* CMaindlg::viewRaster() {
  IRStor* raster = nullptr;
  m_params->viewStore->Finish(&raster, 0, 0);
  return raster;
}

void CMaindlg::PageChanged() {
  PushSettings();
  if (!values().disablePreview) m_previewTimer.restart();
}

void CMaindlg::AreaChanged() { m_viewSync.setArea(values().rcScan, static_cast<std::uint32_t>(values().dpi)); }

int CMaindlg::DetectArea(int mask) {
  const auto request = CollectRequest();
  if (!request) return 0;
  return m_steps.detection->Detect(request.get(), mask) != 0 && m_steps.detection->AreaFound() ? 1 : 0;
}

int CMaindlg::ExecCommand(const char* name, IParam* arguments) {
  return m_script ? m_script->ExecCommand(name, arguments) : 0;
}

bool CMaindlg::isInteractive() const {
  const auto interior = query<IAppInterior>(m_params->app());
  return !interior || interior->IsInteractive() != 0;
}

UnitFault CMaindlg::unitFault() const {
  const auto faults = query<IUnitFault>(m_unit.get());
  return faults ? faults->GetFault() : UnitFault{};
}

void CMaindlg::showMessage(EventKind kind, const std::string& text, EventButtons buttons, int* answer) {
  const auto events = query<IEvents>(m_params->app());
  if (!events) {
    logLine(LogLevel::Warning, "quillbay.control", text);
    return;
  }
  const int given = events->Message(static_cast<int>(kind), text.c_str(), 0, static_cast<int>(buttons));
  if (answer) *answer = given;
}

void CMaindlg::SetStatus(int state) {
  static constexpr const char* kTexts[] = {"Ready...", "Detecting margins....", "Scanning....",
                                           "Scanning preview....", "Calculate palette...."};
  if (m_status) m_status->setText(m_unitName + " " + Supp_Translate(kTexts[state]));
}

}  // namespace quillbay
