#include "scanner/device_search.h"

namespace desktop {

using quillbay::query;

DeviceSearch::DeviceSearch(quillbay::IScanManager* manager, QObject* parent)
    : QObject(parent), m_manager(manager) {}

DeviceSearch::~DeviceSearch() { stop(); }

void DeviceSearch::stop() {
  m_isRunning = false;
  if (m_listing) m_listing->stopped = true;
  if (m_thread) m_thread->wait();  // it asks some times a second whether it was stopped
  m_thread.reset();
}

void DeviceSearch::start() {
  stop();
  m_entries.clear();
  m_trouble.clear();
  m_isRunning = true;
  m_listing = std::make_shared<Listing>();
  m_thread.reset(QThread::create([manager = m_manager, listing = m_listing] {
    const auto watch = query<quillbay::IScannerWatch>(manager);
    const auto stopped = [&] { return listing->stopped.load(); };
    listing->isComplete = watch ? watch->ListUntil(&listing->entries, &listing->why, stopped) != 0
                                : manager->List(&listing->entries, &listing->why) != 0;
  }));
  connect(m_thread.get(), &QThread::finished, this, [this, listing = m_listing] { listed(listing); });
  m_thread->start();
}

void DeviceSearch::listed(const std::shared_ptr<Listing>& listing) {
  if (!m_isRunning || listing != m_listing) return;
  m_thread->wait();
  m_isRunning = false;
  m_entries = listing->entries;
  if (!listing->isComplete) m_trouble = QString::fromStdString(listing->why);
  emit finished();
}

QString scannerTitle(const quillbay::ScannerEntry& entry) {
  const QString name = QString::fromStdString(entry.vendor + " " + entry.model).trimmed();
  const QString device = QString::fromStdString(entry.device);
  return name.isEmpty() ? device : name + "  (" + device + ")";
}

}  // namespace desktop
