#pragma once
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "scanners/sim/sim_job.h"

namespace quillbay {

/// The works of a simulated scanner: its feeder, its fault, and the thread that runs its scans one after another.
/// Shared by the unit and that thread. All operations are thread-safe.
class SimCore final : public std::enable_shared_from_this<SimCore>, private ISimClock {
 public:
  explicit SimCore(SimConfig config) : m_config(std::move(config)) {}

  [[nodiscard]] SimConfig config() const;
  [[nodiscard]] UnitFault fault() const;
  /// Changes a key for the next scans; a changed "count" fills the feeder, "jam-after" and "fault" arm again.
  bool setKey(std::string_view key, std::string_view value, std::string* why);

  /// Returns false with the reason in `fault`.
  bool arm(IScanSink* sink, IParam* request);
  /// Starts the armed scan. Returns what `arm` returns.
  bool run();
  void stop();
  bool isLoaded();
  /// Drops the page that lies in the scanner.
  void unload();
  /// Stops, and ends the thread; joins it unless called on it. Nothing is called afterwards.
  void close();

 private:
  bool isStopped() noexcept override { return m_stop.load(std::memory_order_relaxed); }
  void waitUntil(std::chrono::steady_clock::time_point when) override;
  void threadMain();
  void perform(SimJob job);
  [[nodiscard]] SimEnd runGuarded(const SimJob& job, UnitFault* fault);
  [[nodiscard]] bool hasPage() const noexcept {
    return m_config.flatbed || m_config.count == 0 || m_fed < m_config.count;
  }

  mutable std::mutex m_mutex;  // guards all but m_stop and m_thread
  std::condition_variable m_changed;
  SimConfig m_config;
  UnitFault m_fault;
  std::optional<SimJob> m_job;  // armed
  bool m_running = false;       // from `run` to the moment before `ScanEnded`
  bool m_pending = false;       // the armed job waits for the thread
  bool m_quit = false;
  std::int64_t m_page = 0;   // the page that is scanned next
  std::int64_t m_fed = 0;    // pages that left the feeder since it was filled
  bool m_drawnIn = true;     // a page lies in the scanner
  bool m_faultDone = false;  // the fault after some lines happened already
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

}  // namespace quillbay
