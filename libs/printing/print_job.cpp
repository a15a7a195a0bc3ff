#include "printing/print_job.h"

#include <chrono>

#include "platform/base_services.h"
#include "printing/page_printer.h"
#include "printing/printers.h"

namespace quillbay {
namespace {

using Clock = std::chrono::steady_clock;

PrinterInfo chosenPrinter(const PrintSettings& settings, const PageShape& page, const JobPatience& patience) {
  if (!settings.printer.empty()) return printerAttributes(settings.printer, patience.ask);
  return detectPrinter(page.widthMm(), page.lengthMm(), patience.ask);
}

void checkAccepts(const PrinterInfo& printer) {
  if (printer.isAccepting) return;
  const std::string why = whyPrinterWaits(printer);
  throw CXDeviceException(formatText(
      Supp_Translate("The printer \"%s\" takes no jobs%s. Choose another printer, or let it accept jobs again."),
      {printer.title(), why.empty() ? "" : ": " + why}));
}

}  // namespace

PrintJob::~PrintJob() {
  if (!m_thread.joinable()) return;
  wake();
  end(false);
}

bool PrintJob::start(const std::string& title, IParam* options) {
  try {
    m_title = title;
    m_settings = readPrintSettings(options);
    m_page = readPageShape(options);
    PrinterInfo printer = chosenPrinter(m_settings, m_page, m_patience);
    checkAccepts(printer);
    // Whatever the page's colours are: a printer without a raster format is refused before the paper moves.
    (void)rasterTypeFor(printer, KxColorSpace::Grey, m_settings.color);
    const bool isKnown = m_page.width > 0 && m_page.dpi > 0;
    if (isKnown && !needsWholePage(m_page, m_settings, printer)) (void)layOutPage(m_page, m_settings, printer);
    m_document = std::make_unique<PrinterDocument>(std::move(printer), m_patience, m_signals);
    return true;
  } catch (const std::exception& e) {
    fail(e.what());
    return false;
  }
}

void PrintJob::setPageLines(std::int64_t lines) { m_page.lines = std::max<std::int64_t>(lines, 0); }

bool PrintJob::push(IScanBuffer* stripe, IPrintProgress* progress) {
  if (!m_document || !stripe) return false;
  std::unique_lock lock(m_mutex);
  if (m_hasEnded || !waitForRoom(lock, progress)) return false;
  m_queue.push_back(KxPtr<IScanBuffer>::share(stripe));
  m_changed.notify_all();
  lock.unlock();
  if (!m_thread.joinable()) m_thread = std::thread([this] { run(); });
  if (!progress || progress->Printed(m_linesDone)) return true;
  wake();
  return false;
}

/// Tells the progress five times a second, so that a user can give up while the printer takes nothing.
bool PrintJob::waitForRoom(std::unique_lock<std::mutex>& lock, IPrintProgress* progress) {
  constexpr auto kTick = std::chrono::milliseconds(200);
  while (m_error.empty() && !m_signals.isWoken && m_queue.size() >= kQueue) {
    if (m_changed.wait_for(lock, kTick) != std::cv_status::timeout || !progress) continue;
    lock.unlock();
    const bool goesOn = progress->Printed(m_linesDone) != 0;
    lock.lock();
    if (!goesOn) m_signals.wake();
  }
  if (m_error.empty() && m_signals.isWoken) m_error = Supp_Translate("The print job was cancelled.");
  return m_error.empty();
}

bool PrintJob::end(bool completed) {
  {
    const std::scoped_lock lock(m_mutex);
    if (m_hasEnded) return false;
    m_hasEnded = true;
    if (!completed) m_queue.clear();
  }
  if (!completed) m_signals.wake();
  m_changed.notify_all();
  if (m_thread.joinable()) m_thread.join();
  const std::scoped_lock lock(m_mutex);
  return !completed || (m_error.empty() && m_document != nullptr);
}

void PrintJob::wake() {
  m_signals.wake();
  // A waiting thread that has looked at the flag already is past the lock.
  { const std::scoped_lock lock(m_mutex); }
  m_changed.notify_all();
}

KxPtr<IScanBuffer> PrintJob::next() {
  std::unique_lock lock(m_mutex);
  m_changed.wait(lock, [this] { return m_signals.isWoken || m_hasEnded || !m_queue.empty(); });
  if (m_signals.isWoken || m_queue.empty()) return {};
  KxPtr<IScanBuffer> stripe = std::move(m_queue.front());
  m_queue.pop_front();
  lock.unlock();
  m_changed.notify_all();
  return stripe;
}

void PrintJob::run() {
  try {
    printPage();
  } catch (const std::exception& e) {
    const bool isCancelled = m_signals.isWoken;
    fail(isCancelled ? Supp_Translate("The print job was cancelled.") : e.what());
    m_document->cancel();
  }
}

void PrintJob::printPage() {
  PagePrinter page(m_title, m_settings, m_page, *m_document, m_signals, m_linesDone);
  while (const KxPtr<IScanBuffer> stripe = next()) page.add(*stripe);
  if (m_signals.isWoken) throw CXDeviceException(Supp_Translate("The print job was cancelled."));
  page.finish();
  const std::scoped_lock lock(m_mutex);
  m_note = page.note();
}

/// The first error counts.
void PrintJob::fail(const std::string& text) {
  {
    const std::scoped_lock lock(m_mutex);
    if (m_error.empty()) m_error = text;
    m_queue.clear();
  }
  logLine(LogLevel::Info, "quillbay.printing", text);
  m_changed.notify_all();
}

std::string PrintJob::error() const {
  const std::scoped_lock lock(m_mutex);
  return m_error;
}

std::string PrintJob::printer() const { return m_document ? m_document->printer().title() : m_settings.printer; }

std::int32_t PrintJob::job() const { return m_document ? m_document->job() : 0; }

std::string PrintJob::note() const {
  std::string waiting = m_document ? m_document->waitingFor() : std::string();
  if (!waiting.empty()) return waiting;
  const std::scoped_lock lock(m_mutex);
  return m_note;
}

PrintFate PrintJob::await(double seconds, std::string* state) {
  if (job() == 0) {
    *state = error();
    return PrintFate::Unknown;
  }
  const auto until = Clock::now() + std::chrono::duration<double>(seconds);
  auto pause = std::chrono::milliseconds(50);
  for (;;) {
    const PrintFate fate = askJobFate(m_document->printer().name, job(), m_patience, m_signals, state);
    const bool isLast = fate != PrintFate::Working && fate != PrintFate::Held;
    if (isLast || m_signals.isWoken || Clock::now() >= until) return fate;
    std::unique_lock lock(m_mutex);
    const auto stop = std::min(Clock::now() + pause, std::chrono::time_point_cast<Clock::duration>(until));
    m_changed.wait_until(lock, stop, [this] { return m_signals.isWoken.load(); });
    pause = std::min(pause * 2, std::chrono::milliseconds(2000));
  }
}

}  // namespace quillbay
