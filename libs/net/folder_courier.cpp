#include "net/folder_courier.h"

#include <algorithm>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "net/folder_probe.h"
#include "net/hand_off.h"
#include "platform/base_services.h"
#include "platform/page_spool.h"

namespace quillbay {

namespace {
/// How long its end waits for a folder that is being written to.
constexpr std::chrono::milliseconds kStopLimit{1000};
}  // namespace

struct FolderCourier::Shared {
  std::shared_ptr<Spool> spool;
  std::string hotFolder;
  CourierPauses pauses;
  std::atomic<bool> stop{false};

  mutable std::mutex mutex;  // guards the rest
  std::condition_variable woken, ended;
  bool isWoken = false, hasEnded = false;
  CourierState state;
  Told told;

  void setState(CourierState next) {
    std::function<void()> changed;
    {
      const std::lock_guard lock(mutex);
      if (state.sending == next.sending && state.why == next.why) return;
      state = std::move(next);
      changed = told.changed;
    }
    if (changed) changed();
  }

  void pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex);
    woken.wait_for(lock, time, [this] { return isWoken || stop; });
    isWoken = false;
  }

  /// The first page of the folder that can be handed off.
  std::optional<SpoolEntry> next() const {
    for (SpoolEntry& entry : spool->list()) {
      const bool isNext =
          entry.damaged.empty() && entry.record.stuck.empty() && entry.record.handOff.hotFolder == hotFolder;
      if (isNext) return std::move(entry);
    }
    return std::nullopt;
  }

  /// Looks at the folder, with a time limit. One that did not answer is not asked again before it has: each look
  /// would leave a thread behind.
  struct Look {
    std::atomic<bool> isDone{false};
    HotFolderState found;
  };
  std::shared_ptr<Look> looking;  // of the courier's thread; null: none goes on
  [[nodiscard]] bool look(const std::string& mountPoint, HotFolderState* found);

  /// Tries one page. Returns how long to wait before the next try, and whether that was a failure of the folder's.
  struct Turn {
    enum Kind { Empty, Busy, Done, Failed } kind;
  };
  Turn turn();
  void finish(SpoolEntry entry, const HandOffEnd& end);
};

bool FolderCourier::Shared::look(const std::string& mountPoint, HotFolderState* found) {
  if (looking && !looking->isDone) return false;
  looking = std::make_shared<Look>();
  const bool answered = runWithin(kProbeLimitMs, [folder = hotFolder, mountPoint, look = looking] {
    look->found = probeHotFolder(folder, mountPoint);
    look->isDone = true;
  });
  if (!answered && looking.use_count() == 1) looking.reset();  // no thread could be started
  if (!answered) return false;
  *found = looking->found;
  looking.reset();
  return true;
}

FolderCourier::Shared::Turn FolderCourier::Shared::turn() {
  const auto waiting = next();
  if (!waiting) {
    setState({});
    return {Turn::Empty};
  }
  // Before the lock: a folder that does not answer must not keep users from moving its pages.
  HotFolderState folder;
  if (!look(waiting->record.handOff.mountPoint, &folder)) {
    setState({{}, Supp_Translate("it does not answer"), true});
    return {Turn::Failed};
  }
  if (folder.fate != HotFolderState::Ready) {
    setState({{}, folder.why, false});
    return {Turn::Failed};
  }
  const SpoolLock lock = spool->tryLock(hotFolder);
  if (!lock) return {Turn::Busy};
  const auto entry = next();  // others may have been faster
  if (!entry) return {Turn::Done};
  setState({entry->id, {}, false});
  const HandOffEnd end = handOffPage(*spool, *entry, stop);
  finish(*entry, end);
  return {end.how == HandOffEnd::Later ? Turn::Failed : Turn::Done};
}

void FolderCourier::Shared::finish(SpoolEntry entry, const HandOffEnd& end) {
  switch (end.how) {
    case HandOffEnd::Handed: {
      logLine(LogLevel::Info, kNetLog, end.file + " was handed off");
      std::function<void(const std::string&, const std::string&)> handed;
      {
        const std::lock_guard guard(mutex);
        handed = told.handed;
      }
      if (handed) handed(entry.id, end.file);
      return setState({});
    }
    case HandOffEnd::Stuck: {
      logLine(LogLevel::Error, kNetLog, entry.page() + " cannot be handed off: " + end.why);
      // The stage it has reached, as the disk knows it.
      if (auto found = spool->find(entry.id)) entry = std::move(*found);
      entry.record.stuck = end.why;
      spool->update(entry);
      return setState({});
    }
    case HandOffEnd::Later:
      logLine(LogLevel::Info, kNetLog, entry.record.handOff.file + " waits: " + end.why);
      return setState({{}, end.why, false});
    case HandOffEnd::Stopped: return setState({});
  }
}

FolderCourier::FolderCourier(std::shared_ptr<Spool> spool, std::string hotFolder, CourierPauses pauses, Told told)
    : m_shared(std::make_shared<Shared>()) {
  m_shared->spool = std::move(spool);
  m_shared->hotFolder = std::move(hotFolder);
  m_shared->pauses = pauses;
  m_shared->told = std::move(told);
  try {
    std::thread(work, m_shared).detach();
  } catch (const std::system_error& e) {
    m_shared->hasEnded = true;
    m_shared->state.why = Supp_Translate("the system has no thread left; close other programs");
    logLine(LogLevel::Error, kNetLog, std::string("no thread could be started: ") + e.what());
  }
}

void FolderCourier::stop() {
  const std::lock_guard lock(m_shared->mutex);
  m_shared->stop = true;
  m_shared->told = {};
  m_shared->woken.notify_all();
}

FolderCourier::~FolderCourier() {
  stop();
  std::unique_lock lock(m_shared->mutex);
  m_shared->ended.wait_for(lock, kStopLimit, [this] { return m_shared->hasEnded; });
}

void FolderCourier::wake() {
  const std::lock_guard lock(m_shared->mutex);
  m_shared->isWoken = true;
  m_shared->woken.notify_all();
}

CourierState FolderCourier::state() const {
  const std::lock_guard lock(m_shared->mutex);
  return m_shared->state;
}

void FolderCourier::work(const std::shared_ptr<Shared>& shared) {
  const CourierPauses& pauses = shared->pauses;
  auto next = pauses.first;
  while (!shared->stop) {
    Shared::Turn turn{Shared::Turn::Failed};
    try {
      turn = shared->turn();
    } catch (const std::exception& e) {
      logLine(LogLevel::Error, kNetLog, e.what());
      shared->setState({{}, e.what(), false});
    }
    switch (turn.kind) {
      case Shared::Turn::Empty: shared->pause(pauses.idle); break;
      case Shared::Turn::Busy: shared->pause(pauses.others); break;
      case Shared::Turn::Done: next = pauses.first; break;
      case Shared::Turn::Failed:
        shared->pause(next);
        next = std::min(next * 2, pauses.longest);
        break;
    }
  }
  const std::lock_guard lock(shared->mutex);
  shared->hasEnded = true;
  shared->ended.notify_all();
}

}  // namespace quillbay
