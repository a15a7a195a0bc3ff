#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QTimer>
#include <csignal>

#include "quillbay/host.h"
#include "quillbay/process_memory.h"
#include "window/main_window.h"
#include "window/toolkit_texts.h"

int main(int argc, char** argv) {
  quillbay::keepFreedMemory();
  std::signal(SIGPIPE, SIG_IGN);  // a scanner's driver may write into a pipe that is gone
  QApplication application(argc, argv);
  desktop::ToolkitTexts texts;
  QApplication::installTranslator(&texts);
  QApplication::setApplicationName("Quillbay");
  QApplication::setApplicationVersion(quillbay::LibraryVersion());
  QApplication::setDesktopFileName("org.quillbay.Quillbay");
  QApplication::setWindowIcon(QIcon(":/quillbay.png"));

  QCommandLineParser parser;
  parser.setApplicationDescription(QApplication::translate("main", "Scans large documents."));
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument("files", QApplication::translate("main", "Picture files to open."), "[files...]");
  parser.process(application);

  desktop::MainWindow window{desktop::ProgramFolders{}};
  window.show();
  QTimer::singleShot(0, &window, [&] {
    window.start();
    window.openFiles(parser.positionalArguments());
  });
  return QApplication::exec();
}
