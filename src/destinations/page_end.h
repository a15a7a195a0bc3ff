#pragma once
#include <cmath>

#include "params/scan_values.h"

namespace quillbay {

/// Lines that a page is padded to: none when its length follows the document, else the height of the area that was
/// scanned.
[[nodiscard]] inline int minimumPageLines(const ScanValues& values) noexcept {
  if (values.scanType == kAreaAutoWidth || values.scanType == kAreaFixedWidth) return 0;
  const tagRRECT& area = values.customScanValid ? values.rcCustomScan : values.rcScan;
  const double lines = mmToPixels(area.height(), values.dpi);
  return lines > 0 && lines < 2147483647.0 ? static_cast<int>(lines) : 0;
}

}  // namespace quillbay
