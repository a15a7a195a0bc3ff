#pragma once
#include "quillbay/param.h"

namespace quillbay {

/// Puts "SCAN_GAMMA" (256 `KXRGBQUAD`, their fourth bytes 0) into a scan request that holds "SCAN_BRIGHTNESS": the
/// curves of its brightness, contrast, hue and balances, of which a missing one is 0. Without that key, or when one
/// is out of range, the request stays as it is, and the scanner keeps its own curve.
void putGammaTable(IParam* request);

}  // namespace quillbay
