#include "control/run_report.h"

#include <algorithm>

namespace quillbay {

int RunReport::advise(IQuillbayEvents* events) {
  if (!events) return 0;
  m_events.push_back(KxPtr<IQuillbayEvents>::share(events));
  return 1;
}

int RunReport::unadvise(IQuillbayEvents* events) {
  return std::erase_if(m_events, [&](const auto& e) { return e.get() == events; }) != 0 ? 1 : 0;
}

template <class F>
void RunReport::tell(F&& f) {
  const auto listeners = m_events;  // one may leave while it is told
  for (const auto& listener : listeners) f(*listener);
}

void RunReport::begin(int wantedPages) {
  m_running = true;
  m_hasCause = false;
  m_cause = EndCause::Done;
  m_fault = {};
  m_pages = 0;
  m_wanted = wantedPages;
}

void RunReport::started(ScanStartInfo info) {
  info.page = m_pages + 1;
  tell([&](IQuillbayEvents& e) { e.OnStarted(info); });
}

void RunReport::lines(std::int64_t count) {
  tell([&](IQuillbayEvents& e) { e.OnLines(count); });
}

void RunReport::pageFinished(PageInfo page) {
  page.page = ++m_pages;
  tell([&](IQuillbayEvents& e) { e.OnPageFinished(page); });
}

void RunReport::published(const std::string& file, std::int32_t pages) {
  tell([&](IQuillbayEvents& e) { e.OnPublished(file, pages); });
}

void RunReport::note(EndCause cause, UnitFault fault) {
  if (m_hasCause && (cause != EndCause::Output || m_cause == cause)) return;
  m_hasCause = true;
  m_cause = cause;
  m_fault = std::move(fault);
}

void RunReport::end() {
  if (!m_running) return;
  m_running = false;
  const auto cause = m_cause;
  const auto fault = m_fault;
  tell([&](IQuillbayEvents& e) { e.OnEnded(cause, fault, m_pages); });
}

}  // namespace quillbay
