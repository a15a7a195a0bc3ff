#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  // No scanners of the machine are searched for.
  const QTemporaryDir drivers;
  QFile list(drivers.filePath("dll.conf"));
  if (!list.open(QIODevice::WriteOnly)) return 1;
  list.close();
  qputenv("SANE_CONFIG_DIR", drivers.path().toLocal8Bit());
  const QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
