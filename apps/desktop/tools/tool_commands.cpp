#include "tools/tool_commands.h"

#include <QActionGroup>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <algorithm>
#include <tuple>
#include <utility>

#include "document/page_commands.h"
#include "scanner/panel_dock.h"
#include "tools/frame_scan.h"
#include "tools/measure_dock.h"
#include "tools/tool_entry.h"
#include "tools/tool_icon.h"
#include "view/document_view.h"
#include "window/log_dock.h"
#include "window/main_window.h"
#include "window/program_settings.h"
#include "window/status_line.h"

namespace desktop {

using quillbay::KxPtr;

namespace {

constexpr const char* kGroundSetting = "EraseGround";
constexpr const char *kViewSection = "View", *kUnitKey = "Unit";

/// A tip with the key of its command, for the toolbar.
QString tipWithKey(const Tool& tool) {
  const QString key = tool.key.toString(QKeySequence::NativeText);
  return tool.tip + (key.isEmpty() ? QString() : " (" + key + ")");
}

}  // namespace

ToolCommands::ToolCommands(MainWindow* window)
    : QObject(window),
      m_window(window),
      m_running(new RunningTool(window->app(), &window->view(), this)),
      m_pages(new PageTools(window->app(), &window->document(), window)),
      m_frames(new FrameScan(&window->panelDock(), &window->livePage(), &window->document(), this)),
      m_dock(new MeasureDock(window)),
      m_entry(new ToolEntry(window)),
      m_bar(new QToolBar(tr("Tools"), window)),
      m_endKey(new QShortcut(QKeySequence(Qt::Key_Escape), window)),
      m_ground(window->settings().number(kGroundSetting, 0) ? PageTools::Ground::Around
                                                            : PageTools::Ground::White) {
  m_pages->setParent(this);
  m_pages->tell = [window](const QString& text) { window->tell(text); };
  m_pages->refusal = [this] { return whyNotChange(); };
  m_pages->agree = [window](const QString& question, const QString& yes) {
    return window->prompts().agree(question, yes);
  };
  m_dock->tableName = [window](const QString& suggested) { return window->prompts().tableName(suggested); };
  connect(m_dock, &MeasureDock::failed, window, &MainWindow::tell);
  connect(m_dock, &MeasureDock::saved, this, [this](const QString& file) { say(tr("Saved: %1").arg(file)); });
  connect(m_pages, &PageTools::runningChanged, this, &ToolCommands::stateChanged);
  connect(&window->document(), &Document::replaced, this, &ToolCommands::stateChanged);
  connect(m_running, &RunningTool::changed, this, &ToolCommands::showState);
  connect(m_running, &RunningTool::drawn, this, &ToolCommands::drawn);
  connect(m_running, &RunningTool::missedPages, this, [this] { say(tr("Begin on a page.")); });
  connect(m_running, &RunningTool::typed, m_entry, &ToolEntry::type);
  connect(m_entry, &ToolEntry::entered, this, &ToolCommands::take);
  connect(m_entry, &ToolEntry::keyLeft, this, &ToolCommands::leaveField);
  connect(m_endKey, &QShortcut::activated, m_running, &RunningTool::stop);
  m_endKey->setEnabled(false);
  window->addDockWidget(Qt::BottomDockWidgetArea, m_dock);
  m_dock->hide();
  // The other fields of the status bar stay; a passing message does not cover this one.
  window->statusBar()->insertPermanentWidget(0, m_entry, 1);
  m_entry->hide();
}

// --- the menu and the toolbar

QMenu* ToolCommands::makeMenu() {
  QMenu* menu = m_window->menuBar()->addMenu(tr("Too&ls"));
  menu->setToolTipsVisible(true);
  std::optional<ToolWork> last;
  QMenu* several = nullptr;
  for (const Tool& tool : allTools()) {
    const bool begins = last != tool.work;
    if (last == ToolWork::KeepInside && begins) makeGrounds(menu);
    if (begins && (tool.work == ToolWork::Crop || tool.work == ToolWork::CopyFrame)) menu->addSeparator();
    const QString title = menuTitle(tool.work);
    if (begins && !title.isEmpty()) {
      several = menu->addMenu(toolIcon(tool.work), title);
      several->setToolTipsVisible(true);
      several->menuAction()->setToolTip(QString(title).remove('&'));
      several->menuAction()->setCheckable(true);  // the toolbar's button shows that one of them runs
      m_menus.push_back(several);
    }
    makeCommand(title.isEmpty() ? menu : several, tool);
    last = tool.work;
  }
  makeBar();
  return menu;
}

QAction* ToolCommands::makeCommand(QMenu* menu, const Tool& tool) {
  QAction* action = menu->addAction(toolIcon(tool.work, &tool.shape), tool.text);
  action->setShortcut(tool.key);
  action->setStatusTip(tool.tip);
  action->setToolTip(tipWithKey(tool));
  action->setCheckable(true);
  connect(action, &QAction::triggered, this, [this, tool](bool on) { trigger(tool, on); });
  m_commands.push_back({tool, action});
  return action;
}

/// What an erased part is filled with.
void ToolCommands::makeGrounds(QMenu* menu) {
  QMenu* grounds = menu->addMenu(tr("&Fill with"));
  auto* group = new QActionGroup(grounds);
  const std::tuple<PageTools::Ground, QString, QString> choices[] = {
      {PageTools::Ground::White, tr("&White"), tr("What is erased becomes white")},
      {PageTools::Ground::Around, tr("&Colour around"),
       tr("What is erased gets the colour that prevails around it")}};
  for (const auto& [ground, text, tip] : choices) {
    QAction* action = grounds->addAction(text);
    action->setCheckable(true);
    action->setChecked(ground == m_ground);
    action->setStatusTip(tip);
    group->addAction(action);
    connect(action, &QAction::triggered, this, [this, chosen = ground] {
      m_ground = chosen;
      m_window->settings().setNumber(kGroundSetting, chosen == PageTools::Ground::Around ? 1 : 0);
    });
  }
}

void ToolCommands::makeBar() {
  m_bar->setObjectName("toolsBar");
  m_bar->setIconSize({16, 16});
  std::optional<ToolWork> last;
  auto several = m_menus.begin();
  for (const Command& command : m_commands) {
    const ToolWork work = command.tool.work;
    const bool begins = last != work;
    if (begins && (work == ToolWork::Crop || work == ToolWork::CopyFrame)) m_bar->addSeparator();
    last = work;
    if (menuTitle(work).isEmpty()) {
      m_bar->addAction(command.action);
    } else if (begins && several != m_menus.end()) {
      QAction* menu = (*several++)->menuAction();
      m_bar->addAction(menu);
      if (auto* button = qobject_cast<QToolButton*>(m_bar->widgetForAction(menu)))
        button->setPopupMode(QToolButton::InstantPopup);
    }
  }
  m_window->addToolBar(m_bar);
}

QAction* ToolCommands::action(ToolWork work, ToolShape shape) const {
  for (const Command& command : m_commands) {
    if (command.tool.work == work && command.tool.shape == shape) return command.action;
  }
  return nullptr;
}

std::string ToolCommands::helpTopic() const {
  const bool usesList = m_dock->isAncestorOf(m_window->focusWidget());
  if (!isDrawing() && !usesList) return {};
  return usesList || m_running->tool().measures() ? "QBHelp:IDH_Measuring" : "QBHelp:IDH_Page_Tools";
}

QString ToolCommands::whyNotChange() const {
  if (m_window->panelDock().isBusy()) return tr("A scan is running. Change pages when it has ended.");
  if (m_window->isOccupied()) return tr("Another command is at work. Change pages when it has ended.");
  return {};
}

QString ToolCommands::whyNotScanAgain(const Page* page) const {
  if (m_window->panelDock().isBusy()) return tr("A scan is running. Scan the frame when it has ended.");
  if (!m_window->panelDock().control()) return tr("No scanner is open: choose one in the menu Scan.");
  if (page && !m_frames->cornerOf(*page)) {
    return tr("%1 was opened from a file, or changed or straightened since it was scanned: where it lies on the "
              "scanner is not known.")
        .arg(page->name);
  }
  return {};
}

void ToolCommands::updateActions(bool busy) {
  const Document& document = m_window->document();
  const bool shows = !document.pages().empty() || (busy && m_window->livePage().isRunning());
  const bool idle = !document.pages().empty() && !busy && !m_window->isOccupied();
  const QString whyNot = whyNotScanAgain(document.page(m_window->view().current()));
  for (const Command& command : m_commands) {
    const Tool& tool = command.tool;
    if (tool.work != ToolWork::ScanAgain) {
      command.action->setEnabled(tool.measures() ? shows : idle);
      continue;
    }
    command.action->setEnabled(idle && whyNot.isEmpty());
    command.action->setStatusTip(whyNot.isEmpty() ? tool.tip : whyNot);
    command.action->setToolTip(whyNot.isEmpty() ? tipWithKey(tool) : whyNot);
  }
  for (QMenu* menu : m_menus) menu->setEnabled(menu->actions().constFirst()->isEnabled());
  const bool mayDraw = m_running->tool().measures() ? shows : idle;
  if (isDrawing() && !mayDraw) m_running->stop();
}

void ToolCommands::setUnit(const quillbay::KxPtr<quillbay::ILinearUnit>& unit) {
  m_dock->list().setUnit(unit);
  // Where rubber bands look for the unit of their texts.
  const auto profile = quillbay::query<quillbay::IProfile>(m_window->app());
  const auto view = KxPtr<quillbay::IParam>::adopt(profile ? profile->GetSection(kViewSection, 1) : nullptr);
  if (view && unit) view->SetValue(kUnitKey, unit->GetName());
  showState();
}

// --- a tool that runs

void ToolCommands::trigger(const Tool& tool, bool on) {
  m_entry->clear();
  if (!on) return m_running->stop();
  if (tool.measures() && !std::exchange(m_showedDock, true)) m_dock->show();
  if (!m_running->start(tool)) say(tr("The view cannot be drawn on now."));
}

void ToolCommands::showState() {
  const bool drawing = isDrawing();
  for (const Command& command : m_commands) {
    const Tool& now = m_running->tool();
    command.action->setChecked(drawing && command.tool.work == now.work && command.tool.shape == now.shape);
  }
  for (QMenu* menu : m_menus) {
    const QList<QAction*> tools = menu->actions();
    menu->menuAction()->setChecked(
        std::any_of(tools.begin(), tools.end(), [](const QAction* tool) { return tool->isChecked(); }));
  }
  if (drawing) m_entry->showTexts(m_running->text(0), m_running->text(1));
  if (std::exchange(m_wasDrawing, drawing) == drawing) return;
  m_endKey->setEnabled(drawing);
  if (!drawing && m_entry->isAncestorOf(m_window->focusWidget())) m_window->view().surface()->setFocus();
  m_entry->clear();
  m_entry->setVisible(drawing);
  emit stateChanged();
}

/// A typed place.
void ToolCommands::take(const QString& text) {
  const TypedPoint typed = readTypedPoint(text, m_running->basis(), m_window->statusLine().unit().get());
  if (!typed.at) return m_entry->showError(typed.why);
  m_entry->clear();
  m_window->view().surface()->setFocus();
  m_running->fix(*typed.at);
}

void ToolCommands::leaveField(int key, Qt::KeyboardModifiers held) {
  if (key != Qt::Key_Escape) m_window->view().surface()->setFocus();
  m_running->key(key, held);
}

void ToolCommands::say(const QString& text) { m_window->statusBar()->showMessage(text); }

}  // namespace desktop
