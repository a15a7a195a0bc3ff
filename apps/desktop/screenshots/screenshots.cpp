#include "screenshots/screenshots.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QStyle>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

#include "document/page_list.h"
#include "document/save_plan.h"
#include "quillbay/events.h"
#include "quillbay/formats.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"
#include "scanner/output_settings.h"
#include "scanner/panel_dock.h"
#include "scanner/scanner_dialog.h"
#include "scanner/scanner_offer.h"
#include "scanner/sim_setup.h"
#include "screenshots/example_device.h"
#include "view/document_view.h"
#include "view/live_page.h"
#include "window/log_dock.h"
#include "window/main_window.h"
#include "window/manual_window.h"

namespace desktop {

namespace {

constexpr int kLimitMs = 120000;
constexpr int kSmallest = 0;  // the PNG writer takes the most time for it
constexpr int kColourTab = 1;

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
        m_window({m_settings.filePath("config").toStdString(), m_settings.filePath("state").toStdString()}),
        m_manager(quillbay::query<quillbay::IScanManager>(m_window.app())) {}

  bool run() {
    m_window.resize(1366, 728);  // what a panel of the desktop leaves of a small screen
    m_window.show();
    if (!saveOffer()) return false;
    // Larger pictures have a plain drawing, which takes little room in a file.
    const bool all = qApp->devicePixelRatio() <= 1;
    if (!use(all ? "sim:drawing=map,size=420x297,seed=7" : "sim:drawing=plan,size=420x297,seed=7")) return false;
    if (!saveInformation()) return false;
    if (!scan({420, 297}, all ? quillbay::kModeRgb : quillbay::kModeBwThreshold, 200)) return false;
    m_window.view().fitAll();
    if (!save(m_window, "main") || !save(*panel(), "panel-to-view")) return false;
    if (!savePreview() || !savePages()) return false;
    if (all && !saveColours()) return false;
    if (all && !(saveAtWork() && saveDialogs() && saveHelp())) return false;
    if (!m_window.setMode(quillbay::ScanToFile)) return false;
    control()->SetParam(quillbay::key::Dir, "/srv/maps", nullptr);
    control()->SetParam(quillbay::key::Mask, "map<COUNTER>", nullptr);
    return save(*panel(), "panel-to-file");
  }

 private:
  // What the window shows.

  /// The window of a first start.
  bool saveOffer() {
    m_window.start();
    ScannerOffer* offer = m_window.panelDock().offer();
    return !offer || (waitFor([&] { return !offer->isSearching(); }) && save(m_window, "first-start"));
  }

  /// The view of a document without pages, for every destination, each with the example of other colours.
  bool saveInformation() {
    const struct {
      quillbay::eTarnwellMode mode;
      int colours;
      const char* name;
    } destinations[] = {{quillbay::ScanToFile, quillbay::kModeGrey, "information-to-file"},
                        {quillbay::ScanToView, quillbay::kModeBwThreshold, "information-to-view"}};
    for (const auto& d : destinations) {
      if (!m_window.setMode(d.mode)) return false;
      choose({420, 297}, d.colours, 200);
      control()->SetParam(quillbay::key::Dir, "/srv/maps", nullptr);
      QCoreApplication::processEvents();
      if (!save(m_window.view(), d.name)) return false;
    }
    return true;
  }

