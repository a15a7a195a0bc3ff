#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "params/shared_scan_params.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// The names that the next two know: the keys of the scan parameters, and "m_Ext", the output file's extension (set
/// for all colour classes, read for the current one).
[[nodiscard]] std::vector<std::string> scanParamNames();

/// Sets a scan parameter by name, through its setter. Answers an empty text, or why not: an unknown name, a value
/// of another type or one that is not allowed, each with what is allowed.
[[nodiscard]] std::string setScanParam(CSharedScanParams& params, IQuillbayUnit& unit, std::string_view key,
                                       const CKxVariant& value);

/// Reads a scan parameter by name. Answers 1, or 0 for an unknown name.
[[nodiscard]] int getScanParam(const ScanValues& values, std::string_view key, CKxVariant* out);

}  // namespace quillbay
