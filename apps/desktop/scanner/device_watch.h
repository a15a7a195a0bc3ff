#pragma once
#include <QObject>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

#include "quillbay/scanner.h"

namespace desktop {

/// Waits for a scanner that could not be opened: looks for it at once and then every few seconds, ever more seldom,
/// on a thread of its own in a process of its own, and opens it when it is there. User-interface thread.
class DeviceWatch : public QObject {
  Q_OBJECT
 public:
  explicit DeviceWatch(quillbay::IScanManager* manager, QObject* parent = nullptr);
  /// Gives up a running look.
  ~DeviceWatch() override;

  /// Begins to wait for the current scanner. False when there is none that can come back. One that came back but
  /// was of no use is looked for no oftener than before.
  bool start();
  void stop();
  /// The device string of the scanner that it waits for.
  [[nodiscard]] QString device() const { return QString::fromStdString(m_lost.device); }
  /// What it waits for, as a user knows it: vendor and model, else the device string.
  [[nodiscard]] QString name() const;
  /// How long it waits between the first looks and at most.
  void setDelays(std::chrono::milliseconds first, std::chrono::milliseconds most);
  /// Asked before the scanner is opened: false puts it off (a window asks something).
  std::function<bool()> mayOpen;

 signals:
  /// The scanner is open as the manager's current one.
  void cameBack(const QString& was, const QString& device);
  /// Why it cannot be looked for or opened; once as long as it stays the same.
  void noted(const QString& text);

 private:
  struct Look {
    std::atomic<bool> stopped{false};
    bool found = false;
    quillbay::ScannerEntry entry;
    std::string why;
  };
  void look();
  void looked(const std::shared_ptr<Look>& look);
  void again();
  void endThread();

  quillbay::KxPtr<quillbay::IScannerWatch> m_scanners;
  quillbay::ScannerEntry m_lost;
  QString m_said;       // of `noted`
  std::string m_found;  // what the last one that came back is opened by
  std::chrono::milliseconds m_first{3000}, m_most{30000}, m_delay{0};
  bool m_watching = false;
  QTimer m_timer;
  std::shared_ptr<Look> m_look;
  std::unique_ptr<QThread> m_thread;
};

}  // namespace desktop
