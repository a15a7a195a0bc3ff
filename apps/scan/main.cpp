#include <QApplication>
#include <cstdio>
#include <cstdlib>

#include "command_line.h"
#include "failure.h"
#include "help_text.h"
#include "program.h"
#include "quillbay/host.h"
#include "quillbay/process_memory.h"
#include "reporter.h"

namespace {

void print(const std::string& text) { std::fputs(text.c_str(), stdout); }

/// Prints what needs neither scanner nor panel; false if the options ask for something else.
bool printTexts(const ScanOptions& options) {
  switch (options.action) {
    case ScanOptions::Action::Help: print(help_text::help()); return true;
    case ScanOptions::Action::HelpMan: print(help_text::manPage(quillbay::LibraryVersion())); return true;
    case ScanOptions::Action::HelpCompletion: print(help_text::bashCompletion()); return true;
    case ScanOptions::Action::Version:
      print(std::string("quillbay-scan ") + quillbay::LibraryVersion() + "\n");
      return true;
    default: return false;
  }
}

/// The toolkit's warnings help developers only; -v -v shows them.
void dropMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

int runWithApplication(const ScanOptions& options, Reporter& reporter, char* name) {
  qputenv("QT_QPA_PLATFORM", "offscreen");  // the program needs no display
  if (options.verbose < 2) qInstallMessageHandler(dropMessage);
  int count = 1;  // Qt reads none of our arguments
  char* arguments[] = {name, nullptr};
  const QApplication application(count, arguments);
  return runProgram(options, reporter);
}

}  // namespace

int main(int argc, char** argv) {
  quillbay::keepFreedMemory();
  std::string wrong;
  const ScanOptions options = parseCommandLine({argv + 1, argv + argc}, &wrong);
  Reporter reporter(options);
  if (!wrong.empty()) {
    reporter.failure(kUsage, wrong);
    return kUsage;
  }
  if (printTexts(options)) return kDone;
  try {
    return runWithApplication(options, reporter, argv[0]);
  } catch (const Failure& failure) {
    reporter.failure(failure.status(), failure.what());
    return failure.status();
  } catch (const std::exception& error) {
    reporter.failure(kOutput, error.what());
    return kOutput;
  }
}
