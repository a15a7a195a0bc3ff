#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "quillbay/app.h"
#include "quillbay/scanner.h"
#include "scanners/sane/sane_capabilities.h"
#include "scanners/sane/sane_device.h"
#include "scanners/sane/sane_gamma.h"
#include "scanners/sane/sane_settings.h"
#include "scanners/scanner_finder.h"

namespace quillbay {

/// What a SANE unit does, shared by the unit and its running scan, so that a unit may be destroyed while its last
/// notification is still being delivered. Made by `open`.
///
/// Threads: everything but the private functions may be called on any thread. The device is touched on the SANE
/// thread only, except to interrupt it. While a scan occupies that thread, questions are answered from what is
/// known, and settings are kept for the next scan.
class SaneCore : public std::enable_shared_from_this<SaneCore> {
 public:
  /// Opens the device. `finder` (may be null) finds it when it went away and came back under another name.
  /// Throws UnitFaultException.
  static std::shared_ptr<SaneCore> open(IApp* app, const std::string& device,
                                        std::shared_ptr<ScannerFinder> finder = {});
  ~SaneCore() = default;
  SaneCore(const SaneCore&) = delete;
  SaneCore& operator=(const SaneCore&) = delete;

  [[nodiscard]] SaneCapabilities capabilities();
  [[nodiscard]] UnitFault fault();
  bool arm(IScanSink* sink, IParam* settings);
  bool run();
  void stop();
  /// Waits until no scan runs and its last notification was delivered. Not on the SANE thread.
  void waitUntilIdle();
  /// Closes the device, as the last call.
  void close();
  [[nodiscard]] bool isLoaded();
  bool unload();
  bool setOption(std::string_view name, std::string_view value, std::string* why);
  /// What was set, in this order.
  [[nodiscard]] WantedOptions wantedOptions();
  /// Whether a scan has ended because no document was left since the device was opened.
  [[nodiscard]] bool hasToldEmpty();

 private:
  SaneCore(IApp* app, std::string device, std::shared_ptr<ScannerFinder> finder);
  void reopenLost();
  void scan();
  static void deliverEnd(KxPtr<IScanSink> sink, int status);
  void scanPage(IScanSink* sink, const ScanRequest& request);
  std::uint32_t prepare(const ScanRequest& request);
  void startDevice();
  void finishDevice(const ScanRequest& request, bool completed);
  void endBatch();
  [[nodiscard]] bool goesOn(const ScanRequest& request) const;
  void learn();
  UnitFault faultOfException();
  bool refuse(UnitFaultCode code, const std::string& text);
  std::string reasonAgainst(std::string_view name, std::string_view value, SaneValue* parsed, bool* isButton);
  bool mayUseDevice();
  void want(std::string_view name, std::string_view value);

  const KxPtr<IApp> m_app;
  const std::string m_name;
  const std::shared_ptr<ScannerFinder> m_finder;

  // SANE thread
  std::unique_ptr<SaneDevice> m_device;
  ScanRequest m_lastRequest;  // of an open batch
  WantedOptions m_lastWanted;
  std::uint32_t m_lastDpi = 0;
  SaneGamma m_gamma;
  bool m_isLost = false;  // the device seems to be disconnected: it is opened again before the next scan

  std::atomic<bool> m_stop{false};
  std::atomic<bool> m_isClosed{false};   // a lost device could not be opened again so far
  std::atomic<bool> m_batchOpen{false};  // a page was read, and the next may follow without a cancel

  std::mutex m_mutex;  // guards the rest
  std::condition_variable m_idle;
  SaneCapabilities m_capabilities;
  WantedOptions m_wanted;
  UnitFault m_fault;
  KxPtr<IScanSink> m_armedSink;
  ScanRequest m_armedRequest;
  KxPtr<IScanSink> m_scanSink;  // of the scan that waits for the SANE thread
  ScanRequest m_scanRequest;
  bool m_isRunning = false;
  int m_jobs = 0;  // scans whose last notification was not delivered yet
  bool m_hasToldEmpty = false;
  bool m_wasEmpty = false;  // the feeder was empty at the last start, not reported yet
};

}  // namespace quillbay
