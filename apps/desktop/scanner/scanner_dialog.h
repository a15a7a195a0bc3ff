#pragma once
#include <QDialog>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "quillbay/scanner.h"

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QThread;

namespace desktop {

class SimSetup;

/// Lets the person choose a scanner from the list of devices, or type the device's name. The simulated scanner's
/// name holds its set-up ("sim:width=600,size=420x297"); a form shows it and follows it. The list is made on a
/// thread of its own, which is given up when the dialog goes.
class ScannerDialog : public QDialog {
  Q_OBJECT
 public:
  /// `manager` must outlive it and is asked for nothing else while the dialog is open. `help` opens the manual at a
  /// topic.
  ScannerDialog(quillbay::IScanManager* manager, std::function<void(const std::string& topic)> help,
                QWidget* parent);
  ~ScannerDialog() override;
  /// What opens the scanner.
  [[nodiscard]] std::string device() const;
  void setDevice(const QString& device);
  [[nodiscard]] bool isSearching() const { return m_thread != nullptr; }
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

  /// What the thread fills; it may go on for a moment after the dialog is gone.
  struct Listing {
    std::vector<quillbay::ScannerEntry> entries;
    std::string why;
    bool complete = false;
    std::atomic<bool> stopped = false;
  };
  quillbay::IScanManager* m_manager;
  const std::function<void(const std::string&)> m_help;
  QListWidget* m_list;
  QLineEdit* m_device;
  QLabel *m_state, *m_reason, *m_reasonIcon;
  SimSetup* m_setup;
  QPushButton *m_search, *m_ok = nullptr;
  std::shared_ptr<Listing> m_listing = std::make_shared<Listing>();
  std::unique_ptr<QThread> m_thread;
};

}  // namespace desktop
