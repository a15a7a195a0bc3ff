#include "control/command_ids.h"
#include "control/maindlg.h"
#include "destinations/file_destination.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/post_command.h"
#include "stores/scan_to_file_stor.h"

namespace quillbay {

/// The scanner has said what it will deliver: the parameters get it, silently. A preview's resolution is no setting
/// of the next page.
void CMaindlg::onStarted() {
  m_lastStart = m_router->takeStarted();
  if (m_lastStart.kind == SessionState::Scanning) {
    const NotifyGuard guard;
    ScanValues& v = quiet();
    v.dpi = static_cast<std::int32_t>(m_lastStart.dpi);
    v.colorSpace = m_lastStart.colorSpace;
    if (auto* files = fileDestination()) files->pageStarted(m_lastStart.page);
  }
  if (!m_lastStart.page.refused.empty()) {
    m_report.note(EndCause::Output);  // first: the run may end while the message is shown
    showMessage(EventKind::Information, m_lastStart.page.refused, EventButtons::Ok);
  }
  if (m_session.state() != SessionState::Scanning && m_session.state() != SessionState::Finishing) return;
  ScanStartInfo info;
  info.width = m_lastStart.width;
  info.expectedLines = m_lastStart.lines > 0 ? m_lastStart.lines : m_expectedLines > 0 ? m_expectedLines : -1;
  info.dpi = m_lastStart.dpi;
  info.colorSpace = m_lastStart.colorSpace;
  info.file = m_lastStart.page.target.path;
  m_report.started(info);
}

void CMaindlg::onProgress() {
  const std::int64_t lines = m_router->lines();
  const std::int64_t expected = m_lastStart.lines > 0 ? m_lastStart.lines : m_expectedLines;
  if (m_session.isBusy()) m_status->setLines(lines, expected);
  if (m_session.state() == SessionState::Scanning) m_report.lines(lines);
}

void CMaindlg::onPrescanStripes() {
  for (const auto& stripe : m_router->takeStripes()) handlePrescanStripe(*stripe);
}

void CMaindlg::handlePrescanStripe(IScanBuffer& stripe) {
  KxSize size;
  stripe.GetSize(&size);
  const ScanValues& v = values();
  if (v.scanType == kAreaAutoWidth || v.scanType == kAreaFixedWidth) {
    tagRRECT area = v.rcScan;
    area.bottom += size.height * kMmPerInch / v.previewDpi;
    m_params->set(scan_key::RcScan, area);
  }
  if (m_steps.preview) {
    m_steps.preview->AddStripe(&stripe);
  } else {
    m_params->previewStore->AddStripe(&stripe);
  }
  m_prescanRows += size.height;
  if (v.centring == kNeverCentres) return;
  const double length = static_cast<double>(m_prescanRows) * kMmPerInch / v.previewDpi;
  tagRRECT frame = v.rcPreview;
  if (length - 0.001 <= frame.bottom) return;
  const double down = length - frame.bottom;
  frame.top += down;
  frame.bottom += down;
  m_params->set(scan_key::RcPreview, frame);
}

/// The page's end: ejects, and lets the writer finish. The panel stays alive meanwhile and refuses every start.
void CMaindlg::onScanDone(int code) {
  if (m_session.state() != SessionState::Finishing) return;
  const int rewind = values().rewind;
  if (m_session.batch() && (rewind == 0 || rewind == 1)) {
    m_unit->Command(m_scanSink.get(), rewind + static_cast<int>(UnitCommand::UnloadForward));
  }
  const bool cancelled = code != 0;
  if (cancelled) m_session.setBatch(false);
  const auto outcome = query<IStoreOutcome>(m_params->destinationStore.get());
  if (cancelled || !outcome) {
    finishPage(cancelled);
    return;
  }
  m_writerFinishes = true;
  outcome->BeginFinish(
      m_lastStart.page.target.leastLines,
      [](void* dialog) { PostCommand(static_cast<CMaindlg*>(dialog), command::kWritten, 1); }, this);
}

void CMaindlg::finishPage(bool cancelled) {
  if (m_session.state() != SessionState::Finishing) return;
  m_writerFinishes = false;
  const bool fragment = m_session.fragment();
  const auto outcome = query<IStoreOutcome>(m_params->destinationStore.get());
  const bool failed = outcome && !outcome->GetError().empty();
  PageInfo info;
  info.width = m_lastStart.width;
  info.dpi = m_lastStart.dpi;
  info.lines = m_router->lines();
  if (outcome && !cancelled && !failed) {
    info.file = outcome->GetFile();
    info.lines = outcome->GetLines();
    info.published = outcome->IsPublished() != 0;
  }
  const bool batchPage = values().batch != 0;
  quiet().batch = m_session.batch() ? 1 : 0;
  // A stopped page's error would go with its store.
  if (cancelled && failed) reportStoreError();
  const bool taken = m_destination->EndScan(cancelled ? 1 : 0) != 0 && !cancelled;
  const bool lost = failed && (cancelled || !foundAnotherName(taken, info));
  if (lost || (!taken && !cancelled)) {
    m_report.note(EndCause::Output);
    m_session.setBatch(false);
  }
  if (taken) {
    m_report.pageFinished(info);
  }
  m_params->set(scan_key::CustomScanValid, 0);
  m_session.setFragment(false);
  m_params->viewStore->Reset();
  m_status->setLines(-1, 0);
  ScanRouter::resetProgress();
  SetStatus(0);
  if (!fragment && !values().bursting) ForgetPalette();

  // The scanner may have been through with the page already when the stop came.
  const bool stops = m_stopAsked || m_stopAfterPage;
  if (m_session.batch() && (stops || m_report.hasAllWanted())) m_session.setBatch(false);
  NextStep next = nextAfterPage(taken, values().bursting != 0, fragment, m_session.batch());
  if (next == NextStep::Burst && stops) next = NextStep::Nothing;
  m_session.pageHandled(next != NextStep::Nothing);
  if (next == NextStep::Burst) PostCommand(this, command::kBurstNext, 1);
  if (next == NextStep::Batch) PostCommand(this, command::kBatchNext, 1);
  if (next == NextStep::Nothing) {
    // A batch told the scanner that a page follows; it may rest now.
    if (batchPage) m_unit->Command(m_scanSink.get(), static_cast<int>(UnitCommand::Stop));
    if (cancelled) m_report.note(m_stopAsked ? EndCause::Stopped : EndCause::Device, unitFault());
    onReady();
  }
}

/// After the end of a page whose file failed, which the destination has told: whether it got another name all the
/// same.
bool CMaindlg::foundAnotherName(bool taken, PageInfo& info) {
  const auto* files = dynamic_cast<const IFileDestination*>(m_destination.get());
  if (!files || !files->writesFile()) return false;
  const auto outcome = query<IStoreOutcome>(m_params->destinationStore.get());
  if (taken && outcome) {
    info.file = values().outputFile;
    info.lines = outcome->GetLines();
    info.published = true;
  }
  m_params->destinationStore->Reset();
  return taken;
}

/// The device rests: pages come back, and a run without a next page is over.
void CMaindlg::onReady() {
  if (m_session.isBusy()) return;
  SetStatus(0);
  m_status->setLines(-1, 0);
  enablePages(true);
  updateButtons();
  if (m_router->takePreviewRestart()) m_previewTimer.restart();
  if (m_report.isRunning()) finishRun();
}

void CMaindlg::finishRun() {
  if (!m_report.isRunning() || m_session.isBusy()) return;
  reportStoreError();
  endRunFile();
  if (m_session.burstActive()) BurstEnd();
  m_session.setBatch(false);
  m_params->set(scan_key::CustomScanValid, 0);
  const UnitFault fault = unitFault();
  if (!m_report.hasCause() && fault.code != UnitFaultCode::None) {
    const bool media = fault.code == UnitFaultCode::NoDocuments;
    // A feeder that ran empty after a page is how a batch ends.
    const bool expected = media && m_report.pages() > 0;
    if (m_stopAsked || fault.code == UnitFaultCode::Cancelled) {
      m_report.note(EndCause::Stopped, fault);
    } else {
      m_report.note(media ? EndCause::Media : EndCause::Device, fault);
      if (!expected) showMessage(EventKind::Information, fault.text, EventButtons::Ok);
    }
  } else if (m_report.hasCause() && m_report.cause() == EndCause::Device && !fault.text.empty()) {
    showMessage(EventKind::Information, fault.text, EventButtons::Ok);
  }
  if (std::exchange(m_stopAsked, false)) m_report.note(EndCause::Stopped);
  enablePages(true);
  SetStatus(0);
  m_report.end();
  updateButtons();
}

/// Lets the destination give the run's multi-page file its final name.
void CMaindlg::endRunFile() {
  auto* files = fileDestination();
  if (!files) return;
  const RunFile end = files->endRun();
  if (end.fate == RunFile::Fate::Published) m_report.published(end.file, end.pages);
  if (end.fate == RunFile::Fate::Failed) m_report.note(EndCause::Output);
}

IFileDestination* CMaindlg::fileDestination() const { return dynamic_cast<IFileDestination*>(m_destination.get()); }

void CMaindlg::reportStoreError() {
  const auto outcome = query<IStoreOutcome>(m_params->destinationStore.get());
  const std::string error = outcome ? outcome->GetError() : std::string();
  if (error.empty()) return;
  m_report.note(EndCause::Output);
  m_params->destinationStore->Reset();  // first: what comes while the message is shown does not tell it again
  showMessage(EventKind::Information, error, EventButtons::Ok);
}

std::string CMaindlg::GetNextFileName() const {
  const auto* files = dynamic_cast<const IFileDestination*>(m_destination.get());
  return files ? files->nextFile() : std::string();
}

}  // namespace quillbay
