#pragma once
#include <QDialog>
#include <functional>

#include "scanner/device_search.h"

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace desktop {

class SimSetup;

/// Lets the user choose a scanner from the list of devices, or type the device's name. The simulated scanner's
/// name holds its set-up ("sim:width=600,size=420x297"); a form shows it and follows it.
class ScannerDialog : public QDialog {
  Q_OBJECT
 public:
  /// `manager` must outlive it and is asked for nothing else while the dialog is open. `help` opens the manual at a
  /// topic.
  ScannerDialog(quillbay::IScanManager* manager, std::function<void(const std::string& topic)> help,
                QWidget* parent);
  /// What opens the scanner.
  [[nodiscard]] std::string device() const;
  void setDevice(const QString& device);
  [[nodiscard]] bool isSearching() const { return m_search.isRunning(); }
  [[nodiscard]] SimSetup& setup() { return *m_setup; }

 private:
  void makeList();
  void makeDevice();
  QDialogButtonBox* makeButtons();
  void search();
  void listed();
  void choose(int row);
  void mark();
  void deviceChanged();
  void showSetup(bool shown);

  quillbay::IScanManager* m_manager;
  DeviceSearch m_search;
  const std::function<void(const std::string&)> m_help;
  QListWidget* m_list;
  QLineEdit* m_device;
  QLabel *m_state, *m_reason, *m_reasonIcon;
  SimSetup* m_setup;
  QPushButton *m_searchAgain, *m_ok = nullptr;
};

}  // namespace desktop
