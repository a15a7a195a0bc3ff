#pragma once
/// The scanning panel: the entry points of libquillbay and the host's handle on a panel.
#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"
#include "quillbay/view.h"

class QWidget;
/// The panel's names for the toolkit's windows.
using CWnd = QWidget;
using HWND = QWidget*;

namespace quillbay {

/// The destination of all scans of a panel; fixed for its life.
enum eTarnwellMode : std::int32_t {
  ScanToFile = 0,
  ScanToPrint = 1,
  ScanToNet = 2,
  ScanToView = 3,
  ScanToViewMultiPage = 6502,  ///< Scan To View, with multi-page output from the start
};

/// Result of panel operations that need a window when there is none.
inline constexpr int kNoWindow = 40;

/// The host's handle on a panel; without its window it returns `kNoWindow`. `ApplyParams` and `DoCommand` may be
/// called on any thread: they are posted. It also answers queries for `IQuillbayControl` and `IRGetSource`.
class IQuillbaySink : public IKxUnknown {
 public:
  /// Switches the synchronisation with the host's view. Returns 32 when the host gave no view.
  virtual int EnableViewSync(int enable) = 0;
  /// Copies `params` and applies them to the pages later, without notifications.
  virtual int ApplyParams(IParam* params) = 0;
  /// Posts a command: 0 scan, 1 stop, 15 area prescan, 10-14 and 16-19 scanner keys.
  virtual int DoCommand(int code) = 0;
};

/// Creates the panel as a child of `parent`. `view`, `script` and `out` may be null. Returns the panel's window,
/// owned by `parent`, or null when no scanner could be connected or the mode is unknown; `out` is then left as it
/// was. Needs a running QApplication, on its thread.
QUILLBAY_API HWND New_Quillbay(IApp* app, CWnd* parent, IKxView* view, IScriptCmdSink* script, IQuillbaySink** out,
                               eTarnwellMode mode);

/// A docking bar with a window in it.
class KxDockBar {
 public:
  /// Puts a window into the bar, which owns it from then on, and shows the bar. Returns 1, or 0 without a window. 0
  virtual int Attach(HWND window) = 0;
  /// The bar's window: the QDockWidget that a host moves, hides or closes. The bar is destroyed with this window.
  /// 1
  virtual HWND GetWindow() = 0;

 protected:
  KxDockBar() = default;
  KxDockBar(const KxDockBar&) = delete;
  KxDockBar& operator=(const KxDockBar&) = delete;
  virtual ~KxDockBar() = default;
};

/// Creates the panel in a docking bar, with a view of its own that shows the page being scanned. The application
/// object is the one registered last; its main window (`IAppInterior::GetMainWindow`) owns the bar, which docks at
/// its right side when that is a QMainWindow, and otherwise floats. `script` and `out` may be null.
///
/// When the bar is asked to close, `script` gets "KillCommand": an answer other than 0 keeps it open. A bar that
/// is destroyed with its main window sends it as well, and ignores the answer. A destroyed bar ends its scan;
/// finished pages are kept.
///
/// Returns null, with a line in the log, and changes nothing, `out` included, if there is no
/// application object, no scanner could be connected or the mode is unknown. Needs a running QApplication, on its
/// thread.
QUILLBAY_API KxDockBar* New_QuillbayBar(IScriptCmdSink* script, IQuillbaySink** out, eTarnwellMode mode);

/// Makes `app` the application object of the process, until another one is registered; that of `New_HostApp`
/// registers and withdraws itself. No reference is held: withdraw it before it is destroyed. User-interface thread
/// only.
QUILLBAY_API void RegisterApp(IApp* app);
/// The object registered before becomes the current one again.
QUILLBAY_API void WithdrawApp(IApp* app);

}  // namespace quillbay
