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

/// Waits for a scanner that could not be opened: looks for it every few seconds, ever more seldom, on a thread of
/// its own in a process of its own, and opens it when it is there. User-interface thread.
class DeviceWatch : public QObject {
  Q_OBJECT
 public:
  explicit DeviceWatch(quillbay::IScanManager* manager, QObject* parent = nullptr);
  /// Gives up a running look.
  ~DeviceWatch() override;

  /// Begins to wait for the current scanner. False when there is none that can come back.
  bool start();
  void stop();
  [[nodiscard]] bool isWatching() const { return m_watching; }
  /// The device string of the scanner that it waits for.
  [[nodiscard]] QString device() const { return QString::fromStdString(m_lost.device); }
  /// How long it waits before the first look and at most.
  void setDelays(std::chrono::milliseconds first, std::chrono::milliseconds most);
  /// Asked before the scanner is opened: false puts it off (a window asks something).
  std::function<bool()> mayOpen;

 signals:
  /// The scanner is open as the manager's current one.
  void cameBack(const QString& was, const QString& device);

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
  std::chrono::milliseconds m_first{3000}, m_most{30000}, m_delay{0};
  bool m_watching = false;
  QTimer m_timer;
  std::shared_ptr<Look> m_look;
  std::unique_ptr<QThread> m_thread;
};

}  // namespace desktop
