#include "control/run_performer.h"

#include "control/command_ids.h"
#include "control/panel_status.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "stores/scan_to_print_stor.h"

namespace quillbay {

namespace {

/// How long closing waits for a device that does not answer before it is left to itself.
constexpr std::chrono::seconds kCloseLimit{10};
constexpr int kScanFinished = 1;  // the unit's end notification
constexpr const char* kLog = "quillbay.control";

/// A step that must not keep the others from being done. False when it failed.
template <class F>
bool quietly(F&& step) {
  try {
    step();
    return true;
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, kLog, std::string("ending a run: ") + e.what());
    return false;
  } catch (const WindowGone&) {
    return false;  // closing has done the rest
  } catch (...) {
    logLine(LogLevel::Error, kLog, "ending a run: an unknown error");
    return false;
  }
}

}  // namespace

RunPerformer::RunPerformer(QWidget* window, PanelParts& parts, std::shared_ptr<ScanRouter> router, CViewSync& view,
                           CountdownTimer& previewTimer)
    : m_window(window),
      m_parts(parts),
      m_run(parts.run),
      m_router(std::move(router)),
      m_view(view),
      m_previewTimer(previewTimer),
      m_ending(parts),
      m_prescan(parts),
      m_search(parts),
      m_wait(window) {
  parts.search = &m_search;
  parts.owner = this;
}

void RunPerformer::post(int id, std::int64_t code) { PostCommand(m_window, id, static_cast<int>(code)); }

void RunPerformer::perform(const Actions& todo) {
  for (const Action& action : todo) performOne(action);
}

void RunPerformer::performOne(const Action& action) {
  if (performUnit(action.what) || tell(action.what)) return;
  switch (action.what) {
    case Do::ShowState: m_parts.stateChanged(); break;
    case Do::Prepare: prepare(); break;
    case Do::WaitForDocument: waitForDocument(); break;
    case Do::AskForDocument: askForDocument(); break;
    case Do::EndPageLater: post(command::kScanDone, action.value); break;
    case Do::NextPieceLater: post(command::kBurstNext); break;
    case Do::EndBurstLater: post(command::kBurstEnd); break;
    case Do::NextDocumentLater: post(command::kBatchNext); break;
    case Do::DropPage: m_ending.drop(); break;
    case Do::LeaveDocument: leaveDocument(); break;
    case Do::MoveArea: m_parts.params.set(scan_key::RcScan, m_run.pieceArea()); break;
    case Do::ForgetFragment: m_parts.params.setIfChanged(scan_key::CustomScanValid, 0); break;
    case Do::RestartPreview: m_previewTimer.restart(); break;
    case Do::End: endRun(); break;
    default: break;
  }
}

bool RunPerformer::performUnit(Do what) {
  switch (what) {
    case Do::StopUnit: m_parts.scanner.command(UnitCommand::Stop); return true;
    case Do::CancelSearch: m_parts.scanner.command(kCancelSearch); return true;
    case Do::WakeStore:
      if (const auto outcome = query<IStoreOutcome>(m_parts.params.destinationStore.get())) outcome->Wake();
      return true;
    case Do::StopPrinting:  // a file is written to its end: that takes a moment
      if (auto* print = printStore()) print->Wake();
      return true;
    default: return false;
  }
}

bool RunPerformer::tell(Do what) {
  const RunEvents& hosts = m_parts.host.listeners();
  const RunRecord& record = m_run.record();
  switch (what) {
    case Do::TellStarted: m_parts.host.call([&] { hosts.started(m_run.startInfo()); }); return true;
    case Do::TellLines: m_parts.host.call([&] { hosts.lines(m_run.lines()); }); return true;
    case Do::TellPage: m_parts.host.call([&] { hosts.pageFinished(m_run.page()); }); return true;
    case Do::TellEnded:
      m_parts.params.runs = nullptr;
      m_parts.host.call([&] { hosts.ended(record.cause(), record.fault(), record.pages()); });
      return true;
    default: return false;
  }
}

