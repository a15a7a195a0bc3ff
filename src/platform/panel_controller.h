#pragma once
#include <functional>
#include <string>
#include <vector>

#include "quillbay/events.h"
#include "quillbay/param.h"
#include "quillbay/scanner.h"

namespace quillbay {

class IPresetManager;
class IUIScanPage;

/// The panel's controller as its pages and destinations see it. User-interface thread only.
class IPanelController {
 public:
  virtual ~IPanelController() = default;
  /// Carries out a command of a page or destination. What it throws ends the run with a message, and false is
  /// returned. Page and destination outlive the call, also when the host closes the panel in it.
  virtual bool Guarded(const std::function<bool()>& command) = 0;
  /// The connected scanner unit; never null while a page exists.
  virtual IQuillbayUnit* Unit() = 0;
  /// The user changed something on a page: pushes the settings to the unit and restarts the preview's countdown.
  virtual void PageChanged() = 0;
  /// The palette that was computed for the last document is out of date.
  virtual void ForgetPalette() = 0;
  /// Hands the scan area and resolution to the view's synchronisation.
  virtual void AreaChanged() = 0;
  /// Non-zero when the panel can find a document by itself.
  virtual int OffersDetection() = 0;
  /// Runs the area detection now, with the bits of `mask`. Returns 1 when an area was found.
  virtual int DetectArea(int mask) = 0;
  /// Switches to the post-processing page of the current mode and starts it, when it is marked to run after a scan.
  virtual void RunPostProcessing() = 0;
  /// Sends a script command to the host; 0 for success, also without a host sink.
  virtual int ExecCommand(const char* command, IParam* arguments) = 0;
  /// Shows a message through the host's `IEvents`; hosts that listen to the panel hear of it too. Returns the
  /// host's answer. Pages and destination outlive this call and the one above, also when the host closes the panel
  /// in it.
  virtual int Message(EventKind kind, const std::string& text, EventButtons buttons) = 0;

  /// Posts a command of the panel; it is handled after the current event, as if its button had been pressed.
  virtual void PostPanelCommand(int command) = 0;
  /// Non-zero when a command of the panel can be given now.
  virtual int IsCommandEnabled(int command) = 0;
  /// Restarts the countdown to the preview of the visible part; nothing is pushed to the unit.
  virtual void RestartPreview() = 0;

  /// Puts the preview page that floats in a window of its own back into the panel, or lets it float. Returns 1, or
  /// 0 where it is so already or there is none.
  virtual int DockPreview() = 0;
  virtual int FloatPreview() = 0;
  /// The pages of a scan mode in the order of their tabs, and all that there are.
  virtual std::vector<IUIScanPage*> PagesOf(int mode) = 0;
  virtual std::vector<IUIScanPage*> AllPages() = 0;
  /// Lets one page take values. Returns what the page returns.
  virtual int LoadPage(IUIScanPage* page, IParam* params) = 0;
  /// Lets one page store what the user chose, without what was computed for one document. Returns what the page
  /// returns.
  virtual int SavePage(IUIScanPage*, IParam*) { return 0; }
  /// The named values of pages; null where the panel keeps none.
  virtual IPresetManager* Presets() { return nullptr; }
  /// The request that the preview's picture was scanned with; null before a preview.
  virtual KxPtr<IParam> PreviewSettings() { return {}; }
};

}  // namespace quillbay
