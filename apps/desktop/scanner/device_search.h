#pragma once
#include <QObject>
#include <QThread>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "quillbay/scanner.h"

namespace desktop {

/// Lists the scanners in the helper process, on a thread of its own: the window stays alive meanwhile.
/// User-interface thread.
class DeviceSearch : public QObject {
  Q_OBJECT
 public:
  /// `manager` must outlive it.
  explicit DeviceSearch(quillbay::IScanManager* manager, QObject* parent = nullptr);
  /// Gives up a running search.
  ~DeviceSearch() override;

  /// Starts a search; a running one is given up.
  void start();
  void stop();
  [[nodiscard]] bool isRunning() const { return m_isRunning; }
  /// What the last search found; empty while one runs.
  [[nodiscard]] const std::vector<quillbay::ScannerEntry>& entries() const { return m_entries; }
  /// Why the list may lack some; empty when it is complete.
  [[nodiscard]] QString trouble() const { return m_trouble; }

 signals:
  void finished();

 private:
  /// What the thread fills; a search that was given up may go on for a moment.
  struct Listing {
    std::vector<quillbay::ScannerEntry> entries;
    std::string why;
    bool isComplete = false;
    std::atomic<bool> stopped = false;
  };
  void listed(const std::shared_ptr<Listing>& listing);

  quillbay::IScanManager* m_manager;
  std::vector<quillbay::ScannerEntry> m_entries;
  QString m_trouble;
  bool m_isRunning = false;
  std::shared_ptr<Listing> m_listing;
  std::unique_ptr<QThread> m_thread;
};

/// What a list shows of a scanner: vendor and model with the device string, or that alone.
[[nodiscard]] QString scannerTitle(const quillbay::ScannerEntry& entry);

}  // namespace desktop
