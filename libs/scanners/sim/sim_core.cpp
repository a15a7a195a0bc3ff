#include "scanners/sim/sim_core.h"

#include <new>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kLog = "quillbay.scanner";

}  // namespace

SimConfig SimCore::config() const {
  const std::lock_guard lock(m_mutex);
  return m_config;
}

UnitFault SimCore::fault() const {
  const std::lock_guard lock(m_mutex);
  return m_fault;
}

bool SimCore::setKey(std::string_view key, std::string_view value, std::string* why) {
  const std::lock_guard lock(m_mutex);
  if (!setSimKey(key, value, &m_config, why)) return false;
  if (key == "count") {
    m_fed = 0;
    m_drawnIn = true;
  }
  if (key == "jam-after" || key == "fault") m_faultDone = false;
  return true;
}

bool SimCore::arm(IScanSink* sink, IParam* request) {
  const std::lock_guard lock(m_mutex);
  if (m_running) {
    m_fault = simFault(UnitFaultCode::Busy);
    return false;
  }
  m_fault = {};
  m_job.reset();
  if (!sink) {
    m_fault = {UnitFaultCode::Invalid, "A scan on the simulated scanner needs a receiver for its lines."};
    return false;
  }
  if (m_config.fault != UnitFaultCode::None && m_config.jamAfter == 0) {
    m_fault = simFault(m_config.fault);
    return false;
  }
  SimJob job;
  if (!readSimRequest(request, m_config, &job, &m_fault)) return false;
  job.sink = KxPtr<IScanSink>::share(sink);
  m_job = std::move(job);
  return true;
}

bool SimCore::run() {
  const std::lock_guard lock(m_mutex);
  if (m_running || !m_job || m_quit) {
    m_fault = m_running ? simFault(UnitFaultCode::Busy)
                        : UnitFault{UnitFaultCode::Invalid, "No scan was prepared on the simulated scanner."};
    return false;
  }
  m_stop = false;
  m_running = m_pending = true;
  if (!m_thread.joinable()) m_thread = std::thread([self = shared_from_this()] { self->threadMain(); });
  m_changed.notify_all();
  return true;
}

void SimCore::stop() {
  const std::lock_guard lock(m_mutex);
  m_stop = true;
  m_changed.notify_all();
}

bool SimCore::isLoaded() {
  const std::lock_guard lock(m_mutex);
  if (hasPage()) m_drawnIn = true;
  return hasPage();
}

void SimCore::unload() {
  const std::lock_guard lock(m_mutex);
  if (m_running || !m_drawnIn || !hasPage()) return;
  m_drawnIn = false;
  ++m_fed;
  ++m_page;
}

void SimCore::close() {
  {
    const std::lock_guard lock(m_mutex);
    m_quit = true;
    m_stop = true;
    m_changed.notify_all();
  }
  if (!m_thread.joinable()) return;
  if (m_thread.get_id() == std::this_thread::get_id())
    m_thread.detach();  // it holds this object until it has left the receiver's call
  else
    m_thread.join();
}

void SimCore::waitUntil(std::chrono::steady_clock::time_point when) {
  std::unique_lock lock(m_mutex);
  m_changed.wait_until(lock, when, [&] { return m_stop.load(); });
}

void SimCore::threadMain() {
  for (;;) {
    SimJob job;
    {
      std::unique_lock lock(m_mutex);
      m_changed.wait(lock, [&] { return m_quit || m_pending; });
      if (!m_pending || !m_job) return;
      m_pending = false;
      job = std::move(*m_job);
      m_job.reset();
      job.page = m_page;
      if (!m_faultDone) job.faultAfter = job.config.jamAfter;
      if (hasPage()) m_drawnIn = true;
    }
    perform(std::move(job));
  }
}

SimEnd SimCore::runGuarded(const SimJob& job, UnitFault* fault) {
  try {
    const SimEnd end = runSimJob(job, this);
    if (end == SimEnd::Stopped) *fault = simFault(UnitFaultCode::Cancelled);
    if (end == SimEnd::Fault)
      *fault = simFault(job.config.fault == UnitFaultCode::None ? UnitFaultCode::Jammed : job.config.fault);
    return end;
  } catch (const CXMemException& e) {
    *fault = {UnitFaultCode::NoMemory, e.what()};
  } catch (const CXFileException& e) {
    *fault = {UnitFaultCode::InputOutput, e.what()};
  } catch (const std::bad_alloc&) {
    *fault = simFault(UnitFaultCode::NoMemory);
  } catch (const std::exception& e) {
    *fault = {UnitFaultCode::Other, std::string("The scan on the simulated scanner failed: ") + e.what()};
  }
  return SimEnd::Stopped;
}

void SimCore::perform(SimJob job) {
  UnitFault fault;
  SimEnd end = SimEnd::Stopped;
  const bool paper = [&] {
    const std::lock_guard lock(m_mutex);
    return hasPage();
  }();
  if (m_stop)
    fault = simFault(UnitFaultCode::Cancelled);
  else if (!paper)
    fault = simFault(UnitFaultCode::NoDocuments);
  else
    end = runGuarded(job, &fault);
  {
    const std::lock_guard lock(m_mutex);
    m_fault = fault;
    if (end == SimEnd::Fault) m_faultDone = true;
    if (end == SimEnd::Complete && !job.request.isPrescan() && takesPage(job)) {
      ++m_fed;
      ++m_page;
      m_drawnIn = false;
    }
    m_running = false;
  }
  const bool complete = end == SimEnd::Complete;
  logLine(complete ? LogLevel::Debug : LogLevel::Info, kLog,
          complete ? "page " + std::to_string(job.page + 1) + " of the simulated scanner is complete" : fault.text);
  // A sink that is embedded in its owner may go as soon as it heard the end: no reference is given back after that,
  // unless it is the last one.
  IScanSink* const receiver = job.sink.get();
  const bool isLast = receiver->AddRef() == 2;
  receiver->Release();
  if (!isLast) job.sink = nullptr;
  try {
    receiver->ScanEnded(complete ? 1 : 2);
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, kLog, std::string("the receiver of a scan failed at its end: ") + e.what());
  }
}

}  // namespace quillbay
