#pragma once
#include <atomic>

#include "printing/print_job.h"
#include "quillbay/printing.h"

namespace quillbay {

/// The tool "RunPrinting": one job over the print system. Exceptions and waits are those of `PrintJob`.
class CRunPrinting final : public CKxUnknownImpl<IPrintingJob, IPrintPage, IPrintOutcome> {
 public:
  int Start(const char* title, IParam* options) override;
  int PrintStripe(std::int64_t line, IScanBuffer* stripe, IPrintProgress* progress) override;
  int End(int completed) override { return m_job.end(completed != 0) ? 1 : 0; }

  void SetPageLines(std::int64_t lines) override { m_job.setPageLines(lines); }

  [[nodiscard]] std::string GetError() override { return m_job.error(); }
  [[nodiscard]] std::string GetPrinter() override { return m_job.printer(); }
  std::int32_t GetJob() override { return m_job.job(); }
  [[nodiscard]] std::string GetNote() override { return m_job.note(); }
  void Wake() override { m_job.wake(); }
  int Await(double seconds, std::string* state) override;
  [[nodiscard]] PrintFate GetFate() override { return m_fate; }

 private:
  ~CRunPrinting() override = default;

  PrintJob m_job;
  std::int64_t m_lines = 0;
  std::atomic<PrintFate> m_fate{PrintFate::Working};
};

}  // namespace quillbay
