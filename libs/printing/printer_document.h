#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "printing/page_layout.h"
#include "printing/print_settings.h"
#include "printing/printers.h"
#include "printing/raster_type.h"
#include "quillbay/printing.h"

namespace quillbay {

class IppLink;

/// How long a job waits for its printer, in seconds.
struct JobPatience {
  PrinterPatience ask{5, 10, 4};
  double silence = 60;  ///< the printer answers no question any more
  double stuck = 600;   ///< it answers, has no reason to wait, and yet takes nothing
  double askAgain = 2;  ///< between questions why it takes nothing
};

/// What the threads of a job share.
struct JobSignals {
  std::atomic<bool> isWoken{false};
  int cancelConnect = 0;  ///< libcups reads it while it connects

  void wake() noexcept {
    isWoken = true;
    std::atomic_ref(cancelConnect).store(1);
  }
};

/// A job at a printer and its one document, which is written while it is made. One thread, except as noted. Throws
/// CXDeviceException with the printer's name and reason.
class PrinterDocument {
 public:
  /// Nothing is sent yet. `jobSignals` outlives it.
  PrinterDocument(PrinterInfo printer, JobPatience patience, JobSignals& jobSignals);
  ~PrinterDocument();
  PrinterDocument(const PrinterDocument&) = delete;
  PrinterDocument& operator=(const PrinterDocument&) = delete;

  /// Makes the job and begins its document. `copies`: those that the printer makes.
  void open(const std::string& title, const PrintSettings& settings, const PageLayout& layout,
            const RasterType& type, std::int32_t copies);
  /// Blocks while the printer is behind; what it waits for is in `waitingFor`.
  void write(const char* bytes, std::size_t count);
  /// Ends the document: the printer has it whole.
  void close();
  /// Tells the printer to give the job up. Does not throw.
  void cancel() noexcept;

  /// Any thread: the job's number, 0 before it has one; and why the printer takes nothing at the moment.
  [[nodiscard]] std::int32_t job() const noexcept { return m_job; }
  [[nodiscard]] std::string waitingFor() const;
  [[nodiscard]] const PrinterInfo& printer() const noexcept { return m_printer; }

 private:
  bool keepWaiting(double seconds);
  void setWaiting(std::string text);
  [[noreturn]] void failWithReason(const std::exception& cause);

  const PrinterInfo m_printer;
  const JobPatience m_patience;
  JobSignals& m_signals;
  std::unique_ptr<IppLink> m_link;
  std::atomic<std::int32_t> m_job{0};
  double m_askedAt = 0, m_heardAt = 0;  // seconds without movement
  mutable std::mutex m_mutex;
  std::string m_waiting;  // guarded by m_mutex
};

/// What a printer says of a job of its own, in one question. Any thread. `*state` gets its reason for users.
[[nodiscard]] PrintFate askJobFate(const std::string& printer, std::int32_t job, const JobPatience& patience,
                                   JobSignals& jobSignals, std::string* state);

/// State and reasons of a printer for users: "stopped: media-empty"; empty when it is at work or idle.
[[nodiscard]] std::string whyPrinterWaits(const PrinterInfo& printer);

}  // namespace quillbay
