#include "host/print_watch.h"

#include <QMetaObject>
#include <QThread>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kWatchLog = "quillbay.print";
constexpr double kLookSeconds = 1;
constexpr std::chrono::seconds kPause{1};
/// How long closing waits for the threads; one that waits for a printer is left to itself then.
constexpr std::chrono::seconds kCloseWait{2};
/// Looks without an answer, one after the other, before a job counts as lost.
constexpr int kMostSilent = 30;

bool isLastWord(PrintFate fate) {
  return fate == PrintFate::Printed || fate == PrintFate::Aborted || fate == PrintFate::Cancelled;
}

}  // namespace

std::string printReportText(const PrintReport& report, const std::string& reason) {
  const char* pattern = "Job %s on %s is being printed.";
  switch (report.fate) {
    case PrintFate::Working: break;
    case PrintFate::Printed: pattern = "Job %s on %s was printed."; break;
    case PrintFate::Held: pattern = "Job %s on %s does not go on: the printer holds it."; break;
    case PrintFate::Aborted: pattern = "Job %s on %s was given up by the printer."; break;
    case PrintFate::Cancelled: pattern = "Job %s on %s was cancelled."; break;
    case PrintFate::Unknown: pattern = "Nothing is known of job %s on %s: the printer does not answer."; break;
  }
  const std::string text = formatText(Supp_Translate(pattern), {toText(std::int64_t{report.job}), report.printer});
  return reason.empty() ? text : text + ' ' + reason;
}

/// The threads run on without the watch when it is destroyed: a printer may take hours, or not answer.
struct CPrintWatch::Shared {
  CPrintWatch* watch = nullptr;  // user-interface thread only
  QObject context;               // of that thread: what is posted there is delivered there
  std::mutex mutex;              // guards the rest
  std::condition_variable changed;
  bool isForgotten = false;
  int threads = 0;

  static void release(Shared* shared) {
    if (QThread::currentThread() == shared->context.thread()) {
      delete shared;
    } else {
      QMetaObject::invokeMethod(
          &shared->context, [shared] { delete shared; }, Qt::QueuedConnection);
    }
  }
  /// Between two looks. False: nobody wants to know any more.
  bool pause(std::chrono::seconds time) {
    std::unique_lock lock(mutex);
    return !changed.wait_for(lock, time, [this] { return isForgotten; });
  }

  void post(const PrintReport& report, bool isLast, const std::shared_ptr<Shared>& self) {
    const std::lock_guard lock(mutex);
    if (isForgotten) return;
    QMetaObject::invokeMethod(
        &context,
        [self, report, isLast] {
          if (self->watch) self->watch->report(report, isLast);
        },
        Qt::QueuedConnection);
  }
};

CPrintWatch::CPrintWatch(KxPtr<IEvents> events)
    // Deleted on the thread that the object inside belongs to, whoever drops it last.
    : m_events(std::move(events)), m_shared(new Shared, &Shared::release) {
  m_shared->watch = this;
}

CPrintWatch::~CPrintWatch() {
  Forget();
  m_shared->watch = nullptr;
  std::unique_lock lock(m_shared->mutex);
  m_shared->changed.wait_for(lock, kCloseWait, [this] { return m_shared->threads == 0; });
}

void CPrintWatch::Forget() {
  const std::lock_guard lock(m_shared->mutex);
  m_shared->isForgotten = true;
  m_shared->changed.notify_all();
  m_count = 0;
}

void CPrintWatch::Watch(IPrintingJob* job) {
  if (!query<IPrintOutcome>(job)) return;
  {
    const std::lock_guard lock(m_shared->mutex);
    m_shared->isForgotten = false;
    ++m_shared->threads;
  }
  ++m_count;
  std::thread([shared = m_shared, held = KxPtr<IPrintingJob>::share(job)]() mutable {
    follow(shared, held);
    held = nullptr;
    const std::lock_guard lock(shared->mutex);
    --shared->threads;
    shared->changed.notify_all();
  }).detach();
}

/// Until the printer's last word, or until nobody wants to know it.
void CPrintWatch::follow(const std::shared_ptr<Shared>& shared, const KxPtr<IPrintingJob>& job) {
  const auto outcome = job.as<IPrintOutcome>();
  PrintFate before = PrintFate::Working;
  int silent = 0;
  while (shared->pause(std::chrono::seconds(0))) {
    std::string reason;
    const int printed = outcome->Await(kLookSeconds, &reason);
    PrintReport report;
    report.printer = outcome->GetPrinter();
    report.job = outcome->GetJob();
    report.fate = printed ? PrintFate::Printed : outcome->GetFate();
    silent = report.fate == PrintFate::Unknown ? silent + 1 : 0;
    const bool isLast = isLastWord(report.fate) || silent >= kMostSilent;
    const bool isNews = isLast || (report.fate != before && report.fate != PrintFate::Unknown);
    if (isNews) {
      before = report.fate;
      report.text = printReportText(report, report.fate == PrintFate::Printed ? std::string() : reason);
      shared->post(report, isLast, shared);
    }
    if (isLast) return;
    if (report.fate != PrintFate::Working && !shared->pause(kPause)) return;
  }
}

void CPrintWatch::report(const PrintReport& report, bool isLast) {
  const auto keep = KxPtr<CPrintWatch>::share(this);
  if (isLast && m_count > 0) --m_count;
  if (m_handler) return m_handler(report);
  const bool isGood = report.fate == PrintFate::Printed || report.fate == PrintFate::Working;
  logLine(isGood ? LogLevel::Info : LogLevel::Warning, kWatchLog, report.text);
  if (!m_events) return;
  if (isGood) {
    m_events->Note(kWatchLog, report.text.c_str());
  } else {
    m_events->Message(static_cast<int>(EventKind::Information), report.text.c_str(), 0,
                      static_cast<int>(EventButtons::Ok));
  }
}

}  // namespace quillbay
