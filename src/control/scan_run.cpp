#include "control/scan_run.h"

#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr int kStopped = 2;
/// A piece that starts this close to the end of the bed is not scanned.
constexpr double kTolerance = 0.001;

[[nodiscard]] Actions joined(Actions first, const Actions& rest) {
  first.insert(first.end(), rest.begin(), rest.end());
  return first;
}

StartKind startKindOf(RunKind kind) {
  switch (kind) {
    case RunKind::Prescan: return StartKind::Prescan;
    case RunKind::AreaPrescan: return StartKind::AreaPrescan;
    default: return StartKind::Scan;
  }
}

}  // namespace

const char* nameOf(RunState state) noexcept {
  switch (state) {
    case RunState::Idle: return "idle";
    case RunState::Preparing: return "preparing";
    case RunState::Detecting: return "detecting";
    case RunState::FindingPalette: return "finding the palette";
    case RunState::Waiting: return "waiting for a document";
    case RunState::Asking: return "asking for a document";
    case RunState::Scanning: return "scanning";
    case RunState::Finishing: return "finishing";
    case RunState::Between: return "between pages";
    case RunState::Prescanning: return "prescanning";
    case RunState::AreaPrescanning: return "area prescanning";
    case RunState::Ending: return "ending";
  }
  return "?";
}

void ScanRun::enter(RunState next) {
  if (m_state == next) return;
  logLine(LogLevel::Info, "quillbay.control", std::string(nameOf(m_state)) + " -> " + nameOf(next));
  m_state = next;
}

bool ScanRun::isRunning() const noexcept {
  return m_state == RunState::Scanning || m_state == RunState::Prescanning || m_state == RunState::AreaPrescanning;
}

bool ScanRun::holdsSettings() const noexcept {
  if (isPreview(m_kind)) return false;
  switch (m_state) {
    case RunState::Detecting:
    case RunState::FindingPalette: return m_searchFrom != RunState::Idle;
    case RunState::Preparing:
    case RunState::Scanning:
    case RunState::Finishing:
    case RunState::Ending: return true;
    default: return false;
  }
}

bool ScanRun::goesOn() const noexcept {
  if (m_state == RunState::Idle || stops()) return false;
  return burst() || (m_batch && !m_record.isLastWanted());
}

Actions ScanRun::start(RunKind kind, int wanted) {
  if (m_state != RunState::Idle) {
    // The visible part is still out of date.
    return kind == RunKind::AreaPrescan ? Actions{{Do::RestartPreview}} : Actions{};
  }
  m_kind = kind;
  m_batch = kind == RunKind::Batch;
  m_fragment = kind == RunKind::Fragment;
  m_stopAsked = m_stopAfterPage = m_writerFinishes = m_wholePage = m_dropsPage = false;
  m_burst = false;
  m_expectedLines = m_lines = m_prescanRows = 0;
  m_start = {};
  m_record.begin(wanted);
  switch (kind) {
    case RunKind::Batch: enter(RunState::Waiting); return {{Do::ShowState}, {Do::WaitForDocument}};
    case RunKind::Fragment:
      m_wholePage = true;
      enter(RunState::Finishing);
      return {{Do::ShowState}, {Do::EndPageLater, 0}};
    default: enter(RunState::Preparing); return {{Do::ShowState}, {Do::Prepare}};
  }
}

bool ScanRun::beginSearch(RunState search) {
  if (m_state != RunState::Idle && m_state != RunState::Preparing) return false;
  if (m_state == RunState::Idle) m_stopAsked = false;
  m_searchFrom = m_state;
  enter(search);
  return true;
}

void ScanRun::endSearch() {
  if (m_state == RunState::Detecting || m_state == RunState::FindingPalette) enter(m_searchFrom);
}

Actions ScanRun::prepared(const Prepared& page) {
  if (m_state != RunState::Preparing) return {};
  if (m_stopAsked) return end(EndCause::Stopped);
  m_lines = 0;
  m_expectedLines = page.expectedLines;
  if (isPreview(m_kind)) {
    enter(m_kind == RunKind::Prescan ? RunState::Prescanning : RunState::AreaPrescanning);
    return {{Do::ShowState}, {Do::StartUnit}};
  }
  m_fragment = page.fragment;
  if (page.bursting && !m_burst) {
    m_burst = true;
    m_ownArea = page.area;
    m_pieces = 0;
  }
  enter(RunState::Scanning);
  return {{Do::ShowState}, {Do::StartUnit}};
}

