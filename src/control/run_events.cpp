#include "control/run_events.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/preview_resolution.h"

namespace quillbay {

int RunEvents::advise(IQuillbayEvents* events) {
  if (!events) return 0;
  m_listeners.push_back(KxPtr<IQuillbayEvents>::share(events));
  return 1;
}

int RunEvents::unadvise(IQuillbayEvents* events) {
  return std::erase_if(m_listeners, [&](const auto& e) { return e.get() == events; }) != 0 ? 1 : 0;
}

template <class F>
void RunEvents::tell(const char* what, F&& call) const {
  const auto listeners = m_listeners;  // a call may remove one, or destroy the panel
  for (const auto& listener : listeners) {
    try {
      call(*listener);
    } catch (const std::exception& e) {
      logLine(LogLevel::Error, "quillbay.control", std::string("a host failed at ") + what + ": " + e.what());
    } catch (...) {
      logLine(LogLevel::Error, "quillbay.control", std::string("a host failed at ") + what);
    }
  }
}

void RunEvents::starting() const {
  tell("OnStarting", [](IQuillbayEvents& e) {
    if (const auto hears = query<IStartEvents>(&e)) hears->OnStarting();
  });
}

void RunEvents::started(const ScanStartInfo& info) const {
  tell("OnStarted", [copy = info](IQuillbayEvents& e) { e.OnStarted(copy); });
}

void RunEvents::lines(std::int64_t count) const {
  tell("OnLines", [count](IQuillbayEvents& e) { e.OnLines(count); });
}

void RunEvents::pageFinished(const PageInfo& page) const {
  tell("OnPageFinished", [copy = page](IQuillbayEvents& e) { e.OnPageFinished(copy); });
}

void RunEvents::published(const std::string& file, std::int32_t pages) const {
  tell("OnPublished", [copy = file, pages](IQuillbayEvents& e) { e.OnPublished(copy, pages); });
}

void RunEvents::detecting() const {
  tell("OnDetecting", [](IQuillbayEvents& e) { e.OnDetecting(); });
}

void RunEvents::detected(const DetectedArea& area) const {
  tell("OnDetected", [copy = area](IQuillbayEvents& e) { e.OnDetected(copy); });
}

void RunEvents::message(const std::string& text) const {
  tell("OnMessage", [copy = text](IQuillbayEvents& e) { e.OnMessage(copy); });
}

void RunEvents::settingChanged(std::string_view key) const {
  tell("OnSettingChanged", [copy = std::string(key)](IQuillbayEvents& e) { e.OnSettingChanged(copy); });
}

void RunEvents::ended(EndCause cause, const UnitFault& fault, std::int32_t pages) const {
  tell("OnEnded", [cause, copy = fault, pages](IQuillbayEvents& e) { e.OnEnded(cause, copy, pages); });
}

}  // namespace quillbay
