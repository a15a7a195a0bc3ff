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

/// Where all scans of a panel go; fixed for its life.
enum eTarnwellMode : std::int32_t {
  ScanToFile = 0,
  ScanToPrint = 1,
  ScanToNet = 2,
  ScanToView = 3,
  ScanToViewMultiPage = 6502,  ///< Scan To View, with multi-page output from the start
};

/// Answer of panel operations that need a window when there is none.
inline constexpr int kNoWindow = 40;

/// The host's handle on a panel; without its window it answers `kNoWindow`. `ApplyParams` and `DoCommand` take
/// calls of any thread: they are posted. It also answers queries for `IQuillbayControl` and `IRGetSource`.
class IQuillbaySink : public IKxUnknown {
 public:
  /// Switches the synchronisation with the host's view. Answers 32 when the host gave no view.
  virtual int EnableViewSync(int enable) = 0;
  /// Copies `params` and applies them to the pages later, without notifications.
  virtual int ApplyParams(IParam* params) = 0;
  /// Posts a command: 0 scan, 1 stop, 15 area prescan, 10-14 and 16-19 scanner keys.
  virtual int DoCommand(int code) = 0;
};

/// Creates the panel as a child of `parent`. `view`, `script` and `out` may be null. Answers the panel's window,
/// owned by `parent`, or null when no scanner could be connected or the mode is unknown; `out` is then left as it
/// was. Needs a running QApplication, on its thread.
QUILLBAY_API HWND New_Quillbay(IApp* app, CWnd* parent, IKxView* view, IScriptCmdSink* script, IQuillbaySink** out,
                               eTarnwellMode mode);

}  // namespace quillbay
