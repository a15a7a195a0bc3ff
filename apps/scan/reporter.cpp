#include "reporter.h"

#include <unistd.h>

#include <QJsonDocument>
#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <utility>

#include "area.h"
#include "names.h"
#include "quillbay/geometry.h"
#include "translated.h"

using quillbay::EndCause;
using quillbay::EventAnswer;
using quillbay::EventButtons;
using quillbay::EventKind;
using quillbay::KxColorSpace;

namespace {

QString text(const std::string& s) { return QString::fromStdString(s); }

const char* nameOf(quillbay::PrintFate fate) {
  using quillbay::PrintFate;
  switch (fate) {
    case PrintFate::Working: return "printing";
    case PrintFate::Printed: return "printed";
    case PrintFate::Held: return "held";
    case PrintFate::Aborted: return "aborted";
    case PrintFate::Cancelled: return "cancelled";
    case PrintFate::Unknown: break;
  }
  return "unknown";
}

const char* nameOf(EndCause cause) {
  constexpr std::array kNames{"done", "stopped", "device", "output", "media", "refused"};
  const auto index = static_cast<std::size_t>(cause);
  return index < kNames.size() ? kNames[index] : "unknown";
}

const char* nameOf(quillbay::UnitFaultCode code) {
  constexpr std::array kNames{"none",       "cancelled",   "no-documents",  "jammed",
                              "cover-open", "busy",        "access-denied", "input-output",
                              "no-memory",  "unsupported", "invalid",       "other"};
  const auto index = static_cast<std::size_t>(code);
  return index < kNames.size() ? kNames[index] : "other";
}

const char* nameOf(KxColorSpace space) {
  switch (space) {
    case KxColorSpace::Bitonal:
    case KxColorSpace::BitonalRle: return "bitonal";
    case KxColorSpace::Palette: return "palette";
    case KxColorSpace::Grey: return "grey";
    default: return "colour";
  }
}

const char* nameOf(quillbay::DetectedBy by) {
  switch (by) {
    case quillbay::DetectedBy::Device: return "device";
    case quillbay::DetectedBy::Prescan: return "prescan";
    case quillbay::DetectedBy::SecondLook: return "second-look";
    case quillbay::DetectedBy::User: return "user";
    default: return "whole-bed";
  }
}

double bytesPerPixel(KxColorSpace space) {
  switch (space) {
    case KxColorSpace::Bitonal:
    case KxColorSpace::BitonalRle: return 0.125;
    case KxColorSpace::Palette:
    case KxColorSpace::Grey: return 1;
    default: return 3;
  }
}

const char* nameOf(EventKind kind) {
  switch (kind) {
    case EventKind::Question: return "question";
    case EventKind::Retry: return "retry";
    case EventKind::Information: break;
  }
  return "information";
}

/// The word for the answer to a question.
const char* nameOf(const quillbay::HostMessage& question) {
  const bool agreed = question.answer == EventAnswer::Yes || question.answer == EventAnswer::Ok;
  switch (question.buttons) {
    case EventButtons::YesNo: return agreed ? "yes" : "no";
    case EventButtons::OkCancel: return agreed ? "ok" : "cancel";
    default: return agreed ? "retry" : "give-up";
  }
}

std::string clockText(double seconds) {
  const auto whole = static_cast<long long>(seconds);
  std::array<char, 48> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "%lld:%02lld", whole / 60, whole % 60);
  return buffer.data();
}

}  // namespace

Reporter::Reporter(const ScanOptions& options)
    : m_json(options.json),
      m_quiet(options.quiet),
      m_verbose(options.verbose > 0 && !options.quiet),
      m_progress(!options.quiet && isatty(STDERR_FILENO) != 0),
      m_printsNames(options.output != "-"),
      m_sharesScreen(m_progress && isatty(STDOUT_FILENO) != 0) {}

void Reporter::eraseProgress() {
  if (std::exchange(m_progressShown, false)) std::fputs("\r\x1b[K", stderr);
}

void Reporter::put(const std::string& line) {
  eraseProgress();
  std::fputs((line + "\n").c_str(), stderr);
}

void Reporter::write(const std::string& line) {
  if (m_sharesScreen) eraseProgress();
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);  // the reader of the output waits for this line
}

void Reporter::line(const std::string& line) {
  const std::lock_guard lock(m_mutex);
  write(line);
}

void Reporter::json(const QJsonObject& object) {
  line(QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString());
}

