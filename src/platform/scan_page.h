#pragma once
#include <string>

#include "quillbay/param.h"
#include "quillbay/quillbay.h"

namespace quillbay {

/// A page that is created for every mode.
inline constexpr int kAllModes = 9;

/// A settings page of the panel.
class IUIScanPage {
 public:
  virtual ~IUIScanPage() = default;
  /// Creates the page's window for a scan mode (0-8) or `kAllModes`. Returns 1, or 0.
  virtual int Create(CWnd* parent, int mode) = 0;
  virtual void Show(int show) = 0;
  /// Takes the page's values; a key that is missing leaves its control as it is, and with `key::ResetMark` in the
  /// set brings it to its default.
  virtual int Load(IParam* params) = 0;
  /// Stores the values. Shows nothing: it is called at every key. Returns 1, or 0 when there is nothing to store.
  virtual int Save(IParam* params) = 0;
  /// The page's number, which names its store.
  virtual int GetNumber() = 0;
  virtual void Release() = 0;
  virtual void Enable(int enable) = 0;
  [[nodiscard]] virtual std::string GetTitle() = 0;
  virtual HWND GetHwnd() = 0;
  /// Why no run may start with the page's values, and the page may not be left: a message, which the controller
  /// shows; empty when they are acceptable. Ends an edit that is under way.
  [[nodiscard]] virtual std::string GetRefusal() { return {}; }
  /// What the last `Load` could not take over as it was stored, and what counts instead: a message, which is shown
  /// after a preset was applied ("There is no format ...; ... is used"); empty for nothing.
  [[nodiscard]] virtual std::string GetLoadNote() { return {}; }
};

/// A unit's own pages for the B/W modes, where it has some.
class IUICustomScanPages : public IKxUnknown {
 public:
  /// Stores the unit's page for B/W mode 0-4 in `*out`. Non-zero when it has one.
  virtual int GetPage(int mode, IUIScanPage** out) = 0;
};

}  // namespace quillbay