  /// The preview with both frames: a tab, a column in inches, a window.
  bool savePreview() {
    using quillbay::PreviewCommand;
    const auto preview = m_window.panelDock().preview();
    if (!preview) return false;
    bool ended = false;
    const auto link =
        QObject::connect(&m_window.panelDock(), &PanelDock::previewEnded, &m_window, [&] { ended = true; });
    preview->PreviewCommand(PreviewCommand::DisableUpdating);
    control()->SetParam(quillbay::key::RcScan, quillbay::tagRRECT{240, 0, 660, 297}, nullptr);  // in the middle
    control()->Start(quillbay::StartKind::Prescan, 0);
    const bool done = waitFor([&] { return ended; });
    QObject::disconnect(link);
    control()->SetParam(quillbay::key::RcPreview, quillbay::tagRRECT{270, 20, 450, 110}, nullptr);
    control()->SetParam(quillbay::key::RcCustomScan, quillbay::tagRRECT{410, 130, 630, 270}, nullptr);
    control()->SetParam(quillbay::key::CustomScanValid, 1, nullptr);
    if (!done || !save(m_window, "preview-tab")) return false;
    const int width = m_window.panelDock().width();
    m_window.resizeDocks({&m_window.panelDock()}, {960}, Qt::Horizontal);
    control()->SetParam(quillbay::key::Units, quillbay::kInches, nullptr);
    control()->SetParam(quillbay::key::CustomScanValid, 1, nullptr);
    if (!save(m_window, "preview-column")) return false;
    control()->SetParam(quillbay::key::Units, quillbay::kMillimetres, nullptr);
    control()->SetParam(quillbay::key::CustomScanValid, 1, nullptr);
    preview->PreviewCommand(PreviewCommand::Float);
    QWidget* window = panel()->findChild<QWidget*>("PreviewDlgForm");
    bool saved = window && save(*window, "preview-window");
    control()->SetParam(quillbay::key::Units, quillbay::kInches, nullptr);
    control()->SetParam(quillbay::key::CustomScanValid, 1, nullptr);
    saved = saved && save(*window, "preview-window-inch");
    control()->SetParam(quillbay::key::Units, quillbay::kMillimetres, nullptr);
    preview->PreviewCommand(PreviewCommand::Dock);
    preview->PreviewCommand(PreviewCommand::DisableUpdating);
    control()->SetParam(quillbay::key::CustomScanValid, 0, nullptr);
    m_window.resizeDocks({&m_window.panelDock()}, {width}, Qt::Horizontal);
    return saved;
  }
  /// The pages of the panel beside the first one.
  bool savePages() {
    const auto before = modeOf(*control());
    control()->SetParam(quillbay::key::CurrMode, quillbay::kModeBwAdaptive, nullptr);
    const bool saved = saveTab(1, "panel-bw") && saveTab(2, "panel-setup");
    control()->SetParam(quillbay::key::CurrMode, before, nullptr);
    return saved;
  }
  bool saveTab(int tab, const QString& name) {
    auto* tabs = panel()->findChild<QTabBar*>();
    if (!tabs || tab >= tabs->count()) return false;
    tabs->setCurrentIndex(tab);
    const bool saved = save(*panel(), name);
    tabs->setCurrentIndex(0);
    return saved;
  }
  /// The colour page over the preview: sliders, curves, and the points of the scanner.
  bool saveColours() {
    const auto before = modeOf(*control());
    control()->SetParam(quillbay::key::CurrMode, quillbay::kModeRgb, nullptr);
    apply({{quillbay::key::Brightness, 20}, {quillbay::key::Saturation, 60}, {quillbay::key::RedBalance, 15}});
    bool saved = saveTab(kColourTab, "panel-colour");
    apply({{quillbay::key::IsGamma, 1},
           {quillbay::key::CurvePoints, "quillbay-curves 1\ncommon 0,0 70,40 180,215 255,255\nblue 0,0 230,255"}});
    saved = saved && saveTab(kColourTab, "panel-curves");
    apply({{quillbay::key::ResetMark, 1}});
    control()->SetParam(quillbay::key::CurrMode, before, nullptr);
    return saved;
  }
  /// Settings of the panel's pages; they are taken over from the event loop.
  void apply(const std::vector<std::pair<std::string, quillbay::CKxVariant>>& values) {
    const auto set = quillbay::new_MemParam();
    for (const auto& [key, value] : values) set->SetValue(key, value);
    quillbay::query<quillbay::IQuillbaySink>(control())->ApplyParams(set.get());
    QCoreApplication::processEvents();
  }
  static int modeOf(quillbay::IQuillbayControl& control) {
    quillbay::CKxVariant mode;
    control.GetParam(quillbay::key::CurrMode, &mode);
    return mode.toInt();
  }

  bool saveAtWork() {
    if (!saveScanning()) return false;
    m_window.log().show();
    QCoreApplication::processEvents();  // a resized view shows everything
    m_window.view().actualPixels();
    if (!save(m_window, "detail")) return false;
    m_window.log().hide();
    QCoreApplication::processEvents();
    m_window.view().fitPage(m_window.view().current());
    if (!save(withMenu(tr("&Page")), "page-menu")) return false;
    return saveManyPages();
  }

  /// A scan in its middle: the page grows in the view.
  bool saveScanning() {
    m_window.document().clear();
    if (!use("sim:drawing=plan,size=420x297,seed=7") || !scan({420, 297}, quillbay::kModeBwThreshold, 200))
      return false;
    if (!use("sim:drawing=plan,size=420x297,seed=11,speed=600")) return false;
    choose({420, 297}, quillbay::kModeBwThreshold, 200);
    qint64 lines = 0;
    const auto link = QObject::connect(&m_window.panelDock(), &PanelDock::linesArrived, &m_window,
                                       [&](qint64 arrived) { lines = arrived; });
    m_window.startScan();
    const bool half = waitFor([&] { return lines > 1300; });
    m_window.view().fitAll();
    const bool saved = half && save(m_window, "scanning");
    QObject::disconnect(link);
    control()->Stop(quillbay::StopKind::Now);
    return waitFor([&] { return !m_window.panelDock().isBusy(); }) && saved;
  }