void Reporter::failure(int status, const std::string& line) {
  {
    const std::lock_guard lock(m_mutex);
    put("quillbay-scan: " + line);
  }
  if (m_json) json({{"event", "failed"}, {"text", text(line)}, {"status", status}});
}

void Reporter::error(const std::string& line) {
  const std::lock_guard lock(m_mutex);
  if (line == m_lastMessage) return;  // the panel has reported it already
  put("quillbay-scan: " + line);
}

void Reporter::note(const std::string& line) {
  if (!m_quiet) {
    const std::lock_guard lock(m_mutex);
    put("quillbay-scan: " + line);
  }
  if (m_json) json({{"event", "note"}, {"text", text(line)}});
}

void Reporter::detail(const std::string& line) {
  if (!m_verbose) return;
  const std::lock_guard lock(m_mutex);
  put("quillbay-scan: " + line);
}

void Reporter::prompt(const std::string& line) {
  if (!m_quiet) {
    const std::lock_guard lock(m_mutex);
    eraseProgress();
    std::fputs(line.c_str(), stderr);
  }
  if (m_json) json({{"event", "prompt"}, {"text", text(line)}});
}

void Reporter::promptEnded(bool byReturn) {
  const bool lineEnded = byReturn && isatty(STDIN_FILENO) != 0;  // the terminal has echoed it
  if (!m_quiet && !lineEnded) std::fputs("\n", stderr);
}

void Reporter::message(const quillbay::HostMessage& message, const std::string& hint) {
  const bool question = message.buttons != EventButtons::Ok;
  const char* answer = question ? nameOf(message) : "";
  std::string line = message.text + hint;
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  {
    const std::lock_guard lock(m_mutex);
    m_lastMessage = message.text;
    // A question that the options answered with yes is no error.
    const bool agreed = question && (message.answer == EventAnswer::Yes || message.answer == EventAnswer::Ok);
    if (!m_quiet || !agreed) put("quillbay-scan: " + line + (question ? " [" + translated(answer) + "]" : ""));
  }
  if (!m_json) return;
  QJsonObject event{{"event", "message"}, {"kind", nameOf(message.kind)}, {"text", text(message.text + hint)}};
  if (!message.path.empty()) event["path"] = text(message.path);
  if (question) event["answer"] = answer;
  json(event);
}

void Reporter::detecting() {
  if (m_json) json({{"event", "detecting"}});
  if (!m_progress) return;
  const std::lock_guard lock(m_mutex);
  std::fputs(("\r\x1b[K" + translated("Detecting margins....")).c_str(), stderr);
  std::fflush(stderr);
  m_progressShown = true;
}

void Reporter::detected(const quillbay::DetectedArea& area) {
  if (!m_json) return;  // the panel's note says it to people
  if (area.by == quillbay::DetectedBy::WholeBed)
    return json({{"event", "detected"}, {"found", false}, {"by", nameOf(area.by)}});
  constexpr double kDegrees = 180 / std::numbers::pi;
  const auto rounded = [](double value) { return std::round(value * 1000) / 1000; };
  const quillbay::tagRRECT& box = area.box;
  json({{"event", "detected"},
        {"found", true},
        {"by", nameOf(area.by)},
        {"area", QJsonObject{{"left", rounded(box.left)},
                             {"top", rounded(box.top)},
                             {"right", rounded(box.right)},
                             {"bottom", rounded(box.bottom)}}},
        {"width", rounded(area.sheet.cx)},
        {"length", rounded(area.sheet.cy)},
        {"angle", rounded(area.angle * kDegrees)},
        {"paper", text(area.paper)}});
}

void Reporter::started(const quillbay::ScanStartInfo& info) {
  {
    const std::lock_guard lock(m_mutex);
    m_info = info;
    m_pageStart = m_lastShown = Clock::now();
  }
  detail(translated("page %s: %s pixels wide, %s dpi, %s",
                    {std::to_string(info.page), std::to_string(info.width), std::to_string(info.dpi),
                     translated(nameOf(info.colorSpace))}) +
         (info.file.empty() ? "" : translated(", to %s", {info.file})));
  if (!m_json) return;
  QJsonObject event{{"event", "started"},
                    {"page", info.page},
                    {"width", static_cast<qint64>(info.width)},
                    {"dpi", static_cast<qint64>(info.dpi)},
                    {"color", nameOf(info.colorSpace)},
                    {"file", text(info.file)}};
  if (info.paletteColors > 0) event["paletteColors"] = info.paletteColors;
  if (info.expectedLines >= 0) event["expectedLines"] = static_cast<qint64>(info.expectedLines);
  json(event);
}