bool RunPerformer::handle(int id, int code, std::int64_t value) {
  switch (id) {
    case command::kStarted: onStarted(); return true;
    case command::kProgress: onProgress(); return true;
    case command::kPrescanStripes: onPrescanStripes(); return true;
    case command::kReady:
      onPrescanStripes();
      if (m_run.kind() == RunKind::Prescan && m_run.isRunning() && code == kScanFinished && !m_run.stopAsked())
        m_prescan.complete();
      perform(m_run.unitEnded(code, value != 0, faultOf(m_router->takeEnd().value_or(ScanEnd{}))));
      return true;
    case command::kScanDone: onScanDone(code != 0); return true;
    case command::kWritten:
      if (m_run.awaitsWriter()) finishPage(false);
      return true;
    case command::kBatchNext: perform(m_run.nextDocument(m_parts.scanner.hasFeeder())); return true;
    case command::kBurstNext:
      perform(m_run.nextPiece(m_parts.values().rcScan, m_parts.scanner.unit()->GetMaxLength()));
      return true;
    case command::kBurstEnd: perform(m_run.endBurst()); return true;
    case command::kPollDocument: pollDocument(); return true;
    case command::kWaitCancelled: perform(m_run.waitEnded(true, {})); return true;
    case command::kClearBatch: m_run.clearBatch(); return true;
    default: return false;
  }
}

/// What a page ended with: the panel's own fault, or the unit's.
UnitFault RunPerformer::faultOf(const ScanEnd& end) const {
  return end.lost.code == UnitFaultCode::None ? m_parts.scanner.fault() : end.lost;
}

void RunPerformer::start(RunKind kind, int wanted, bool isDirect) {
  m_isDirect = isDirect;
  if (kind == RunKind::AreaPrescan && !m_run.isBusy() && (isDirect || !m_view.visibleArea())) return;
  if (!othersRun()) return performStart(kind, wanted);
  if (kind == RunKind::AreaPrescan) return m_previewTimer.restart();
  if (!isPreview(kind)) takeBackFragment();
  m_parts.host.message(EventKind::Information,
                       Supp_Translate("Another panel of this program is scanning. Start again when it has ended."),
                       EventButtons::Ok);
}

void RunPerformer::performStart(RunKind kind, int wanted) {
  // A host may still choose something for it.
  if (!m_run.isBusy()) m_parts.host.call([&] { m_parts.host.listeners().starting(); });
  const Actions todo = m_run.start(kind, wanted);
  if (m_run.isBusy()) m_parts.params.runs = this;
  perform(todo);
}

void RunPerformer::prepare() {
  if (m_run.state() != RunState::Preparing) return;
  PostCommand(m_window, command::kRedrawView, 1, 0, true);
  Preparation made;
  switch (m_run.kind()) {
    case RunKind::Prescan:
      m_prescan.begin();
      made = preparation().prescan();
      if (made.isReady) m_prescan.prepared(made.request.get());
      break;
    case RunKind::AreaPrescan:
      if (const auto area = m_view.visibleArea()) made = preparation().areaPrescan(*area);
      break;
    default: made = preparation().page();
  }
  if (!made.isReady) return refuse(made.cause, made.fault);
  for (const Action& action : m_run.prepared(made.page)) {
    if (action.what == Do::StartUnit)
      startUnit(made);
    else
      performOne(action);
  }
}

/// Nothing was scanned.
void RunPerformer::refuse(EndCause cause, const UnitFault& fault, bool told) {
  if (!isPreview(m_run.kind())) takeBackFragment();
  perform(m_run.refused(cause, fault, told));
}

/// The next scan is none of the fragment. Without a broadcast: it stays shown, for another try.
void RunPerformer::takeBackFragment() const { m_parts.quiet().customScanValid = 0; }

/// Arms the router and the unit and runs the scan.
void RunPerformer::startUnit(const Preparation& next) {
  if (m_parts.scanner.take(next.request.get())) {
    m_router->arm(next.plan);
    try {
      if (m_parts.scanner.run()) return;
    } catch (...) {
      m_router->cancelArmed();
      throw;
    }
    m_router->cancelArmed();
  }
  const UnitFault fault = m_parts.scanner.fault();
  const bool media = fault.code == UnitFaultCode::NoDocuments;
  // An empty feeder after a page is the normal end of a batch.
  const bool expected = media && m_run.record().pages() > 0;
  refuse(media ? EndCause::Media : EndCause::Device, fault, expected);
}

