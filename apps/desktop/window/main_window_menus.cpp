// The window's menus, and the commands of the menu "Scan".
#include <QActionGroup>
#include <QApplication>
#include <QFileInfo>
#include <QMenuBar>
#include <QShortcut>
#include <QStatusBar>

#include "document/page_commands.h"
#include "document/page_list.h"
#include "quillbay/scan_keys.h"
#include "recovery/session_guard.h"
#include "scanner/panel_dock.h"
#include "scanner/scanner_commands.h"
#include "view/document_view.h"
#include "window/log_dock.h"
#include "window/main_window.h"
#include "window/status_line.h"

namespace desktop {

QAction* MainWindow::addAction(QMenu* menu, const QString& text, const QKeySequence& key, const QString& tip,
                               const std::function<void()>& run) {
  QAction* action = menu->addAction(text);
  action->setShortcut(key);
  action->setStatusTip(tip);
  connect(action, &QAction::triggered, this, run);
  return action;
}

void MainWindow::makeFileMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&File"));
  addAction(menu, tr("&Open..."), QKeySequence::Open, tr("Opens pages from picture files"),
            [this] { openFiles(m_prompts.openFiles()); });
  m_recent = menu->addMenu(tr("&Recent"));
  connect(m_recent, &QMenu::aboutToShow, this, &MainWindow::fillRecent);
  m_guard->addRecovery(menu);
  menu->addSeparator();
  m_needsPage = {addAction(menu, tr("Save &as..."), QKeySequence("Ctrl+Shift+S"),
                           tr("Saves the current page under a name"), [this] { saveCurrentAs(); }),
                 addAction(menu, tr("&Save all..."), QKeySequence::Save,
                           tr("Saves every page that is in no file yet"), [this] { saveAll(); }),
                 addAction(menu, tr("Save all in one &file..."), {}, tr("Saves all pages as one multi-page file"),
                           [this] { saveAllInOneFile(); })};
  menu->addSeparator();
  m_needsPage.push_back(addAction(menu, tr("&Close page"), QKeySequence::Close,
                                  tr("Takes the current page off the document"),
                                  [this] { closePage(m_view->current()); }));
  m_needsPage.push_back(addAction(menu, tr("C&lose all pages"), QKeySequence("Ctrl+Shift+W"),
                                  tr("Takes all pages off the document"), [this] { closeAll(); }));
  m_undo = addAction(menu, tr("&Undo close all"), QKeySequence::Undo,
                     tr("Brings back the pages that were closed last"), [this] { undoCloseAll(); });
  menu->addSeparator();
  addAction(menu, tr("&Quit"), QKeySequence::Quit, tr("Ends the program"), [this] {
    QWidget::close();
  })->setMenuRole(QAction::QuitRole);
}

void MainWindow::fillRecent() {
  m_recent->clear();
  int number = 0;
  for (const QString& file : m_settings->recent()) {
    QString name = QFileInfo(file).fileName();
    name.replace('&', "&&");
    const QString mnemonic = ++number < 10 ? QString("&%1 ").arg(number) : QString();
    QAction* action = addAction(m_recent, mnemonic + name, {}, file, [this, file] { openFiles({file}); });
    action->setToolTip(file);
  }
  if (number == 0) m_recent->addAction(tr("No files yet"))->setEnabled(false);
}

void MainWindow::makeScanMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Scan"));
  connect(menu, &QMenu::aboutToShow, this, &MainWindow::updateActions);
  QMenu* modes = menu->addMenu(tr("Scans &go"));
  m_modes = new QActionGroup(this);
  const std::pair<quillbay::eTarnwellMode, QString> list[] = {{quillbay::ScanToView, tr("To the &view")},
                                                              {quillbay::ScanToFile, tr("To &files")}};
  for (const auto& [mode, text] : list) {
    QAction* action = addAction(modes, text, {}, {}, [this, wanted = mode] {
      if (wanted != m_mode) setMode(wanted);
    });
    action->setCheckable(true);
    action->setData(static_cast<int>(mode));
    m_modes->addAction(action);
  }
  menu->addSeparator();
  QAction* scan =
      addAction(menu, tr("&Scan"), QKeySequence(Qt::Key_F5), tr("Scans one page"), [this] { startScan(); });
  QAction* batch = addAction(menu, tr("Scan &batch..."), QKeySequence("Shift+F5"), tr("Scans several documents"),
                             [this] { startBatch(); });
  QAction* stop = addAction(menu, tr("S&top"), QKeySequence(Qt::Key_Escape), tr("Stops the scan at once"),
                            [this] { this->stop(quillbay::StopKind::Now); });
  QAction* after = addAction(menu, tr("Stop &after this page"), QKeySequence("Shift+Esc"),
                             tr("Ends a batch when the page that is being scanned is complete"),
                             [this] { this->stop(quillbay::StopKind::AfterPage); });
  QAction* eject = addAction(menu, tr("&Eject"), {}, tr("Takes the document out of the scanner"),
                             [this] { m_panel->control()->Eject(); });
  menu->addSeparator();
  m_scanner = new ScannerCommands(this);
  m_scanner->fill(menu);
  menu->addSeparator();
  m_guard->addCommands(menu);
  m_needsPanel = {scan, batch, eject};
  m_needsIdle = {scan, batch, eject, modes->menuAction()};
  m_needsBusy = {stop, after};
  // A scan that the panel has just started is not known here before its first lines come. The key stops it all the
  // same, while the command, which would take the key, is disabled.
  m_stopKey = new QShortcut(stop->shortcut(), this);
  connect(m_stopKey, &QShortcut::activated, this, [this] { this->stop(quillbay::StopKind::Now); });
}

