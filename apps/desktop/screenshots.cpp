#include "screenshots.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QStyle>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

#include "document_view.h"
#include "log_dock.h"
#include "main_window.h"
#include "panel_dock.h"
#include "quillbay/scanner.h"

namespace desktop {

namespace {

constexpr int kLimitMs = 120000;
constexpr int kSmallest = 0;  // the PNG writer takes the most time for it
constexpr int kModeRgb = 7, kCustomArea = 3;

/// Runs the event loop until something holds; false after a long time.
bool waitFor(const std::function<bool()>& holds) {
  QElapsedTimer timer;
  timer.start();
  while (!holds()) {
    if (timer.elapsed() > kLimitMs) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
  }
  return true;
}

QPalette darkPalette() {
  QPalette dark(QColor(53, 53, 53));
  dark.setColor(QPalette::Base, QColor(35, 35, 35));
  dark.setColor(QPalette::AlternateBase, QColor(45, 45, 45));
  dark.setColor(QPalette::ToolTipBase, QColor(35, 35, 35));
  dark.setColor(QPalette::ToolTipText, Qt::white);
  dark.setColor(QPalette::Highlight, QColor(42, 130, 218));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    dark.setColor(QPalette::Disabled, role, QColor(130, 130, 130));
  }
  dark.setColor(QPalette::Link, QColor(90, 160, 240));
  return dark;
}

/// One set of pictures, in the palette that is set.
class Shooting {
 public:
  Shooting(const QString& folder, const QString& colours)
      : m_folder(folder),
        m_suffix("-" + colours +
                 (qApp->devicePixelRatio() > 1 ? QString("@%1x").arg(qApp->devicePixelRatio()) : "")),
        m_window({m_settings.filePath("config").toStdString(), m_settings.filePath("state").toStdString()}) {}

  bool run() {
    std::string why;
    const auto manager = quillbay::query<quillbay::IScanManager>(m_window.app());
    if (!manager || !manager->SetCurrent("sim:drawing=map,size=420x297,seed=7", &why)) return false;
    m_window.resize(1366, 728);  // what a panel of the desktop leaves of a small screen
    m_window.show();
    if (!m_window.setMode(quillbay::ScanToView)) return false;
    if (!scan()) return false;
    m_window.view().fitAll();
    if (!save(m_window, "main") || !save(*m_window.panelDock().panel(), "panel-to-view")) return false;
    if (qApp->devicePixelRatio() <= 1 && !saveMore()) return false;
    if (!m_window.setMode(quillbay::ScanToFile)) return false;
    m_window.panelDock().control()->SetParam("m_Dir", "/srv/maps", nullptr);
    m_window.panelDock().control()->SetParam("m_Mask", "map<COUNTER>", nullptr);
    return save(*m_window.panelDock().panel(), "panel-to-file");
  }

 private:
  bool saveMore() {
    m_window.log().show();
    QCoreApplication::processEvents();  // a resized view shows everything
    m_window.view().actualPixels();
    if (!save(m_window, "detail") || !scan()) return false;
    m_window.view().fitAll();
    m_window.log().hide();
    return save(m_window, "two-pages");
  }
  bool scan() {
    auto* control = m_window.panelDock().control();
    bool ended = false;
    QObject::connect(&m_window.panelDock(), &PanelDock::ended, &m_window, [&] { ended = true; });
    control->SetParam("m_dwAutodetect", 0, nullptr);
    control->SetParam("m_CurrMode", kModeRgb, nullptr);
    control->SetParam("m_eScanType", kCustomArea, nullptr);
    control->SetParam("m_fCenter", 1, nullptr);
    control->SetParam("m_rcScan", quillbay::tagRRECT{0, 0, 420, 297}, nullptr);
    control->SetParam("m_uiDPI", 200, nullptr);
    m_window.startScan();
    const bool done = waitFor([&] { return ended; });
    m_window.panelDock().disconnect(&m_window);
    return done && waitFor([&] {
             const auto& pages = m_window.document().pages();
             return !pages.empty() && !pages.back().overview.isNull();
           });
  }
  bool save(QWidget& widget, const QString& name) {
    QCoreApplication::processEvents();
    const QString file = m_folder.filePath(name + m_suffix + ".png");
    if (widget.grab().save(file, "PNG", kSmallest)) return true;
    std::fprintf(stderr, "%s was not written\n", file.toLocal8Bit().constData());
    return false;
  }

  const QDir m_folder;
  const QString m_suffix;
  QTemporaryDir m_settings;
  MainWindow m_window;
};

}  // namespace

int makeScreenshots(const QString& folder) {
  if (!QDir().mkpath(folder)) {
    std::fprintf(stderr, "the folder %s cannot be made\n", folder.toLocal8Bit().constData());
    return 1;
  }
  QApplication::setStyle("Fusion");
  for (const bool dark : {false, true}) {
    QApplication::setPalette(dark ? darkPalette() : QApplication::style()->standardPalette());
    if (!Shooting(folder, dark ? "dark" : "light").run()) return 1;
  }
  return 0;
}

}  // namespace desktop
