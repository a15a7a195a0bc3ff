#include "print_jobs.h"

#include <utility>

#include "translated.h"

using quillbay::PrintFate;

PrintJobs::PrintJobs(quillbay::IApp* app, Reporter& reporter)
    : m_reporter(reporter), m_watch(quillbay::query<quillbay::IPrintWatch>(app)) {
  if (m_watch) m_watch->SetHandler([this](const quillbay::PrintReport& report) { take(report); });
}

PrintJobs::~PrintJobs() {
  if (m_watch) m_watch->SetHandler(nullptr);
}

bool PrintJobs::isDone() const { return !m_watch || m_watch->Count() <= static_cast<int>(m_held.size()); }

void PrintJobs::take(const quillbay::PrintReport& report) {
  const std::pair job(report.printer, report.job);
  const bool wasHeld = m_held.erase(job) != 0;
  if (wasHeld) --m_failures;
  const bool isHeld = report.fate == PrintFate::Held;
  if (isHeld) m_held.insert(job);
  const bool isGood = report.fate == PrintFate::Printed || report.fate == PrintFate::Working;
  if (!isGood) ++m_failures;
  m_reporter.printJob(report, isGood);
  if (m_then && isDone()) std::exchange(m_then, {})();
}

void PrintJobs::cancel() {
  if (m_watch) m_watch->Forget();
  m_held.clear();
  if (m_then) std::exchange(m_then, {})();
}

void PrintJobs::whenDone(std::function<void()> then) {
  if (isDone()) return then();
  m_reporter.note(translated("waiting for the printer; interrupt to leave the job to it"));
  m_then = std::move(then);
}
