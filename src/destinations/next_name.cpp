#include "destinations/next_name.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "destinations/macro_list.h"
#include "platform/base_services.h"
#include "platform/log_category.h"
#include "platform/post_command.h"

namespace quillbay {

namespace {
/// How long closing waits for a folder that is being looked at.
constexpr std::chrono::milliseconds kCloseLimit{200};
}  // namespace

/// Outlives the finder as long as its thread looks at a folder.
struct NextNameFinder::Shared {
  std::mutex mutex;  // guards the rest
  std::condition_variable idle;
  QObject* dialog = nullptr;
  int command = 0;
  Rule rule;
  bool isWorking = false;
  std::optional<NameContext> wanted;
  std::optional<OutputName> found;
  int request = 0;  // counts what was asked or forgotten
};

NextNameFinder::NextNameFinder(QObject* dialog, int command, Rule rule) : m_shared(std::make_shared<Shared>()) {
  m_shared->dialog = dialog;
  m_shared->command = command;
  m_shared->rule = rule ? std::move(rule) : [](const NameContext& context) { return applyExistsRule(context); };
}

NextNameFinder::~NextNameFinder() {
  std::unique_lock lock(m_shared->mutex);
  m_shared->dialog = nullptr;
  m_shared->wanted.reset();
  m_shared->idle.wait_for(lock, kCloseLimit, [this] { return !m_shared->isWorking; });
}

void NextNameFinder::ask(NameContext context) {
  if (!context.macros) context.macros = MacroList::process(context.values);
  const std::lock_guard lock(m_shared->mutex);
  ++m_shared->request;
  m_shared->found.reset();
  m_shared->wanted = std::move(context);
  if (m_shared->isWorking) return;
  try {
    std::thread(work, m_shared).detach();
    m_shared->isWorking = true;
  } catch (const std::system_error& e) {
    logLine(LogLevel::Warning, kStoreLog, std::string("the next file's name is not shown: ") + e.what());
  }
}

void NextNameFinder::forget() {
  const std::lock_guard lock(m_shared->mutex);
  ++m_shared->request;
  m_shared->wanted.reset();
  m_shared->found.reset();
}

std::optional<OutputName> NextNameFinder::take() {
  const std::lock_guard lock(m_shared->mutex);
  return std::exchange(m_shared->found, std::nullopt);
}

void NextNameFinder::work(const std::shared_ptr<Shared>& shared) {
  std::unique_lock lock(shared->mutex);
  while (true) {
    const auto context = std::exchange(shared->wanted, std::nullopt);
    if (!context.has_value()) break;
    const int request = shared->request;
    lock.unlock();
    std::optional<OutputName> name;
    try {
      name = shared->rule(context.value());
    } catch (const std::exception& e) {
      logLine(LogLevel::Warning, kStoreLog, std::string("the next file's name is not known: ") + e.what());
    }
    lock.lock();
    if (!name || request != shared->request || !shared->dialog) continue;
    shared->found = std::move(name);
    PostCommand(shared->dialog, shared->command, 0, 0, true);
  }
  shared->isWorking = false;
  shared->idle.notify_all();
}

}  // namespace quillbay
