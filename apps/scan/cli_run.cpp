#include "cli_run.h"
#include "quillbay/scan_keys.h"
#include "translated.h"

#include <csignal>

using quillbay::EndCause;
using quillbay::StartKind;
using quillbay::StopKind;
using quillbay::UnitFault;
using quillbay::UnitFaultCode;

namespace {

constexpr int kOnce = 1;

}  // namespace

void Refusals::hear(const quillbay::HostMessage& message) {
  const std::string& topic = message.helpTopic;
  if (message.event == quillbay::kEventCannotWrite || topic.ends_with("IDH_QB_OverWrite") ||
      topic.ends_with("IDH_MaskEmpty")) {
    const bool refused = message.answer != quillbay::EventAnswer::Yes;
    if (refused) m_status = kOutput;
    if (message.event == quillbay::kEventCannotWrite) m_outputFailed = true;
  } else if (message.kind == quillbay::EventKind::Retry ||
             (topic.ends_with("IDH_AutodetectError") && message.answer != quillbay::EventAnswer::Yes)) {
    m_status = kMedia;
  } else if (topic.ends_with("IDH_ScanError")) {
    m_status = kDevice;
  }
}

CliRun::CliRun(quillbay::IQuillbayControl* control, const ScanOptions& options, Reporter& reporter,
               Interrupts& interrupts, NextPage& next, const Refusals& refusals, PageScripts& scripts,
               PrintJobs& prints)
    : m_control(control),
      m_options(options),
      m_reporter(reporter),
      m_interrupts(interrupts),
      m_next(next),
      m_refusals(refusals),
      m_scripts(scripts),
      m_prints(prints) {}

int CliRun::run() {
  m_control->GetParam(quillbay::key::ScanAreaType, &m_areaType);
  m_control->GetParam(quillbay::key::Autodetect, &m_detection);
  m_control->Advise(this);
  m_interrupts.onFirst([this](int) { stop(); });
  const StartKind kind = m_options.batch ? StartKind::Batch : StartKind::Scan;
  if (!m_control->Start(kind, m_options.batch.value_or(kOnce))) {
    m_control->Unadvise(this);
    throw Failure(kDevice, translated("the scanner panel cannot start a scan now"));
  }
  m_loop.exec();
  m_control->Unadvise(this);
  return m_status;
}

void CliRun::OnDetected(const quillbay::DetectedArea& area) {
  m_reporter.detected(area);
  m_scansAll = area.by == quillbay::DetectedBy::WholeBed;
}

/// A page whose document was not found turns the search off; the next document is looked for all the same.
void CliRun::lookAgain() {
  m_scansAll = false;
  std::string why;
  const bool looks = m_control->SetParam(quillbay::key::ScanAreaType, m_areaType, &why) &&
                     m_control->SetParam(quillbay::key::Autodetect, m_detection, &why);
  if (!looks) m_reporter.error(why);
}

void CliRun::stop() {
  m_reporter.note(translated(m_options.finishPage ? "stopping after this page; interrupt again to end at once"
                                                  : "stopping; interrupt again to end at once"));
  m_control->Stop(m_options.finishPage ? StopKind::AfterPage : StopKind::Now);
  if (!m_options.finishPage) m_scripts.cancel();
  m_prints.cancel();
}

void CliRun::OnPageFinished(const quillbay::PageInfo& page) {
  m_reporter.page(page);
  if (m_scansAll) lookAgain();
  const bool isLast = !m_options.batch || (*m_options.batch != 0 && page.page >= *m_options.batch);
  if (!isLast && m_next.comesBetween() && !m_next.wait(translated("Ready for the next page.")))
    m_control->Stop(StopKind::AfterPage);
}

int CliRun::statusOf(EndCause cause, const UnitFault& fault, int pages) const {
  if (Interrupts::number() != 0) return kSignal + Interrupts::number();
  const bool endedByUser = m_next.isEnded() && pages > 0 && cause != EndCause::Output && cause != EndCause::Device;
  if (endedByUser) return m_refusals.outputFailed() ? kOutput : kDone;
  switch (cause) {
    case EndCause::Done: return m_refusals.outputFailed() ? kOutput : kDone;
    case EndCause::Media: return pages > 0 ? kDone : kMedia;
    case EndCause::Output: return kOutput;
    case EndCause::Stopped:  // by the scanner's own key
    case EndCause::Device: return kDevice;
    case EndCause::Refused: break;
  }
  if (fault.code == UnitFaultCode::NoDocuments) return pages > 0 ? kDone : kMedia;
  return fault.code == UnitFaultCode::None ? m_refusals.status() : kDevice;
}

void CliRun::OnEnded(EndCause cause, const UnitFault& fault, std::int32_t pages) {
  m_scripts.whenDone([this, cause, fault, pages] {
    m_prints.whenDone([this, cause, fault, pages] { finish(cause, fault, pages); });
  });
}

void CliRun::finish(EndCause cause, const UnitFault& fault, int pages) {
  m_status = statusOf(cause, fault, pages);
  if (m_status == kDone && m_prints.failures() > 0) m_status = kOutput;
  if (m_status == kDone && m_scripts.failures() > 0) m_status = kScript;
  // The unit's fault reports a stop as well; it is news only if the scanner caused it.
  const bool isNews =
      cause == EndCause::Stopped ? Interrupts::number() == 0 : fault.code != UnitFaultCode::Cancelled;
  if (m_status != kDone && isNews && !fault.text.empty()) m_reporter.error(fault.text);
  m_reporter.ended(cause, fault, pages, m_status);
  m_loop.quit();
}
