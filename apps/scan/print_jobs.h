#pragma once
#include <functional>
#include <set>

#include "quillbay/print_host.h"
#include "reporter.h"

/// The jobs of a run at their printers: reports how they fare, and waits for the printers' last word.
class PrintJobs {
 public:
  PrintJobs(quillbay::IApp* app, Reporter& reporter);
  ~PrintJobs();
  PrintJobs(const PrintJobs&) = delete;
  PrintJobs& operator=(const PrintJobs&) = delete;

  /// Jobs that were not printed so far: given up, cancelled, held.
  [[nodiscard]] int failures() const noexcept { return m_failures; }
  /// Waits no longer; the jobs go on.
  void cancel();
  /// Calls `then` when no printer works on a job any more, perhaps at once. A job that its printer holds is not
  /// waited for.
  void whenDone(std::function<void()> then);

 private:
  void take(const quillbay::PrintReport& report);
  [[nodiscard]] bool isDone() const;

  Reporter& m_reporter;
  quillbay::KxPtr<quillbay::IPrintWatch> m_watch;
  std::function<void()> m_then;
  std::set<std::pair<std::string, std::int32_t>> m_held;
  int m_failures = 0;
};
