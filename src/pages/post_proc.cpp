#include "pages/post_proc.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <algorithm>

#include "pages/own_events.h"
#include "platform/base_services.h"
#include "quillbay/app.h"
#include "quillbay/host_files.h"
#include "quillbay/scan_keys.h"
#include "ui_post_proc.h"

namespace quillbay {

namespace {

constexpr const char* kListName = "Unprocessed files";
constexpr int kMostLogLines = 5000;
constexpr int kPositionEnd = 1000;  // of a progress whose end is known

QString inWords(const std::string& english) { return QString::fromStdString(Supp_Translate(english)); }

}  // namespace

std::string logFieldText(const std::string& line) {
  std::string text;
  for (const char c : line) text += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return text;
}

/// What a script advances; it may outlive the page.
class CPostProc::Progress final : public CKxUnknownImpl<IProgress> {
 public:
  explicit Progress(CPostProc* page) : m_page(page), m_isAside(page->queued() > 0) {}
  void SetText(const char*) override {}  // the log has the commands
  void Step() override {
    if (m_page) std::ignore = m_page->step();
  }
  int SetPosition(int position) override {
    const int before = std::exchange(m_position, position);
    if (!m_page) return before;
    m_page->showStep(static_cast<int>(std::int64_t{position} * StepCounter::kEnd / kPositionEnd));
    if (m_page->queued() == 0) dispatchOwnEvents(m_page);
    return before;
  }
  void Reset() override { m_position = 0; }
  /// What works aside goes on without the page, to its end and with the scripts that wait.
  int IsCancelled() override { return (m_page ? m_page->m_isCancelled : !m_isAside) ? 1 : 0; }

 private:
  const QPointer<CPostProc> m_page;
  const bool m_isAside;
  int m_position = 0;
};

CPostProc::CPostProc(IPanelController& controller, KxPtr<CSharedScanParams> params)
    : CTab(controller, std::move(params), kNumber), m_form(std::make_unique<Ui::PostProc>()), m_errors(kListName) {
  openFolder = [](const std::string& folder) {
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder)))) QApplication::beep();
  };
}

CPostProc::~CPostProc() {
  disconnect(m_selection);
  leaveHost();
}

std::string CPostProc::GetTitle() { return Supp_Translate("Post Processing"); }

void CPostProc::createForm(int) {
  m_form->setupUi(this);
  auto* tools = new QToolBar(this);
  QAction* browseTool = tools->addAction(inWords("..."));
  browseTool->setProperty("controlId", kBrowse);
  browseTool->setIconText(inWords("..."));  // a button leaves out the dots of a mere text
  browseTool->setToolTip(inWords("Choose a script"));
  if (auto* button = qobject_cast<QToolButton*>(tools->widgetForAction(browseTool))) {
    button->setAutoRaise(false);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAccessibleName(inWords("Choose a script"));
  }
  tools->setAccessibleName(inWords("Script tools"));
  m_form->scriptRow->addWidget(tools);
  m_form->log->setMaximumBlockCount(kMostLogLines);
  m_form->progress->setRange(0, StepCounter::kEnd);
  m_form->files->installEventFilter(this);
  connectButton(m_form->cancel, &CPostProc::cancel);
  connectButton(m_form->tryAgain, &CPostProc::tryAgain);
  connectButton(m_form->openFolder, &CPostProc::openFolders);
  m_selection = connect(m_form->files, &QListWidget::itemSelectionChanged, this, &CPostProc::showFields);
  IApp* app = params().app();
  m_queue = query<IScriptQueue>(app);
  if (m_queue) m_queueSink.Subscribe(m_queue->GetSinks().get());
  if (const auto services = query<IScriptServices>(app)) m_runner.Subscribe(services->GetRunners().get());
  showFields();
  if (const int left = queued(); left > 0) {  // of a page before this one
    enterHost();
    queueChanged(left);
  }
}

void CPostProc::connectButton(QPushButton* button, void (CPostProc::*action)()) {
  connect(button, &QPushButton::clicked, this,
          [this, action] { controller().Guarded([&] { return (this->*action)(), true; }); });
}

int CPostProc::Load(IParam* store) {
  const Loading loading(*this);
  const bool resets = paramInt(store, key::ResetMark) != 0;
  takeFields();
  m_useScript = paramInt(store, key::UseScript, resets ? 0 : m_useScript) != 0;
  m_scriptName = paramString(store, key::ScriptName, resets ? std::string() : m_scriptName);
  m_form->useScript->setChecked(m_useScript);
  m_form->scriptName->setText(QString::fromStdString(m_scriptName));
  showFields();
  return 1;
}

int CPostProc::Save(IParam* store) {
  takeFields();
  store->SetValue(key::UseScript, m_useScript ? 1 : 0);
  store->SetValue(key::ScriptName, m_scriptName);
  return 1;
}

void CPostProc::takeFields() {
  m_useScript = m_form->useScript->isChecked();
  m_scriptName = m_form->scriptName->text().toStdString();
}

