#include "document/page_commands.h"

#include <QActionGroup>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeySequence>
#include <QMenu>
#include <string_view>

#include "quillbay/scan_keys.h"
#include "quillbay/script_services.h"
#include "window/program_settings.h"
#include "window/progress_window.h"

namespace desktop {

using quillbay::ClearPolicy;

namespace {

constexpr const char* kPolicySetting = "BeforeScan";
constexpr int kCommandEnd = 1000;  // positions of a script command's progress

/// Gives scripts their progress window, as long as it lives.
class WindowFactory final : public quillbay::TSinkImpl<quillbay::IScriptProgressFactory, QWidget> {
 public:
  WindowFactory(quillbay::IHostApp* app, const QString& title, QWidget* window)
      : TSinkImpl(window), m_title(title) {
    if (const auto services = quillbay::query<quillbay::IScriptServices>(app)) {
      Subscribe(services->GetProgressFactories().get());
    }
  }
  quillbay::IProgress* CreateProgress(const char*) override {
    return new ProgressWindow(m_title, kCommandEnd, owner());  // counted
  }

 private:
  const QString m_title;
};

QString askForScript(QWidget* window) {
  return QFileDialog::getOpenFileName(window, PageCommands::tr("Run script"), {},
                                      PageCommands::tr("Scripts (*.kxf *.txt);;All files (*)"));
}

}  // namespace

PageCommands::PageCommands(quillbay::IHostApp* app, Document* document, ProgramSettings* settings, QWidget* window)
    : QObject(window), m_app(app), m_document(document), m_settings(settings), m_window(window) {
  chooseScript = [window] { return askForScript(window); };
  for (const auto signal : {&Document::added, &Document::removed, &Document::changed}) {
    connect(document, signal, this, [this] { update(m_scanning); });
  }
  connect(document, &Document::currentChanged, this, [this] { update(m_scanning); });
  applyClearPolicy();
}

QAction* PageCommands::add(QMenu* menu, const QString& text, const QKeySequence& key, const QString& tip,
                           const std::function<void()>& run) {
  QAction* action = menu->addAction(text);
  action->setShortcut(key);
  action->setStatusTip(tip);
  action->setToolTip(tip);
  connect(action, &QAction::triggered, this, run);
  return action;
}

void PageCommands::addScript(QMenu* menu, const QString& text, const QKeySequence& key, const QString& tip,
                             const char* script) {
  const QString title = QString(text).remove('&');
  m_needsPage.push_back(add(menu, text, key, tip, [this, title, script] { run(title, script); }));
}

void PageCommands::fill(QMenu* menu) {
  menu->setToolTipsVisible(true);
  addScript(menu, tr("Rotate &left"), QKeySequence("Ctrl+Shift+R"), tr("Rotates the page by 90° anticlockwise"),
            "/Rotate ANGLE:-90");
  addScript(menu, tr("Rotate &right"), QKeySequence("Ctrl+R"), tr("Rotates the page by 90° clockwise"),
            "/Rotate ANGLE:90");
  addScript(menu, tr("&Straighten"), QKeySequence("Ctrl+Shift+D"), tr("Detects the skew and straightens the page"),
            "/Deskew");
  addScript(menu, tr("Crop to the docu&ment"), QKeySequence("Ctrl+Shift+T"),
            tr("Finds the sheet on the scanner's bed and cuts off the bed"), "/CropToDocument");
  addScript(menu, tr("&Crop to content"), QKeySequence("Ctrl+Shift+C"),
            tr("Cuts off the border around the content"), "/Crop");
  menu->addSeparator();
  addScript(menu, tr("&Despeckle"), QKeySequence("Ctrl+Shift+E"), tr("Removes small specks"), "/Despeckle");
  addScript(menu, tr("&Invert"), QKeySequence("Ctrl+I"), tr("Swaps dark and light"), "/Invert");
  menu->addSeparator();
  m_needsPage.push_back(
      add(menu, tr("&Autocorrect"), QKeySequence("Ctrl+E"),
          tr("Straightens and crops the page, and removes specks from black and white; or runs your own script"),
          [this] { execute(tr(quillbay::script_key::Autocorrect), nullptr, {}); }));
  m_needsPage.push_back(
      add(menu, tr("R&un script..."), QKeySequence("Ctrl+Shift+U"), tr("Runs a script file on the page"), [this] {
        const QString file = chooseScript();
        if (!file.isEmpty()) runFile(file);
      }));
  addProgramChoice(menu);
  menu->addSeparator();
  fillPolicies(menu->addMenu(tr("&Before each scan")));
  update(m_scanning);
}

void PageCommands::addProgramChoice(QMenu* menu) {
  const auto profile = quillbay::query<quillbay::IProfile>(m_app);
  const auto scripts =
      quillbay::KxPtr<quillbay::IParam>::adopt(profile->GetSection(quillbay::section_name::Scripts, 0));
  QAction* action = menu->addAction(tr("Allo&w scripts to run programs"));
  action->setCheckable(true);
  action->setChecked(quillbay::paramInt(scripts.get(), quillbay::script_key::AllowPrograms) != 0);
  action->setStatusTip(tr("Scripts with the command /Run may start programs of this computer"));
  action->setToolTip(action->statusTip());
  connect(action, &QAction::triggered, this, [this, action] { allowPrograms(action); });
}

void PageCommands::allowPrograms(QAction* action) {
  const QString question = tr(
      "A script with the command /Run starts programs of this computer, with your rights: such a program can read, "
      "change and delete your files. Allow it only if you know where your scripts come from.\n\nAllow scripts to "
      "run programs?");
  if (action->isChecked() && agree && !agree(question, tr("Allow"))) return action->setChecked(false);
  const auto profile = quillbay::query<quillbay::IProfile>(m_app);
  const auto scripts =
      quillbay::KxPtr<quillbay::IParam>::adopt(profile->GetSection(quillbay::section_name::Scripts, 1));
  scripts->SetValue(quillbay::script_key::AllowPrograms, action->isChecked() ? 1 : 0);
  profile->Flush();
}

void PageCommands::fillPolicies(QMenu* menu) {
  menu->setToolTipsVisible(true);
  auto* group = new QActionGroup(menu);
  struct Choice {
    ClearPolicy policy;
    QString text, tip;
  };
  const Choice choices[] = {
      {ClearPolicy::Keep, tr("&Keep all pages"), tr("Adds scanned pages to the open pages")},
      {ClearPolicy::Discard, tr("Close &saved pages"), tr("Keeps the pages that are not saved")},
      {ClearPolicy::Ask, tr("Close &all pages"), tr("Asks first if pages are not saved; a batch keeps all pages")},
  };
  const int chosen = m_settings->number(kPolicySetting, static_cast<int>(ClearPolicy::Keep));
  for (const Choice& choice : choices) {
    const int value = static_cast<int>(choice.policy);
    QAction* action = add(menu, choice.text, {}, choice.tip, [this, value] {
      m_settings->setNumber(kPolicySetting, value);
      applyClearPolicy();
    });
    action->setCheckable(true);
    action->setChecked(value == chosen);
    group->addAction(action);
  }
}

void PageCommands::applyClearPolicy() {
  switch (m_settings->number(kPolicySetting, static_cast<int>(ClearPolicy::Keep))) {
    case static_cast<int>(ClearPolicy::Ask): return m_app->SetClearPolicy(ClearPolicy::Ask);
    case static_cast<int>(ClearPolicy::Discard): return m_app->SetClearPolicy(ClearPolicy::Discard);
    default: return m_app->SetClearPolicy(ClearPolicy::Keep);
  }
}

void PageCommands::update(bool scanning) {
  m_scanning = scanning;
  const Page* page = m_document->page(m_document->current());
  // The window of a command would stand before Stop.
  const bool may = page && !scanning && !m_running;
  for (QAction* action : m_needsPage) action->setEnabled(may);
}

bool PageCommands::run(const QString& title, const QString& script) {
  return execute(title, quillbay::script_key::Text, script);
}

bool PageCommands::runFile(const QString& file) {
  return execute(tr("Script %1").arg(QFileInfo(file).fileName()), quillbay::script_key::FileName, file);
}

/// Over the pages that are chosen, one after the other; what was done is undone in one step.
bool PageCommands::execute(const QString& title, const char* key, const QString& value) {
  const auto sink = quillbay::query<quillbay::IScriptCmdSink>(m_app);
  if (m_running || !sink) return false;
  m_running = true;
  update(m_scanning);
  emit runningChanged();
  const int current = m_document->current();
  std::vector<int> ids = selectedPages ? selectedPages() : std::vector<int>();
  // A file of commands may name files: it is run once.
  if (ids.empty() || (key && key == std::string_view(quillbay::script_key::FileName))) ids = {current};
  bool done = true;
  Notes notes;
  notes.namesPages = ids.size() > 1;
  m_document->beginStep(title);
  for (std::size_t i = 0; i < ids.size() && done; ++i) {
    m_document->setCurrent(ids[i]);
    done = executeOnce(*sink, title, key, value, &notes);
  }
  m_document->endStep();
  m_document->setCurrent(current);
  m_running = false;
  update(m_scanning);
  emit runningChanged();
  if (!notes.all.isEmpty()) emit reported(title + ": " + notes.all.join(' '));
  if (!notes.misses.isEmpty()) emit missed(notes.misses.join("\n\n"));
  return done;
}

/// A key names the argument that holds the script; without one it is the autocorrection.
bool PageCommands::executeOnce(quillbay::IScriptCmdSink& sink, const QString& title, const char* key,
                               const QString& value, Notes* notes) {
  const WindowFactory factory(m_app, title, m_window);
  const auto arguments = quillbay::new_MemParam();
  arguments->SetValue(quillbay::script_key::Title, title.toStdString());
  if (key) arguments->SetValue(key, value.toStdString());
  const Page* page = m_document->page(m_document->current());
  const QString name = page && notes->namesPages ? page->name + ": " : QString();
  const bool done = sink.ExecCommand(key ? quillbay::script_key::Process : quillbay::script_key::Autocorrect,
                                     arguments.get()) == 0;
  const auto text = QString::fromStdString(quillbay::paramString(arguments.get(), quillbay::script_key::Notes));
  if (!text.isEmpty()) {
    notes->all += name + QString(text).replace('\n', ' ');
    if (quillbay::paramInt(arguments.get(), quillbay::script_key::Misses) > 0) notes->misses += name + text;
  }
  return done;
}

}  // namespace desktop
