#pragma once
#include <cups/ipp.h>

#include "printing/printer_info.h"

namespace quillbay {

/// The attributes that `readAttributes` reads, for a Get-Printer-Attributes request.
[[nodiscard]] const std::vector<const char*>& wantedAttributes();

/// Fills in what the answer to Get-Printer-Attributes tells.
void readAttributes(ipp_t* answer, PrinterInfo& printer);

/// The text, or the first keyword, of an attribute; empty when it is missing.
[[nodiscard]] std::string ippText(ipp_t* answer, const char* name);
[[nodiscard]] std::vector<std::string> ippTexts(ipp_t* answer, const char* name);

}  // namespace quillbay
