#include "scanner/scanner_commands.h"

#include <QActionGroup>
#include <QMenu>
#include <QStatusBar>
#include <algorithm>

#include "quillbay/control.h"
#include "quillbay/scan_keys.h"
#include "recovery/session_guard.h"
#include "scanner/first_choices.h"
#include "scanner/job_bar.h"
#include "scanner/next_counter.h"
#include "scanner/panel_dock.h"
#include "scanner/sim_device.h"
#include "window/log_dock.h"
#include "window/main_window.h"

namespace desktop {

using quillbay::KxPtr;
using quillbay::query;
using quillbay::UnitSource;

namespace {

constexpr const char* kSimulated = "sim:";
constexpr const char* kOptions = "Options";

/// Drivers that talk to another machine.
bool isOnNetwork(const std::string& device) {
  const auto begins = [&](std::string_view driver) { return device.starts_with(driver); };
  return begins("net:") || begins("airscan:") || begins("escl:") || device.find(":net:") != std::string::npos;
}

}  // namespace

ScannerCommands::ScannerCommands(MainWindow* window)
    : QObject(window), m_window(window), m_manager(query<quillbay::IScanManager>(window->app())) {
  PanelDock* dock = &window->panelDock();
  connect(dock, &PanelDock::chooseScannerAsked, this, &ScannerCommands::choose);
  connect(dock, &PanelDock::scannerChosen, this, [this](const QString& device) { use(device.toStdString()); });
  connect(dock, &PanelDock::simulatedScannerAsked, this, &ScannerCommands::useSimulated);
  connect(&dock->bar(), &JobBar::sourceChosen, this, &ScannerCommands::chooseSource);
  connect(&dock->bar(), &JobBar::filesAsked, this, &ScannerCommands::chooseFiles);
  connect(&dock->bar(), &JobBar::deviceAsked, this, &ScannerCommands::chooseDevice);
}

void ScannerCommands::fill(QMenu* menu) {
  const auto add = [this, menu](const QString& text, const QString& tip, auto run) {
    QAction* action = menu->addAction(text);
    action->setStatusTip(tip);
    connect(action, &QAction::triggered, this, run);
    return action;
  };
  m_choose = add(tr("&Choose scanner..."), tr("Lists the scanners"), &ScannerCommands::choose);
  QMenu* sources = menu->addMenu(tr("S&ource"));
  m_sources = sources->menuAction();
  connect(sources, &QMenu::aboutToShow, this, [this, sources] { fillSources(sources); });
  m_files = add(tr("&File settings..."),
                tr("The save page of the panel: formats, one file for all pages, and the counter"),
                &ScannerCommands::chooseFiles);
  m_device = add(tr("Scanner setti&ngs..."), tr("Settings of the scanner"), &ScannerCommands::chooseDevice);
}

void ScannerCommands::updateActions(bool busy) {
  const bool hasPanel = m_window->panelDock().control() != nullptr;
  const auto scanner = hasPanel ? currentScanner(m_window->app()) : nullptr;
  m_choose->setEnabled(!busy);
  m_sources->setEnabled(!busy && sourcesOf(scanner.get()).size() > 1);
  m_files->setEnabled(!busy && hasPanel && m_window->panelDock().bar().showsFiles());
  m_device->setEnabled(!busy && scanner.as<quillbay::IUnitOptions>());
}

bool ScannerCommands::looksFirst() {
  const auto watch = m_manager.as<quillbay::IScannerWatch>();
  quillbay::ScannerEntry wanted;
  if (!watch || !watch->GetWanted(&wanted) || !isOnNetwork(wanted.device)) return false;
  m_window->panelDock().showMissing(QString());
  return true;
}

void ScannerCommands::keepForNext() {
  quillbay::IQuillbayControl* control = m_window->panelDock().control();
  if (!control) return;
  keepCounter(m_window->settings(), *control);
  // The panel has these settings as well, and the user may have changed them there.
  quillbay::CKxVariant units;
  if (control->GetParam(quillbay::key::Units, &units))
    m_window->settings().setText("Unit", units.toInt() == quillbay::kInches ? "inch" : "mm");
  if (const auto scanner = currentScanner(m_window->app())) keepOptions(scanner.get());
}

void ScannerCommands::prepare() {
  const auto scanner = currentScanner(m_window->app());
  const auto options = scanner.as<quillbay::IUnitOptions>();
  // What a simulated scanner is set to stands in its device string.
  if (!options || SimDevice::isOne(deviceOf(m_manager.get()))) return;
  const auto kept = m_window->settings().scanner(scanner->GetName(), false);
  if (!kept) return;
  if (const auto set = KxPtr<quillbay::IParam>::adopt(kept->GetSubStore(kOptions, 0)))
    options->LoadOptions(set.get());
}

void ScannerCommands::panelTried(bool opened) {
  quillbay::IQuillbayControl* control = m_window->panelDock().control();
  if (!opened || !control) return;
  recallCounter(m_window->settings(), *control);
}

bool ScannerCommands::mayChange() {
  if (!m_window->panelDock().isBusy()) return true;
  m_window->statusBar()->showMessage(tr("A scan is running. Stop it first."));
  return false;
}

void ScannerCommands::choose() {
  std::string device;
  if (!m_manager || !mayChange()) return;
  m_window->panelDock().pauseOffer();
  if (m_window->prompts().scanner(m_manager.get(), &device)) return use(device);
  m_window->panelDock().resumeOffer();
}

void ScannerCommands::use(const std::string& device) {
  std::string why;
  if (!m_manager || !mayChange()) return;
  if (!m_manager->SetCurrent(device, &why)) return m_window->tell(QString::fromStdString(why));
  if (!m_window->reopenPanel()) return;
  m_manager->Remember();
  m_window->log().note(tr("Scanner: %1").arg(QString::fromStdString(device)));
}

void ScannerCommands::useSimulated() {
  if (!m_window->panelDock().control()) use(kSimulated);  // else the scanner came back meanwhile
}

void ScannerCommands::fillSources(QMenu* menu) {
  menu->clear();
  const auto scanner = currentScanner(m_window->app());
  const auto media = scanner.as<quillbay::IUnitMedia>();
  auto* group = new QActionGroup(menu);
  for (const UnitSource source : sourcesOf(scanner.get())) {
    QAction* action = menu->addAction("&" + sourceName(source));
    action->setCheckable(true);
    action->setChecked(media && media->GetSource() == source);
    group->addAction(action);
    connect(action, &QAction::triggered, this, [this, source] { chooseSource(source); });
  }
}

void ScannerCommands::chooseSource(UnitSource source) {
  const auto scanner = currentScanner(m_window->app());
  if (mayChange()) changeSource(scanner.get(), source);
  m_window->panelDock().bar().showScanner(currentScanner(m_window->app()).get());
}

void ScannerCommands::changeSource(quillbay::IScan* scanner, UnitSource source) {
  if (const QString device = deviceOf(m_manager.get()); SimDevice::isOne(device)) {
    SimDevice sim(device);
    sim.set("source", source == UnitSource::Flatbed ? "flatbed" : QString());
    return use(sim.text().toStdString());
  }
  const auto media = query<quillbay::IUnitMedia>(scanner);
  std::string why;
  if (!media) return;
  if (!media->SetSource(source, &why)) return m_window->tell(QString::fromStdString(why));
  keepDevice(scanner);
  m_window->reopenPanel();  // a source has its own modes and size
}

void ScannerCommands::chooseFiles() {
  quillbay::IQuillbayControl* control = m_window->panelDock().control();
  if (!control) return;
  m_window->panelDock().show();
  m_window->panelDock().raise();
  control->ShowPage(quillbay::kSavePage);
}

void ScannerCommands::chooseDevice() {
  if (!m_window->panelDock().control() || !mayChange()) return;
  // A simulated scanner's set-up is a form of its own.
  if (SimDevice::isOne(deviceOf(m_manager.get()))) return choose();
  const auto scanner = currentScanner(m_window->app());
  const auto options = scanner.as<quillbay::IUnitOptions>();
  if (!options || !m_window->prompts().device(options, QString::fromStdString(scanner->GetName()))) return;
  keepDevice(scanner.get());
  m_window->reopenPanel();  // modes, resolutions and size may be others
}

void ScannerCommands::keepDevice(quillbay::IScan* scanner) {
  if (SimDevice::isOne(deviceOf(m_manager.get()))) return;
  m_window->settings().scanner(scanner->GetName(), true)->RemoveSubStore(kOptions);
  keepOptions(scanner);
}

void ScannerCommands::keepOptions(quillbay::IScan* scanner) {
  const auto options = query<quillbay::IUnitOptions>(scanner);
  if (!options || SimDevice::isOne(deviceOf(m_manager.get()))) return;
  const auto kept = m_window->settings().scanner(scanner->GetName(), true);
  const auto set = KxPtr<quillbay::IParam>::adopt(kept->GetSubStore(kOptions, 1));
  if (set) options->SaveOptions(set.get());
  m_window->settings().save();
}

}  // namespace desktop
