#pragma once
#include <QDialog>
#include <memory>
#include <vector>

#include "quillbay/scanner.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QThread;

namespace desktop {

/// Lets the person choose a scanner from the list of devices, or type the device's name: the simulated scanner
/// takes its set-up that way ("sim:width=600,size=420x297"). The list is made on a thread of its own.
class ScannerDialog : public QDialog {
  Q_OBJECT
 public:
  /// `manager` must outlive it and is asked for nothing else while the dialog is open.
  ScannerDialog(quillbay::IScanManager* manager, QWidget* parent);
  ~ScannerDialog() override;
  [[nodiscard]] std::string device() const;

 private:
  void refresh();
  void listed();
  void choose(int row);

  struct Listing {
    std::vector<quillbay::ScannerEntry> entries;
    std::string why;
    bool complete = false;
  };
  quillbay::IScanManager* m_manager;
  QListWidget* m_list;
  QLineEdit* m_device;
  QLabel* m_state;
  QPushButton *m_refresh, *m_ok;
  std::shared_ptr<Listing> m_listing;
  std::unique_ptr<QThread> m_thread;
};

}  // namespace desktop