void MainWindow::makePageMenu() {
  m_pageCommands = new PageCommands(m_app.get(), m_document, m_settings.get(), this);
  m_pageCommands->fill(menuBar()->addMenu(tr("&Page")));
  connect(m_pageCommands, &PageCommands::runningChanged, this, &MainWindow::updateActions);
}

void MainWindow::makeViewMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&View"));
  const auto page = [this](QAction* action) { m_needsPage.push_back(action); };
  page(addAction(menu, tr("Zoom &in"), QKeySequence::ZoomIn, tr("Shows less, larger"),
                 [this] { m_view->zoomBy(1.5); }));
  page(addAction(menu, tr("Zoom &out"), QKeySequence::ZoomOut, tr("Shows more, smaller"),
                 [this] { m_view->zoomBy(1 / 1.5); }));
  page(addAction(menu, tr("&Fit all pages"), QKeySequence("Ctrl+0"), tr("Shows all pages"),
                 [this] { m_view->fitAll(); }));
  page(addAction(menu, tr("Fit &page"), QKeySequence("Ctrl+9"), tr("Shows the current page in full"),
                 [this] { m_view->fitPage(m_view->current()); }));
  page(addAction(menu, tr("Pixel by pixel (&1:1)"), QKeySequence("Ctrl+1"),
                 tr("Shows every pixel of the page as one of the screen"), [this] { m_view->actualPixels(); }));
  menu->addSeparator();
  QMenu* units = menu->addMenu(tr("&Units"));
  auto* group = new QActionGroup(this);
  for (const char* unit : {"mm", "inch"}) {
    QAction* action = addAction(units, QString("&") + unit, {}, {}, [this, unit] { setUnit(unit); });
    action->setCheckable(true);
    action->setChecked(m_settings->text("Unit", "mm") == unit);
    group->addAction(action);
  }
  menu->addSeparator();
  m_panel->toggleViewAction()->setText(tr("&Scanning panel"));
  m_pages->toggleViewAction()->setText(tr("Pa&ges"));
  m_log->toggleViewAction()->setText(tr("&Log"));
  menu->addActions({m_panel->toggleViewAction(), m_pages->toggleViewAction(), m_log->toggleViewAction()});
}

void MainWindow::updateActions() {
  const bool busy = m_panel->isBusy(), panel = m_panel->control() != nullptr;
  for (QAction* action : m_needsPage) action->setEnabled(!m_document->pages().empty());
  m_undo->setEnabled(m_document->canRestore());
  m_pageCommands->update(busy);
  for (QAction* action : m_needsIdle) action->setEnabled(!busy);
  for (QAction* action : m_needsPanel) action->setEnabled(panel && !busy);
  for (QAction* action : m_needsBusy) action->setEnabled(busy);
  m_stopKey->setEnabled(!busy);
  m_scanner->updateActions(busy);
  for (QAction* action : m_modes->actions()) action->setChecked(action->data().toInt() == m_mode);
  setWindowModified(!m_document->unsaved().empty());
  const Page* page = m_document->page(m_view->current());
  setWindowTitle(page ? page->name + "[*] - Quillbay" : QString("Quillbay[*]"));
}

void MainWindow::setUnit(const char* unit) {
  m_settings->setText("Unit", unit);
  applyUnit();
  m_status->showPage(m_document->page(m_view->current()));
}

void MainWindow::applyUnit() {
  const QString unit = m_settings->text("Unit", "mm");
  m_status->setUnit(unit.toStdString());
  if (m_panel->control())
    m_panel->control()->SetParam(quillbay::key::Units, unit == "inch" ? quillbay::kInches : quillbay::kMillimetres,
                                 nullptr);
}

void MainWindow::startScan() {
  if (!m_panel->control()) return;
  if (!m_panel->control()->Start(quillbay::StartKind::Scan, 1)) statusBar()->showMessage(tr("A scan runs already"));
}

void MainWindow::startBatch() {
  const int pages = m_prompts.batchPages();
  if (pages < 0 || !m_panel->control()) return;
  if (!m_panel->control()->Start(quillbay::StartKind::Batch, pages)) {
    statusBar()->showMessage(tr("A scan runs already"));
  }
}

void MainWindow::stop(quillbay::StopKind kind) {
  if (m_panel->control()) m_panel->control()->Stop(kind);
}

}  // namespace desktop
