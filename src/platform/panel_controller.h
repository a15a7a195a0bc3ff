#pragma once
#include "quillbay/param.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// The panel's controller as its pages and destinations see it. User-interface thread only.
class IPanelController {
 public:
  virtual ~IPanelController() = default;
  /// The connected scanner unit; never null while a page exists.
  virtual IQuillbayUnit* Unit() = 0;
  /// The person changed something on a page: pushes the settings to the unit and restarts the preview's countdown.
  virtual void PageChanged() = 0;
  /// The palette that was computed for the last document is out of date.
  virtual void ForgetPalette() = 0;
  /// Hands the scan area and resolution to the view's synchronisation.
  virtual void AreaChanged() = 0;
  /// Non-zero when the panel can find a document by itself.
  virtual int OffersDetection() = 0;
  /// Runs the area detection now, with the bits of `mask`. Answers 1 when an area was found.
  virtual int DetectArea(int mask) = 0;
  /// Switches to the post-processing page of the current mode and starts it, when it is marked to run after a scan.
  virtual void RunPostProcessing() = 0;
  /// Sends a script command to the host; 0 for success, also without a host sink.
  virtual int ExecCommand(const char* command, IParam* arguments) = 0;
};

}  // namespace quillbay
