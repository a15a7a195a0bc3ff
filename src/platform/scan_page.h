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
  /// Creates the page's window for a scan mode (0-8) or `kAllModes`. Answers 1, or 0.
  virtual int Create(CWnd* parent, int mode) = 0;
  virtual void Show(int show) = 0;
  /// Takes the page's values; a key that is missing leaves its control as it is.
  virtual int Load(IParam* params) = 0;
  /// Answers 0 when the page's values are not acceptable (the page has told the person why).
  virtual int Save(IParam* params) = 0;
  /// The page's number, which names its store.
  virtual int GetNumber() = 0;
  virtual void Release() = 0;
  virtual void Enable(int enable) = 0;
  [[nodiscard]] virtual std::string GetTitle() = 0;
  virtual HWND GetHwnd() = 0;
};

/// A unit's own pages for the B/W modes, where it has some.
class IUICustomScanPages : public IKxUnknown {
 public:
  /// Stores the unit's page for B/W mode 0-4 in `*out`. Non-zero when it has one.
  virtual int GetPage(int mode, IUIScanPage** out) = 0;
};

}  // namespace quillbay