  /// Pages of several sizes in the rows that the view makes of them.
  bool saveManyPages() {
    m_window.document().clear();
    for (const QSizeF size : {QSizeF(297, 420), QSizeF(210, 297), QSizeF(420, 297), QSizeF(594, 420)}) {
      const QString device =
          QString("sim:drawing=plan,size=%1x%2,seed=%3").arg(size.width()).arg(size.height()).arg(size.width());
      if (!use(device.toStdString())) return false;
      for (int i = 0; i < 3; ++i) {
        if (!scan(size, quillbay::kModeBwThreshold, 100)) return false;
      }
    }
    m_window.view().fitAll();
    return save(m_window, "many-pages") && saveChosenPages() && saveOpening();
  }

  /// Several pages chosen in the list, and the menu about them.
  bool saveChosenPages() {
    auto* list = m_window.pageList().findChild<QListWidget*>();
    list->setCurrentRow(4, QItemSelectionModel::ClearAndSelect);
    for (const int row : {5, 7}) list->item(row)->setSelected(true);
    list->scrollToItem(list->item(4), QAbstractItemView::PositionAtTop);
    QMenu* menu = m_window.pageMenu();
    menu->popup(list->viewport()->mapToGlobal(list->visualItemRect(list->item(5)).center()));
    QCoreApplication::processEvents();
    const QPixmap picture = over(*menu);
    menu->close();
    return save(picture, "chosen-pages");
  }

  /// Large files that are read.
  bool saveOpening() {
    const QString file = m_settings.filePath("survey 1890.tif");
    const auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 12000, 9000, 300);
    quillbay::SaveRasterFile(nullptr, {raster}, file.toStdString(), true, nullptr);
    return saveModal("opening", [&] { m_window.openFiles(QStringList(100, file)); });
  }

  /// The window with something that is open over it.
  QPixmap over(QWidget& popup) {
    QPixmap picture = m_window.grab();
    QPainter painter(&picture);
    painter.drawPixmap(m_window.mapFromGlobal(popup.mapToGlobal(QPoint())), popup.grab());
    return picture;
  }

