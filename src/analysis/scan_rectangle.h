#pragma once
#include "params/scan_values.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// What the scan rectangle is computed from; lengths in millimetres.
struct ScanRectangleInput {
  tagRRECT area;            ///< `key::RcScan`
  int addWidthPercent = 0;  ///< widens the area by this percentage
  double bedWidth = 900;
  double minWidth = 110;
  bool centre = false;        ///< `key::Center`
  bool fragment = false;      ///< the fragment is scanned, not the area
  bool areaWasFound = false;  ///< the area comes from a detection that found it
};

/// The rectangle handed to the scanner: widened, held between the minimum width and the bed (the bed wins when it
/// is the narrower one), centred or grown to both sides, and moved onto the bed. Top and bottom stay.
[[nodiscard]] tagRRECT computeScanRectangle(const ScanRectangleInput& in) noexcept;

/// The length rule: types 1 and 2 leave the length to the scanner (bottom = top).
[[nodiscard]] tagRRECT applyLengthRule(tagRRECT rect, std::int32_t scanType) noexcept;

/// The upright box around a turned sheet: as wide as `scanned`, from side to side, and as long as `found`, since a
/// scan whose length is left to the scanner has none yet.
[[nodiscard]] tagRRECT boxOfSheet(const tagRRECT& scanned, const tagRRECT& found) noexcept;

}  // namespace quillbay
