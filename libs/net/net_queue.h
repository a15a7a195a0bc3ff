#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "net/courier.h"
#include "platform/page_spool.h"

namespace quillbay {

/// The queue as hosts and the panel see it. All objects of a process share its couriers.
class CNetQueue final : public CKxUnknownImpl<INetQueue, IPageSpool> {
 public:
  explicit CNetQueue(std::shared_ptr<NetCouriers> couriers) : m_couriers(std::move(couriers)) {}

  std::vector<NetPage> GetPages() override;
  int Remove(const std::string& id, std::string* why) override;
  int Reassign(const std::string& id, const NetClient& client, std::string* why) override;
  void TryNow() override;
  int Wait(int limitMs) override;
  std::string GetHandedName(const std::string& id) override { return m_couriers->handedName(id); }
  int Advise(std::function<void()> changed) override { return m_couriers->advise(std::move(changed)); }
  void Unadvise(int number) override { m_couriers->unadvise(number); }

  std::string stage() override { return spool().stage(); }
  std::string place(const std::string& id, const HandOff& handOff) override { return spool().place(id, handOff); }
  void enqueue(const std::string& id, const std::string& file, const HandOff& handOff) override;
  void discard(const std::string& id) noexcept override { spool().discard(id); }
  bool holds(const std::string& file) override;
  bool isSilent(const std::string& hotFolder) override { return m_couriers->stateOf(hotFolder).isSilent; }
  std::string waitFor(const std::string& id, int limitMs) override;
  std::string folder() override { return spool().folder(); }
  std::int64_t freeBytes() override;

 private:
  [[nodiscard]] Spool& spool() const noexcept { return m_couriers->spool(); }
  /// Runs `change` with an entry that nobody hands off meanwhile. Returns 1, or 0 with the reason.
  int change(const std::string& id, std::string* why, const std::function<void(SpoolEntry&)>& change);
  void changeLocked(const std::string& id, const std::function<void(SpoolEntry&)>& change);
  void withdraw(SpoolEntry& entry);

  const std::shared_ptr<NetCouriers> m_couriers;
};

}  // namespace quillbay
