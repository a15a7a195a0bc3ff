#include "screenshots/stage.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QTabBar>
#include <QTimer>
#include <cstdio>

#include "document/document.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"
#include "scanner/panel_dock.h"
#include "view/document_view.h"

namespace desktop {

namespace {

constexpr int kLimitMs = 120000;
constexpr int kSmallest = 0;  // the PNG writer takes the most time for it

QString suffixOf(const QString& colours) {
  const double ratio = qApp->devicePixelRatio();
  return "-" + colours + (ratio > 1 ? QString("@%1x").arg(ratio) : "");
}

}  // namespace

Stage::Stage(const QString& folder, const QString& colours)
    : m_folder(folder),
      m_suffix(suffixOf(colours)),
      m_window({m_settings.filePath("config").toStdString(), m_settings.filePath("state").toStdString()}),
      m_manager(quillbay::query<quillbay::IScanManager>(m_window.app())) {}

quillbay::IQuillbayControl* Stage::control() { return m_window.panelDock().control(); }

QWidget* Stage::panel() { return m_window.panelDock().panel(); }

quillbay::CKxVariant Stage::get(const char* key) {
  quillbay::CKxVariant value;
  control()->GetParam(key, &value);
  return value;
}

int Stage::modeNow() { return get(quillbay::key::CurrMode).toInt(); }

void Stage::apply(const std::vector<std::pair<std::string, quillbay::CKxVariant>>& values) {
  const auto set = quillbay::new_MemParam();
  for (const auto& [key, value] : values) set->SetValue(key, value);
  quillbay::query<quillbay::IQuillbaySink>(control())->ApplyParams(set.get());
  QCoreApplication::processEvents();
}

// --- scanning

bool Stage::use(const std::string& device) {
  std::string why;
  if (m_manager && m_manager->SetCurrent(device, &why) && m_window.setMode(quillbay::ScanToView)) {
    set(quillbay::key::Dir, "/srv/maps");  // not the folder of who makes the pictures
    return true;
  }
  std::fprintf(stderr, "%s cannot be opened: %s\n", device.c_str(), why.c_str());
  return false;
}

void Stage::choose(QSizeF size, int mode, int dpi) {
  set(quillbay::key::CurrMode, mode);
  set(quillbay::key::ScanAreaType, quillbay::kAreaCustom);
  set(quillbay::key::Center, 1);
  set(quillbay::key::RcScan, quillbay::tagRRECT{0, 0, size.width(), size.height()});
  set(quillbay::key::Dpi, dpi);
}

bool Stage::scan(QSizeF size, int mode, int dpi) {
  choose(size, mode, dpi);
  bool ended = false;
  const auto link = QObject::connect(&m_window.panelDock(), &PanelDock::ended, &m_window, [&] { ended = true; });
  m_window.startScan();
  const bool done = waitFor([&] { return ended; });
  QObject::disconnect(link);
  return done && waitFor([&] {
           const auto& pages = m_window.document().pages();
           return !pages.empty() && !pages.back().overview.isNull();
         });
}

bool Stage::preview() {
  bool ended = false;
  const auto link =
      QObject::connect(&m_window.panelDock(), &PanelDock::previewEnded, &m_window, [&] { ended = true; });
  control()->Start(quillbay::StartKind::Prescan, 0);
  const bool done = waitFor([&] { return ended; });
  QObject::disconnect(link);
  return done;
}

// --- pictures

bool Stage::save(QWidget& widget, const QString& name) {
  QCoreApplication::processEvents();
  return save(widget.grab(), name);
}

bool Stage::save(const QPixmap& picture, const QString& name) {
  const QString file = m_folder.filePath(name + m_suffix + ".png");
  // Five bits a colour look the same here, and take two thirds of the room.
  const QImage image = picture.toImage().convertToFormat(QImage::Format_RGB555, Qt::AvoidDither);
  if (image.convertToFormat(QImage::Format_RGB888).save(file, "PNG", kSmallest)) return true;
  std::fprintf(stderr, "%s was not written\n", file.toLocal8Bit().constData());
  return false;
}

bool Stage::saveTab(int tab, const QString& name) {
  auto* tabs = panel()->findChild<QTabBar*>();
  if (!tabs || tab >= tabs->count()) return false;
  tabs->setCurrentIndex(tab);
  const bool saved = save(*panel(), name);
  tabs->setCurrentIndex(0);
  return saved;
}

bool Stage::saveModal(const QString& name, const std::function<void()>& ask) {
  bool saved = false;
  QTimer timer;
  QElapsedTimer shown;
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || !dialog->isVisible()) return;
    if (!shown.isValid()) return shown.start();  // little pictures may still come
    if (shown.elapsed() < 1000) return;
    timer.stop();
    saved = save(*dialog, name);
    dialog->reject();
  });
  timer.start(50);
  ask();
  return saved;
}

QPixmap Stage::over(QWidget& popup) {
  QPixmap picture = m_window.grab();
  QPainter painter(&picture);
  painter.drawPixmap(m_window.mapFromGlobal(popup.mapToGlobal(QPoint())), popup.grab());
  return picture;
}

QPixmap Stage::withMenu(const QString& title) {
  for (QAction* action : m_window.menuBar()->actions()) {
    if (action->text() != title) continue;
    m_window.menuBar()->setActiveAction(action);
    QCoreApplication::processEvents();
    QPixmap picture = over(*action->menu());
    action->menu()->close();
    return picture;
  }
  return {};
}

bool Stage::waitFor(const std::function<bool()>& holds) {
  QElapsedTimer timer;
  timer.start();
  while (!holds()) {
    if (timer.elapsed() > kLimitMs) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
  }
  return true;
}

}  // namespace desktop
