#pragma once
#include "quillbay/units.h"

namespace quillbay {

/// The host's styles with their linear units "mm" and "inch". Numbers are written and read with the decimal point
/// of Qt's default locale at that moment.
KxPtr<IStyleManager> new_HostStyles();

}  // namespace quillbay
