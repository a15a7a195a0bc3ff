#pragma once
#include <QEventLoop>

#include "failure.h"
#include "interrupts.h"
#include "next_page.h"
#include "page_scripts.h"
#include "print_jobs.h"
#include "quillbay/control.h"
#include "reporter.h"
#include "scan_options.h"

/// What refusals of a run mean for the exit status: remembers the last message.
class Refusals {
 public:
  void hear(const quillbay::HostMessage& message);
  /// The status for a run that was refused before the paper moved.
  [[nodiscard]] ExitStatus status() const noexcept { return m_status; }
  /// Whether something could not be written since the start.
  [[nodiscard]] bool outputFailed() const noexcept { return m_outputFailed; }

 private:
  ExitStatus m_status = kUsage;
  bool m_outputFailed = false;
};

/// Runs scans to their end: reports them, and stops them for a signal.
class CliRun final : public quillbay::CKxUnknownImplStatic<quillbay::IQuillbayEvents> {
 public:
  CliRun(quillbay::IQuillbayControl* control, const ScanOptions& options, Reporter& reporter,
         Interrupts& interrupts, NextPage& next, const Refusals& refusals, PageScripts& scripts, PrintJobs& prints);
  /// Returns the exit status.
  int run();

  void OnStarted(const quillbay::ScanStartInfo& info) override { m_reporter.started(info); }
  void OnLines(std::int64_t lines) override { m_reporter.lines(lines); }
  void OnPageFinished(const quillbay::PageInfo& page) override;
  void OnPublished(const std::string& file, std::int32_t pages) override { m_reporter.published(file, pages); }
  void OnMessage(const std::string&) override {}  // the host has reported it already
  void OnDetecting() override { m_reporter.detecting(); }
  void OnDetected(const quillbay::DetectedArea& area) override;
  void OnEnded(quillbay::EndCause cause, const quillbay::UnitFault& fault, std::int32_t pages) override;

 private:
  [[nodiscard]] int statusOf(quillbay::EndCause cause, const quillbay::UnitFault& fault, int pages) const;
  void lookAgain();
  void stop();
  void finish(quillbay::EndCause cause, const quillbay::UnitFault& fault, int pages);

  quillbay::IQuillbayControl* m_control;
  const ScanOptions& m_options;
  Reporter& m_reporter;
  Interrupts& m_interrupts;
  NextPage& m_next;
  const Refusals& m_refusals;
  PageScripts& m_scripts;
  PrintJobs& m_prints;
  QEventLoop m_loop;
  int m_status = kDone;
  quillbay::CKxVariant m_areaType, m_detection;  // as the run began
  bool m_scansAll = false;                       // the last page's document was not found
};
