#pragma once
#include <functional>
#include <memory>
#include <string>

#include "params/shared_scan_params.h"
#include "platform/panel_controller.h"
#include "platform/scan_to.h"

namespace quillbay {

/// What a destination works with. `params` and `controller` outlive it, and so does `parent` (a destination goes
/// before its parent window).
struct DestinationContext {
  eTarnwellMode mode = ScanToFile;  ///< 0-3
  KxPtr<CSharedScanParams> params;
  IPanelController* controller = nullptr;  ///< carries the script commands as well
  KxPtr<IEvents> events;                   ///< the host's; null: as the application object has them
  CWnd* parent = nullptr;
  /// Makes the store for a page of the mode: one that writes a file for Scan To File and Scan To Net, one that
  /// collects the page for the others.
  std::function<KxPtr<ISStripStor>(eTarnwellMode)> makeStore;
  /// Lets the user choose a folder, beginning at `start`; empty when nothing was chosen. Null: the system's
  /// dialog.
  std::function<std::string(CWnd* parent, const std::string& start)> chooseFolder;
};

/// The destination of a mode, to be given up by `Destroy` or by the pointer (not by both); null for a mode that
/// this build does not have.
[[nodiscard]] std::unique_ptr<CScanTo> makeDestination(const DestinationContext& context);

}  // namespace quillbay
