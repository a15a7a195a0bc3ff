#include "scanners/sane/sane_core.h"

#include <algorithm>
#include <exception>

#include "platform/base_services.h"
#include "scanners/sane/sane_fault.h"
#include "scanners/sane/sane_page.h"
#include "scanners/sane/sane_thread.h"

namespace quillbay {

namespace {

constexpr const char* kSensors[] = {"page-loaded", "adf-loaded", "paper-loaded"};
constexpr const char* kUnloaders[] = {"eject", "unload"};

}  // namespace

std::shared_ptr<SaneCore> SaneCore::open(IApp* app, const std::string& device,
                                         std::shared_ptr<ScannerFinder> finder) {
  std::shared_ptr<SaneCore> core(new SaneCore(app, device, std::move(finder)));
  SaneThread::instance().call(app, [&] {
    core->m_device = std::make_unique<SaneDevice>(device);
    core->learn();
  });
  return core;
}

SaneCore::SaneCore(IApp* app, std::string device, std::shared_ptr<ScannerFinder> finder)
    : m_app(KxPtr<IApp>::share(app)), m_name(std::move(device)), m_finder(std::move(finder)) {}

void SaneCore::close() {
  // Posted, not called: the thread may be occupied by another device's scan. Whoever opens the device again comes
  // after it.
  SaneThread::instance().post({}, [self = shared_from_this()] {
    self->m_device->cancel();
    self->m_device.reset();
  });
}

void SaneCore::learn() {
  SaneCapabilities found = findCapabilities(m_device->options());
  const std::lock_guard lock(m_mutex);
  m_capabilities = std::move(found);
}

SaneCapabilities SaneCore::capabilities() {
  const std::lock_guard lock(m_mutex);
  return m_capabilities;
}

UnitFault SaneCore::fault() {
  const std::lock_guard lock(m_mutex);
  return m_fault;
}

bool SaneCore::refuse(UnitFaultCode code, const std::string& text) {
  const std::lock_guard lock(m_mutex);
  m_fault = {code, m_name + ": " + text};
  return false;
}

bool SaneCore::arm(IScanSink* sink, IParam* settings) {
  const SaneCapabilities known = capabilities();
  ScanRequest request;
  const std::string wrong = readScanRequest(settings, &request);
  {
    const std::lock_guard lock(m_mutex);
    if (!m_isRunning) m_fault = {};
    m_armedSink = nullptr;
  }
  if (!wrong.empty()) return refuse(UnitFaultCode::Invalid, wrong);
  if (!sink) return refuse(UnitFaultCode::Invalid, Supp_Translate("nobody receives the scan."));
  if (!known.offers(request.mode))
    return refuse(UnitFaultCode::Unsupported,
                  formatText(Supp_Translate("this scanner does not offer scan mode %s."),
                             {toText(std::int64_t{request.mode})}));
  if (request.dpi < 0 || (request.dpi > 0 && !known.allowsDpi(request.dpi))) {
    std::string allowed;
    if (known.maxDpi > 0) allowed = toText(known.minDpi) + ".." + toText(known.maxDpi);
    for (std::size_t i = 0; i < known.resolutions.size() && known.maxDpi <= 0; ++i)
      allowed.append(i ? ", " : "").append(toText(std::int64_t{known.resolutions[i]}));
    return refuse(UnitFaultCode::Invalid, formatText(Supp_Translate("this scanner does not offer %s dpi; "
                                                                    "allowed: %s"),
                                                     {toText(std::int64_t{request.dpi}), allowed}));
  }
  const std::lock_guard lock(m_mutex);
  m_armedSink = KxPtr<IScanSink>::share(sink);
  m_armedRequest = request;
  return true;
}

bool SaneCore::run() {
  {
    const std::lock_guard lock(m_mutex);
    if (m_isRunning || !m_armedSink) return false;
    m_isRunning = true;
    ++m_jobs;
    m_scanSink = std::exchange(m_armedSink, nullptr);
    m_scanRequest = m_armedRequest;
    m_stop = false;
  }
  SaneThread::instance().beginScan();
  SaneThread::instance().post(m_app, [self = shared_from_this()] { self->scan(); });
  return true;
}

void SaneCore::stop() {
  m_stop = true;
  m_device->interrupt();
  const std::lock_guard lock(m_mutex);
  if (m_isRunning || !m_batchOpen) return;
  SaneThread::instance().post({}, [self = shared_from_this()] { self->endBatch(); });
}

void SaneCore::waitUntilIdle() {
  std::unique_lock lock(m_mutex);
  m_idle.wait(lock, [this] { return m_jobs == 0; });
}

bool SaneCore::mayUseDevice() {
  if (m_isClosed) return false;
  {
    const std::lock_guard lock(m_mutex);
    if (m_isRunning) return false;
  }
  return SaneThread::instance().isCurrent() || !SaneThread::instance().isScanning();
}

void SaneCore::endBatch() {
  if (!m_batchOpen.exchange(false)) return;
  if (m_device->mayAsk()) m_device->cancel();
}

std::uint32_t SaneCore::prepare(const ScanRequest& request) {
  WantedOptions wanted;
  {
    const std::lock_guard lock(m_mutex);
    wanted = m_wanted;
  }
  // Within a batch the feeder continues with the next sheet; setting options would end it.
  if (m_batchOpen && request.isBatch && request == m_lastRequest && wanted == m_lastWanted) return m_lastDpi;
  endBatch();
  m_gamma.restore(*m_device);
  m_lastDpi = applyRequest(*m_device, request, wanted);
  m_lastRequest = request;
  m_lastWanted = std::move(wanted);
  learn();
  if (SaneGamma::isTrusted(m_device->name())) m_gamma.apply(*m_device, request.curves);
  return m_lastDpi;
}

void SaneCore::startDevice() {
  const SANE_Status status = m_device->start(m_stop);
  if (m_stop) throw UnitFaultException(stoppedFault(m_name));
  if (status == SANE_STATUS_ACCESS_DENIED) SaneThread::instance().forgetPasswords();
  if (status == SANE_STATUS_INVAL) m_isLost = true;  // drivers say so for a handle without a device as well
  checkSane(status, m_name, SaneStep::Start);
}

// The device may have been unplugged and be back, perhaps under another name.
void SaneCore::reopenLost() {
  m_batchOpen = false;
  m_isClosed = true;
  try {
    m_device->reopen(m_device->name());
  } catch (const UnitFaultException& e) {
    if (!m_finder || !mayBeElsewhere(e.fault())) throw;
    const auto found = m_finder->find([this] { return m_stop.load(); });
    if (m_stop) throw UnitFaultException(stoppedFault(m_name));
    if (!found) throw;
    SaneThread::instance().renewDrivers();
    m_device->reopen(found->device);
    m_finder->take(*found);
  }
  m_isClosed = false;
  m_isLost = false;
}

void SaneCore::scanPage(IScanSink* sink, const ScanRequest& request) {
  if (m_isLost || !m_device->mayAsk()) reopenLost();
  SanePage::Setup setup;
  setup.mode = request.mode;
  setup.dpi = prepare(request);
  setup.bw = request.bw;
  setup.color = request.color;
  setup.palette = paletteOf(request);
  setup.curves = request.curves.empty() || m_gamma.isApplied() ? nullptr : request.curves.data();
  setup.isPrescan = request.isPrescan();
  setup.readsToEnd = goesOn(request);
  if (request.hasRect && !takesArea(*m_device)) setup.area = request.rect;
  startDevice();
  SanePage(*m_device, setup, sink, m_stop).run();
}

// Whether the feeder brings the next page of a batch without a cancel in between.
bool SaneCore::goesOn(const ScanRequest& request) const {
  return request.isBatch && SaneSources(m_device->options()).isFeeder();
}

// Every page ends with a cancel, which lets the device rest, except a page of a batch that the feeder continues.
void SaneCore::finishDevice(const ScanRequest& request, bool completed) {
  m_batchOpen = completed && !m_stop && goesOn(request);
  if (!m_batchOpen) m_device->cancel();
}

UnitFault SaneCore::faultOfException() {
  try {
    throw;
  } catch (const UnitFaultException& e) {
    return e.fault();
  } catch (const CXMemException& e) {
    return {UnitFaultCode::NoMemory, e.what()};
  } catch (const std::bad_alloc&) {
    return saneFault(SANE_STATUS_NO_MEM, m_name, SaneStep::Read);
  } catch (const std::exception& e) {
    return {UnitFaultCode::Other, m_name + ": " + e.what()};
  }
}

void SaneCore::scan() {
  KxPtr<IScanSink> sink;
  ScanRequest request;
  {
    const std::lock_guard lock(m_mutex);
    sink = std::exchange(m_scanSink, nullptr);
    request = m_scanRequest;
  }
  UnitFault fault;
  try {
    scanPage(sink.get(), request);
  } catch (...) {
    fault = faultOfException();
    if (fault.code == UnitFaultCode::InputOutput || fault.code == UnitFaultCode::AccessDenied) m_isLost = true;
  }
  finishDevice(request, fault.code == UnitFaultCode::None);
  if (fault.code != UnitFaultCode::None)
    logLine(fault.code == UnitFaultCode::Cancelled ? LogLevel::Info : LogLevel::Warning, "quillbay.scanner",
            fault.text);
  {
    const std::lock_guard lock(m_mutex);
    m_fault = fault;
    m_wasEmpty = fault.code == UnitFaultCode::NoDocuments;
    m_hasToldEmpty = m_hasToldEmpty || m_wasEmpty;
    m_isRunning = false;
  }
  if (m_stop) endBatch();  // the stop came when the page was complete already
  SaneThread::instance().endScan();
  deliverEnd(std::move(sink), fault.code == UnitFaultCode::None ? 1 : 2);
  const std::lock_guard lock(m_mutex);
  --m_jobs;
  m_idle.notify_all();
}

// A sink that is embedded in its owner may go as soon as it heard the end, so that no reference may be given back
// afterwards; one that only the scan still holds must outlive the notification.
void SaneCore::deliverEnd(KxPtr<IScanSink> sink, int status) {
  IScanSink* const receiver = sink.get();
  const bool isLastReference = receiver->AddRef() == 2;
  receiver->Release();
  if (!isLastReference) sink = nullptr;
  try {
    receiver->ScanEnded(status);
  } catch (const std::exception& e) {
    logLine(LogLevel::Error, "quillbay.scanner", e.what());
  }
}

bool SaneCore::isLoaded() {
  bool loaded = true;
  {
    // Reported once: only the next start shows whether the user has loaded the feeder.
    const std::lock_guard lock(m_mutex);
    loaded = !std::exchange(m_wasEmpty, false);
  }
  if (!capabilities().sources.isFeeder() || !mayUseDevice()) return loaded;
  SaneThread::instance().call(m_app.get(), [&] {
    if (!m_device->mayAsk()) return;
    for (const char* name : kSensors) {
      m_device->refresh(name);
      const SaneOption* sensor = m_device->find(name);
      if (sensor && sensor->type == SANE_TYPE_BOOL && !sensor->value.empty()) loaded = sensor->value.front() != 0;
    }
  });
  return loaded;
}

bool SaneCore::unload() {
  if (!mayUseDevice()) return false;
  bool done = false;
  SaneThread::instance().call(m_app.get(), [&] {
    if (!m_device->mayAsk()) return;
    for (const char* name : kUnloaders) {
      const SaneOption* button = m_device->settable(name);
      if (done || !button || button->type != SANE_TYPE_BUTTON) continue;
      endBatch();
      try {
        m_device->set(name, {});
        done = true;
      } catch (const UnitFaultException& e) {
        logLine(LogLevel::Warning, "quillbay.scanner", e.what());
      }
    }
  });
  return done;
}

// Why the option cannot be set to a value, or empty.
std::string SaneCore::reasonAgainst(std::string_view name, std::string_view value, SaneValue* parsed,
                                    bool* isButton) {
  const SaneCapabilities known = capabilities();
  const auto it =
      std::find_if(known.options.begin(), known.options.end(), [&](const SaneOption& o) { return o.name == name; });
  if (it == known.options.end()) {
    std::string names;
    for (const SaneOption& o : known.options)
      if (o.isSettable() && !followsRequest(o.name)) names.append(names.empty() ? "" : ", ").append(o.name);
    return formatText(Supp_Translate("the scanner %s has no option \"%s\"; it has: %s"),
                      {m_name, std::string(name), names});
  }
  if (followsRequest(name))
    return formatText(Supp_Translate("the option \"%s\" of %s is set by the scan mode, resolution and area"),
                      {std::string(name), m_name});
  if (!it->isSettable())
    return formatText(Supp_Translate("the option \"%s\" of %s is read-only"), {std::string(name), m_name});
  *isButton = it->type == SANE_TYPE_BUTTON;
  std::string why;
  return parseSaneValue(*it, value, parsed, &why) ? std::string() : why;
}

bool SaneCore::hasToldEmpty() {
  const std::lock_guard lock(m_mutex);
  return m_hasToldEmpty;
}

WantedOptions SaneCore::wantedOptions() {
  const std::lock_guard lock(m_mutex);
  return m_wanted;
}

void SaneCore::want(std::string_view name, std::string_view value) {
  const std::lock_guard lock(m_mutex);
  const auto old = std::find_if(m_wanted.begin(), m_wanted.end(), [&](const auto& w) { return w.first == name; });
  if (old != m_wanted.end())
    old->second = value;
  else
    m_wanted.emplace_back(name, value);
}

bool SaneCore::setOption(std::string_view name, std::string_view value, std::string* why) {
  SaneValue parsed;
  bool isButton = false;
  if (const std::string reason = reasonAgainst(name, value, &parsed, &isButton); !reason.empty()) {
    if (why) *why = reason;
    return false;
  }
  if (!isButton) want(name, value);
  if (!mayUseDevice()) {
    if (isButton && why)
      *why = formatText(Supp_Translate("%s is busy; try again when its scan has ended"), {m_name});
    return !isButton;  // others are kept for the next scan
  }
  try {
    SaneThread::instance().call(m_app.get(), [&] {
      if (!m_device->mayAsk()) return;  // the next scan opens it again
      endBatch();
      m_gamma.restore(*m_device);  // before an option makes its tables inactive, and before they are shown
      if (m_device->settable(name)) m_device->set(name, parsed);
      learn();
    });
  } catch (const UnitFaultException& e) {
    if (why) *why = e.what();
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_wanted, [&](const auto& w) { return w.first == name; });
    return false;
  }
  return true;
}

}  // namespace quillbay
