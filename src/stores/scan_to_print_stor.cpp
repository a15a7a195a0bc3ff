#include "stores/scan_to_print_stor.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kPrintLog = "quillbay.print";

/// Counts what the printer has got on the panel's progress.
class PrintedLines final : public IPrintProgress {
 public:
  explicit PrintedLines(IProgress* progress) : m_progress(progress) {}
  int Printed(std::int64_t /*lines*/) override {
    if (!m_progress) return 1;
    m_progress->Step();
    return m_progress->IsCancelled() ? 0 : 1;
  }

 private:
  IProgress* m_progress;
};

}  // namespace

CScanToPrintStor::CScanToPrintStor(KxPtr<IPrintingJob> job, KxPtr<IParam> options, KxPtr<IProgress> progress)
    : m_progress(std::move(progress)), m_job(std::move(job)), m_options(std::move(options)) {}

CScanToPrintStor::~CScanToPrintStor() {
  if (m_ending.joinable()) m_ending.join();
  letGo(0);
}

int CScanToPrintStor::QueryInterface(const std::type_info& wanted, void** out) {
  return detail::answerQuery<ISStripStor, IStoreOutcome>(this, wanted, out);
}

KxPtr<IPrintingJob> CScanToPrintStor::job() const {
  const std::lock_guard lock(m_lock);
  return m_job;
}

void CScanToPrintStor::SetPageLines(std::int64_t lines) {
  const auto page = job().as<IPrintPage>();
  if (page) page->SetPageLines(lines);
}

int CScanToPrintStor::AddStripe(IScanBuffer* stripe) {
  const std::lock_guard printing(m_printing);
  const auto job = this->job();
  if (!stripe || !job) return 0;
  return print(*job, stripe);
}

/// With `m_printing` held.
int CScanToPrintStor::print(IPrintingJob& job, IScanBuffer* stripe) {
  KxSize size;
  stripe->GetSize(&size);
  std::int64_t line = 0;
  {
    const std::lock_guard lock(m_lock);
    if (!m_error.empty()) return 0;
    if (m_dpi == 0) {
      m_dpi = std::max(stripe->GetResolution(), 1U);
      m_extent[2] = size.width;
      m_blank = KxPtr<CIEmptyBuffer>::adopt(
          new CIEmptyBuffer(m_dpi, {size.width, 0}, stripe->GetColorSpace(),
                            stripe->GetColorCount() != 0 ? stripe->GetPalette() : nullptr));
    }
    line = static_cast<std::int64_t>(m_extent[3]);
  }
  if (m_isGivenUp) return 0;
  std::string why;
  try {
    PrintedLines progress(m_progress.get());
    if (job.PrintStripe(line, stripe, &progress)) {
      const std::lock_guard lock(m_lock);
      m_extent[3] += size.height;
      return 1;
    }
    const auto outcome = query<IPrintOutcome>(&job);
    if (outcome) why = outcome->GetError();
  } catch (const std::exception& e) {
    why = e.what();
  }
  if (m_isGivenUp) return 0;  // no fault of the printer
  if (why.empty()) why = Supp_Translate("The printer took no more lines of the page.");
  logLine(LogLevel::Error, kPrintLog, why);
  const std::lock_guard lock(m_lock);
  m_error = std::move(why);
  return 0;
}

void CScanToPrintStor::Paint(IRasterDC* /*target*/, const CRDirectTfm* /*tfm*/) {
  const std::lock_guard lock(m_lock);
}

void CScanToPrintStor::GetRect(double rect[4]) {
  const std::lock_guard lock(m_lock);
  std::copy_n(m_extent, 4, rect);
}

void CScanToPrintStor::GetRectMM(double rect[4]) {
  const std::lock_guard lock(m_lock);
  std::transform(m_extent, m_extent + 4, rect,
                 [this](double pixels) { return pixels * kMmPerInch / std::max(m_dpi, 1U); });
}

/// The job's own error counts when no stripe has met it: it may fail at its end.
std::string CScanToPrintStor::GetError() {
  const std::lock_guard lock(m_lock);
  if (!m_error.empty() || m_isGivenUp) return m_error;
  const auto outcome = m_job.as<IPrintOutcome>();
  return outcome ? outcome->GetError() : std::string();
}

std::int64_t CScanToPrintStor::GetLines() {
  const std::lock_guard lock(m_lock);
  return std::max<std::int64_t>(static_cast<std::int64_t>(m_extent[3]), 0);
}

void CScanToPrintStor::Wake() {
  m_isGivenUp = true;
  const auto outcome = job().as<IPrintOutcome>();
  if (outcome) outcome->Wake();
}

/// A job without a stripe has no width to fill: it is ended as it is.
void CScanToPrintStor::complete(int minLines) {
  const std::lock_guard printing(m_printing);
  const auto job = this->job();
  if (!job) return;
  const std::int64_t missing = m_blank ? minLines - GetLines() : 0;
  if (missing > 0) {
    m_blank->setLineCount(static_cast<std::int32_t>(missing));
    print(*job, m_blank.get());
  }
  letGo(1);
}

/// Ends the job, once.
void CScanToPrintStor::letGo(int completed) {
  KxPtr<IPrintingJob> job;
  bool hasFailed = false;
  {
    const std::lock_guard lock(m_lock);
    job = std::move(m_job);
    m_job = nullptr;
    m_options = nullptr;
    hasFailed = !m_error.empty();
  }
  if (!job) return;
  std::string why;
  try {
    const bool isWhole = completed != 0 && !m_isGivenUp;
    const bool isEnded = job->End(isWhole ? 1 : 0) != 0;
    if (completed == 0 || hasFailed) return;
    const auto outcome = job.as<IPrintOutcome>();
    if (m_isGivenUp)
      why = Supp_Translate("The page was not printed: its print job was stopped.");
    else if (outcome)
      why = outcome->GetError();
    if (why.empty() && !isEnded) why = Supp_Translate("The printer did not take the end of the page.");
  } catch (const std::exception& e) {
    why = e.what();
  }
  if (why.empty()) return;
  logLine(LogLevel::Error, kPrintLog, why);
  const std::lock_guard lock(m_lock);
  if (m_error.empty()) m_error = std::move(why);
}

void CScanToPrintStor::joinEnding() {
  if (m_ending.joinable()) m_ending.join();
}

void CScanToPrintStor::BeginFinish(int minLines, void (*done)(void*), void* context) {
  joinEnding();
  m_ending = std::thread([this, minLines, done, context] {
    complete(minLines);
    if (done) done(context);
  });
}

int CScanToPrintStor::Finish(IRStor** /*out*/, int minLines, int /*release*/) {
  joinEnding();
  complete(minLines);
  const std::lock_guard lock(m_lock);
  return m_error.empty() ? 1 : 0;
}

void CScanToPrintStor::Reset() {
  Wake();
  joinEnding();
  const std::lock_guard printing(m_printing);
  letGo(0);
  const std::lock_guard lock(m_lock);
  m_extent[0] = m_extent[1] = 0;
  m_extent[2] = m_extent[3] = -1;
  m_error.clear();
  m_isGivenUp = true;
}

}  // namespace quillbay
