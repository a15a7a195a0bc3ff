#pragma once
#include <functional>
#include <string>

#include "quillbay/scan_server.h"

namespace quillbay {

/// Where a page goes when it is complete.
struct HandOff {
  std::string file;       ///< its name in the hot folder, with folder
  std::string hotFolder;  ///< with a delimiter at its end
  std::string mountPoint;
  std::string client;       ///< "\\SCANPC1"; empty: the hand-off file names nobody
  bool mayReplace = false;  ///< a file of this name may be replaced
};

/// The panel's side of the queue (queried from `INetQueue`): pages are written into a folder on this computer, so
/// that a server that does not answer never stops a scanner, and join the queue when they are complete.
///
///   stage -> place -> (the page is written) -> enqueue, or discard
///
/// A program that is killed after `place` leaves a page that joins the queue later if it is complete. Any thread.
class IPageSpool : public IKxUnknown {
 public:
  /// Makes room for a page, and returns its number. Throws CXFileException.
  [[nodiscard]] virtual std::string stage() = 0;
  /// Notes where the page goes, and returns the file to write it to, with the same name. Throws CXFileException.
  [[nodiscard]] virtual std::string place(const std::string& id, const HandOff& handOff) = 0;
  /// The page is complete in `file`: it joins the queue. Throws CXFileException; then it is still staged.
  virtual void enqueue(const std::string& id, const std::string& file, const HandOff& handOff) = 0;
  /// Deletes what was staged. Errors are logged.
  virtual void discard(const std::string& id) noexcept = 0;
  /// Whether a page that waits will have this name, or the same hand-off file.
  [[nodiscard]] virtual bool holds(const std::string& file) = 0;
  /// Whether pages wait for this hot folder because it does not answer.
  [[nodiscard]] virtual bool isSilent(const std::string& hotFolder) = 0;
  /// Waits until the page was handed off or failed, for at most `limitMs`. Returns the name that it got, with
  /// folder; empty while it waits.
  [[nodiscard]] virtual std::string waitFor(const std::string& id, int limitMs) = 0;
  /// The folder of the pages that wait, without a delimiter at its end, and its free bytes; -1 when unknown.
  [[nodiscard]] virtual std::string folder() = 0;
  [[nodiscard]] virtual std::int64_t freeBytes() = 0;
};

/// The name of a page's hand-off file: the extension replaced by "ini".
[[nodiscard]] std::string handOffName(const std::string& file);

/// Runs `work` on a thread of its own, and waits for it for at most `limitMs`. False when it did not end in time:
/// it goes on, and what it uses must not be the caller's. For folders on servers that may not answer.
[[nodiscard]] bool runWithin(int limitMs, std::function<void()> work);

}  // namespace quillbay
