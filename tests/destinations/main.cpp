#include <gtest/gtest.h>

#include <QApplication>

// The C library forgets the parts of LOCPATH each time a locale is opened while that is set, which only tests do.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak checker's name
extern "C" const char* __lsan_default_suppressions();
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:__argz_add_sep\n";
}

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
