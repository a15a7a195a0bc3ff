#pragma once
#include <QObject>
#include <string>

#include "quillbay/scanner.h"

class QAction;
class QMenu;

namespace desktop {

class MainWindow;

/// The program's commands about the scanner: choosing one, where its documents come from, its own settings, and how
/// files are made; and what of that is kept for the next start.
class ScannerCommands : public QObject {
  Q_OBJECT
 public:
  explicit ScannerCommands(MainWindow* window);

  void fill(QMenu* menu);
  void updateActions(bool busy);
  /// The remembered scanner is on the network, where opening it may take long: it is looked for first, without the
  /// window. False: it can be opened at once, or there is none.
  bool looksFirst();
  /// Before a panel closes: what the next one goes on from.
  void keepForNext();
  /// Before a panel opens: the scanner gets its kept settings.
  void prepare();
  /// A panel was opened, or could not be.
  void panelTried(bool opened);

  void choose();
  /// Opens a scanner by its device string, and remembers it.
  void use(const std::string& device);
  void useSimulated();

 private:
  [[nodiscard]] bool mayChange();
  void fillSources(QMenu* menu);
  void chooseSource(quillbay::UnitSource source);
  void changeSource(quillbay::IScan* scanner, quillbay::UnitSource source);
  void chooseFiles();
  void chooseDevice();
  /// What the scanner is set to, in place of what was kept, and beside it.
  void keepDevice(quillbay::IScan* scanner);
  void keepOptions(quillbay::IScan* scanner);

  MainWindow* m_window;
  quillbay::KxPtr<quillbay::IScanManager> m_manager;
  QAction *m_choose = nullptr, *m_sources = nullptr, *m_files = nullptr, *m_device = nullptr;
};

}  // namespace desktop
