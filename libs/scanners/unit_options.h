#pragma once
#include "quillbay/scanner.h"

namespace quillbay {

/// `IUnitOptions::LoadOptions` by way of `SetOption`.
int loadUnitOptions(IUnitOptions& unit, IParam* in);

}  // namespace quillbay
