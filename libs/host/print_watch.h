#pragma once
#include <QObject>
#include <functional>
#include <memory>
#include <set>

#include "host/host_events.h"
#include "quillbay/print_host.h"

namespace quillbay {

/// Watches print jobs, each on a thread of its own, and reports how they fare: notes for what goes well, a message
/// when the printer holds a job or gives it up. User-interface thread.
class CPrintWatch final : public CKxUnknownImpl<IPrintWatch> {
 public:
  explicit CPrintWatch(KxPtr<IEvents> events);
  void Watch(IPrintingJob* job) override;
  int Count() override { return m_count; }
  void SetHandler(std::function<void(const PrintReport&)> handler) override { m_handler = std::move(handler); }
  void Forget() override;

 private:
  ~CPrintWatch() override;
  /// What the threads share with this object; it outlives both.
  struct Shared;
  static void follow(const std::shared_ptr<Shared>& shared, const KxPtr<IPrintingJob>& job);
  void report(const PrintReport& report, bool isLast);

  const KxPtr<IEvents> m_events;
  std::function<void(const PrintReport&)> m_handler;
  std::shared_ptr<Shared> m_shared;
  int m_count = 0;
};

/// A report as a sentence: "Job 12 on plotter was printed."
[[nodiscard]] std::string printReportText(const PrintReport& report, const std::string& reason);

}  // namespace quillbay