void CPostProc::Enable(int enable) {
  m_isEnabled = enable != 0;
  showFields();
}

void CPostProc::showFields() {
  const bool uses = m_form->useScript->isChecked();
  const bool hasChoice = !m_form->files->selectedItems().isEmpty();
  m_form->useScript->setEnabled(m_isEnabled);
  m_form->scriptName->setEnabled(m_isEnabled && uses);
  if (QAction* browseTool = tool(kBrowse)) browseTool->setEnabled(m_isEnabled);
  m_form->filesLabel->setEnabled(uses);
  m_form->cancel->setEnabled(m_isRunning && !m_isCancelled);
  m_form->tryAgain->setEnabled(hasChoice);
  m_form->openFolder->setEnabled(hasChoice);
}

bool CPostProc::runsAfterScan() const { return m_form->useScript->isChecked(); }

/// The file that is chosen; empty: the host's own correction.
std::string CPostProc::script() const {
  return m_scriptName == Supp_Translate(script_key::OwnCorrection) ? std::string() : m_scriptName;
}

bool CPostProc::OnPageCommand(int id, int, std::int64_t) {
  switch (id) {
    case kUseScript:
      if (m_form->useScript->isChecked()) m_form->scriptName->setText(inWords(script_key::OwnCorrection));
      takeFields();
      return showFields(), true;
    case kScriptName: return takeFields(), true;
    case kBrowse: return browse(), true;
    default: return false;
  }
}

void CPostProc::fillMenu(QMenu& menu) {
  for (QPushButton* button : {m_form->tryAgain, m_form->openFolder}) {
    QAction* action = menu.addAction(button->text());
    action->setEnabled(button->isEnabled());
    connect(action, &QAction::triggered, button, &QPushButton::click);
  }
}

/// Return tries the chosen files again, as their button does.
bool CPostProc::eventFilter(QObject* watched, QEvent* event) {
  if (watched == m_form->files && event->type() == QEvent::KeyPress) {
    const int pressed = static_cast<QKeyEvent*>(event)->key();
    if (pressed == Qt::Key_Return || pressed == Qt::Key_Enter) return m_form->tryAgain->click(), true;
  }
  return CTab::eventFilter(watched, event);
}

void CPostProc::browse() {
  const auto dialogs = query<IFileDialogs>(params().app());
  std::string path = script();
  const QPointer<CPostProc> self(this);
  const bool isChosen = dialogs && dialogs->ChooseFile(kScriptFileChannel, this, &path) != 0;
  if (!isChosen) return QApplication::beep();
  if (!self) return;
  m_form->scriptName->setText(QString::fromStdString(path));
  takeFields();
}

void CPostProc::RunPostProcessing() {
  takeFields();
  if (!m_useScript || m_scriptName.empty()) return;
  std::ignore = runRegistered([this] { return controller().ExecCommand(script_key::Autocorrect, nullptr); });
}

int CPostProc::ProcessFile(const std::string& file) {
  takeFields();
  return runRegistered([this, &file] {
    const auto arguments = new_MemParam();
    arguments->SetValue(script_key::FileName, file);
    arguments->SetValue(script_key::KeepWindow, 1);
    arguments->SetValue(script_key::IgnoreCommand, 0);
    return controller().ExecCommand(script_key::Process, arguments.get());
  });
}

/// Runs a command of the host while the page listens. What a host works on aside is listened to until it has ended.
int CPostProc::runRegistered(const std::function<int()>& command) {
  std::string error;
  int answer = 1;
  const QPointer<CPostProc> self(this);  // a script's step dispatches events
  try {
    enterHost();
    answer = command();
  } catch (const CXException& e) {
    error = e.what();
  } catch (...) {
    if (self) leaveHost();
    throw;
  }
  if (!self) return answer;
  if (queued() == 0) leaveHost();
  if (!error.empty()) controller().Message(EventKind::Information, error, EventButtons::Ok);
  return answer;
}

void CPostProc::enterHost() {
  m_isCancelled = false;
  m_isRunning = true;
  showFields();
  const auto services = query<IScriptServices>(params().app());
  if (services && !m_log.isSubscribed()) m_log.Subscribe(services->GetLogs().get());
  keepDirectory(true);
  if (!services || m_collector.isSubscribed()) return;
  m_factory.Subscribe(services->GetProgressFactories().get());
  m_collector.Subscribe(services->GetErrorCollectors().get());
}

void CPostProc::leaveHost() {
  if (!m_isRunning) return;
  m_collector.Unsubscribe();
  m_factory.Unsubscribe();
  m_log.Unsubscribe();
  keepDirectory(false);
  m_isRunning = false;
  showStep(0);
  showFields();
}

