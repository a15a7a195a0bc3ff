#include "screenshots/screenshots.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QMenu>
#include <QStyle>
#include <cstdio>

#include "document/page_list.h"
#include "document/save_plan.h"
#include "quillbay/events.h"
#include "quillbay/formats.h"
#include "quillbay/quillbay.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"
#include "scanner/panel_dock.h"
#include "scanner/scanner_dialog.h"
#include "scanner/scanner_offer.h"
#include "scanner/sim_setup.h"
#include "screenshots/example_device.h"
#include "screenshots/net_shots.h"
#include "screenshots/panel_shots.h"
#include "screenshots/preset_shots.h"
#include "screenshots/print_shots.h"
#include "screenshots/save_shots.h"
#include "screenshots/tool_shots.h"
#include "view/document_view.h"
#include "view/live_page.h"
#include "window/log_dock.h"
#include "window/main_window.h"
#include "window/manual_window.h"

namespace desktop {

namespace {

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
class Shooting : private Stage {
 public:
  using Stage::Stage;

  bool run() {
    window().resize(1366, 728);  // what a panel of the desktop leaves of a small screen
    window().show();
    if (!saveOffer()) return false;
    // Larger pictures have a plain drawing, which takes little room in a file.
    const bool all = qApp->devicePixelRatio() <= 1;
    if (!use(all ? "sim:drawing=map,size=420x297,seed=7" : "sim:drawing=plan,size=420x297,seed=7")) return false;
    if (!saveInformation()) return false;
    if (!scan({420, 297}, all ? quillbay::kModeRgb : quillbay::kModeBwThreshold, 200)) return false;
    window().view().fitAll();
    if (!save(window(), "main") || !save(*panel(), "panel-to-view")) return false;
    if ((all || qEnvironmentVariableIsSet("QUILLBAY_ALL_TOOLS")) && !shootTools(*this)) return false;
    if (!shootPreview(*this) || !shootPages(*this)) return false;
    if (all && !(shootColours(*this) && shootPalette(*this) && shootSave(*this) && shootPresets(*this)))
      return false;
    if (all && !(saveAtWork() && saveDialogs() && saveHelp() && shootFound(*this))) return false;
    if (!shootPrint(*this)) return false;
    if (!window().setMode(quillbay::ScanToFile)) return false;
    set(quillbay::key::Dir, "/srv/maps");
    set(quillbay::key::Mask, "map<COUNTER>");
    return save(*panel(), "panel-to-file") && shootNet(*this);
  }

 private:
  // What the window shows.

  /// The window of a first start.
  bool saveOffer() {
    window().start();
    ScannerOffer* offer = window().panelDock().offer();
    return !offer || (waitFor([&] { return !offer->isSearching(); }) && save(window(), "first-start"));
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
      if (!window().setMode(d.mode)) return false;
      choose({420, 297}, d.colours, 200);
      set(quillbay::key::Dir, "/srv/maps");
      QCoreApplication::processEvents();
      if (!save(window().view(), d.name)) return false;
    }
    return true;
  }

  bool saveAtWork() {
    if (!saveScanning()) return false;
    window().log().show();
    QCoreApplication::processEvents();  // a resized view shows everything
    window().view().actualPixels();
    if (!save(window(), "detail")) return false;
    window().log().hide();
    QCoreApplication::processEvents();
    window().view().fitPage(window().view().current());
    if (!save(withMenu(tr("&Page")), "page-menu")) return false;
    return saveManyPages();
  }