/// Scans as soon as a document is loaded. Without a user before it, and in direct mode, the device is asked once.
void RunPerformer::waitForDocument() {
  if (m_run.state() != RunState::Waiting) return;
  if (m_parts.scanner.isLoaded()) {
    perform(m_run.documentLoaded());
  } else if (m_isDirect || !m_parts.host.isInteractive()) {
    perform(m_run.waitEnded(false, m_parts.scanner.fault()));
  } else {
    m_wait.begin();
  }
}

void RunPerformer::pollDocument() {
  if (m_run.state() == RunState::Waiting && m_parts.scanner.isLoaded()) perform(m_run.documentLoaded());
}

void RunPerformer::askForDocument() {
  if (m_run.state() != RunState::Asking) return;
  const int answer = m_parts.host.event(
      kEventNextDocument,
      Supp_Translate("Put the next document on the scanner, then choose OK. Cancel ends the batch."),
      EventButtons::OkCancel);
  perform(m_run.documentAnswered(answer == static_cast<int>(EventAnswer::Ok)));
}

void RunPerformer::leaveDocument() {
  m_ending.leaveDocument();
  forgetFound();
  PostCommand(m_window, command::kRedrawView, 1, 0, true);
}

/// The document that was found is gone: the next one lies elsewhere.
void RunPerformer::forgetFound() const {
  if (m_parts.values().found.by == DetectedBy::Nothing) return;
  m_parts.quiet().found = {};
  m_parts.params.NotifyParam(scan_key::RcScan.name);
}

bool RunPerformer::detectArea(int mask) {
  if (othersRun()) return false;
  m_parts.host.call([&] { m_parts.host.listeners().starting(); });
  PagePreparation steps = preparation();
  const auto request = steps.collectRequest();
  if (!request) return false;
  bool found = false;
  const bool goOn = steps.detect(request.get(), mask, &found);
  const UnitFault fault = goOn ? UnitFault{} : m_parts.steps.detection->End().fault;
  if (!fault.text.empty()) m_parts.host.message(EventKind::Information, fault.text, EventButtons::Ok);
  return found;
}

void RunPerformer::pushSettings() {
  if (m_run.isBusy() || othersRun()) return;
  if (const auto request = preparation().collectRequest()) static_cast<void>(m_parts.scanner.take(request.get()));
}

/// The scanner has reported what it will deliver.
void RunPerformer::onStarted() {
  const ScanStarted started = m_router->takeStarted();
  if (!started.plan) return;
  const bool hasPlace = m_ending.begin(started);
  if (started.plan->kind != RunKind::Prescan) m_view.setScanned(started.plan->area, started.dpi);
  ScanStartInfo info;
  info.width = pageWidth(started);
  info.expectedLines = pageLines(started);
  info.dpi = started.dpi;
  info.colorSpace = started.colorSpace;
  info.file = started.page.file();
  if (started.colorSpace == KxColorSpace::Palette) info.paletteColors = started.plan->paletteColors;
  perform(m_run.started(info, !hasPlace));
  if (!hasPlace) m_parts.host.message(EventKind::Information, started.page.refused, EventButtons::Ok);
}

void RunPerformer::onProgress() {
  const std::int64_t lines = m_router->lines();
  if (m_run.isRunning() && m_parts.status) m_parts.status->setLines(lines, m_run.startInfo().expectedLines);
  perform(m_run.linesArrived(lines));
}

void RunPerformer::onPrescanStripes() {
  const ScanStarted started = m_router->takeStarted();
  for (const auto& stripe : m_router->takeStripes()) {
    m_prescan.take(*stripe, started.plan ? started.plan->previewDpi : m_parts.values().previewDpi);
  }
}

/// What the scanner reported of the page; nothing for one that was in the store before the run.
ScanStarted RunPerformer::started() const {
  return m_run.kind() == RunKind::Fragment ? ScanStarted{} : m_router->takeStarted();
}

