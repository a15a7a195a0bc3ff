#pragma once
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "net/folder_courier.h"
#include "net/spool.h"

namespace quillbay {

/// A process's share of a queue: the pages on the disk, a courier for each hot folder that has any, and who is told
/// of changes. Any thread.
class NetCouriers {
 public:
  /// Takes over what killed programs left, and starts to hand off.
  explicit NetCouriers(const std::string& folder, CourierPauses pauses = {});
  ~NetCouriers();
  NetCouriers(const NetCouriers&) = delete;
  NetCouriers& operator=(const NetCouriers&) = delete;

  [[nodiscard]] Spool& spool() noexcept { return *m_spool; }
  [[nodiscard]] const std::shared_ptr<Spool>& sharedSpool() const noexcept { return m_spool; }
  /// Makes the couriers of the folders that have pages, and wakes all of them.
  void dispatch();
  [[nodiscard]] CourierState stateOf(const std::string& hotFolder) const;
  /// Calls the listeners.
  void tell() const;
  [[nodiscard]] int advise(std::function<void()> changed);
  void unadvise(int number);
  /// Waits until `done` is true, which is asked after each change and some times a second, for at most `limitMs`.
  void wait(int limitMs, const std::function<bool()>& done) const;
  /// The name that a page of this process got lately, with folder; empty while it waits.
  [[nodiscard]] std::string handedName(const std::string& id) const;

 private:
  struct Listeners;

  const std::shared_ptr<Spool> m_spool;
  const CourierPauses m_pauses;
  const std::shared_ptr<Listeners> m_listeners;  // couriers whose folder does not answer outlive this object
  mutable std::mutex m_mutex;                    // guards the next
  std::map<std::string, std::unique_ptr<FolderCourier>> m_couriers;
};

}  // namespace quillbay
