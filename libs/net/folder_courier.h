#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "net/spool.h"

namespace quillbay {

/// What a courier does with its folder now.
struct CourierState {
  std::string sending;    ///< the page's id; empty: none
  std::string why;        ///< what it waits for, for users
  bool isSilent = false;  ///< its folder does not answer
};

/// How long a courier waits.
struct CourierPauses {
  std::chrono::milliseconds first{1000}, longest{15000};  ///< between tries: doubled from one to the next
  std::chrono::milliseconds others{500};                  ///< while another program hands pages to the folder
  std::chrono::milliseconds idle{60000};                  ///< until it looks for pages that other programs left
};

/// Hands the pages for one hot folder to it, in their order, on a thread of its own: a folder that does not answer
/// holds up nobody else. It outlives its owner as long as the system does not answer.
class FolderCourier {
 public:
  /// `changed` is called on the thread, when a page was handed off or failed; not after `stop`. `handed` likewise
  /// for each page that was.
  struct Told {
    std::function<void()> changed;
    std::function<void(const std::string& id, const std::string& file)> handed;
  };
  FolderCourier(std::shared_ptr<Spool> spool, std::string hotFolder, CourierPauses pauses, Told told);
  /// Ends the thread, or leaves it to itself when its folder does not answer.
  ~FolderCourier();
  FolderCourier(const FolderCourier&) = delete;
  FolderCourier& operator=(const FolderCourier&) = delete;

  /// Ends the thread as soon as it can be ended; nothing is told afterwards.
  void stop();
  /// There is a new page, or a user does not want to wait.
  void wake();
  [[nodiscard]] CourierState state() const;

 private:
  struct Shared;
  static void work(const std::shared_ptr<Shared>& shared);

  std::shared_ptr<Shared> m_shared;
};

}  // namespace quillbay