/// The page's end: the panel stays alive while the writer finishes, and refuses every start.
void RunPerformer::onScanDone(bool cancelled) {
  if (!m_run.isBusy() && !othersRun() && !m_parts.params.destinationStore->IsEmpty()) {
    performStart(RunKind::Fragment, 1);  // the page is in the store already; this comes again
    return;
  }
  if (!m_run.isBusy()) takeBackFragment();
  if (m_run.state() != RunState::Finishing || m_run.awaitsWriter()) return;
  const auto written = [](void* window) { PostCommand(static_cast<QWidget*>(window), command::kWritten, 1); };
  if (!m_ending.release(started(), cancelled, written, m_window)) finishPage(cancelled);
}

void RunPerformer::finishPage(bool cancelled) {
  if (m_run.state() != RunState::Finishing) return;
  const auto shown = m_parts.params.viewStore;  // hosts may take its picture when they hear of the page's end
  perform(m_run.pageHandled(m_ending.handOver(started(), cancelled, m_router->lines())));
  shown->Reset();
}

/// Of a page that is printed; null for others.
CScanToPrintStor* RunPerformer::printStore() const {
  return dynamic_cast<CScanToPrintStor*>(m_parts.params.destinationStore.get());
}

void RunPerformer::endRun() {
  if (m_run.state() != RunState::Ending) return;
  m_prescan.end();
  // A job that was opened for a page that never came, of a burst for instance.
  if (auto* print = printStore()) print->Reset();
  m_ending.endRun();
  if (m_run.record().pages() > 0 && m_parts.scanner.hasFeeder()) forgetFound();
  perform(m_run.ended());
}

void RunPerformer::performRest(const Actions& todo) {
  for (const Action& action : todo) {
    if (!quietly([&] { performOne(action); }) && action.what == Do::End) performRest(m_run.ended());
  }
}

void RunPerformer::fail(const std::string& what) {
  logLine(LogLevel::Error, kLog, "a command failed: " + what);
  const bool ran = m_run.isBusy();
  Actions todo = m_run.failed();
  // The end follows the message; a device stops and a burst's area goes back before it, since it runs an event
  // loop.
  const bool ends = std::erase(todo, Action{Do::End}) != 0;
  performRest(todo);
  quietly([&] {
    const char* text = ran ? "The scan was ended, because a part of the program or the scanner's driver failed: %s"
                           : "A part of the program or the scanner's driver failed: %s";
    m_parts.host.message(EventKind::Information, formatText(Supp_Translate(text), {what}), EventButtons::Ok);
  });
  if (ends) performRest({{Do::End}});
  // Nothing runs that could still report its end.
  if (m_run.isRunning() && !m_router->isRunning()) {
    const bool empty = m_parts.params.destinationStore->IsEmpty();
    performRest(m_run.unitEnded(2, empty, {UnitFaultCode::Cancelled, {}}));
  }
}

void RunPerformer::close() {
  quietly([&] { m_wait.close(); });
  m_search.close();
  if (othersRun()) {
    m_router->disarm();
    return m_router->forget();
  }
  quietly([&] { m_parts.scanner.command(UnitCommand::Close); });
  quietly([&] { performOne({Do::WakeStore}); });
  if (!m_router->waitIdle(kCloseLimit)) {
    logLine(LogLevel::Error, kLog,
            "scanner " + m_parts.scanner.name() + " did not end its scan; the panel closes without waiting for it");
  }
  m_router->disarm();
  // The end of the scan was posted, but the window is destroyed before it is delivered.
  if (const auto end = m_router->takeEnd()) {
    quietly([&] { static_cast<void>(m_ending.begin(m_router->takeStarted())); });
    static_cast<void>(m_run.unitEnded(end->status, end->isEmpty, faultOf(*end)));
  }
  if (m_run.hasWholePage()) {
    static_cast<void>(m_run.stopAfterPage());
    quietly([&] { finishPage(false); });
  }
  performRest(m_run.closed());
  performRest(m_run.ended());
  quietly([&] { m_parts.params.destinationStore->Reset(); });
  m_router->forget();
}

}  // namespace quillbay
