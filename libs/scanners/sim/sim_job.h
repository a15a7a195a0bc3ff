#pragma once
#include <chrono>
#include <memory>
#include <vector>

#include "quillbay/param.h"
#include "scanners/lines/line_pipeline.h"
#include "scanners/scan_request.h"
#include "scanners/sim/sim_config.h"

namespace quillbay {

inline constexpr std::int32_t kSimLeastDpi = 10;
inline constexpr std::int32_t kSimMostDpi = 4800;

/// How a running job is stopped, and waits for its speed.
class ISimClock {
 public:
  virtual bool isStopped() noexcept = 0;
  /// Waits until `when`, or until the job is stopped.
  virtual void waitUntil(std::chrono::steady_clock::time_point when) = 0;

 protected:
  ~ISimClock() = default;
};

/// One scan, as it was asked for.
struct SimJob {
  KxPtr<IScanSink> sink;
  SimConfig config;
  std::int64_t page = 0;  ///< counts from 0
  ScanRequest request;
  std::uint32_t dpi = 0;
  std::int32_t left = 0, right = 0;  ///< pixels of the bed, right exclusive
  std::int32_t top = 0, bottom = 0;  ///< the same in lines; bottom <= top: to the end of the document
  std::int64_t faultAfter = 0;       ///< lines; 0: never
};

/// Reads a request (keys: `IQuillbayUnit::Scan`). Returns false with the reason in `*fault`.
[[nodiscard]] bool readSimRequest(IParam* settings, const SimConfig& config, SimJob* job, UnitFault* fault);

/// Whether the job ejects the page. A piece of a burst does not; one that starts beyond its end,
/// and has no lines, ends it.
[[nodiscard]] bool takesPage(const SimJob& job);

/// How a job ended.
enum class SimEnd : int { Complete, Stopped, Fault };
/// Renders the job and hands its lines to the sink: `ScanStarted` and `StripeArrived`, not `ScanEnded`.
/// Throws what the rendering threw: CXFileException for an image, CXMemException.
[[nodiscard]] SimEnd runSimJob(const SimJob& job, ISimClock* clock);

/// "The simulated scanner ...: what happened, and what to do", for every code.
[[nodiscard]] UnitFault simFault(UnitFaultCode code);

}  // namespace quillbay
