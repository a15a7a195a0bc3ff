#pragma once
#include <string>
#include <utility>
#include <vector>

#include "quillbay/scanner.h"

namespace desktop {

/// A device's own options while a user changes them: sets them one by one, and can put back what was changed.
/// Setting one may change others, so all are read anew after each. User-interface thread.
class DeviceOptions {
 public:
  /// `unit` is not null.
  explicit DeviceOptions(quillbay::KxPtr<quillbay::IUnitOptions> unit);

  /// What a user can set, in the device's order: neither what a scan request settles nor what only tells something.
  [[nodiscard]] const std::vector<quillbay::UnitOption>& options() const { return m_options; }
  /// False with the reason in `*why` when the device does not take the value; nothing has changed then.
  bool set(const std::string& name, const std::string& value, std::string* why);
  [[nodiscard]] bool isChanged() const { return !m_before.empty(); }
  /// Sets the values of the start again, the last change first. What the device does not take back stays.
  void restore();

 private:
  void read();

  quillbay::KxPtr<quillbay::IUnitOptions> m_unit;
  std::vector<quillbay::UnitOption> m_options;
  std::vector<std::pair<std::string, std::string>> m_before;  // names and values before their first change
};

}  // namespace desktop
