#include "window/main_window.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QMenu>
#include <QScopeGuard>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "document/page_commands.h"
#include "document/page_list.h"
#include "net/net_commands.h"
#include "quillbay/script_services.h"
#include "recovery/session_guard.h"
#include "scanner/panel_dock.h"
#include "scanner/scanner_commands.h"
#include "scanner/scanner_offer.h"
#include "tools/tool_commands.h"
#include "view/document_view.h"
#include "view/live_page.h"
#include "window/log_dock.h"
#include "window/manual_window.h"
#include "window/status_line.h"

namespace desktop {

namespace {

constexpr int kUndoMiB = 4096;
constexpr std::size_t kUndoSteps = 200;
constexpr int kStateVersion = 1, kPagesWidth = 226, kLogHeight = 130;

/// What the log says about the answer to a message.
QString answerText(quillbay::EventButtons buttons, quillbay::EventAnswer answer) {
  if (buttons == quillbay::EventButtons::RetryCancel) {
    return answer == quillbay::EventAnswer::Retry ? MainWindow::tr("Answer: try again")
                                                  : MainWindow::tr("Answer: cancel");
  }
  if (buttons == quillbay::EventButtons::OkCancel) {
    return answer == quillbay::EventAnswer::Ok ? MainWindow::tr("Answer: continue")
                                               : MainWindow::tr("Answer: finish");
  }
  return answer == quillbay::EventAnswer::Yes ? MainWindow::tr("Answer: yes") : MainWindow::tr("Answer: no");
}

/// What the status bar says about the end of a run.
QString endText(quillbay::EndCause cause, int pages) {
  using quillbay::EndCause;
  switch (cause) {
    case EndCause::Done: return MainWindow::tr("Done, pages: %1").arg(pages);
    case EndCause::Stopped: return MainWindow::tr("Stopped, pages: %1").arg(pages);
    case EndCause::Device: return MainWindow::tr("The scanner failed");
    case EndCause::Output: return MainWindow::tr("The page could not be written or printed");
    case EndCause::Media: return MainWindow::tr("No document in the scanner, pages: %1").arg(pages);
    case EndCause::Refused: break;
  }
  return MainWindow::tr("Nothing was scanned");
}

}  // namespace

MainWindow::MainWindow(const ProgramFolders& folders, QWidget* parent)
    : QMainWindow(parent),
      m_self(std::make_shared<MainWindow*>(this)),
      m_prompts(windowPrompts(
          this, [this](const std::string& topic) { openManual(topic); }, [this] { return m_app.get(); })),
      m_document(new Document(this)) {
  setWindowTitle("Quillbay");
  m_log = new LogDock(this);  // the host's first words go there
  makeHost(folders);
  writeFirstDefaults(m_app.get());
  m_settings = std::make_unique<ProgramSettings>(m_app.get());
  m_files = std::make_unique<PageFiles>(m_app.get(), m_document, this);
  m_document->setUndoBound({std::int64_t{m_settings->number("UndoMiB", kUndoMiB)} << 20, kUndoSteps});
  m_view = new DocumentView(m_app.get(), m_document, this);
  setCentralWidget(m_view);
  m_status = new StatusLine(m_app.get(), statusBar());
  makeDocks();
  makeLivePage();
  m_guard = std::make_unique<SessionGuard>(this, folders.state);
  makeFileMenu();
  makeScanMenu();
  makePageMenu();
  makeToolsMenu();
  makeViewMenu();
  makeContextMenu();
  makeHelpMenu();
  connectParts();
  restore();
  updateActions();
}

MainWindow::~MainWindow() {
  m_panel->disconnect(this);
  m_document->disconnect(this);
  m_panel->closePanel();
  endScripts();       // it may not have been closed: the program was told to quit
  m_guard.reset();    // pages that are not saved stay kept
  *m_self = nullptr;  // no thread of a scan is left that could look
  m_app->SetMainWindow(nullptr);
  m_app->SetPages(nullptr);
  delete m_tools;  // draws on the view
  delete m_live;   // reads from the panel
  delete m_panel;  // these use the application object, which goes before the other children
  delete m_view;
  delete m_status;
}

void MainWindow::makeHost(const ProgramFolders& folders) {
  const auto self = m_self;
  quillbay::HostOptions options;
  options.configFolder = folders.config;
  options.stateFolder = folders.state;
  options.watchesScanner = true;
  options.onMessage = [self](const quillbay::HostMessage& message) {
    if (!*self) return message.answer;
    (*self)->m_log->note(QString::fromStdString(message.text));
    const quillbay::EventAnswer answer = (*self)->m_prompts.message(message);
    if (message.buttons != quillbay::EventButtons::Ok) (*self)->m_log->note(answerText(message.buttons, answer));
    return answer;
  };
  options.showManual = [self](const std::string& page) {
    return *self ? (*self)->showManual(QString::fromStdString(page)) : nullptr;
  };
  options.onNote = [self](const std::string&, const std::string& text) {
    if (*self) (*self)->m_log->note(QString::fromStdString(text));
  };
  options.onSaved = [self](const std::string& file) {
    if (*self) (*self)->noteSaved(file);
  };
  options.chooseScanner = [self](quillbay::IScanManager* manager, std::string* device) {
    return *self && (*self)->m_prompts.scanner(manager, device);
  };
  m_app = quillbay::New_HostApp(options);
  m_app->SetMainWindow(this);
  m_app->SetPages(m_document);
  m_app->SetRasterHandler([self](const quillbay::HostDocument& document) {
    if (*self) (*self)->takeRaster(document);
  });
  m_app->SetCloseHandler([self] {
    if (*self) (*self)->m_panel->hide();
    return true;
  });
}

void MainWindow::makeDocks() {
  m_panel = new PanelDock(m_app.get(), m_view->kxView(), this);
  m_pages = new PageList(m_document, this);
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
  addDockWidget(Qt::RightDockWidgetArea, m_panel);
  addDockWidget(Qt::LeftDockWidgetArea, m_pages);
  addDockWidget(Qt::BottomDockWidgetArea, m_log);
  m_log->hide();
}

void MainWindow::makeLivePage() {
  const auto source = [this] { return m_panel->scanRaster(); };
  m_live = new LivePage(source, m_document, m_settings.get(), this);
  m_view->setLive(m_live);
  m_pages->setLive(m_live);
  connect(m_panel, &PanelDock::pageStarted, m_live, &LivePage::begin);
  connect(m_panel, &PanelDock::pageDone, m_live, [this](quillbay::PageInfo page) {
    if (m_mode == quillbay::ScanToNet) page.file.clear();  // its server takes it away: no page is saved there
    m_live->finish(page);
  });
  connect(m_panel, &PanelDock::published, m_document, &Document::notePublished);
  connect(m_panel, &PanelDock::ended, m_live, [this](int cause) {
    const bool isUnprinted =
        m_mode == quillbay::ScanToPrint && static_cast<quillbay::EndCause>(cause) == quillbay::EndCause::Output;
    if (isUnprinted) keepUnprinted();
    m_live->end();
  });
  connect(m_live, &LivePage::note, m_log, &LogDock::note);
}

void MainWindow::connectParts() {
  connect(m_view, &DocumentView::filesDropped, this, &MainWindow::openFiles);
  connect(m_view, &DocumentView::pageChosen, this, &MainWindow::choosePage);
  connect(m_view, &DocumentView::zoomChanged, this, [this] { m_status->showZoom(m_view->zoom()); });
  connect(m_view, &DocumentView::pointerMoved, m_status, &StatusLine::showPointer);
  connect(m_pages, &PageList::chosen, this, &MainWindow::choosePage);
  connect(m_pages, &PageList::chosen, m_view, &DocumentView::reveal);
  connect(m_pages, &PageList::shown, m_view, &DocumentView::fitPage);
  connect(m_pages, &PageList::closeAsked, this, [this] { closePages(m_pages->selected()); });
  connect(m_view, &DocumentView::closeAsked, this, [this] { closePages(m_pages->selected()); });
  connect(m_pages, &PageList::menuAsked, this, [this](const QPoint& at) { m_pageMenu->popup(at); });
  connect(m_view, &DocumentView::menuAsked, this, [this](const QPoint& at, int id) {
    const std::vector<int> chosen = m_pages->selected();
    if (std::find(chosen.begin(), chosen.end(), id) == chosen.end()) choosePage(id);
    m_pageMenu->popup(at);
  });
  connect(m_document, &Document::reordered, this, &MainWindow::updateActions);
  connect(m_document, &Document::stepsChanged, this, &MainWindow::updateSteps);
  connect(m_document, &Document::added, this, &MainWindow::choosePage);
  connect(m_document, &Document::removed, this, [this] { choosePage(m_view->current()); });
  connect(m_document, &Document::changed, this, &MainWindow::updateActions);
  connect(m_document, &Document::replaced, this, [this](int id) {
    if (id == m_view->current()) m_status->showPage(m_document->page(id));
  });
  connect(m_panel, &PanelDock::started, this, [this](int page, const QString& file) {
    m_log->note(tr("Scanning page %1").arg(page) + (file.isEmpty() ? QString() : " -> " + file));
    statusBar()->showMessage(tr("Scanning page %1...").arg(page));
    updateActions();
  });
  connect(m_panel, &PanelDock::linesArrived, this, [this](qint64 lines) {
    statusBar()->showMessage(tr("Scanning, lines: %1").arg(QLocale().toString(lines)));
  });
  connect(m_panel, &PanelDock::pageFinished, this, [this](int page, const QString& file) {
    m_log->note(tr("Page %1 finished").arg(page) + (file.isEmpty() ? QString() : ": " + file));
  });
  connect(m_panel, &PanelDock::ended, this, &MainWindow::scanEnded);
  connect(m_panel, &PanelDock::previewStarted, this, [this] {
    statusBar()->showMessage(tr("Scanning a preview..."));
    updateActions();
  });
  connect(m_panel, &PanelDock::areaPreviewStarted, m_view, &DocumentView::showPreview);
  connect(m_panel, &PanelDock::previewEnded, this, &MainWindow::previewEnded);
  connect(m_panel, &PanelDock::unitsChanged, this, &MainWindow::takeUnit);
  connect(m_panel, &PanelDock::scannerChanged, this, &MainWindow::updateActions);
}

void MainWindow::scanEnded(int cause, const QString& fault, int pages) {
  const QString text = endText(static_cast<quillbay::EndCause>(cause), pages);
  statusBar()->showMessage(text);
  m_log->note(fault.isEmpty() ? text : text + ": " + fault);
  updateActions();
  // A program that is killed later has at least these; after the panel's own end, which may be its closing.
  QTimer::singleShot(0, this, [this] {
    if (m_panel->control()) m_panel->control()->SaveSettings();
  });
}

void MainWindow::previewEnded(int cause, const QString& fault) {
  using quillbay::EndCause;
  const auto end = static_cast<EndCause>(cause);
  const QString text = end == EndCause::Done      ? tr("The preview is complete")
                       : end == EndCause::Stopped ? tr("The preview was stopped")
                                                  : tr("The preview failed");
  statusBar()->showMessage(text);
  if (!fault.isEmpty()) m_log->note(text + ": " + fault);
  if (end != EndCause::Done) m_view->endPreview();
  updateActions();
}

void MainWindow::restore() {
  const QByteArray geometry = m_settings->bytes("Geometry"), state = m_settings->bytes("State");
  if (geometry.isEmpty() || !restoreGeometry(geometry)) {
    const QSize room = screen()->availableSize();
    resize(QSize(1280, 720).boundedTo(room * 0.95));
  }
  if (state.isEmpty() || !restoreState(state, kStateVersion)) {
    resizeDocks({m_pages}, {kPagesWidth}, Qt::Horizontal);
    resizeDocks({m_log}, {kLogHeight}, Qt::Vertical);
  }
  const int mode = m_settings->number("Mode", quillbay::ScanToView);
  const bool isMode = mode >= quillbay::ScanToFile && mode <= quillbay::ScanToView;
  m_mode = isMode ? static_cast<quillbay::eTarnwellMode>(mode) : quillbay::ScanToView;
  if (m_mode == quillbay::ScanToNet && quillbay::ListNetClients().empty()) {
    m_mode = quillbay::ScanToView;  // no question before the window is there
    m_log->note(tr("The scan server has no clients any more: scans go to the view"));
  }
  applyUnit();
}

void MainWindow::remember() {
  m_settings->setBytes("Geometry", saveGeometry());
  m_settings->setBytes("State", saveState(kStateVersion));
  if (m_manual) m_settings->setBytes("Manual", m_manual->placement());
  m_settings->setNumber("Mode", m_mode);
  m_settings->save();
}

void MainWindow::start() {
  if (m_scanner->looksFirst()) {
    m_guard->panelTried(false);
    updateActions();
  } else {
    setMode(m_mode);
  }
  if (m_panel->offer()) {
    m_panel->offer()->setFocus();
  } else {
    m_view->setFocus();
  }
  m_guard->offerLeftovers();
}

bool MainWindow::isOccupied() const {
  return m_closing || m_opening || m_printing || m_pageCommands->isRunning() || m_tools->isWorking();
}

bool MainWindow::setMode(quillbay::eTarnwellMode mode) {
  if (m_panel->isBusy()) {
    tell(tr("A scan is running. Stop it before you change where scans go."));
    updateActions();
    return false;
  }
  if (mode == quillbay::ScanToNet && !m_net->ensureClients()) {
    updateActions();
    return false;
  }
  m_mode = mode;
  m_scanner->keepForNext();
  m_settings->setNumber("Mode", mode);
  m_settings->save();
  m_panel->closePanel();
  m_view->endPreview();
  m_scanner->prepare();
  const bool opened = m_panel->open(mode);
  m_panel->keepRasters(LivePage::keepsScanned(*m_settings));
  if (!opened) m_log->note(m_panel->offer() ? tr("No scanner is chosen yet.") : tr("No scanner could be opened."));
  m_scanner->panelTried(opened);
  m_guard->panelTried(opened);
  applyUnit();
  updateActions();
  return opened;
}

bool MainWindow::mayEndScripts() {
  const auto queue = quillbay::query<quillbay::IScriptQueue>(m_app.get());
  const int count = queue ? queue->Count() : 0;
  return count == 0 ||
         m_prompts.agree(
             tr("Scripts still work on scanned pages: %n to go. If you end them, these pages stay as they "
                "were scanned, and are saved so where a file was chosen.",
                nullptr, count),
             tr("End scripts"));
}

void MainWindow::endScripts() {
  const auto queue = quillbay::query<quillbay::IScriptQueue>(m_app.get());
  if (!queue) return;
  queue->Cancel();
  queue->Finish();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (std::exchange(m_closing, true)) return;
  const auto open = qScopeGuard([this] { m_closing = false; });
  if (m_pageCommands->isRunning() || m_tools->isWorking() || m_printing)
    return;  // its window is open: it is cancelled there
  if (m_opening) {
    m_closeLater = true;
    return m_files->cancel();
  }
  if (m_panel->isBusy() && !m_prompts.stopScan()) return;
  if (!mayEndScripts()) return;
  // Before the pages are asked about: what the scan still hands over counts as well.
  const bool hadPanel = m_panel->control() != nullptr;
  m_scanner->keepForNext();
  m_panel->closePanel();
  endScripts();
  if (!maySurrenderPages(m_document->unsaved(), reorderedFiles(m_document->pages()))) {
    if (hadPanel) setMode(m_mode);
    return;
  }
  m_guard->close();
  remember();
  if (m_manual) m_manual->close();
  event->accept();
}

}  // namespace desktop