  /// The window with an open menu over it.
  QPixmap withMenu(const QString& title) {
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

  // What the program asks.

  bool saveDialogs() {
    return saveScanners() && saveSettings() && saveModal("batch", [this] { m_window.prompts().batchPages(); }) &&
           saveModal("unsaved",
                     [this] {
                       m_window.prompts().unsaved({"Page 1", "Page 2", "Page 3"});
                     }) &&
           saveModal("loses-pages",
                     [this] {
                       const SaveRisk risk{5, 3, true};
                       m_window.prompts().agree(riskText("/srv/maps/plan.tif", risk), riskAnswer(risk));
                     }) &&
           saveModal("message", [this] { m_window.prompts().message(troubleMessage()); }) && saveRecovery();
  }
  static quillbay::HostMessage troubleMessage() {
    quillbay::HostMessage message;
    message.kind = quillbay::EventKind::Retry;
    message.buttons = quillbay::EventButtons::RetryCancel;
    message.event = quillbay::kEventCannotWrite;
    message.path = "/srv/maps/map0012.tif";
    message.text = "The file /srv/maps/map0012.tif cannot be written.";
    message.cause = "No space left on device.";
    message.helpTopic = "QBHelp:IDH_CannotWrite";
    return message;
  }
  static quillbay::HostMessage nextDocument() {
    quillbay::HostMessage message;
    message.kind = quillbay::EventKind::Question;
    message.buttons = quillbay::EventButtons::OkCancel;
    message.event = quillbay::kEventNextDocument;
    message.text = "Put the next document on the scanner.";
    return message;
  }
  bool saveSettings() {
    ExampleDevice device;
    const auto unit = quillbay::KxPtr<quillbay::IUnitOptions>::share(&device);
    return saveModal("device-settings", [&] { m_window.prompts().device(unit, "Wide-format scanner"); }) &&
           saveModal("file-settings",
                     [this] {
                       OutputSettings output;
                       m_window.prompts().output(&output);
                     }) &&
           saveModal("next-document", [this] { m_window.prompts().message(nextDocument()); });
  }
  bool saveScanners() {
    ScannerDialog dialog(m_manager.get(), {}, &m_window);
    dialog.setDevice("sim:size=420x297,at=150x40,skew=1.5,speed=600,drawing=map");
    dialog.show();
    if (!save(dialog, "scanner-searching") || !waitFor([&] { return !dialog.isSearching(); })) return false;
    const char* const names[] = {"scanner-paper", "scanner-drawings", "scanner-advanced"};
    for (int part = 0; part < 3; ++part) {
      dialog.setup().showPart(part);
      if (!save(dialog, names[part])) return false;
    }
    dialog.setup().showPart(0);
    dialog.setDevice("sim:size=420x297,skew=60");
    return save(dialog, "scanner-refused");
  }
  bool saveRecovery() {
    std::vector<Leftover> items;
    int number = 0;
    for (const Page& page : m_window.document().pages()) {
      if (++number > 2) break;
      const QString file = m_settings.filePath(QString("session-1-page%1.tif").arg(number));
      quillbay::SaveRasterFile(nullptr, {page.raster}, file.toStdString(), true, nullptr);
      const auto size = page.raster->GetSize();
      items.push_back({Leftover::Kind::Page, file, page.name, QDateTime(QDate(2024, 5, 6), QTime(9, 10 + number)),
                       QSize(size.width, size.height), 1, QFileInfo(file).size()});
    }
    const QDateTime time(QDate(2024, 5, 6), QTime(9, 30));
    items.push_back({Leftover::Kind::Part, "/srv/maps/atlas.tif.part", "atlas.tif", time, {}, 12, 48500000});
    items.push_back({Leftover::Kind::File, "/srv/maps/map0001.tif", "map0001.tif", time, {}, 1, 5100000});
    items.push_back({Leftover::Kind::File, "/srv/plans/map0001.tif", "map0001.tif", time, {}, 1, 7300000});
    return saveModal("recovery", [this, &items] {
      m_window.prompts().recover(items, {"Page 9 (5/6/24 9:31 AM) was not copied yet when the program ended."});
    });
  }
  /// Takes the picture of the window that `ask` opens, and closes it.
  bool saveModal(const QString& name, const std::function<void()>& ask) {
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
  bool saveHelp() {
    const auto help = quillbay::query<quillbay::IHelp>(m_window.app());
    if (!help || !help->ShowTopic("QBHelp:IDH_simulated_scanner")) return false;
    const bool saved = save(*m_window.manual(), "manual");
    m_window.manual()->close();
    return saved;
  }

  // Scanning.

  bool use(const std::string& device) {
    std::string why;
    if (m_manager && m_manager->SetCurrent(device, &why) && m_window.setMode(quillbay::ScanToView)) {
      control()->SetParam(quillbay::key::Dir, "/srv/maps", nullptr);  // not the folder of who makes the pictures
      return true;
    }
    std::fprintf(stderr, "%s cannot be opened: %s\n", device.c_str(), why.c_str());
    return false;
  }
  void choose(QSizeF size, int mode, int dpi) {
    control()->SetParam(quillbay::key::CurrMode, mode, nullptr);
    control()->SetParam(quillbay::key::ScanAreaType, quillbay::kAreaCustom, nullptr);
    control()->SetParam(quillbay::key::Center, 1, nullptr);
    control()->SetParam(quillbay::key::RcScan, quillbay::tagRRECT{0, 0, size.width(), size.height()}, nullptr);
    control()->SetParam(quillbay::key::Dpi, dpi, nullptr);
  }
  bool scan(QSizeF size, int mode, int dpi) {
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
  quillbay::IQuillbayControl* control() { return m_window.panelDock().control(); }
  QWidget* panel() { return m_window.panelDock().panel(); }
  static QString tr(const char* text) { return MainWindow::tr(text); }

  bool save(QWidget& widget, const QString& name) {
    QCoreApplication::processEvents();
    return save(widget.grab(), name);
  }
  bool save(const QPixmap& picture, const QString& name) {
    const QString file = m_folder.filePath(name + m_suffix + ".png");
    // Five bits a colour look the same here, and take two thirds of the room.
    const QImage image = picture.toImage().convertToFormat(QImage::Format_RGB555, Qt::AvoidDither);
    if (image.convertToFormat(QImage::Format_RGB888).save(file, "PNG", kSmallest)) return true;
    std::fprintf(stderr, "%s was not written\n", file.toLocal8Bit().constData());
    return false;
  }

  const QDir m_folder;
  const QString m_suffix;
  QTemporaryDir m_settings;
  MainWindow m_window;
  const quillbay::KxPtr<quillbay::IScanManager> m_manager;
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
