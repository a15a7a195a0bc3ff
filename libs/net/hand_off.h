#pragma once
#include <atomic>
#include <string>

#include "net/spool.h"

namespace quillbay {

/// How a try to hand off a page ended.
struct HandOffEnd {
  enum How {
    Handed,
    Later,  ///< the folder is away, or refuses: the pages behind wait as well
    Stuck,  ///< this page alone cannot be handed off
    Stopped
  } how = Handed;
  std::string why;   ///< for users
  std::string file;  ///< of a page that was handed off: its name, with folder
};

/// Is told each step before it is done, for fault tests; it may throw or end the process. Null outside of them.
class HandOffHook {
 public:
  virtual ~HandOffHook() = default;
  virtual void before(const char* step) = 0;
};
void setHandOffHook(HandOffHook* hook);

/// Hands a page to its server: copies it beside its target (or links it, on one disk), gives it its name by one
/// rename, and then the hand-off file likewise; both are safe on the disk before. A page that a killed program was
/// handing off is continued where that ended, so that it is handed off once, under one name. When the name is taken
/// by another file, or has a hand-off file already, the next free one is used, unless the page may replace it; then
/// the old hand-off file goes first.
///
/// The caller holds the lock of the hot folder, has probed it, and nobody else changes the entry. `stop` ends the
/// copying of a long page.
[[nodiscard]] HandOffEnd handOffPage(Spool& spool, SpoolEntry entry, const std::atomic<bool>& stop);

/// Takes back what a page has in its hot folder, unless it was handed off. False when it was. Throws
/// CXFileException.
[[nodiscard]] bool withdrawPage(Spool& spool, SpoolEntry& entry);

/// The next name to try: the number at its end counted up, else "-2" after it.
[[nodiscard]] std::string nextImageName(const std::string& path);

}  // namespace quillbay
