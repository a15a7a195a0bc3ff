#pragma once
#include <set>
#include <string>

#include "quillbay/unit_setup.h"

namespace quillbay {

/// The setup of a unit that describes its options: see `UnitSetupOf`.
class OptionSetup final : public CKxUnknownImpl<IQuillbayUnitSetup> {
 public:
  /// `unit` is not null.
  OptionSetup(KxPtr<IUnitOptions> unit, std::string name);

  int Load(IParam* set) override;
  int Save(IParam* set) override;
  int Show(HWND parent) override;

 private:
  const KxPtr<IUnitOptions> m_unit;
  const std::string m_name;
  std::set<std::string> m_chosen;  // by a host, before the first `Load`
};

}  // namespace quillbay
