// The window's menus, and the commands of the menu "Scan".
#include <QActionGroup>
#include <QApplication>
#include <QFileInfo>
#include <QMenuBar>
#include <QShortcut>
#include <QStatusBar>
#include <QToolBar>

#include "document/page_commands.h"
#include "document/page_list.h"
#include "net/net_commands.h"
#include "quillbay/scan_keys.h"
#include "recovery/session_guard.h"
#include "scanner/panel_dock.h"
#include "scanner/preview_menu.h"
#include "scanner/scanner_commands.h"
#include "tools/measure_dock.h"
#include "tools/tool_commands.h"
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
  m_saveAs = addAction(menu, tr("Save &as..."), QKeySequence("Ctrl+Shift+S"),
                       tr("Saves the current page under a name"), [this] { saveCurrentAs(); });
  m_needsPage = {
      m_saveAs,
      addAction(menu, tr("&Save"), QKeySequence::Save,
                tr("Saves changed pages in their files, and asks for names of new pages"), [this] { saveAll(); }),
      addAction(menu, tr("Save all in one &file..."), {}, tr("Saves all pages as one multi-page file"),
                [this] { saveAllInOneFile(); })};
  menu->addSeparator();
  m_needsPage.push_back(
      addAction(menu, tr("&Print..."), QKeySequence::Print, tr("Prints pages"), [this] { printPages(); }));
  menu->addSeparator();
  m_close = addAction(menu, tr("&Close page"), QKeySequence::Close, tr("Closes the selected pages"),
                      [this] { closePages(m_pages->selected()); });
  m_needsPage.push_back(m_close);
  m_needsPage.push_back(addAction(menu, tr("C&lose all pages"), QKeySequence("Ctrl+Shift+W"),
                                  tr("Closes all pages"), [this] { closeAll(); }));
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
                                                              {quillbay::ScanToFile, tr("To &files")},
                                                              {quillbay::ScanToPrint, tr("To a &printer")},
                                                              {quillbay::ScanToNet, tr("To a scan se&rver")}};
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
  QAction* after =
      addAction(menu, tr("Stop &after this page"), QKeySequence("Shift+Esc"),
                tr("Ends the batch after the current page"), [this] { this->stop(quillbay::StopKind::AfterPage); });
  QAction* eject = addAction(menu, tr("&Eject"), {}, tr("Ejects the document from the scanner"),
                             [this] { m_panel->control()->Eject(); });
  auto* preview = new PreviewMenu(m_panel, this);
  QMenu* previewMenu = preview->fill(menu);
  connect(preview, &PreviewMenu::refused, this, [this](const QString& why) { statusBar()->showMessage(why); });
  menu->addSeparator();
  m_scanner = new ScannerCommands(this);
  m_scanner->fill(menu);
  m_net = new NetCommands(
      this, [this](const std::string& topic) { openManual(topic); },
      [this] {
        if (m_mode == quillbay::ScanToNet) setMode(m_mode);
      });
  m_net->fill(menu);
  menu->addSeparator();
  m_guard->addCommands(menu);
  m_needsPanel = {scan, batch, eject};
  m_needsOpenPanel = {previewMenu->menuAction()};
  m_needsIdle = {scan, batch, eject, modes->menuAction()};
  m_needsBusy = {stop, after};
  m_stop = stop;
  // A scan that the panel has just started is not known here before its first lines come. The key stops it all the
  // same, while the command, which would take the key, is disabled.
  m_stopKey = new QShortcut(stop->shortcut(), this);
  connect(m_stopKey, &QShortcut::activated, this, [this] { this->stop(quillbay::StopKind::Now); });
}

void MainWindow::makePageMenu() {
  m_pageCommands = new PageCommands(m_app.get(), m_document, m_settings.get(), this);
  QMenu* menu = menuBar()->addMenu(tr("&Page"));
  makeEditMenu(menu);
  m_pageCommands->agree = [this](const QString& question, const QString& yes) {
    return m_prompts.agree(question, yes);
  };
  m_pageCommands->fill(menu);
  m_pageCommands->selectedPages = [this] { return m_pages->selected(); };
  connect(m_pageCommands, &PageCommands::runningChanged, this, &MainWindow::updateActions);
  connect(m_pageCommands, &PageCommands::reported, this, [this](const QString& text) {
    m_log->note(text);
    statusBar()->showMessage(text);
  });
  connect(m_pageCommands, &PageCommands::missed, this, &MainWindow::tell);
}

void MainWindow::makeToolsMenu() {
  m_tools = new ToolCommands(this);
  m_tools->makeMenu();
  connect(m_tools, &ToolCommands::stateChanged, this, &MainWindow::updateActions);
}

/// The commands that change what pages there are, and undo.
void MainWindow::makeEditMenu(QMenu* menu) {
  m_undo = addAction(menu, tr("U&ndo"), QKeySequence::Undo, tr("Undoes the last change"), [this] { undo(); });
  m_redo = addAction(menu, tr("Red&o"), {}, tr("Repeats the last undone change"), [this] { redo(); });
  m_redo->setShortcuts({QKeySequence("Ctrl+Shift+Z"), QKeySequence("Ctrl+Y")});
  menu->addSeparator();
  m_moveUp = addAction(menu, tr("Move u&p"), QKeySequence("Ctrl+Up"), tr("Moves the selected pages up by one"),
                       [this] { movePages(-1); });
  m_moveDown = addAction(menu, tr("Mo&ve down"), QKeySequence("Ctrl+Down"),
                         tr("Moves the selected pages down by one"), [this] { movePages(1); });
  for (QAction* action : {m_moveUp, m_moveDown}) {
    // Not in the panel, where these keys change numbers.
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_pages->addAction(action);
    m_view->addAction(action);
    m_needsPage.push_back(action);
  }
  menu->addSeparator();
}

