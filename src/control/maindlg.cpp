#include "control/maindlg.h"

#include <QKeyEvent>
#include <QTabBar>
#include <QVBoxLayout>
#include <utility>

#include "analysis/deskew_stage.h"
#include "control/command_ids.h"
#include "control/panel_sink.h"
#include "control/start_commands.h"
#include "destinations/destination_factory.h"
#include "params/found_text.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "preview/first_frame.h"
#include "quillbay/scan_keys.h"
#include "stores/scan_buffer.h"
#include "stores/scan_to_file_stor.h"
#include "stores/simple_stor.h"

namespace quillbay {

namespace {

constexpr int kPreviewTicks = 25;
constexpr const char* kLog = "quillbay.control";

}  // namespace

CMaindlg::CMaindlg(IApp* app, IKxView* view, CWnd* parent, IScriptCmdSink* script, eTarnwellMode mode)
    : CDialog(parent),
      m_params(CSharedScanParams::acquire(app, &makeEmptyStore)),
      m_sink(KxPtr<PanelSink>::adopt(new PanelSink(this))),
      m_changeSink(this),
      m_viewSync(KxPtr<CViewSync>::adopt(
          new CViewSync(m_params.get(), [this] { return m_run.isBusy() && !isPreview(m_run.kind()); }))),
      m_host(m_guard.life(), m_params, script),
      m_router(std::make_shared<ScanRouter>(this)),
      m_scanSink(KxPtr<ScanSinkForwarder>::adopt(new ScanSinkForwarder(m_router))),
      m_scanner(m_guard.life(), m_scanSink.get()),
      m_presets(*this, this, m_params),
      m_pages(*this, m_params),
      m_parts{*m_params, m_run, m_host, m_scanner, m_pages, m_steps},
      m_settings(m_parts),
      m_performer(this, m_parts, m_router, *m_viewSync, m_previewTimer),
      m_progress(KxPtr<PanelProgress>::adopt(new PanelProgress)),
      m_focus(this),
      m_preview(std::make_unique<PanelPreview>(m_params)),
      m_valuesBefore(m_params->values()) {
  m_steps.straightening = std::make_shared<DeskewStage>(&newScanBuffer);
  m_guard.onFailure([this](const std::string& what) {
    m_performer.fail(what);
    PostCommand(this, command::kApplyParams, 1);  // what waited for the end of the page
  });
  m_steps.detection = &m_detection;
  m_parts.presets = &m_presets;
  m_parts.stateChanged = [this] { showState(); };
  m_parts.areaFound = [this] { AreaChanged(); };
  m_parts.settingsApplied = [this](bool modeChanged) {
    m_presets.forgetChosen();
    if (modeChanged) OnParamChanging(scan_key::CurrMode.name);
    takeArea();
  };
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
  m_viewSync->Attach(v.mode, view);
}

CMaindlg::~CMaindlg() {
  m_preview.reset();
  m_destination.reset();
  m_pages.destroy();
}

void CMaindlg::leaveWindow() {
  m_preview->close();
  m_guard.guarded([&] {
    m_previewTimer.destroy();
    if (m_scanner.isConnected()) {
      m_performer.close();
      if (m_initialised) SaveSettings();
      m_scanner.disconnect();
    }
    return 1;
  });
  m_viewSync->Detach();
  m_sink->dialogIsGone();
  m_changeSink.Unsubscribe();
  if (!m_initialised) {
    quiet() = m_valuesBefore;
    m_params->NotifyParam(scan_key::Dir.name);
    m_params->NotifyParam(scan_key::Mask.name);
  }
  // Another panel of the process may have put its own there.
  if (m_params->destination == m_destination.get()) m_params->destination = nullptr;
  if (m_params->progress.get() == m_progress.get()) m_params->progress = nullptr;
  if (m_guard.leave()) return delete this;
  setParent(nullptr);  // hides it, too
}

IQuillbaySink* CMaindlg::sink() const noexcept { return m_sink.get(); }

int CMaindlg::ConnectScanner() {
  if (m_performer.othersRun()) {
    logLine(LogLevel::Error, kLog, "another panel of the process is scanning: no panel can be opened now");
    return 0;
  }
  return m_guard.guarded([&] { return m_scanner.connect(*m_params, m_host, m_sink.get()) ? 1 : 0; });
}

int CMaindlg::StartUp() {
  return m_guard.guarded([&] {
    quiet().hasScriptSyntax = static_cast<bool>(query<IScriptSyntaxParam>(m_params->app()));
    m_directMode = m_scanner.takeDirectMode(*m_params);  // before lists and pages, which follow it
    makeForm();
    makeDestination();
    if (!m_destination) return 0;
    m_pages.create(m_form->pageArea());
    if (m_pages.paletteDetector()) {
      m_palette = std::make_unique<PalettePrescan>(m_parts, m_pages.paletteDetector());
      m_steps.palette = m_palette.get();
    }
    if (!m_directMode) m_preview->create(*this, this, *m_form);
    m_steps.preview = m_preview->page();
    m_changeSink.Subscribe(m_params->connectionPoint());
    m_layout = m_settings.load();
    m_form->fillTabs(m_pages);
    m_form->orderTabbing();
    AreaChanged();
    m_viewSync->invalidate();
    layoutPanel();
    m_initialised = true;
    m_performer.pushSettings();
    m_previewTimer.start(kPreviewTicks, false);
    return 1;
  });
}

void CMaindlg::makeForm() {
  m_form = std::make_unique<PanelForm>(this);
  m_parts.status = &m_form->status();
  m_form->status().onCancel = [this] { buttonPressed(command::kStop); };
  m_toolbar =
      std::make_unique<PanelToolbar>(m_form->toolbar(), this, static_cast<bool>(query<IHelp>(m_params->app())),
                                     [this](int id) { buttonPressed(id); });
  attachControls();
  connect(m_form->tabs(), &QTabBar::currentChanged, this,
          [this](int index) { m_guard.guarded([&] { return chooseTab(index), true; }); });
}

/// A page that cannot mean its values is not left.
void CMaindlg::chooseTab(int index) {
  const int shown = m_form->shownTab(m_pages);
  IUIScanPage* left =
      shown < 0 || shown == index ? nullptr : m_pages.windowsOf(values().currMode)[static_cast<std::size_t>(shown)];
  const std::string why = left ? left->GetRefusal() : std::string();
  if (why.empty()) return m_form->showTab(m_pages, index);
  setTab(m_form->tabs(), shown);
  m_host.message(EventKind::Information, why, EventButtons::Ok);
}

void CMaindlg::makeDestination() {
  DestinationContext context;
  context.mode = static_cast<eTarnwellMode>(values().mode);
  context.params = m_params;
  context.makeStore = [this](eTarnwellMode mode) -> KxPtr<ISStripStor> {
    if (mode != ScanToFile && mode != ScanToNet) return makeEmptyStore();
    return KxPtr<ISStripStor>::adopt(new CScanToFileStor(m_params->app(), m_progress.get()));
  };
  context.controller = this;
  context.events = m_host.toldEvents();
  context.parent = m_form->destinationPlace();
  m_destination.reset(quillbay::makeDestination(context).release());
  if (!m_destination) return;
  m_form->placeDestination(m_destination->GetHwnd(), m_destination->GetFooter());
  m_parts.destination = m_params->destination = m_destination.get();
  m_params->progress = KxPtr<IProgress>::share(m_progress.get());
}

int CMaindlg::SaveSettings() {
  return m_guard.guarded([&] { return m_settings.save(m_layout); });
}

void CMaindlg::layoutPanel() {
  const std::size_t pages = m_pages.current().size();
  if (pages == 0) m_layout = 1;
  m_form->showPages(m_layout == 0, pages);
  m_form->showPageMenu(m_layout == 0 && pages > 0 && !m_directMode);
  m_preview->lay(m_layout == 0);
  m_viewSync->Subscribe();
  showState();
}

void CMaindlg::switchLayout() {
  m_layout = m_layout == 0 ? 1 : 0;
  layoutPanel();
  // Whoever holds the panel's window lays itself out.
  if (const QWidget* own = parentWidget(); own && own->parentWidget())
    PostCommand(own->parentWidget(), command::kRelayoutParent, 1);
  if (m_steps.preview) m_steps.preview->Refresh();
}

PanelState CMaindlg::panelState() const {
  PanelState state;
  state.busy = m_run.isBusy();
  state.stopsAfterPage = m_run.stopsAfterPage();
  state.small = m_layout == 1;
  state.direct = m_directMode;
  state.hasPages = !m_pages.current().empty();
  state.hasPreview = m_steps.preview != nullptr;
  state.hasView = m_viewSync->hasView();
  state.prints = values().mode == ScanToPrint;
  return state;
}

/// Buttons, pages and the status line follow the run.
void CMaindlg::showState() {
  if (!m_toolbar) return;
  const bool busy = m_run.isBusy();
  const FocusKeeper::Change change(m_focus, busy);
  m_toolbar->show(panelState());
  if (m_run.state() == RunState::Prescanning) m_preview->show();
  if (std::exchange(m_ran, busy) && !busy) m_preview->keepFrame();
  m_pages.enable(!busy);
  m_form->enablePageMenu(!busy);
  if (m_steps.preview) m_steps.preview->Enable(busy ? 0 : 1);
  if (m_destination) m_destination->Enable(busy ? 0 : 1);
  showStatus();
  if (!m_run.isRunning()) m_form->status().setLines(-1, 0);
  if (m_run.state() != RunState::Waiting) m_performer.wait().close();
}

/// What the panel does; while it does nothing, what was found.
void CMaindlg::showStatus() {
  const RunState state = m_run.state();
  PanelStatus& status = m_form->status();
  const bool isShown = state == RunState::Idle && isFound(values());
  status.setText(isShown ? foundText(m_params->units(), values().found)
                         : m_scanner.name() + " " + Supp_Translate(statusTextOf(state, m_run.kind())));
  status.setCancellable(state == RunState::Detecting || state == RunState::FindingPalette);
}

void CMaindlg::showHelp() {
  const auto help = query<IHelp>(m_params->app());
  const char* inUse = m_form->topicInUse(m_pages, m_layout == 0);
  const std::string topic = inUse ? inUse : values().helpTopic;
  if (help && help->ShowTopic(topic.c_str())) return;
  logLine(LogLevel::Warning, kLog, "no help was shown for " + topic);
}

bool CMaindlg::event(QEvent* event) {
  const bool key = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
  if (!key || !static_cast<const QKeyEvent*>(event)->matches(QKeySequence::HelpContents) ||
      !query<IHelp>(m_params->app())) {
    return CDialog::event(event);
  }
  if (event->type() == QEvent::KeyPress) OnCommand(command::kHelp, 1, 0);
  event->accept();
  return true;
}

void CMaindlg::showEvent(QShowEvent* event) {
  CDialog::showEvent(event);
  if (!event->spontaneous()) m_preview->panelShown();
}

void CMaindlg::hideEvent(QHideEvent* event) {
  CDialog::hideEvent(event);
  if (!event->spontaneous() && m_preview) m_preview->panelHidden();
}

void CMaindlg::resizeEvent(QResizeEvent* event) {
  CDialog::resizeEvent(event);
  if (m_initialised) m_preview->lay(m_layout == 0);
}

void CMaindlg::changeEvent(QEvent* event) {
  if (event->type() == QEvent::PaletteChange && m_toolbar) m_toolbar->drawIcons();
  CDialog::changeEvent(event);
}

int CMaindlg::OnParamChanging(const char* key) {
  if (sameKey(key, scan_key::CurrMode.name)) {
    quiet().colorSpace = colorSpaceOfMode(values().currMode);
    m_form->fillTabs(m_pages);
  } else if (sameKey(key, key::ScanModesChanged)) {
    m_scanner.learn(*m_params);  // before the pages read it
  } else if (sameKey(key, scan_key::RcPreview.name)) {
    PostCommand(this, command::kRedrawPort, 1, 0, true);
  }
  return 0;
}

/// After every subscriber had its first pass: what depends on the value is settled.
int CMaindlg::OnParamChanged(const char* key) {
  for (const char* area : {scan_key::RcScan.name, scan_key::Dpi.name, scan_key::CurrMode.name,
                           scan_key::ScanType.name, scan_key::PaperName.name, scan_key::Portrait.name}) {
    if (sameKey(key, area)) noteArea();
  }
  if (m_initialised && (sameKey(key, scan_key::RcScan.name) || sameKey(key, scan_key::Units.name))) showStatus();
  // Later: what is set in a broadcast is not heard of.
  if (!m_run.isBusy() && m_preview->isNewArea()) PostCommand(this, command::kNewArea, 1, 0, true);
  const bool isTold = sameKey(key, scan_key::Units.name) || sameKey(key, key::ScanModesChanged);
  if (m_initialised && isTold) listeners().settingChanged(key);  // last: the window may be gone when it returns
  return 0;
}

void CMaindlg::AreaChanged() {
  noteArea();
  if (!m_viewSync->hasView()) return m_preview->placeFrame(kFirstFrameAspect);
  m_viewSync->SetArea(values().rcScan, values().dpi);
  m_preview->keepFrame();
}

void CMaindlg::takeArea() {
  if (m_preview->isNewArea()) return AreaChanged();
  noteArea();
}

void CMaindlg::noteArea() {
  // What fills the view has an area of its own.
  if (m_run.isRunning() && m_run.kind() != RunKind::Prescan) return;
  m_viewSync->setScanned(values().rcScan, static_cast<std::uint32_t>(values().dpi));
}

// --- commands

bool CMaindlg::OnCommand(int id, int code, std::int64_t value) {
  return m_guard.guarded([&] { return handle(id, code, value); });
}

bool CMaindlg::handle(int id, int code, std::int64_t value) {
  if (m_guard.life().gone) return true;
  if (handleStart(id, value)) return true;
  if (m_performer.handle(id, code, value)) {
    m_settings.applyWaiting();
    return true;
  }
  switch (id) {
    case command::kStop: StopRun(StopKind::Now); return true;
    case command::kStopAfterPage: StopRun(StopKind::AfterPage); return true;
    case command::kEject: EjectDocument(); return true;
    case command::kSwitchLayout: switchLayout(); return true;
    case command::kHelp: showHelp(); return true;
    case command::kScannerKey: m_params->set(scan_key::ScannerKeyPressed, code); return true;
    case command::kApplyParams: m_settings.applyWaiting(); return true;
    case command::kRedrawPort: m_viewSync->frameChanged(); return true;
    case command::kRedrawView: m_viewSync->invalidate(); return true;
    case command::kNewArea:
      if (!m_run.isBusy()) takeArea();
      return true;
    case command::kPageChanged: PageChanged(); return true;
    default: return CDialog::OnCommand(id, code, value);
  }
}

bool CMaindlg::handleStart(int id, std::int64_t value) {
  const StartCommand* start = startOf(id);
  if (!start) return false;
  // Nothing is scanned unasked that no user sees, or before the user has seen a preview at all, and no paper is
  // fed.
  if (id == command::kPreviewTimer && !updatesView()) return true;
  if (id != command::kPreviewTimer) m_run.startDelivered();
  m_performer.start(start->run, start->run == RunKind::Batch ? static_cast<int>(value) : 1, m_directMode);
  m_settings.applyWaiting();
  return true;
}

bool CMaindlg::updatesView() const {
  return m_viewSync->isSeen() && !m_scanner.hasFeeder() &&
         (values().rectValid != 0 || !m_params->viewStore->IsEmpty());
}

void CMaindlg::perform(const Actions& todo) {
  m_performer.perform(todo);
  m_settings.applyWaiting();
}

void CMaindlg::buttonPressed(int id) {
  if (const StartCommand* start = startOf(id)) {
    Start(start->start, 0);
  } else {
    OnCommand(id, 1, 0);
  }
}

}  // namespace quillbay
