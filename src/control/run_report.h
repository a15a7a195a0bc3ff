#pragma once
#include <string>
#include <vector>

#include "quillbay/control.h"

namespace quillbay {

/// One run, from its start to the panel's being idle again, as the hosts hear of it. User-interface thread only.
class RunReport {
 public:
  int advise(IQuillbayEvents* events);
  int unadvise(IQuillbayEvents* events);

  void begin(int wantedPages);
  [[nodiscard]] bool isRunning() const noexcept { return m_running; }
  /// Pages that were handed over in this run.
  [[nodiscard]] std::int32_t pages() const noexcept { return m_pages; }
  /// Whether the page that is being finished is the last one that was asked for.
  [[nodiscard]] bool isLastWanted() const noexcept { return m_wanted > 0 && m_pages + 1 >= m_wanted; }
  [[nodiscard]] bool hasAllWanted() const noexcept { return m_wanted > 0 && m_pages >= m_wanted; }

  void started(ScanStartInfo info);
  void lines(std::int64_t count);
  void pageFinished(PageInfo page);
  void published(const std::string& file, std::int32_t pages);
  /// The first cause that is noted stands, but a failure of the output outranks it; `end` uses it.
  void note(EndCause cause, UnitFault fault = {});
  [[nodiscard]] bool hasCause() const noexcept { return m_hasCause; }
  [[nodiscard]] EndCause cause() const noexcept { return m_cause; }
  void end();

 private:
  template <class F>
  void tell(F&& f);

  std::vector<KxPtr<IQuillbayEvents>> m_events;
  bool m_running = false;
  bool m_hasCause = false;
  EndCause m_cause = EndCause::Done;
  UnitFault m_fault;
  std::int32_t m_pages = 0;
  int m_wanted = 0;
};

}  // namespace quillbay
