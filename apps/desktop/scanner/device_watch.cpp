#include "scanner/device_watch.h"

#include <algorithm>
#include <utility>

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

QString DeviceWatch::name() const {
  const QString name = QString::fromStdString(m_lost.vendor + " " + m_lost.model).trimmed();
  return name.isEmpty() ? device() : name;
}

bool DeviceWatch::start() {
  const std::string before = std::exchange(m_lost, {}).device;
  if (m_watching) stop();
  m_watching = m_scanners && m_scanners->GetWanted(&m_lost);
  if (!m_watching) return false;
  const bool isUseless = m_delay.count() > 0 && (before == m_lost.device || m_found == m_lost.device);
  if (!isUseless) m_delay = std::chrono::milliseconds(0);
  again();
  return true;
}

void DeviceWatch::stop() {
  m_watching = false;
  m_delay = std::chrono::milliseconds(0);
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
  if (look->found && mayOpen && !mayOpen()) return again();
  std::string why = look->why;
  if (!look->found || !m_scanners->Reopen(look->entry, &why)) {  // not there, busy, or it refuses
    const QString said = QString::fromStdString(why);
    if (std::exchange(m_said, said) != said && !said.isEmpty()) emit noted(said);
    return again();
  }
  // Whoever cannot use it starts again and finds the delay as it was.
  m_watching = false;
  m_found = look->entry.device;
  emit cameBack(device(), QString::fromStdString(m_found));
}

void DeviceWatch::again() {
  m_timer.start(m_delay);
  m_delay = m_delay.count() == 0 ? m_first : std::min(m_delay * 3 / 2, m_most);
}

}  // namespace desktop
