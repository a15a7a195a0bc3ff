#include <QApplication>
#include <csignal>
#include <cstdio>

#include "quillbay/host.h"
#include "screenshots/screenshots.h"

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  QApplication application(argc, argv);
  QApplication::setApplicationName("Quillbay");
  QApplication::setApplicationVersion(quillbay::LibraryVersion());
  if (argc != 2) {
    std::fputs("usage: quillbay-screenshots FOLDER\n", stderr);
    return 2;
  }
  return desktop::makeScreenshots(QString::fromLocal8Bit(argv[1]));
}
