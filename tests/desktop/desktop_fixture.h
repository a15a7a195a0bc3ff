#pragma once
#include <gtest/gtest.h>

#include <QtWidgets>
#include <functional>
#include <memory>

#include "quillbay/formats.h"
#include "quillbay/scanner.h"
#include "scanner/panel_dock.h"
#include "support/temp_dir.h"
#include "view/document_view.h"
#include "window/log_dock.h"
#include "window/main_window.h"

namespace desktop {

/// The program's window on a simulated scanner, with settings of its own; the test answers what it asks.
class DesktopTest : public testing::Test {
 protected:
  void open(const std::string& device = "sim:size=210x148", bool hasScanner = true) {
    window = std::make_unique<MainWindow>(ProgramFolders{dir.file("config"), dir.file("state")});
    Prompts& prompts = window->prompts();
    prompts.message = [this](const quillbay::HostMessage& message) {
      messages += QString::fromStdString(message.text);
      return message.answer;
    };
    prompts.unsaved = [this](const QStringList& pages) {
      asked += pages;
      return unsaved;
    };
    prompts.saveName = [this](const QString&, bool) { return saveName; };
    prompts.folder = [this] { return saveName; };
    prompts.agree = [this](const QString& question, const QString& yes) {
      agreed += question + "|" + yes;
      return agrees;
    };
    prompts.stopScan = [this] {
      ++stopsAsked;
      return true;
    };
    prompts.recover = [](const std::vector<Leftover>&, const QStringList&) { return RecoveryAnswer{}; };
    prompts.scanner = [](quillbay::IScanManager*, std::string*) { return false; };
    std::string why;
    if (!device.empty()) {
      ASSERT_TRUE(quillbay::query<quillbay::IScanManager>(window->app())->SetCurrent(device, &why)) << why;
    }
    window->resize(1366, 728);
    window->show();
    window->start();
    ASSERT_EQ(control() != nullptr, hasScanner);
  }
  [[nodiscard]] quillbay::IQuillbayControl* control() { return window->panelDock().control(); }
  [[nodiscard]] const std::vector<Page>& pages() { return window->document().pages(); }

  static bool waitFor(const std::function<bool()>& holds) {
    QElapsedTimer timer;
    timer.start();
    while (!holds()) {
      if (timer.elapsed() > 60000) return false;
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
    }
    return true;
  }
  void set(const char* key, const quillbay::CKxVariant& value) {
    std::string why;
    EXPECT_TRUE(control()->SetParam(key, value, &why)) << why;
  }
  void smallPages() {
    set("m_CurrMode", 5);
    set("m_uiDPI", 100);
    set("m_rcScan", quillbay::tagRRECT{0, 0, 254, 127});
    set("m_eScanType", 3);
  }
  bool scan() {
    bool ended = false;
    const auto link =
        QObject::connect(&window->panelDock(), &PanelDock::ended, window.get(), [&] { ended = true; });
    window->startScan();
    const bool done = waitFor([&] { return ended; });
    QObject::disconnect(link);
    return done;
  }

  quillbay::test::TempDir dir;
  std::unique_ptr<MainWindow> window;
  QStringList messages, asked, agreed;
  bool agrees = true;
  QString saveName;
  UnsavedAnswer unsaved = UnsavedAnswer::Cancel;
  int stopsAsked = 0;
};

/// The bytes of a grey raster, line after line.
inline std::string pixels(quillbay::IRStor* raster) {
  const auto lines = quillbay::KxPtr<quillbay::IAccessContext>::adopt(raster->GetAccessContext(0, 0));
  const auto size = raster->GetSize();
  std::string all, line(quillbay::fixedLineBytes(raster->GetColorSpace(), size.width), 0);
  for (int y = 0; lines && y < size.height; ++y) {
    lines->ReadLine(y, 0, size.width, line.data());
    all += line;
  }
  return all;
}

}  // namespace desktop
