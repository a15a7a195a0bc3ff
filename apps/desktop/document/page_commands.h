#pragma once
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "document/document.h"
#include "quillbay/host.h"

class QAction;
class QKeySequence;
class QMenu;

namespace desktop {

class ProgramSettings;

/// The menu "Page": what changes the chosen pages, through the host's script processor, with a window that shows
/// how far it is and can cancel. What goes wrong is told by the host.
class PageCommands : public QObject {
  Q_OBJECT
 public:
  /// All of it outlives this, but `app`, which is used by commands alone. `window` is the one that windows belong
  /// to.
  PageCommands(quillbay::IHostApp* app, Document* document, ProgramSettings* settings, QWidget* window);

  void fill(QMenu* menu);
  /// Runs a script over the chosen pages; `title` is its name for a user. False when it did not finish.
  bool run(const QString& title, const QString& script);
  /// Runs the script of a file over the current page.
  bool runFile(const QString& file);
  [[nodiscard]] bool isRunning() const { return m_running; }
  /// Enables what can be done; nothing while `scanning`.
  void update(bool scanning);
  /// What a scan does with the pages that are there, as the settings say.
  void applyClearPolicy();

  /// The commands that change a page.
  [[nodiscard]] const QList<QAction*>& actions() const { return m_needsPage; }

  /// The pages that commands are about; without it, or when there are none, the current one.
  std::function<std::vector<int>()> selectedPages;
  /// Asks for a script file; empty: given up. Replaced by tests.
  std::function<QString()> chooseScript;
  /// Asks whether to do what a question warns of; `yes` is the text of the button that agrees.
  std::function<bool(const QString& question, const QString& yes)> agree;

 signals:
  /// A command begins or has ended.
  void runningChanged();
  /// What a command that has ended reports of the pages, in one line.
  void reported(const QString& text);
  /// A command did not find on some pages what it looks for.
  void missed(const QString& text);

 private:
  struct Notes {
    QStringList all, misses;
    bool namesPages = false;
  };
  QAction* add(QMenu* menu, const QString& text, const QKeySequence& key, const QString& tip,
               const std::function<void()>& run);
  void addScript(QMenu* menu, const QString& text, const QKeySequence& key, const QString& tip, const char* script);
  void fillPolicies(QMenu* menu);
  void addProgramChoice(QMenu* menu);
  void allowPrograms(QAction* action);
  bool execute(const QString& title, const char* key, const QString& value);
  bool executeOnce(quillbay::IScriptCmdSink& sink, const QString& title, const char* key, const QString& value,
                   Notes* notes);

  quillbay::IHostApp* m_app;
  Document* m_document;
  ProgramSettings* m_settings;
  QWidget* m_window;
  QList<QAction*> m_needsPage;
  bool m_running = false, m_scanning = false;
};

}  // namespace desktop
