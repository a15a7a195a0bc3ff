#pragma once
#include <string>
#include <vector>

#include "params/shared_scan_params.h"

namespace quillbay {

/// The papers that a found size is, one a line; `before` when it is none. Sizes match within 0.001 mm; with
/// `widthOnly` the width alone decides.
[[nodiscard]] std::string detectionText(const std::vector<PaperRecord>& papers, double width, double length,
                                        bool widthOnly, const std::string& before);

/// What the settings summary is made of.
struct SummaryParts {
  std::string target, preset, mode, paper, detection;
  std::int32_t dpi = 0;
  std::string found{};  ///< what the search for the document found
};
/// Lines that each end in a carriage return; those of the preset and of what was found only when there is one.
[[nodiscard]] std::string settingsSummary(const SummaryParts& parts);

}  // namespace quillbay
