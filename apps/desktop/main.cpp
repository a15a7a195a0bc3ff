#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QTimer>
#include <csignal>

#include "main_window.h"
#include "quillbay/host.h"
#include "screenshots.h"

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a scanner's driver may write into a pipe that is gone
  QApplication application(argc, argv);
  QApplication::setApplicationName("Quillbay");
  QApplication::setApplicationVersion(quillbay::LibraryVersion());
  QApplication::setDesktopFileName("org.quillbay.Quillbay");
  QApplication::setWindowIcon(QIcon(":/quillbay.png"));

  QCommandLineParser parser;
  parser.setApplicationDescription(QApplication::translate("main", "Scans large documents."));
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument("files", QApplication::translate("main", "Picture files to open."), "[files...]");
  QCommandLineOption screenshots("screenshots", {}, "folder");
  screenshots.setFlags(QCommandLineOption::HiddenFromHelp);
  parser.addOption(screenshots);
  parser.process(application);
  if (parser.isSet(screenshots)) return desktop::makeScreenshots(parser.value(screenshots));

  desktop::MainWindow window{desktop::ProgramFolders{}};
  window.show();
  QTimer::singleShot(0, &window, [&] {
    window.start();
    window.openFiles(parser.positionalArguments());
  });
  return QApplication::exec();
}
