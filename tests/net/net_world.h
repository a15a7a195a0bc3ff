#pragma once
#include <atomic>
#include <string>
#include <vector>

#include "net/hand_off.h"
#include "net/spool.h"
#include "platform/base_services.h"
#include "support/temp_dir.h"

namespace quillbay::test {

/// A queue and a hot folder of a test.
struct NetWorld {
  NetWorld() : hot(dir.file("hot/")) { fio::createFolder(hot); }
  [[nodiscard]] HandOff target(const std::string& name, const std::string& client = "\\\\PC1") const {
    return {hot + name, hot, {}, client, false};
  }
  /// Puts a page with this content into the queue.
  std::string put(Spool& into, const HandOff& handOff, const std::string& content) const {
    std::string id = into.stage();
    const std::string file = into.place(id, handOff);
    writeFile(file, content);
    into.enqueue(id, file, handOff);
    return id;
  }
  /// Hands off what waits, as a courier does, once.
  [[nodiscard]] std::vector<HandOffEnd> deliver(Spool& from) const {
    const std::atomic<bool> never{false};
    std::vector<HandOffEnd> ends;
    for (const SpoolEntry& entry : from.list()) ends.push_back(handOffPage(from, entry, never));
    return ends;
  }
  [[nodiscard]] std::vector<std::string> hotNames() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(hot)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  TempDir dir;
  std::string hot;
  Spool spool{dir.file("spool")};
};

}  // namespace quillbay::test
