#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "params/scan_values.h"

namespace quillbay {

class CSharedScanParams;
class MacroList;

/// All that an output file's name depends on, as plain values: a scan takes one when it is started and may build
/// its name again on the scanner's thread, after the scanner reported another resolution or colour space.
struct NameContext {
  ScanValues values;
  std::string sizeText;               ///< what <SIZE> stands for, in the user's units
  std::int64_t moment = 0;            ///< what <TIME> and <DATE> show: seconds since 1970, UTC
  std::string locale;                 ///< of date and time; empty: the user's own
  std::shared_ptr<MacroList> macros;  ///< empty: the list of the process
};

/// The context of now. User-interface thread.
[[nodiscard]] NameContext makeNameContext(CSharedScanParams& params);

/// The text of <SIZE> by the scan-area type: "Auto", the width, width and height (as they are shown, with their
/// unit), or the paper's name. The inch mark, which no file name can hold, becomes "in".
[[nodiscard]] std::string sizeText(const ScanValues& values, const std::string& widthText,
                                   const std::string& heightText);

}  // namespace quillbay
