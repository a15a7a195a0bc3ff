#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/control.h"

namespace quillbay {

/// The hosts that listen to a panel. One that throws is passed over, with a line in the log: the page goes on.
/// User-interface thread only.
class RunEvents {
 public:
  int advise(IQuillbayEvents* events);
  int unadvise(IQuillbayEvents* events);

  void starting() const;
  void started(const ScanStartInfo& info) const;
  void lines(std::int64_t count) const;
  void pageFinished(const PageInfo& page) const;
  void published(const std::string& file, std::int32_t pages) const;
  void detecting() const;
  void detected(const DetectedArea& area) const;
  void message(const std::string& text) const;
  void settingChanged(std::string_view key) const;
  void ended(EndCause cause, const UnitFault& fault, std::int32_t pages) const;

 private:
  template <class F>
  void tell(const char* what, F&& call) const;

  std::vector<KxPtr<IQuillbayEvents>> m_listeners;
};

}  // namespace quillbay
