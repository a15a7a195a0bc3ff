#include "net/net_queue.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

#include "core/folders.h"
#include "net/folder_probe.h"
#include "net/hand_off.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

/// A page's name in another hot folder.
std::string nameIn(const std::string& folder, const HandOff& handOff) {
  const bool isBelow = handOff.file.starts_with(handOff.hotFolder);
  return folder + (isBelow ? handOff.file.substr(handOff.hotFolder.size()) : fio::fileNameOf(handOff.file));
}

const std::string& imageNameOf(const SpoolRecord& record) {
  return record.as.empty() ? record.handOff.file : record.as;
}

bool isStuck(const SpoolEntry& entry) { return !entry.damaged.empty() || !entry.record.stuck.empty(); }

}  // namespace

std::vector<NetPage> CNetQueue::GetPages() {
  std::vector<NetPage> pages;
  const std::vector<SpoolEntry> entries = spool().list();
  pages.reserve(entries.size());
  for (const SpoolEntry& entry : entries) {
    const HandOff& to = entry.record.handOff;
    const CourierState courier = m_couriers->stateOf(to.hotFolder);
    NetPage page{entry.id, imageNameOf(entry.record), to.hotFolder, to.client, {}, NetPage::Waiting, courier.why};
    page.kept = entry.record.image.empty() ? entry.folder : entry.page();
    if (courier.sending == entry.id) page.state = NetPage::Sending;
    if (isStuck(entry)) {
      page.state = NetPage::Stuck;
      page.why = entry.damaged.empty() ? entry.record.stuck : entry.damaged;
    }
    pages.push_back(std::move(page));
  }
  return pages;
}

/// Throws with the reason for the user.
void CNetQueue::withdraw(SpoolEntry& entry) {
  if (entry.record.stage == SpoolRecord::Queued || !entry.damaged.empty()) return;
  struct Answer {
    SpoolEntry entry;
    std::string why;
  };
  const auto answer = std::make_shared<Answer>(Answer{entry, {}});
  const bool answered = runWithin(kProbeLimitMs, [answer, kept = m_couriers->sharedSpool()] {
    try {
      if (!withdrawPage(*kept, answer->entry))
        answer->why = Supp_Translate("The page was handed off or removed already.");
    } catch (const CXException& e) {
      answer->why = e.what();
    }
  });
  if (!answered) throw CXException(Supp_Translate("The hot folder does not answer. Try again when it is back."));
  if (!answer->why.empty()) throw CXException(answer->why);
  entry = answer->entry;
}

void CNetQueue::changeLocked(const std::string& id, const std::function<void(SpoolEntry&)>& change) {
  const auto found = [&] {
    auto entry = spool().find(id);
    if (!entry) throw CXException(Supp_Translate("The page was handed off or removed already."));
    return std::move(*entry);
  };
  const SpoolLock lock = spool().tryLock(found().record.handOff.hotFolder);
  if (!lock) throw CXException(Supp_Translate("A page is being sent to this hot folder. Try again in a moment."));
  SpoolEntry entry = found();
  withdraw(entry);
  change(entry);
}

int CNetQueue::change(const std::string& id, std::string* why, const std::function<void(SpoolEntry&)>& change) {
  try {
    changeLocked(id, change);
  } catch (const CXException& e) {
    if (why) *why = e.what();
    return 0;
  }
  m_couriers->dispatch();
  m_couriers->tell();
  return 1;
}

int CNetQueue::Remove(const std::string& id, std::string* why) {
  return change(id, why, [this](SpoolEntry& entry) { spool().remove(entry); });
}

int CNetQueue::Reassign(const std::string& id, const NetClient& client, std::string* why) {
  return change(id, why, [&](SpoolEntry& entry) {
    if (!entry.damaged.empty()) throw CXException(entry.damaged);
    HandOff& to = entry.record.handOff;
    if (to.hotFolder != client.hotFolder) {
      to.file = nameIn(client.hotFolder, to);
      to.mayReplace = false;  // that was agreed to for the other folder
    }
    to.hotFolder = client.hotFolder;
    to.mountPoint = client.mountPoint;
    to.client = client.path;
    entry.record.as.clear();
    entry.record.stuck.clear();
    spool().update(entry);
  });
}

void CNetQueue::TryNow() {
  // What a user looked into is tried again, too.
  for (SpoolEntry& entry : spool().list()) {
    if (!entry.damaged.empty() || entry.record.stuck.empty()) continue;
    try {
      entry.record.stuck.clear();
      spool().update(entry);
    } catch (const CXException& e) {
      logLine(LogLevel::Error, kNetLog, e.what());
    }
  }
  m_couriers->dispatch();
}

int CNetQueue::Wait(int limitMs) {
  std::size_t left = 0;
  m_couriers->wait(limitMs, [&] {
    const std::vector<SpoolEntry> entries = spool().list();
    left = entries.size();
    return std::all_of(entries.begin(), entries.end(), isStuck);
  });
  return static_cast<int>(left);
}

void CNetQueue::enqueue(const std::string& id, const std::string& file, const HandOff& handOff) {
  spool().enqueue(id, file, handOff);
  m_couriers->dispatch();
  m_couriers->tell();
}

bool CNetQueue::holds(const std::string& file) {
  const std::string own = handOffName(file);
  const std::vector<SpoolEntry> entries = spool().list();
  return std::any_of(entries.begin(), entries.end(), [&](const SpoolEntry& entry) {
    return entry.damaged.empty() && handOffName(imageNameOf(entry.record)) == own;
  });
}

std::string CNetQueue::waitFor(const std::string& id, int limitMs) {
  const auto entry = spool().find(id);
  const std::string folder = entry ? entry->record.handOff.hotFolder : std::string();
  std::string name;
  m_couriers->wait(limitMs, [&] {
    name = m_couriers->handedName(id);
    return !name.empty() || !m_couriers->stateOf(folder).why.empty();
  });
  return name;
}

std::int64_t CNetQueue::freeBytes() {
  // The folder is made with the first page.
  std::string folder = spool().folder();
  while (!fio::isFolder(folder) && folder.size() > 1) folder.resize(std::max<std::size_t>(folder.rfind('/'), 1));
  return fio::freeSpace(folder);
}

KxPtr<INetQueue> OpenNetQueue() {
  static std::mutex s_mutex;  // guards the next
  static std::map<std::string, std::weak_ptr<NetCouriers>> s_couriers;
  const std::string folder = fio::withDelimiter(stateFolder()) + "hand-off";
  const std::lock_guard lock(s_mutex);
  auto couriers = s_couriers[folder].lock();
  if (!couriers) s_couriers[folder] = couriers = std::make_shared<NetCouriers>(folder);
  return KxPtr<INetQueue>::adopt(new CNetQueue(std::move(couriers)));
}

}  // namespace quillbay
