#pragma once
#include <string>
#include <utility>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// A unit's own options while a user changes them: sets them one by one, and can put back what was changed.
/// Setting one may change others, so all are read anew after each. User-interface thread.
class UnitOptionList {
 public:
  /// `unit` is not null.
  explicit UnitOptionList(KxPtr<IUnitOptions> unit);

  /// What a user can set, in the unit's order: neither what a scan request settles nor what only tells something.
  [[nodiscard]] const std::vector<UnitOption>& options() const { return m_options; }
  /// Null for a name that is none of them.
  [[nodiscard]] const UnitOption* find(const std::string& name) const;
  /// False with the reason in `*why` when the unit does not take the value; nothing has changed then.
  bool set(const std::string& name, const std::string& value, std::string* why);
  /// Whether something was changed since the start, and since `keep`.
  [[nodiscard]] bool isChanged() const { return m_isKept || hasUnkept(); }
  [[nodiscard]] bool hasUnkept() const { return !m_before.empty(); }
  /// What was changed so far is not put back.
  void keep();
  /// Sets the values from before the changes again, the last change first. What the unit does not take back stays.
  void restore();

 private:
  void read();

  KxPtr<IUnitOptions> m_unit;
  std::vector<UnitOption> m_options;
  std::vector<std::pair<std::string, std::string>> m_before;  // names and values before their first change
  bool m_isKept = false;
};

}  // namespace quillbay
