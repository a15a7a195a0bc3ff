#pragma once
#include <string>

#include "params/shared_scan_params.h"
#include "quillbay/detected_area.h"

namespace quillbay {

/// The paper, of those in the host's list, that a measured size means: both sides within 3 mm, either way round,
/// the nearest one. Empty without one. A size measured in a prescan is right within 1.5 mm at each edge.
[[nodiscard]] std::string paperOfSize(const std::vector<PaperRecord>& papers, const tagRSIZE& size);

/// "841 x 1189 mm", in the user's unit and locale.
[[nodiscard]] std::string foundSizeText(CScanUnits& units, const tagRSIZE& size);
/// How a document lies that is straightened by `angle` (radians): "turned by 1.2 degrees", with the side that it
/// turns to; empty for none, and where none was looked for.
[[nodiscard]] std::string foundAngleText(CScanUnits& units, double angle);
/// "841 x 1189 mm (A0), turned by 1.2 degrees to the left".
[[nodiscard]] std::string foundNumbers(CScanUnits& units, const DetectedArea& found);
/// "Found 841 x 1189 mm (A0), turned by 1.2 degrees": what a search found. Of the whole bed and of nothing, a
/// sentence that says so.
[[nodiscard]] std::string foundText(CScanUnits& units, const DetectedArea& found);

}  // namespace quillbay
