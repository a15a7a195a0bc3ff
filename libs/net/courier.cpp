#include "net/courier.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <utility>

#include "platform/base_services.h"

namespace quillbay {

namespace {
constexpr std::size_t kRemembered = 256;
constexpr std::chrono::milliseconds kLookAgain{200};
}  // namespace

struct NetCouriers::Listeners {
  std::mutex mutex;  // guards the rest; held while a listener is called, so that none is called after it left
  std::condition_variable changed;
  std::map<int, std::function<void()>> list;
  int last = 0;
  std::deque<std::pair<std::string, std::string>> handed;  // ids and names of the last pages

  void tell() {
    const std::lock_guard lock(mutex);
    changed.notify_all();
    for (const auto& [number, call] : list) call();
  }
  void note(const std::string& id, const std::string& file) {
    const std::lock_guard lock(mutex);
    handed.emplace_back(id, file);
    if (handed.size() > kRemembered) handed.pop_front();
  }
};

NetCouriers::NetCouriers(const std::string& folder, CourierPauses pauses)
    : m_spool(std::make_shared<Spool>(folder)), m_pauses(pauses), m_listeners(std::make_shared<Listeners>()) {
  try {
    m_spool->adoptOrphans();
  } catch (const CXException& e) {
    logLine(LogLevel::Error, kNetLog, e.what());
  }
  dispatch();
}

NetCouriers::~NetCouriers() {
  for (const auto& [folder, courier] : m_couriers) courier->stop();  // all at once; each is waited for afterwards
}

void NetCouriers::dispatch() {
  const std::vector<SpoolEntry> entries = m_spool->list();
  const std::lock_guard lock(m_mutex);
  for (const SpoolEntry& entry : entries) {
    if (!entry.damaged.empty()) continue;
    const std::string& folder = entry.record.handOff.hotFolder;
    std::unique_ptr<FolderCourier>& courier = m_couriers[folder];
    if (courier) continue;
    FolderCourier::Told told;
    told.changed = [listeners = m_listeners] { listeners->tell(); };
    told.handed = [listeners = m_listeners](const std::string& id, const std::string& file) {
      listeners->note(id, file);
    };
    courier = std::make_unique<FolderCourier>(m_spool, folder, m_pauses, std::move(told));
  }
  for (const auto& [folder, courier] : m_couriers) courier->wake();
}

CourierState NetCouriers::stateOf(const std::string& hotFolder) const {
  const std::lock_guard lock(m_mutex);
  const auto courier = m_couriers.find(hotFolder);
  return courier == m_couriers.end() ? CourierState{} : courier->second->state();
}

void NetCouriers::tell() const { m_listeners->tell(); }

int NetCouriers::advise(std::function<void()> changed) {
  const std::lock_guard lock(m_listeners->mutex);
  m_listeners->list[++m_listeners->last] = std::move(changed);
  return m_listeners->last;
}

void NetCouriers::unadvise(int number) {
  const std::lock_guard lock(m_listeners->mutex);
  m_listeners->list.erase(number);
}

void NetCouriers::wait(int limitMs, const std::function<bool()>& done) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
  while (!done()) {
    std::unique_lock lock(m_listeners->mutex);
    const auto left = end - std::chrono::steady_clock::now();
    if (left.count() <= 0) return;
    // Other programs hand off pages as well, without a word to this one.
    m_listeners->changed.wait_for(lock, std::min<std::chrono::steady_clock::duration>(left, kLookAgain));
  }
}

std::string NetCouriers::handedName(const std::string& id) const {
  const std::lock_guard lock(m_listeners->mutex);
  const auto& handed = m_listeners->handed;
  const auto page =
      std::find_if(handed.begin(), handed.end(), [&](const auto& known) { return known.first == id; });
  return page == handed.end() ? std::string() : page->second;
}

}  // namespace quillbay
