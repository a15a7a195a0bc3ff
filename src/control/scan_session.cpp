#include "control/scan_session.h"

#include <string>

#include "platform/base_services.h"

namespace quillbay {

const char* nameOf(SessionState state) noexcept {
  switch (state) {
    case SessionState::Idle: return "idle";
    case SessionState::Waiting: return "waiting";
    case SessionState::Scanning: return "scanning";
    case SessionState::Finishing: return "finishing";
    case SessionState::BetweenPages: return "between pages";
    case SessionState::Prescanning: return "prescanning";
    case SessionState::AreaPrescanning: return "area prescanning";
  }
  return "?";
}

SessionState ScanSession::state() const {
  const std::lock_guard lock(m_mutex);
  return m_state;
}

void ScanSession::enter(SessionState next) {
  if (m_state == next) return;
  logLine(LogLevel::Info, "quillbay.control", std::string(nameOf(m_state)) + " -> " + nameOf(next));
  m_state = next;
}

bool ScanSession::start(SessionState to) {
  const std::lock_guard lock(m_mutex);
  if (m_state != SessionState::Idle) return false;
  enter(to);
  return true;
}

bool ScanSession::continueRun() {
  const std::lock_guard lock(m_mutex);
  if (m_state != SessionState::Waiting && m_state != SessionState::BetweenPages) return false;
  enter(SessionState::Scanning);
  return true;
}

bool ScanSession::waitForNext() {
  const std::lock_guard lock(m_mutex);
  if (m_state != SessionState::BetweenPages) return false;
  enter(SessionState::Waiting);
  return true;
}

void ScanSession::pageHandled(bool goesOn) {
  const std::lock_guard lock(m_mutex);
  if (m_state == SessionState::Finishing) enter(goesOn ? SessionState::BetweenPages : SessionState::Idle);
}

void ScanSession::refused() {
  const std::lock_guard lock(m_mutex);
  enter(SessionState::Idle);
}

ScanEndDecision ScanSession::scanEnded(int status, bool storeEmpty) {
  const std::lock_guard lock(m_mutex);
  ScanEndDecision d;
  if (m_state == SessionState::Prescanning || m_state == SessionState::AreaPrescanning) {
    d.restartPreviewTimer = status == 1 && m_state == SessionState::Prescanning;
    enter(SessionState::Idle);
    return d;
  }
  if (m_state != SessionState::Scanning) return d;
  const bool stopped = status == 2;
  d.clearBatch = stopped;
  if (stopped) m_batch = false;
  // A stopped burst ends as a burst, with or without a page; its area goes back to where it was.
  d.postBurstEnd = stopped && m_burstActive;
  if (storeEmpty || d.postBurstEnd) {
    d.clearFragment = m_fragment;
    d.answer = 0;
    enter(SessionState::Idle);
    return d;
  }
  d.postScanDone = true;
  d.scanDoneCode = stopped ? 1 : 0;
  enter(SessionState::Finishing);
  return d;
}

bool ScanSession::batch() const {
  const std::lock_guard lock(m_mutex);
  return m_batch;
}

void ScanSession::setBatch(bool on) {
  const std::lock_guard lock(m_mutex);
  m_batch = on;
}

bool ScanSession::burstActive() const {
  const std::lock_guard lock(m_mutex);
  return m_burstActive;
}

void ScanSession::setBurstActive(bool on) {
  const std::lock_guard lock(m_mutex);
  m_burstActive = on;
}

bool ScanSession::fragment() const {
  const std::lock_guard lock(m_mutex);
  return m_fragment;
}

void ScanSession::setFragment(bool on) {
  const std::lock_guard lock(m_mutex);
  m_fragment = on;
}

NextStep nextAfterPage(bool taken, bool bursting, bool fragment, bool batch) noexcept {
  if (!taken || fragment) return NextStep::Nothing;
  if (bursting) return NextStep::Burst;
  return batch ? NextStep::Batch : NextStep::Nothing;
}

}  // namespace quillbay