Actions ScanRun::refused(EndCause cause, const UnitFault& fault, bool told) {
  if (m_state != RunState::Preparing && m_state != RunState::Waiting && !isRunning()) return {};
  if (m_stopAsked) return end(EndCause::Stopped);
  if (cause == EndCause::Media && burst() && m_pieces > 0) {  // the document ended with the last piece
    enter(RunState::Between);
    return {{Do::EndBurstLater}};
  }
  return end(cause, fault, told);
}

Actions ScanRun::started(const ScanStartInfo& info, bool refused) {
  if (!isRunning()) return {};
  m_start = info;
  m_start.kind = startKindOf(m_kind);
  m_start.page = m_record.pages() + 1;
  if (m_start.expectedLines <= 0) m_start.expectedLines = m_expectedLines > 0 ? m_expectedLines : -1;
  if (!refused) return {{Do::TellStarted}};
  m_record.note(EndCause::Output, {}, true);
  return {{Do::StopUnit}};
}

Actions ScanRun::linesArrived(std::int64_t lines) {
  if (!isRunning() || lines <= m_lines) return {};
  m_lines = lines;
  return {{Do::TellLines}};
}

void ScanRun::noteFault(const UnitFault& fault) {
  switch (fault.code) {
    case UnitFaultCode::Cancelled: m_record.note(EndCause::Stopped, fault, true); return;
    case UnitFaultCode::NoDocuments: m_record.note(EndCause::Media, fault, m_record.pages() > 0); return;
    case UnitFaultCode::None:
      m_record.note(m_stopAsked ? EndCause::Stopped : EndCause::Device, fault, m_stopAsked);
      return;
    default: m_record.note(EndCause::Device, fault, false);
  }
}

Actions ScanRun::endOfPreview(int status, const UnitFault& fault) {
  const bool wantsVisiblePart = status != kStopped && m_kind == RunKind::Prescan;
  if (status == kStopped) noteFault(fault);
  Actions todo = end(m_stopAsked ? EndCause::Stopped : EndCause::Done);
  if (wantsVisiblePart) todo.push_back({Do::RestartPreview});
  return todo;
}

Actions ScanRun::unitEnded(int status, bool empty, const UnitFault& fault) {
  if (!isRunning()) return {};
  if (isPreview(m_kind)) return endOfPreview(status, fault);
  const bool stopped = status == kStopped;
  if (stopped) {
    m_batch = false;
    noteFault(fault);
  }
  if (burst() && (stopped || empty)) {
    m_dropsPage = stopped;
    enter(RunState::Finishing);
    return {{Do::EndBurstLater}};
  }
  if (!empty) {
    m_wholePage = !stopped;
    enter(RunState::Finishing);
    return {{Do::EndPageLater, stopped ? 1 : 0}};
  }
  if (m_stopAsked) return end(EndCause::Stopped);
  return end(stopped ? EndCause::Done : EndCause::Media, fault);
}

Actions ScanRun::pageHandled(const PageEnd& page) {
  if (m_state != RunState::Finishing) return {};
  m_writerFinishes = m_wholePage = false;
  const bool wasFragment = m_fragment;
  m_fragment = false;
  Actions todo{{Do::ForgetFragment}};
  if (page.failed || (!page.taken && !page.cancelled)) {
    m_record.note(EndCause::Output, {}, true);
    m_batch = false;
  }
  if (page.taken) {
    m_record.addPage();
    m_page = page.info;
    m_page.page = m_record.pages();
    todo.push_back({Do::TellPage});
  }
  const bool isPart = page.taken && !page.failed && !wasFragment;
  if (isPart && burst()) ++m_pieces;
  if (isPart && burst() && !stops()) {
    enter(RunState::Between);
    todo.push_back({Do::NextPieceLater});
    return todo;
  }
  if (isPart) m_record.addDocument();
  if (isPart && m_batch && !stops() && !m_record.hasAllWanted()) {
    enter(RunState::Between);
    todo.push_back({Do::NextDocumentLater});
    return todo;
  }
  // A batch announced another page to the scanner; there is none.
  if (m_kind == RunKind::Batch) todo.push_back({Do::StopUnit});
  return joined(std::move(todo), end(m_stopAsked ? EndCause::Stopped : EndCause::Done));
}

Actions ScanRun::nextPiece(const tagRRECT& area, double limit) {
  if (m_state != RunState::Between || !burst()) return {};
  const double height = area.height();
  m_piece = {area.left, area.bottom, area.right, area.bottom + height};
  const bool bedEnds = height <= 0 || (limit > 0 && m_piece.top >= limit - kTolerance);
  if (stops() || bedEnds) return {{Do::EndBurstLater}};
  enter(RunState::Preparing);
  return {{Do::MoveArea}, {Do::Prepare}};
}

