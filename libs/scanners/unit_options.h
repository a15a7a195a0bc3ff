#pragma once
#include <string>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// `IUnitOptions::LoadOptions` by way of `SetOption`.
int loadUnitOptions(IUnitOptions& unit, IParam* in);

/// Returns 0, with the reason why `device` has no such source in `*why` (may be null).
int refuseSource(const std::string& device, UnitSource source, const std::vector<UnitSource>& offered,
                 std::string* why);

}  // namespace quillbay
