#pragma once
#include <string>

#include "quillbay/param.h"
#include "quillbay/quillbay.h"

namespace quillbay {

/// A destination: where finished pages go.
class CScanTo {
 public:
  virtual ~CScanTo() = default;
  /// Called before a page: 1 = go on, 0 = do not scan (the user was told why).
  virtual int BeginScan() = 0;
  /// Called after a page; `cancelled` non-zero when the page was abandoned. 1 = the page was taken.
  virtual int EndScan(int cancelled) = 0;
  virtual int LoadParams(IParam* params) = 0;
  virtual int SaveParams(IParam* params) = 0;
  virtual void Destroy() = 0;
  /// 40 when there is no window.
  virtual int Enable(int enable) = 0;
  /// Show command 5 shows, 0 hides; 40 when there is no window.
  virtual int Show(int command) = 0;
  /// One line: where the scan goes.
  virtual void GetTargetText(std::string* out) = 0;
  virtual HWND GetHwnd() = 0;
  /// The part of the window that stays in sight where the rest is scrolled; the panel moves it. Null: none.
  virtual HWND GetFooter() { return nullptr; }
};

}  // namespace quillbay
