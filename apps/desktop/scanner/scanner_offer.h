#pragma once
#include <QWidget>

#include "scanner/device_search.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace desktop {

/// What stands in the panel's place while no scanner is known: it searches by itself and offers what it finds. The
/// simulated scanner is a button of its own and never the default.
class ScannerOffer : public QWidget {
  Q_OBJECT
 public:
  /// Starts to search. `manager` must outlive it.
  explicit ScannerOffer(quillbay::IScanManager* manager, QWidget* parent = nullptr);
  [[nodiscard]] bool isSearching() const { return m_search.isRunning(); }
  /// Gives up what was found, and searches.
  void search();
  /// Gives up a search; `search` starts another one.
  void pause() { m_search.stop(); }

 signals:
  void chosen(const QString& device);
  /// The user wants the list with the field for a device's name.
  void otherAsked();
  void simulatedAsked();

 private:
  void showFound();
  void useChosen();

  DeviceSearch m_search;
  QStringList m_devices;  // of the list's rows: real ones only
  QLabel* m_state;
  QListWidget* m_list;
  QPushButton *m_use, *m_again, *m_other, *m_simulated;
};

}  // namespace desktop
