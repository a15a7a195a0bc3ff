#pragma once
#include <QJsonObject>
#include <chrono>
#include <mutex>
#include <string>

#include "quillbay/control.h"
#include "quillbay/host.h"
#include "quillbay/print_host.h"
#include "scan_options.h"

/// All output of the program: names or JSON events on standard output, messages and progress on standard error.
/// Any thread.
class Reporter {
 public:
  explicit Reporter(const ScanOptions& options);

  /// One line on standard error that the program ends with.
  void failure(int status, const std::string& text);
  /// A line on standard error whatever the options say, unless a message has just said the same.
  void error(const std::string& text);
  /// A line for the user; not with --quiet.
  void note(const std::string& text);
  /// A line with --verbose.
  void detail(const std::string& text);
  /// A message of the panel; `hint` is what this program adds to it.
  void message(const quillbay::HostMessage& message, const std::string& hint = {});
  /// A question that waits for a line on standard input; on standard error not with --quiet.
  void prompt(const std::string& text);
  /// Ends the line of the question; with Return the terminal has ended it already.
  void promptEnded(bool byReturn);
  /// A line of plain output (a listing).
  void line(const std::string& text);
  /// A JSON event, or any other object, as one line of standard output.
  void json(const QJsonObject& object);

  void detecting();
  void detected(const quillbay::DetectedArea& area);
  void started(const quillbay::ScanStartInfo& info);
  void lines(std::int64_t count);
  void page(const quillbay::PageInfo& page);
  /// A file or page that a script could not process.
  void unprocessed(const std::string& file, const std::string& reason, bool cancelled);
  void published(const std::string& file, int pages);
  /// A print job of a page has got a state. `isGood`: no reason to worry.
  void printJob(const quillbay::PrintReport& report, bool isGood);
  void ended(quillbay::EndCause cause, const quillbay::UnitFault& fault, int pages, int status);

 private:
  using Clock = std::chrono::steady_clock;
  void put(const std::string& text);    // standard error, over the progress
  void write(const std::string& text);  // standard output
  void eraseProgress();
  void showProgress(std::int64_t count);

  const bool m_json, m_quiet, m_verbose, m_progress;
  const bool m_printsNames;   // standard output is not the page's
  const bool m_sharesScreen;  // names and progress come on one terminal
  std::mutex m_mutex;
  bool m_progressShown = false;
  quillbay::ScanStartInfo m_info;
  Clock::time_point m_pageStart, m_lastShown;
  std::string m_lastPublished, m_lastMessage;
};
