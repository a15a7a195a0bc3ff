#pragma once
#include <QObject>
#include <vector>

#include "quillbay/units.h"
#include "tools/page_tools.h"
#include "tools/running_tool.h"

class QAction;
class QMenu;
class QShortcut;
class QToolBar;

namespace desktop {

class FrameScan;
class MainWindow;
class MeasureDock;
class ToolEntry;

/// The menu "Tools" and its toolbar: what a person draws on the view to measure, and to change, copy, save and scan
/// parts of pages.
class ToolCommands : public QObject {
  Q_OBJECT
 public:
  /// `window` outlives this, and has its view, docks and status bar already.
  explicit ToolCommands(MainWindow* window);

  QMenu* makeMenu();
  void updateActions(bool busy);
  void setUnit(const quillbay::KxPtr<quillbay::ILinearUnit>& unit);
  /// A tool is being drawn with: Esc is for it.
  [[nodiscard]] bool isDrawing() const { return m_running->isRunning(); }
  /// What was drawn is being done to a page.
  [[nodiscard]] bool isWorking() const { return m_pages->isRunning(); }
  [[nodiscard]] QToolBar* bar() const { return m_bar; }
  [[nodiscard]] MeasureDock* dock() const { return m_dock; }
  [[nodiscard]] ToolEntry* entry() const { return m_entry; }
  [[nodiscard]] RunningTool* running() const { return m_running; }
  /// Of what a person does with tools now; empty when no tool runs and the list of measures is not used.
  [[nodiscard]] std::string helpTopic() const;
  /// The command of a tool; null when there is none.
  [[nodiscard]] QAction* action(ToolWork work, ToolShape shape) const;

 signals:
  /// Drawing or working begins or has ended.
  void stateChanged();

 private:
  struct Command {
    Tool tool;
    QAction* action;
  };
  QAction* makeCommand(QMenu* menu, const Tool& tool);
  void makeBar();
  void makeGrounds(QMenu* menu);
  void trigger(const Tool& tool, bool on);
  void showState();
  void take(const QString& text);
  void leaveField(int key, Qt::KeyboardModifiers held);
  void drawn(const DrawnShape& shape, const std::optional<DrawnPage>& page);
  void measure(const DrawnShape& shape, const std::optional<DrawnPage>& page);
  void change(const DrawnShape& shape, const DrawnPage& page);
  void copyFrame(const DrawnShape& shape, const DrawnPage& page);
  void saveFrame(const DrawnShape& shape, const DrawnPage& page);
  void scanAgain(const quillbay::CRRect& frame, const DrawnPage& page);
  [[nodiscard]] QString whyNotScanAgain(const Page* page) const;
  [[nodiscard]] QString whyNotChange() const;
  void say(const QString& text);

  MainWindow* m_window;
  RunningTool* m_running;
  PageTools* m_pages;
  FrameScan* m_frames;
  MeasureDock* m_dock;
  ToolEntry* m_entry;
  QToolBar* m_bar;
  QShortcut* m_endKey;
  std::vector<Command> m_commands;
  std::vector<QMenu*> m_menus;  // of several tools of one work
  PageTools::Ground m_ground;
  bool m_wasDrawing = false;
  bool m_showedDock = false;  // in this run of the program
};

}  // namespace desktop
