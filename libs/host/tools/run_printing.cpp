#include "host/tools/run_printing.h"

#include "platform/base_services.h"

namespace quillbay {

int CRunPrinting::Start(const char* title, IParam* options) {
  return m_job.start(title && *title ? title : Supp_Translate("Image from scanner"), options) ? 1 : 0;
}

int CRunPrinting::PrintStripe(std::int64_t line, IScanBuffer* stripe, IPrintProgress* progress) {
  if (!stripe) return 0;
  if (line != m_lines) {
    logLine(LogLevel::Warning, "quillbay.printing",
            "a stripe for line " + toText(line) + " came at line " + toText(m_lines) + " and was not printed");
    return 0;
  }
  KxSize size;
  stripe->GetSize(&size);
  if (!m_job.push(stripe, progress)) return 0;
  m_lines += size.height;
  return 1;
}

int CRunPrinting::Await(double seconds, std::string* state) {
  std::string ignored;
  m_fate = m_job.await(seconds, state ? state : &ignored);
  return m_fate == PrintFate::Printed ? 1 : 0;
}

}  // namespace quillbay