  /// A scan in its middle: the page grows in the view.
  bool saveScanning() {
    window().document().clear();
    if (!use("sim:drawing=plan,size=420x297,seed=7") || !scan({420, 297}, quillbay::kModeBwThreshold, 200))
      return false;
    if (!use("sim:drawing=plan,size=420x297,seed=11,speed=600")) return false;
    choose({420, 297}, quillbay::kModeBwThreshold, 200);
    qint64 lines = 0;
    const auto link = QObject::connect(&window().panelDock(), &PanelDock::linesArrived, &window(),
                                       [&](qint64 arrived) { lines = arrived; });
    window().startScan();
    const bool half = waitFor([&] { return lines > 1300; });
    window().view().fitAll();
    const bool saved = half && save(window(), "scanning");
    QObject::disconnect(link);
    control()->Stop(quillbay::StopKind::Now);
    return waitFor([&] { return !window().panelDock().isBusy(); }) && saved;
  }

  /// Pages of several sizes in the rows that the view makes of them.
  bool saveManyPages() {
    window().document().clear();
    for (const QSizeF size : {QSizeF(297, 420), QSizeF(210, 297), QSizeF(420, 297), QSizeF(594, 420)}) {
      const QString device =
          QString("sim:drawing=plan,size=%1x%2,seed=%3").arg(size.width()).arg(size.height()).arg(size.width());
      if (!use(device.toStdString())) return false;
      for (int i = 0; i < 3; ++i) {
        if (!scan(size, quillbay::kModeBwThreshold, 100)) return false;
      }
    }
    window().view().fitAll();
    return save(window(), "many-pages") && saveChosenPages() && saveOpening();
  }

  /// Several pages chosen in the list, and the menu about them.
  bool saveChosenPages() {
    auto* list = window().pageList().findChild<QListWidget*>();
    list->setCurrentRow(4, QItemSelectionModel::ClearAndSelect);
    for (const int row : {5, 7}) list->item(row)->setSelected(true);
    list->scrollToItem(list->item(4), QAbstractItemView::PositionAtTop);
    QMenu* menu = window().pageMenu();
    menu->popup(list->viewport()->mapToGlobal(list->visualItemRect(list->item(5)).center()));
    QCoreApplication::processEvents();
    const QPixmap picture = over(*menu);
    menu->close();
    return save(picture, "chosen-pages");
  }

  /// Large files that are read.
  bool saveOpening() {
    const QString file = scratch("survey 1890.tif");
    const auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 12000, 9000, 300);
    quillbay::SaveRasterFile(nullptr, {raster}, file.toStdString(), true, nullptr);
    return saveModal("opening", [&] { window().openFiles(QStringList(100, file)); });
  }

  // What the program asks.

  bool saveDialogs() {
    return saveScanners() && saveSettings() && saveModal("batch", [this] { window().prompts().batchPages(); }) &&
           saveModal("unsaved",
                     [this] {
                       window().prompts().unsaved({"Page 1", "Page 2", "Page 3"});
                     }) &&
           saveModal("loses-pages",
                     [this] {
                       const SaveRisk risk{5, 3, true};
                       window().prompts().agree(riskText("/srv/maps/plan.tif", risk), riskAnswer(risk));
                     }) &&
           saveModal("message", [this] { window().prompts().message(troubleMessage()); }) && saveRecovery();
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
    return saveModal("device-settings", [&] { window().prompts().device(unit, "Wide-format scanner"); }) &&
           saveModal("next-document", [this] { window().prompts().message(nextDocument()); });
  }
  bool saveScanners() {
    ScannerDialog dialog(manager(), {}, &window());
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
    for (const Page& page : window().document().pages()) {
      if (++number > 2) break;
      const QString file = scratch(QString("session-1-page%1.tif").arg(number));
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
      window().prompts().recover(items, {"Page 9 (5/6/24 9:31 AM) was not copied yet when the program ended."});
    });
  }
  bool saveHelp() {
    const auto help = quillbay::query<quillbay::IHelp>(window().app());
    if (!help || !help->ShowTopic("QBHelp:IDH_simulated_scanner")) return false;
    const bool saved = save(*window().manual(), "manual");
    window().manual()->close();
    return saved;
  }

  static QString tr(const char* text) { return MainWindow::tr(text); }
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
