#include "printing/printer_document.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "platform/base_services.h"
#include "printing/ipp_link.h"
#include "printing/printer_attributes.h"

namespace quillbay {
namespace {

constexpr char kLog[] = "quillbay.printing";
/// For a cancellation: whoever gives up wants to go on.
constexpr PrinterPatience kFarewell{2, 3, 0};
/// Between two tries to make a job at a printer that has another one.
constexpr std::chrono::milliseconds kBusyPause{100};
constexpr int kBusyPauses = 10;

int hundredthMm(double mm) { return static_cast<int>(std::lround(mm * 100)); }

/// Words of the standard in plain English: "media-empty-error" is "media empty".
std::string plainReason(std::string_view keyword) {
  for (const std::string_view tail : {"-error", "-warning", "-report"}) {
    if (keyword.ends_with(tail)) keyword.remove_suffix(tail.size());
  }
  std::string text(keyword);
  std::replace(text.begin(), text.end(), '-', ' ');
  return Supp_Translate(text);
}

std::string plainReasons(const std::vector<std::string>& keywords) {
  std::string all;
  for (const std::string& keyword : keywords) {
    if (keyword == "none") continue;
    all += (all.empty() ? "" : ", ") + plainReason(keyword);
  }
  return all;
}

/// The printer's message with its reasons.
std::string joinedReason(const std::string& message, const std::string& reasons) {
  if (message.empty() || reasons.empty()) return message + reasons;
  return message + " (" + reasons + ")";
}

PrinterInfo askState(IppLink& link) {
  IppPtr request = link.newRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
  static constexpr std::array<const char*, 4> kWanted = {"printer-state", "printer-state-message",
                                                         "printer-state-reasons", "printer-is-accepting-jobs"};
  ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_CONST_TAG(IPP_TAG_KEYWORD), "requested-attributes",
                static_cast<int>(kWanted.size()), nullptr, kWanted.data());
  const IppPtr answer = link.ask(std::move(request), "does not say how it is");
  PrinterInfo printer;
  readAttributes(answer.get(), printer);
  return printer;
}

/// A connection for a short question.
IppLink questionLink(const std::string& printer, const JobPatience& patience, JobSignals& jobSignals) {
  return {printer, patience.ask, &jobSignals.cancelConnect,
          [&jobSignals, limit = patience.ask.answer](double seconds) {
            return !jobSignals.isWoken && seconds < limit;
          }};
}

void addMediaCol(ipp_t* request, const PageLayout& layout) {
  const IppPtr size(ippNew());
  ippAddInteger(size.get(), IPP_TAG_ZERO, IPP_TAG_INTEGER, "x-dimension", hundredthMm(layout.sheetWidth));
  ippAddInteger(size.get(), IPP_TAG_ZERO, IPP_TAG_INTEGER, "y-dimension", hundredthMm(layout.sheetLength));
  const IppPtr media(ippNew());
  ippAddCollection(media.get(), IPP_TAG_ZERO, "media-size", size.get());
  ippAddCollection(request, IPP_TAG_JOB, "media-col", media.get());
}

void addMedia(ipp_t* request, const PrinterInfo& printer, const PageLayout& layout) {
  if (layout.media.isRoll() && printer.hasMediaCol) {
    addMediaCol(request, layout);
    return;
  }
  std::array<char, 128> name{};
  if (layout.media.isRoll()) {
    pwgFormatSizeName(name.data(), name.size(), "custom", nullptr, hundredthMm(layout.sheetWidth),
                      hundredthMm(layout.sheetLength), "mm");
  } else {
    layout.media.name.copy(name.data(), name.size() - 1);
  }
  ippAddString(request, IPP_TAG_JOB, IPP_TAG_KEYWORD, "media", nullptr, name.data());
}

void addJobAttributes(ipp_t* request, const PrinterInfo& printer, const PrintSettings& settings,
                      const PageLayout& layout, const RasterType& type, std::int32_t copies) {
  addMedia(request, printer, layout);
  if (copies > 1) ippAddInteger(request, IPP_TAG_JOB, IPP_TAG_INTEGER, "copies", copies);
  const auto has = [](const auto& all, const auto& one) {
    return std::find(all.begin(), all.end(), one) != all.end();
  };
  if (has(printer.qualities, settings.quality)) {
    ippAddInteger(request, IPP_TAG_JOB, IPP_TAG_ENUM, "print-quality", settings.quality);
  }
  if (has(printer.jobResolutions, layout.resolution)) {
    ippAddResolution(request, IPP_TAG_JOB, "printer-resolution", IPP_RES_PER_INCH,
                     static_cast<int>(layout.resolution.x), static_cast<int>(layout.resolution.y));
  }
  const auto addWord = [&](const std::vector<std::string>& all, const char* name, const char* word) {
    if (has(all, word)) ippAddString(request, IPP_TAG_JOB, IPP_CONST_TAG(IPP_TAG_KEYWORD), name, nullptr, word);
  };
  // The picture has its size already.
  addWord(printer.scalings, "print-scaling", "none");
  addWord(printer.colorModes, "print-color-mode", type.kind == LineKind::Rgb ? "color" : "monochrome");
}

PrintFate fateOf(int state) {
  switch (state) {
    case IPP_JSTATE_HELD:
    case IPP_JSTATE_STOPPED: return PrintFate::Held;
    case IPP_JSTATE_CANCELED: return PrintFate::Cancelled;
    case IPP_JSTATE_ABORTED: return PrintFate::Aborted;
    case IPP_JSTATE_COMPLETED: return PrintFate::Printed;
    case IPP_JSTATE_PENDING:
    case IPP_JSTATE_PROCESSING: return PrintFate::Working;
    default: return PrintFate::Unknown;
  }
}

/// A printer without a queue takes one job at a time: the one before is waited for.
template <class Request, class Waits>
IppPtr createJob(IppLink& link, const JobSignals& jobSignals, const Request& request, const Waits& waits) {
  for (;;) {
    try {
      return link.ask(request(), "refuses the job");
    } catch (const CXDeviceException&) {
      if (cupsLastError() != IPP_STATUS_ERROR_BUSY || jobSignals.isWoken) throw;
    }
    waits();
    for (int i = 0; i < kBusyPauses && !jobSignals.isWoken; ++i) std::this_thread::sleep_for(kBusyPause);
  }
}

}  // namespace

