#include "device_watch.h"

#include <algorithm>

namespace desktop {

DeviceWatch::DeviceWatch(quillbay::IScanManager* manager, QObject* parent)
    : QObject(parent), m_scanners(quillbay::query<quillbay::IScannerWatch>(manager)) {
  m_timer.setSingleShot(true);
  connect(&m_timer, &QTimer::timeout, this, &DeviceWatch::look);
}

DeviceWatch::~DeviceWatch() { endThread(); }

void DeviceWatch::setDelays(std::chrono::milliseconds first, std::chrono::milliseconds most) {
  m_first = first;
  m_most = most;
}

bool DeviceWatch::start() {
  if (m_watching) stop();
  m_watching = m_scanners && m_scanners->GetWanted(&m_lost);
  if (!m_watching) return false;
  m_delay = m_first;
  m_timer.start(m_delay);
  return true;
}

void DeviceWatch::stop() {
  m_watching = false;
  m_timer.stop();
  if (m_look) m_look->stopped = true;
}

void DeviceWatch::endThread() {
  stop();
  if (m_thread) m_thread->wait();
}

void DeviceWatch::look() {
  if (m_thread) m_thread->wait();  // of a look that was stopped: it ends at once
  m_look = std::make_shared<Look>();
  m_thread.reset(QThread::create([scanners = m_scanners, lost = m_lost, look = m_look] {
    look->found = scanners->Find(lost, &look->entry, &look->why, [look] { return look->stopped.load(); }) != 0;
  }));
  connect(m_thread.get(), &QThread::finished, this, [this, look = m_look] { looked(look); });
  m_thread->start();
}

void DeviceWatch::looked(const std::shared_ptr<Look>& look) {
  if (!m_watching || look->stopped || look != m_look) return;
  if (!look->found || (mayOpen && !mayOpen())) return again();
  std::string why;
  if (!m_scanners->Reopen(look->entry, &why)) return again();  // it is busy, or refuses
  const QString was = device();
  stop();
  emit cameBack(was, QString::fromStdString(look->entry.device));
}

void DeviceWatch::again() {
  m_delay = std::min(m_delay * 3 / 2, m_most);
  m_timer.start(m_delay);
}

}  // namespace desktop