Actions ScanRun::endBurst() {
  if (!burst() || (m_state != RunState::Finishing && m_state != RunState::Between)) return {};
  Actions todo;
  if (m_pieces > 0) m_record.addDocument();
  if (m_pieces > 0 && m_batch && !stops() && !m_record.hasAllWanted()) {
    m_piece = m_ownArea;
    m_burst = false;
    enter(RunState::Between);
    return {{Do::MoveArea}, {Do::NextDocumentLater}};
  }
  if (m_stopAsked) return end(EndCause::Stopped);
  const bool hasEnded = m_pieces > 0 || m_record.cause() != EndCause::Done;
  if (m_kind == RunKind::Batch && m_pieces > 0 && !m_dropsPage) todo.push_back({Do::LeaveDocument});
  return joined(std::move(todo), end(hasEnded ? EndCause::Done : EndCause::Media));
}

Actions ScanRun::nextDocument(bool hasFeeder) {
  if (m_state != RunState::Between || burst()) return {};
  if (!m_batch || stops()) return end(m_stopAsked ? EndCause::Stopped : EndCause::Done);
  enter(hasFeeder ? RunState::Waiting : RunState::Asking);
  return {{Do::LeaveDocument}, {hasFeeder ? Do::WaitForDocument : Do::AskForDocument}};
}

Actions ScanRun::documentLoaded() {
  if (m_state != RunState::Waiting) return {};
  enter(RunState::Preparing);
  return {{Do::ShowState}, {Do::Prepare}};
}

Actions ScanRun::waitEnded(bool byUser, const UnitFault& fault) {
  if (m_state != RunState::Waiting) return {};
  return end(byUser && m_record.pages() > 0 ? EndCause::Done : EndCause::Media, fault);
}

Actions ScanRun::documentAnswered(bool goesOn) {
  if (m_state != RunState::Asking) return {};
  if (!goesOn) return end(EndCause::Done);
  enter(RunState::Waiting);
  return {{Do::WaitForDocument}};
}

Actions ScanRun::stop() {
  switch (m_state) {
    case RunState::Idle:
    case RunState::Ending: return {{Do::StopUnit}};
    case RunState::Waiting:
    case RunState::Asking:
    case RunState::Between: m_stopAsked = true; return joined({{Do::StopUnit}}, end(EndCause::Stopped));
    case RunState::Detecting:
    case RunState::FindingPalette: m_stopAsked = true; return {{Do::CancelSearch}};
    case RunState::Scanning: m_stopAsked = true; return {{Do::StopUnit}, {Do::WakeStore}};
    case RunState::Finishing: m_stopAsked = true; return {{Do::StopUnit}, {Do::StopPrinting}};
    default: m_stopAsked = true; return {{Do::StopUnit}};
  }
}

Actions ScanRun::stopAfterPage() {
  if (m_state == RunState::Idle) return {};
  m_stopAfterPage = true;
  return {{Do::ShowState}};
}

Actions ScanRun::failed() {
  endSearch();
  if (m_state == RunState::Idle) return {{Do::ShowState}};
  if (m_state == RunState::Ending) return {{Do::End}};  // the file of the run still gets its name
  m_record.note(EndCause::Refused, {}, true);
  m_batch = false;
  m_stopAfterPage = true;
  if (isRunning()) return {{Do::StopUnit}, {Do::WakeStore}};  // its end is still to come
  m_dropsPage = m_dropsPage || m_state == RunState::Finishing;
  return end(EndCause::Refused);
}

Actions ScanRun::closed() {
  endSearch();
  if (m_state == RunState::Idle) return {};
  if (m_state == RunState::Ending) return {{Do::End}};
  m_dropsPage = m_dropsPage || m_state == RunState::Finishing || m_state == RunState::Scanning;
  return end(EndCause::Stopped);
}

Actions ScanRun::end(EndCause cause, const UnitFault& fault, bool told) {
  m_record.note(cause, fault, told);
  m_batch = m_fragment = m_writerFinishes = m_wholePage = false;
  enter(RunState::Ending);
  Actions todo;
  if (m_burst) {  // first: what follows shows messages, and settings are saved meanwhile
    m_piece = m_ownArea;
    m_burst = false;
    todo.push_back({Do::MoveArea});
  }
  if (std::exchange(m_dropsPage, false)) todo.push_back({Do::DropPage});
  if (!isPreview(m_kind)) todo.push_back({Do::ForgetFragment});  // a preview leaves what was drawn
  todo.push_back({Do::End});
  return todo;
}

Actions ScanRun::ended() {
  if (m_state != RunState::Ending) return {};
  enter(RunState::Idle);
  return {{Do::ShowState}, {Do::TellEnded}};
}

}  // namespace quillbay