/// The output folder, for the host's scripts, while the log sink is there.
void CPostProc::keepDirectory(bool keep) {
  const auto profile = query<IProfile>(params().app());
  const auto section =
      profile ? KxPtr<IParam>::adopt(profile->GetSection(section_name::Indexing, keep ? 1 : 0)) : KxPtr<IParam>{};
  if (!section) return;
  const auto last = KxPtr<IParam>::adopt(section->GetSubStore(script_key::LastOutputDirectory, keep ? 1 : 0));
  if (!last) return;
  if (keep) {
    last->SetValue(script_key::Directory, params().values().dir);
  } else {
    last->Remove(script_key::Directory);
  }
}

int CPostProc::queued() const { return m_queue ? m_queue->Count() : 0; }

void CPostProc::queueChanged(int count) {
  const QString waiting = inWords("Pages that are being worked on or wait: %1").arg(count);
  m_form->state->setText(count > 0 ? waiting : QString());
  m_form->state->setVisible(count > 0);
  if (count == 0) leaveHost();
}

void CPostProc::addLogLine(const std::string& line) {
  QTextCursor end(m_form->log->document());
  end.movePosition(QTextCursor::End);
  end.insertText(QString::fromStdString(logFieldText(line)));
  m_form->log->moveCursor(QTextCursor::End);
  m_form->log->ensureCursorVisible();
  m_form->log->repaint();
}

IProgress* CPostProc::makeProgress() { return new Progress(this); }  // counted

void CPostProc::showStep(int steps) {
  m_steps.set(steps >= StepCounter::kEnd ? 0 : steps);
  m_form->progress->setValue(m_steps.steps());
}

/// Returns whether the run may go on.
bool CPostProc::step() {
  showStep(m_steps.step());
  if (queued() > 0) return !m_isCancelled;  // the work is not on this thread
  const QPointer<CPostProc> self(this);
  dispatchOwnEvents(this);
  return self && !m_isCancelled;
}

void CPostProc::cancel() {
  m_isCancelled = true;
  showFields();
  if (m_queue) m_queue->Cancel();
}

/// What was cancelled is no error of the script, but it is not processed either.
void CPostProc::fileFailed(const std::string& file, IParam* parameters, bool isFlagged) {
  if (paramInt(parameters, script_key::DontProcessErrors) != 0) return;
  if (!m_errors.add(file, parameters, isFlagged, params().values().dir) && !isFlagged) return;
  std::string reason = paramString(parameters, script_key::Error);
  if (reason.empty()) reason = Supp_Translate(isFlagged ? "cancelled" : "the script failed");
  const auto same = std::find_if(m_unprocessed.begin(), m_unprocessed.end(),
                                 [&](const Unprocessed& known) { return known.file == file; });
  if (same == m_unprocessed.end()) {
    m_unprocessed.push_back({file, reason});
  } else {
    same->reason = reason;
  }
  showFiles();
}

void CPostProc::showFiles() {
  const std::vector<std::string> chosen = chosenFiles();
  m_form->files->clear();
  for (const Unprocessed& failed : m_unprocessed) {
    const QString name = QString::fromStdString(fio::fileNameOf(failed.file));
    const QString reason = QString::fromStdString(failed.reason);
    auto* item = new QListWidgetItem(name + "\n" + reason, m_form->files);
    item->setToolTip(QString::fromStdString(failed.file));
    item->setData(Qt::AccessibleTextRole, name + ", " + reason);
    item->setData(Qt::UserRole, QString::fromStdString(failed.file));
    item->setSelected(std::find(chosen.begin(), chosen.end(), failed.file) != chosen.end());
  }
  m_form->filesLabel->setText(m_unprocessed.empty()
                                  ? inWords("&Unprocessed files")
                                  : inWords("&Unprocessed files") + QString(" (%1)").arg(m_unprocessed.size()));
  showFields();
}

std::vector<std::string> CPostProc::chosenFiles() const {
  std::vector<std::string> files;
  for (const QListWidgetItem* item : m_form->files->selectedItems())
    files.push_back(item->data(Qt::UserRole).toString().toStdString());
  return files;
}

void CPostProc::tryAgain() {
  const QPointer<CPostProc> self(this);
  for (const std::string& file : chosenFiles()) {
    const auto isFile = [&](const Unprocessed& known) { return known.file == file; };
    const auto known = std::find_if(m_unprocessed.begin(), m_unprocessed.end(), isFile);
    if (known == m_unprocessed.end()) continue;
    const Unprocessed before = *known;
    m_unprocessed.erase(known);
    showFiles();
    const int answer = ProcessFile(file);
    if (!self) return;
    // A host that could not begin may not have reported it.
    if (answer == 0 || std::any_of(m_unprocessed.begin(), m_unprocessed.end(), isFile)) continue;
    m_unprocessed.push_back(before);
    showFiles();
  }
}

void CPostProc::openFolders() {
  std::vector<std::string> shown;
  for (const std::string& file : chosenFiles()) {
    std::string folder = fio::folderOf(file);
    if (folder.empty()) folder = params().values().dir;
    if (std::find(shown.begin(), shown.end(), folder) != shown.end()) continue;
    shown.push_back(folder);
    openFolder(folder);
  }
}

}  // namespace quillbay
