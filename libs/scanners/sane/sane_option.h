#pragma once
#include <sane/sane.h>

#include <string>
#include <string_view>
#include <vector>

#include "quillbay/scanner.h"

namespace quillbay {

/// A device option's description and value, copied out of the driver's memory, so that it may be looked at on any
/// thread and survives a reload.
struct SaneOption {
  SANE_Int index = 0;
  std::string name, title, description, group;
  SANE_Value_Type type = SANE_TYPE_INT;
  SANE_Unit unit = SANE_UNIT_NONE;
  SANE_Int size = 0;  ///< bytes of the value
  SANE_Int cap = 0;
  bool hasRange = false;
  double min = 0, max = 0, step = 0;  ///< of a range; step 0: none
  std::vector<double> words;          ///< allowed numbers, when it is a list
  std::vector<std::string> strings;   ///< allowed texts, when it is a list
  std::vector<SANE_Word> value;       ///< of numbers and flags
  std::string text;                   ///< of strings

  [[nodiscard]] bool isActive() const noexcept { return SANE_OPTION_IS_ACTIVE(cap); }
  [[nodiscard]] bool isSettable() const noexcept { return SANE_OPTION_IS_SETTABLE(cap); }
  [[nodiscard]] bool canBeAutomatic() const noexcept { return (cap & SANE_CAP_AUTOMATIC) != 0; }
  [[nodiscard]] bool isNumber() const noexcept { return type == SANE_TYPE_INT || type == SANE_TYPE_FIXED; }
  /// The first (or only) number of the value; 0 when there is none.
  [[nodiscard]] double number() const noexcept;
  /// Whether the constraint allows the number exactly (a range: within it).
  [[nodiscard]] bool allows(double number) const noexcept;
};

/// Reads option `index`, and its value where it is active and readable.
[[nodiscard]] SaneOption readSaneOption(SANE_Handle handle, SANE_Int index, const SANE_Option_Descriptor& d);

/// Fixed-point numbers are rounded to the nearest of their 65536ths.
[[nodiscard]] double fromWord(SANE_Value_Type type, SANE_Word word) noexcept;
[[nodiscard]] SANE_Word toWord(SANE_Value_Type type, double number) noexcept;

/// The option as text for the user.
[[nodiscard]] UnitOption describeOption(const SaneOption& option);

/// A value for an option, ready for the device.
struct SaneValue {
  std::vector<SANE_Word> words;
  std::string text;
  bool isAutomatic = false;  ///< the driver chooses
};
/// Whether a user's text leaves the value to the driver: `kAutomaticValue`, where that is no choice of the option's
/// own.
[[nodiscard]] bool isAutomaticValue(const SaneOption& option, std::string_view text);
/// Parses a user's text ("yes", "300", "1,2,3", "Flatbed"; texts of a list without regard to case). Returns false
/// with the reason, which lists what is allowed, in `*why`.
[[nodiscard]] bool parseSaneValue(const SaneOption& option, std::string_view text, SaneValue* out,
                                  std::string* why);

}  // namespace quillbay