std::string whyPrinterWaits(const PrinterInfo& printer) {
  std::string reasons = plainReasons(printer.stateReasons);
  if (printer.state != PrinterInfo::State::Stopped) return reasons;
  const std::string why = joinedReason(printer.stateText, reasons);
  return why.empty() ? Supp_Translate("stopped") : why;
}

PrinterDocument::PrinterDocument(PrinterInfo printer, JobPatience patience, JobSignals& jobSignals)
    : m_printer(std::move(printer)), m_patience(patience), m_signals(jobSignals) {}

PrinterDocument::~PrinterDocument() = default;

void PrinterDocument::open(const std::string& title, const PrintSettings& settings, const PageLayout& layout,
                           const RasterType& type, std::int32_t copies) {
  m_link = std::make_unique<IppLink>(m_printer.name, m_patience.ask, &m_signals.cancelConnect,
                                     [this](double seconds) { return keepWaiting(seconds); });
  const auto request = [&] {
    IppPtr create = m_link->newRequest(IPP_OP_CREATE_JOB);
    ippAddString(create.get(), IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, title.c_str());
    addJobAttributes(create.get(), m_printer, settings, layout, type, copies);
    return create;
  };
  const IppPtr made = createJob(*m_link, m_signals, request, [this] {
    setWaiting(formatText(Supp_Translate("%s waits: %s"), {m_printer.title(), Supp_Translate("another job")}));
  });
  setWaiting({});
  m_job = ippGetInteger(ippFindAttribute(made.get(), "job-id", IPP_TAG_INTEGER), 0);

  IppPtr send = m_link->newRequest(IPP_OP_SEND_DOCUMENT);
  ippAddInteger(send.get(), IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", m_job);
  ippAddString(send.get(), IPP_TAG_OPERATION, IPP_TAG_NAME, "document-name", nullptr, title.c_str());
  ippAddString(send.get(), IPP_TAG_OPERATION, IPP_TAG_MIMETYPE, "document-format", nullptr, type.format.c_str());
  ippAddBoolean(send.get(), IPP_TAG_OPERATION, "last-document", 1);
  m_link->startDocument(std::move(send));
}

void PrinterDocument::write(const char* bytes, std::size_t count) {
  if (m_signals.isWoken) throw CXDeviceException(Supp_Translate("The print job was cancelled."));
  try {
    m_link->writeDocument(bytes, count);
  } catch (const CXDeviceException& e) {
    failWithReason(e);
  }
  // Data moved: whatever it waited for is over.
  if (m_askedAt > 0) setWaiting({});
  m_askedAt = m_heardAt = 0;
}

void PrinterDocument::close() {
  try {
    const IppPtr answer = m_link->finishDocument();
  } catch (const CXDeviceException& e) {
    failWithReason(e);
  }
  m_link.reset();
  setWaiting({});
}

void PrinterDocument::cancel() noexcept {
  if (m_job == 0) return;
  try {
    JobSignals own;  // the job's are raised already
    // The connection stays open until the printer knows: a broken one would be a fault of its own to it.
    IppLink link(m_printer.name, kFarewell, &own.cancelConnect);
    IppPtr request = link.newRequest(IPP_OP_CANCEL_JOB);
    ippAddInteger(request.get(), IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", m_job);
    link.ask(std::move(request), "does not cancel the job");
  } catch (const std::exception& e) {
    logLine(LogLevel::Warning, kLog, e.what());
  }
  m_link.reset();
}

std::string PrinterDocument::waitingFor() const {
  const std::scoped_lock lock(m_mutex);
  return m_waiting;
}

void PrinterDocument::setWaiting(std::string text) {
  const std::scoped_lock lock(m_mutex);
  m_waiting = std::move(text);
}

/// The printer takes nothing: it may be behind, out of paper, or gone. A stopped printer that answers is waited for
/// as long as the user likes.
bool PrinterDocument::keepWaiting(double seconds) {
  if (m_signals.isWoken) return false;
  if (seconds < m_askedAt) m_askedAt = m_heardAt = 0;  // something moved in between
  if (seconds - m_askedAt < m_patience.askAgain) return true;
  m_askedAt = seconds;
  try {
    IppLink link = questionLink(m_printer.name, m_patience, m_signals);
    const std::string why = whyPrinterWaits(askState(link));
    m_heardAt = seconds;
    setWaiting(formatText(Supp_Translate("%s waits: %s"),
                          {m_printer.title(), why.empty() ? Supp_Translate("busy") : why}));
    return !why.empty() || seconds < m_patience.stuck;
  } catch (const CXException& e) {
    logLine(LogLevel::Info, kLog, e.what());
    setWaiting(formatText(Supp_Translate("%s does not answer"), {m_printer.title()}));
    return seconds - m_heardAt < m_patience.silence;
  }
}

void PrinterDocument::failWithReason(const std::exception& cause) {
  std::string reason;
  const PrintFate fate =
      m_signals.isWoken ? PrintFate::Unknown : askJobFate(m_printer.name, m_job, m_patience, m_signals, &reason);
  if (fate == PrintFate::Unknown || reason.empty()) throw CXDeviceException(cause.what());
  throw CXDeviceException(formatText(Supp_Translate("%s The printer's reason: %s."), {cause.what(), reason}));
}

PrintFate askJobFate(const std::string& printer, std::int32_t job, const JobPatience& patience,
                     JobSignals& jobSignals, std::string* state) {
  try {
    IppLink link = questionLink(printer, patience, jobSignals);
    IppPtr request = link.newRequest(IPP_OP_GET_JOB_ATTRIBUTES);
    ippAddInteger(request.get(), IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", job);
    static constexpr std::array<const char*, 4> kWanted = {"job-state", "job-state-message", "job-state-reasons",
                                                           "job-printer-state-message"};
    ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_CONST_TAG(IPP_TAG_KEYWORD), "requested-attributes",
                  static_cast<int>(kWanted.size()), nullptr, kWanted.data());
    const IppPtr answer = link.ask(std::move(request), "does not know the job any more");
    PrintFate fate = fateOf(ippGetInteger(ippFindAttribute(answer.get(), "job-state", IPP_TAG_ENUM), 0));
    const std::vector<std::string> reasons = ippTexts(answer.get(), "job-state-reasons");
    // Held until all of it has arrived: nobody has to release it.
    const bool isComing = std::find(reasons.begin(), reasons.end(), "job-incoming") != reasons.end();
    if (fate == PrintFate::Held && isComing) fate = PrintFate::Working;
    std::string message = ippText(answer.get(), "job-state-message");
    if (message.empty()) message = ippText(answer.get(), "job-printer-state-message");
    *state = joinedReason(message, plainReasons(reasons));
    if (fate != PrintFate::Working) return fate;
    const PrinterInfo now = askState(link);
    if (now.state != PrinterInfo::State::Stopped) return fate;
    *state = whyPrinterWaits(now);
    return PrintFate::Held;
  } catch (const CXException& e) {
    logLine(LogLevel::Info, kLog, e.what());
    *state = e.what();
    return PrintFate::Unknown;
  }
}

}  // namespace quillbay
