#include <gtest/gtest.h>

#include <QApplication>

#ifdef __SANITIZE_THREAD__
/// The toolkit and its event loop are not built for the thread sanitizer, which cannot see how their threads wait
/// for each other.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "called_from_lib:libQt6Core\ncalled_from_lib:libQt6Gui\ncalled_from_lib:libQt6Widgets\ncalled_from_lib:"
         "libglib\n";
}
#endif

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