/// What the right button offers over a page.
void MainWindow::makeContextMenu() {
  m_pageMenu = new QMenu(this);
  m_pageMenu->addAction(m_fitPage);
  m_pageMenu->addSeparator();
  m_pageMenu->addActions(m_pageCommands->actions());
  m_pageMenu->addSeparator();
  m_pageMenu->addActions({m_undo, m_redo});
  m_pageMenu->addSeparator();
  m_pageMenu->addActions({m_moveUp, m_moveDown, m_saveAs, m_close});
}

/// What undo and redo would do now.
void MainWindow::updateSteps() {
  const UndoStep* undo = m_document->nextUndo();
  const UndoStep* redo = m_document->nextRedo();
  m_undo->setEnabled(undo != nullptr);
  m_redo->setEnabled(redo != nullptr);
  const auto name = [](const UndoStep* step) { return step ? QString(step->text).replace('&', "&&") : QString(); };
  m_undo->setText(tr("U&ndo %1").arg(name(undo)).trimmed());
  m_redo->setText(tr("Red&o %1").arg(name(redo)).trimmed());
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
  m_fitPage = addAction(menu, tr("Fit &page"), QKeySequence("Ctrl+9"), tr("Shows the current page in full"),
                        [this] { m_view->fitPage(m_view->current()); });
  page(m_fitPage);
  page(addAction(menu, tr("Pixel by pixel (&1:1)"), QKeySequence("Ctrl+1"),
                 tr("Shows each pixel of the page as one pixel of the screen"),
                 [this] { m_view->actualPixels(); }));
  menu->addSeparator();
  QMenu* units = menu->addMenu(tr("&Units"));
  m_units = new QActionGroup(this);
  for (const char* unit : {"mm", "inch"}) {
    const QString name = QLatin1String(unit) == QLatin1String("mm") ? tr("&mm") : tr("&inch");
    QAction* action = addAction(units, name, {}, {}, [this, unit] { setUnit(unit); });
    action->setCheckable(true);
    action->setData(unit);
    m_units->addAction(action);
  }
  menu->addSeparator();
  m_panel->toggleViewAction()->setText(tr("&Scanning panel"));
  m_pages->toggleViewAction()->setText(tr("Pa&ges"));
  m_log->toggleViewAction()->setText(tr("&Log"));
  m_tools->dock()->toggleViewAction()->setText(tr("&Measures"));
  m_tools->bar()->toggleViewAction()->setText(tr("&Toolbar"));
  menu->addActions({m_panel->toggleViewAction(), m_pages->toggleViewAction(), m_log->toggleViewAction(),
                    m_tools->dock()->toggleViewAction(), m_tools->bar()->toggleViewAction()});
}

void MainWindow::updateActions() {
  const bool busy = m_panel->isBusy(), panel = m_panel->control() != nullptr;
  for (QAction* action : m_needsPage) action->setEnabled(!m_document->pages().empty());
  updateSteps();
  m_pageCommands->update(busy || m_tools->isWorking());
  for (QAction* action : m_needsIdle) action->setEnabled(!busy);
  for (QAction* action : m_needsPanel) action->setEnabled(panel && !busy);
  for (QAction* action : m_needsOpenPanel) action->setEnabled(panel);
  for (QAction* action : m_needsBusy) action->setEnabled(busy);
  // While a tool is drawn with the key ends the tool, also in a scan.
  m_stopKey->setEnabled(!busy && !m_tools->isDrawing());
  m_stop->setShortcut(m_tools->isDrawing() ? QKeySequence() : QKeySequence(Qt::Key_Escape));
  m_scanner->updateActions(busy);
  m_tools->updateActions(busy);
  for (QAction* action : m_modes->actions()) action->setChecked(action->data().toInt() == m_mode);
  setWindowModified(m_document->isModified());
  const Page* page = m_document->page(m_view->current());
  setWindowTitle(page ? page->name + "[*] - Quillbay" : QString("Quillbay[*]"));
}

void MainWindow::setUnit(const char* unit) {
  m_settings->setText("Unit", unit);
  applyUnit();
  m_status->showPage(m_document->page(m_view->current()));
}

void MainWindow::takeUnit() {
  quillbay::CKxVariant units;
  if (m_panel->control() && m_panel->control()->GetParam(quillbay::key::Units, &units))
    setUnit(units.toInt() == quillbay::kInches ? "inch" : "mm");
}

void MainWindow::applyUnit() {
  const QString unit = m_settings->text("Unit", "mm");
  for (QAction* action : m_units->actions()) action->setChecked(action->data().toString() == unit);
  m_status->setUnit(unit.toStdString());
  m_pages->setUnit(m_status->unit());
  m_tools->setUnit(m_status->unit());
  if (m_panel->control())
    m_panel->control()->SetParam(quillbay::key::Units, unit == "inch" ? quillbay::kInches : quillbay::kMillimetres,
                                 nullptr);
}

void MainWindow::startScan() {
  if (!m_panel->control()) return;
  if (!m_panel->control()->Start(quillbay::StartKind::Scan, 1))
    statusBar()->showMessage(tr("A scan is already running"));
}

void MainWindow::startBatch() {
  const int pages = m_prompts.batchPages();
  if (pages < 0 || !m_panel->control()) return;
  if (!m_panel->control()->Start(quillbay::StartKind::Batch, pages)) {
    statusBar()->showMessage(tr("A scan is already running"));
  }
}

void MainWindow::stop(quillbay::StopKind kind) {
  if (m_panel->control()) m_panel->control()->Stop(kind);
}

}  // namespace desktop
