#include "platform/post_command.h"

#include <QCoreApplication>
#include <mutex>
#include <unordered_map>

#include "widgets/posted_commands.h"

namespace quillbay {

namespace {
/// Per dialog: how many commands of a number wait.
struct Doors {
  std::mutex mutex;
  std::unordered_map<QObject*, std::unordered_map<int, int>> waiting;
};

Doors& doors() {
  // Never destroyed: a scanner's thread may still post while the process ends.
  static auto* s_doors = std::make_unique<Doors>().release();
  return *s_doors;
}
}  // namespace

PostedCommand::PostedCommand(int id_, int code_, std::int64_t value_)
    : QEvent(eventType()), id(id_), code(code_), value(value_) {}

QEvent::Type PostedCommand::eventType() {
  static const auto s_type = static_cast<QEvent::Type>(QEvent::registerEventType());
  return s_type;
}

void PostCommand(QObject* dialog, int id, int code, std::int64_t value, bool merge) {
  Doors& d = doors();
  // Posted under the lock: the dialog cannot go in between, because leaving takes the lock as well.
  const std::lock_guard lock(d.mutex);
  const auto door = d.waiting.find(dialog);
  if (door == d.waiting.end()) return;
  int& count = door->second[id];
  if (merge && count > 0) return;
  ++count;
  QCoreApplication::postEvent(dialog, std::make_unique<PostedCommand>(id, code, value).release());
}

namespace posted_commands {

void open(QObject* dialog) {
  const std::lock_guard lock(doors().mutex);
  doors().waiting[dialog];
}

void close(QObject* dialog) {
  const std::lock_guard lock(doors().mutex);
  doors().waiting.erase(dialog);
}

void delivered(QObject* dialog, int id) {
  const std::lock_guard lock(doors().mutex);
  const auto door = doors().waiting.find(dialog);
  if (door == doors().waiting.end()) return;
  if (const auto count = door->second.find(id); count != door->second.end() && --count->second <= 0)
    door->second.erase(count);
}

}  // namespace posted_commands

}  // namespace quillbay
