#pragma once
#include <string>

#include "quillbay/quillbay.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// A unit's own settings: a dialog, and how they are kept with those of the panel's setup page. User-interface
/// thread only.
class IQuillbayUnitSetup : public IKxUnknown {
 public:
  /// Takes the unit's settings out of the set of the setup page; what the set lacks stays. Returns 1 when something
  /// was set, otherwise 0.
  virtual int Load(IParam* set) = 0;
  /// Writes them into the set. Returns 1.
  virtual int Save(IParam* set) = 0;
  /// Shows the dialog over `parent` until the user closes it. Returns non-zero when settings were changed: the
  /// modes, ranges and size of the unit may be others. What is around the parent may have been destroyed meanwhile.
  virtual int Show(HWND parent) = 0;
};

/// The setup of a scanner: its own (`IQuillbayUnitSetup`, queried from `scanner`), otherwise a dialog of the
/// options that it describes (`IUnitOptions`), which stand in a sub-store "Options" of the set. Null when it has
/// neither. `name` is the scanner's, for the title; with an empty one it is that of its `IScan`.
///
/// Options that were set before this object was made are a host's choice: the first `Load` leaves them.
QUILLBAY_API KxPtr<IQuillbayUnitSetup> UnitSetupOf(IKxUnknown* scanner, const std::string& name);

}  // namespace quillbay
