#pragma once
#include <QObject>
#include <memory>
#include <string>

#include "recovery/leftovers.h"
#include "recovery/session_journal.h"
#include "recovery/sleep_inhibitor.h"
#include "scanner/device_watch.h"

class QAction;
class QMenu;

namespace desktop {

class MainWindow;

/// What keeps a user's work safe beside the window: the journal of unsaved pages and files, what the last run has
/// left, the computer that stays awake during a scan, and the scanner that comes back.
class SessionGuard : public QObject {
  Q_OBJECT
 public:
  /// `stateFolder` is the host's; empty: $XDG_STATE_HOME/quillbay.
  SessionGuard(MainWindow* window, const std::string& stateFolder);
  ~SessionGuard() override;

  /// The switch for the copies.
  void addCommands(QMenu* menu);
  /// The command that offers again what was left for later.
  void addRecovery(QMenu* menu);
  /// Offers what programs that crashed have left. False when they have left nothing.
  bool offerLeftovers();
  /// The panel was opened, or could not be: then its scanner is waited for.
  void panelTried(bool opened);
  /// The user closes the program.
  void close();

  [[nodiscard]] SessionJournal& journal() { return m_journal; }
  [[nodiscard]] DeviceWatch& watch() { return *m_watch; }

 private:
  void followScans();
  /// False when nothing is left for another time.
  bool offer(Leftovers& leftovers);
  void open(Leftovers& leftovers, const std::vector<std::size_t>& chosen);
  bool openPage(const Leftover& page, QString* why);
  void cameBack(const QString& was, const QString& device);
  void tell(const QStringList& troubles);

  MainWindow* m_window;
  SessionJournal m_journal;
  SleepInhibitor m_inhibitor;
  std::unique_ptr<DeviceWatch> m_watch;
  QAction* m_recover = nullptr;  // the menu's
};

}  // namespace desktop
