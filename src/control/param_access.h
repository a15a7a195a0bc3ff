#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "params/shared_scan_params.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// The names that the next two know: the keys of the scan parameters, and `key::Extension`, the output file's
/// extension (set for all colour classes, read for the current one), and the keys of automatic answering, which are
/// not broadcast.
[[nodiscard]] std::vector<std::string> scanParamNames();

/// Changes scan parameters by name. `params` and `unit` outlive it.
class ParamAccess {
 public:
  ParamAccess(CSharedScanParams& params, IQuillbayUnit& unit) : m_params(params), m_unit(unit) {}
  /// Returns an empty text when the value is allowed, or why it is not: an unknown name, a value of another type or
  /// one that is not allowed, each with what is allowed.
  [[nodiscard]] std::string check(std::string_view key, const CKxVariant& value) const;
  /// Checks the value and sets it through its setter; returns what `check` returns.
  [[nodiscard]] std::string set(std::string_view key, const CKxVariant& value) const;

 private:
  CSharedScanParams& m_params;
  IQuillbayUnit& m_unit;
};

/// Reads a scan parameter by name. Returns 1, or 0 for an unknown name.
[[nodiscard]] int getScanParam(const ScanValues& values, std::string_view key, CKxVariant* out);

}  // namespace quillbay
