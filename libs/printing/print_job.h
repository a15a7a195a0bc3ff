#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "printing/print_settings.h"
#include "printing/printer_document.h"
#include "quillbay/printing.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// A page on its way to a printer: takes stripes, and converts and sends them on a thread of its own, so that the
/// scanner waits only for a printer that stays behind. Up to `kQueue` stripes are held.
///
///   start -> push ... -> end            the first error sticks: push and end answer false from then on
///
/// Threads: `start` first; `push` and `end` one after the other; everything else any thread.
class PrintJob {
 public:
  static constexpr std::size_t kQueue = 24;

  explicit PrintJob(JobPatience patience = {}) : m_patience(patience) {}
  ~PrintJob();
  PrintJob(const PrintJob&) = delete;
  PrintJob& operator=(const PrintJob&) = delete;

  /// Finds the printer, asks what it takes, and checks what is known of the page against it. Nothing is sent.
  /// False: refused, see `error`.
  bool start(const std::string& title, IParam* options);
  /// Before the first stripe; 0: unknown.
  void setPageLines(std::int64_t lines);
  /// Blocks while the queue is full. `progress` may be null; its 0 gives up.
  bool push(IScanBuffer* stripe, IPrintProgress* progress);
  /// Waits until the printer has all of the page, or gives the job up. A job without a stripe makes nothing. False:
  /// the page was not printed whole, see `error`, or the job had ended before.
  bool end(bool completed);

  /// Gives up; whatever blocks returns.
  void wake();
  [[nodiscard]] std::string error() const;
  /// What users call the printer.
  [[nodiscard]] std::string printer() const;
  [[nodiscard]] std::int32_t job() const;
  /// While the printer takes nothing, why; later what is worth telling.
  [[nodiscard]] std::string note() const;
  /// After `end(true)`: as `IPrintOutcome::Await`.
  [[nodiscard]] PrintFate await(double seconds, std::string* state);

 private:
  void run();
  void printPage();
  void fail(const std::string& text);
  KxPtr<IScanBuffer> next();
  bool waitForRoom(std::unique_lock<std::mutex>& lock, IPrintProgress* progress);

  const JobPatience m_patience;
  JobSignals m_signals;
  std::string m_title;
  PrintSettings m_settings;
  PageShape m_page;
  std::unique_ptr<PrinterDocument> m_document;  // made by start
  std::thread m_thread;
  std::atomic<std::int64_t> m_linesDone{0};

  mutable std::mutex m_mutex;  // guards what follows
  std::condition_variable m_changed;
  std::deque<KxPtr<IScanBuffer>> m_queue;
  bool m_hasEnded = false;
  std::string m_error, m_note;
};

}  // namespace quillbay
