#pragma once
#include <QObject>
#include <functional>
#include <string>

#include "quillbay/scan_server.h"

class QMenu;

namespace desktop {

class MainWindow;

/// The program's side of scan servers: hands off the pages that wait as long as the program runs, tells of them,
/// and opens the dialog that sets up the server.
class NetCommands : public QObject {
  Q_OBJECT
 public:
  /// `help` opens the manual at a topic; `changed` is called when the server was set up.
  NetCommands(MainWindow* window, std::function<void(const std::string& topic)> help,
              std::function<void()> changed);
  ~NetCommands() override;
  void fill(QMenu* menu);
  /// Whether there are clients; otherwise says so, and offers to set some up.
  [[nodiscard]] bool ensureClients();
  /// Lets the user set up the server. True when it was changed.
  bool setUp();

 private:
  void queueChanged();

  MainWindow* m_window;
  const std::function<void(const std::string&)> m_help;
  const std::function<void()> m_changed;
  const quillbay::KxPtr<quillbay::INetQueue> m_queue;
  int m_advice = 0;
  std::size_t m_waiting = 0;
  std::string m_why;  // what the first page waits for
};

}  // namespace desktop
