#pragma once
#include <QMainWindow>
#include <memory>

#include "document/document.h"
#include "document/page_files.h"
#include "quillbay/control.h"
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "window/program_settings.h"
#include "window/prompts.h"

class QActionGroup;
class QShortcut;

namespace desktop {

class DocumentView;
class LivePage;
class LogDock;
class ManualWindow;
class NetCommands;
class PageCommands;
class PageList;
class PanelDock;
class ScannerCommands;
class SessionGuard;
class StatusLine;
class ToolCommands;

/// Where the program keeps its settings; empty: the usual folders.
struct ProgramFolders {
  std::string config, state;
};

/// The program's window: the document's view, the scanning panel beside it, the pages, a log and a status line.
/// It is a host of the panel.
class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit MainWindow(const ProgramFolders& folders, QWidget* parent = nullptr);
  ~MainWindow() override;

  /// Opens the panel in the mode of the last run, or offers the scanners that are there.
  void start();
  bool setMode(quillbay::eTarnwellMode mode);
  bool reopenPanel() { return setMode(m_mode); }
  /// Whether something goes on during which the panel must not be replaced.
  [[nodiscard]] bool isOccupied() const;
  /// Opens files, after those that are being opened; what cannot be read is told in one message. The page that came
  /// last is shown.
  void openFiles(const QStringList& files);
  bool saveCurrentAs();
  /// Writes every file anew whose pages were changed, closed or moved, and asks for names of pages that are in
  /// none. Asks before a file loses pages. False when something is still not saved.
  bool saveAll();
  bool saveAllInOneFile();
  /// Asks how, and prints the pages that the user chooses.
  void printPages();
  /// Closes pages, after asking when one is not saved.
  bool closePages(const std::vector<int>& ids);
  bool closeAll();
  void undo();
  void redo();
  /// Moves the chosen pages one place towards the beginning (-1) or the end (1).
  void movePages(int step);
  /// What can be done to the chosen pages.
  [[nodiscard]] QMenu* pageMenu() { return m_pageMenu; }
  void startScan();
  /// A message window for something that went wrong; it goes to the log as well.
  void tell(const QString& text);
  /// Whether a file may be written, which `pages` pages go into: asks when something would be lost. `known` is the
  /// file as it was read.
  bool mayReplace(const QString& file, const FileStamp& known, int pages);

  [[nodiscard]] PageFiles& files() { return *m_files; }
  [[nodiscard]] Document& document() { return *m_document; }
  [[nodiscard]] PanelDock& panelDock() { return *m_panel; }
  [[nodiscard]] DocumentView& view() { return *m_view; }
  [[nodiscard]] LivePage& livePage() { return *m_live; }
  [[nodiscard]] PageList& pageList() { return *m_pages; }
  [[nodiscard]] LogDock& log() { return *m_log; }
  [[nodiscard]] StatusLine& statusLine() { return *m_status; }
  [[nodiscard]] ProgramSettings& settings() { return *m_settings; }
  [[nodiscard]] quillbay::IHostApp* app() { return m_app.get(); }
  [[nodiscard]] PageCommands& pageCommands() { return *m_pageCommands; }
  [[nodiscard]] SessionGuard& guard() { return *m_guard; }
  [[nodiscard]] NetCommands& net() { return *m_net; }
  [[nodiscard]] ToolCommands& tools() { return *m_tools; }
  [[nodiscard]] Prompts& prompts() { return m_prompts; }
  /// Null until the manual was opened.
  [[nodiscard]] ManualWindow* manual() { return m_manual.get(); }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  QAction* addAction(QMenu* menu, const QString& text, const QKeySequence& key, const QString& tip,
                     const std::function<void()>& run);
  void makeHost(const ProgramFolders& folders);
  void makeDocks();
  void makeLivePage();
  void connectParts();
  void makeFileMenu();
  void makeScanMenu();
  void makePageMenu();
  void makeToolsMenu();
  void makeViewMenu();
  void makeHelpMenu();
  void fillRecent();
  void updateActions();
  void restore();
  void remember();

  void takeRaster(const quillbay::HostDocument& document);
  void noteSaved(const std::string& file);
  void startBatch();
  void stop(quillbay::StopKind kind);
  void scanEnded(int cause, const QString& fault, int pages);
  void print(const std::vector<int>& ids, quillbay::IParam* options);
  void keepUnprinted();
  void previewEnded(int cause, const QString& fault);
  void setUnit(const char* unit);
  /// The user's unit, to the panel and the status line.
  void applyUnit();
  /// Takes over what the user chose in the panel.
  void takeUnit();
  void choosePage(int id);
  void about();
  /// At a help topic ("QBHelp:IDH_ScanError"; empty: its beginning).
  void openManual(const std::string& topic);
  QWidget* showManual(const QString& page);
  /// False when these pages are unsaved, or files have their pages in another order, and the user wants to keep
  /// them.
  bool maySurrenderPages(const std::vector<int>& ids, const std::vector<PageSourcePtr>& reordered);
  /// Asks when scripts still work on pages aside; false: they are to go on.
  bool mayEndScripts();
  /// Cancels them, and waits for what they save.
  void endScripts();
  bool isSaved(bool done, const QString& file, const QString& why);
  bool saveNew(const std::vector<int>& ids, const QString& file);
  bool saveBack(const SavePlan::File& file);
  bool saveLoose(const std::vector<int>& ids);
  bool save(const SavePlan& plan);
  void makeEditMenu(QMenu* menu);
  void makeContextMenu();
  void updateSteps();

  const std::shared_ptr<MainWindow*> m_self;  // what the host's callbacks hold: null when the window goes
  Prompts m_prompts;
  quillbay::KxPtr<quillbay::IHostApp> m_app;
  std::unique_ptr<ProgramSettings> m_settings;
  std::unique_ptr<ManualWindow> m_manual;
  Document* m_document;
  DocumentView* m_view;
  LivePage* m_live = nullptr;
  std::unique_ptr<PageFiles> m_files;
  std::unique_ptr<SessionGuard> m_guard;
  PanelDock* m_panel = nullptr;
  PageList* m_pages = nullptr;
  PageCommands* m_pageCommands = nullptr;
  ScannerCommands* m_scanner = nullptr;
  NetCommands* m_net = nullptr;
  ToolCommands* m_tools = nullptr;
  LogDock* m_log = nullptr;
  StatusLine* m_status = nullptr;
  QMenu* m_recent = nullptr;
  QMenu* m_pageMenu = nullptr;
  QAction *m_undo = nullptr, *m_redo = nullptr, *m_moveUp = nullptr, *m_moveDown = nullptr;
  QAction* m_stop = nullptr;
  QAction *m_close = nullptr, *m_saveAs = nullptr, *m_fitPage = nullptr;
  QStringList m_toOpen;
  bool m_opening = false;
  bool m_closeLater = false;  // when what is being opened was given up
  QActionGroup* m_modes = nullptr;
  QActionGroup* m_units = nullptr;
  std::vector<QAction*> m_needsPage, m_needsPanel, m_needsOpenPanel, m_needsIdle, m_needsBusy;
  QShortcut* m_stopKey = nullptr;
  quillbay::eTarnwellMode m_mode = quillbay::ScanToView;
  bool m_printing = false;
  bool m_closing = false;  // questions before the end are open
};

}  // namespace desktop
