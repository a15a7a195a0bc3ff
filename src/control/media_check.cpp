#include "control/media_check.h"

#include "platform/base_services.h"

namespace quillbay {

bool waitForMedia(const PanelParts& parts, UnitFault* fault) {
  while (!parts.scanner.isLoaded()) {
    *fault = parts.scanner.fault();
    if (parts.run.stopAsked()) return false;
    const int answer = parts.host.message(EventKind::Retry, Supp_Translate("Scanner not ready: <Media not loaded>"),
                                          EventButtons::RetryCancel);
    if (answer == static_cast<int>(EventAnswer::GiveUp)) return false;
  }
  return true;
}

}  // namespace quillbay
