#pragma once
#include <algorithm>
#include <vector>

#include "quillbay/control.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// Heard by a host whose `IQuillbayEvents` also answers this interface. User-interface thread.
class IStartEvents : public IKxUnknown {
 public:
  /// A scan or preview is about to start. What the host sets now already serves it.
  virtual void OnStarting() = 0;
};

/// Thin inks still differ from the paper at this resolution, and a preview takes a fraction of the scan's time.
inline constexpr std::int32_t kUsualPreviewDpi = 100;

/// For hosts: lifts the resolution of previews, and of the prescans for palettes and documents, from the coarsest
/// that the unit offers, which the panel starts each mode with, to the least one from `kUsualPreviewDpi` on, or the
/// best below. Any other resolution is somebody's choice and stays.
inline void liftPreviewResolution(IQuillbayControl& control, IQuillbayUnit& unit) {
  CKxVariant mode, now;
  control.GetParam(key::CurrMode, &mode);
  control.GetParam(key::PreviewDpi, &now);
  std::vector<UnitResolution> list;
  if (unit.GetResolutions(&list, mode.toInt()) <= 0 || list.empty() || now.toInt() != list.front().dpi) return;
  const auto isBetter = [](const UnitResolution& a, const UnitResolution& b) {
    const bool isFineA = a.dpi >= kUsualPreviewDpi, isFineB = b.dpi >= kUsualPreviewDpi;
    if (isFineA != isFineB) return isFineA;
    return isFineA ? a.dpi < b.dpi : a.dpi > b.dpi;
  };
  const std::int32_t wanted = std::min_element(list.begin(), list.end(), isBetter)->dpi;
  if (wanted != now.toInt()) control.SetParam(key::PreviewDpi, wanted, nullptr);
}

}  // namespace quillbay
