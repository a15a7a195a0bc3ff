#pragma once
#include <vector>

#include "params/shared_scan_params.h"
#include "quillbay/app.h"

namespace quillbay {

/// The host's standard papers that are in use, in the host's order, in millimetres. Papers in a unit that the host
/// does not know are left out and logged. Empty without a list.
[[nodiscard]] std::vector<PaperRecord> loadPapers(IApp* app);

/// The paper of a name (case-blind), or null.
[[nodiscard]] const PaperRecord* findPaper(const std::vector<PaperRecord>& papers, std::string_view name) noexcept;

}  // namespace quillbay