void Reporter::lines(std::int64_t count) {
  if (m_json) json({{"event", "lines"}, {"page", m_info.page}, {"lines", static_cast<qint64>(count)}});
  if (m_progress) showProgress(count);
}

void Reporter::showProgress(std::int64_t count) {
  const std::lock_guard lock(m_mutex);
  const auto now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - m_pageStart).count();
  if (seconds <= 0 || now - m_lastShown < std::chrono::milliseconds(100)) return;
  m_lastShown = now;
  const double bytes =
      static_cast<double>(count) * static_cast<double>(m_info.width) * bytesPerPixel(m_info.colorSpace);
  std::array<char, 160> rate{};
  std::snprintf(rate.data(), rate.size(), "  %.0f MB/s", bytes / seconds / 1e6);
  const std::string page = std::to_string(m_info.page), done = std::to_string(count);
  std::string shown;
  if (m_info.expectedLines > 0) {
    const double part = std::min(1.0, static_cast<double>(count) / static_cast<double>(m_info.expectedLines));
    const std::string percent = std::to_string(static_cast<int>(part * 100));
    shown = translated("page %s: %s/%s lines  %s %", {page, done, std::to_string(m_info.expectedLines), percent}) +
            rate.data();
    if (part > 0) shown += "  " + translated("%s left", {clockText(seconds / part - seconds)});
  } else {
    const double mm = m_info.dpi ? static_cast<double>(count) * quillbay::kMmPerInch / m_info.dpi : 0;
    shown = translated("page %s: %s lines  %s mm", {page, done, std::to_string(static_cast<long long>(mm))}) +
            rate.data() + "  " + clockText(seconds);
  }
  std::fputs(("\r\x1b[K" + shown).c_str(), stderr);
  std::fflush(stderr);
  m_progressShown = true;
}

void Reporter::page(const quillbay::PageInfo& page) {
  detail(translated("page %s finished: %s x %s pixels",
                    {std::to_string(page.page), std::to_string(page.width), std::to_string(page.lines)}));
  if (m_json) {
    json({{"event", "page"},
          {"page", page.page},
          {"width", static_cast<qint64>(page.width)},
          {"lines", static_cast<qint64>(page.lines)},
          {"dpi", static_cast<qint64>(page.dpi)},
          {"file", text(page.file)},
          {"published", page.published}});
  }
  if (page.published && !page.file.empty()) published(page.file, 1);
}

void Reporter::unprocessed(const std::string& file, const std::string& reason, bool cancelled) {
  const std::string why = reason.empty() ? translated("the script failed") : reason;
  std::string shown = why;
  for (char& c : shown) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  {
    const std::lock_guard lock(m_mutex);
    put("quillbay-scan: " + translated("%s was not processed: %s", {file, shown}));
  }
  if (m_json) {
    json({{"event", "unprocessed"}, {"file", text(file)}, {"reason", text(why)}, {"cancelled", cancelled}});
  }
}

void Reporter::printJob(const quillbay::PrintReport& report, bool isGood) {
  if (!isGood || !m_quiet) {
    const std::lock_guard lock(m_mutex);
    put("quillbay-scan: " + report.text);
  }
  if (!m_json) return;
  json({{"event", "print"},
        {"printer", text(report.printer)},
        {"job", report.job},
        {"state", nameOf(report.fate)},
        {"text", text(report.text)}});
}

void Reporter::published(const std::string& file, int pages) {
  // A page added to a multi-page file is reported with the page and again with the file.
  if (file == m_lastPublished) return;
  m_lastPublished = file;
  if (m_json) {
    json({{"event", "published"}, {"file", text(file)}, {"pages", pages}});
  } else if (m_printsNames) {
    line(file);
  }
}

void Reporter::ended(EndCause cause, const quillbay::UnitFault& fault, int pages, int status) {
  {
    const std::lock_guard lock(m_mutex);
    eraseProgress();
  }
  if (!m_json) return;
  QJsonObject event{{"event", "ended"}, {"cause", nameOf(cause)}, {"pages", pages}, {"status", status}};
  if (fault.code != quillbay::UnitFaultCode::None) {
    event["fault"] = QJsonObject{{"code", nameOf(fault.code)}, {"text", text(fault.text)}};
  }
  json(event);
}
