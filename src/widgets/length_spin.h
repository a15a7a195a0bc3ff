#pragma once
#include <string>

#include "params/scan_units.h"
#include "widgets/unit_spin.h"

namespace quillbay {

/// A field for a length: shown and typed in the current unit, kept in millimetres.
class LengthSpin final : public UnitSpin {
  Q_OBJECT
 public:
  using UnitSpin::UnitSpin;
  /// The unit switch that formats and parses; it must outlive the field.
  void setUnits(CScanUnits* units);
  [[nodiscard]] double millimetres() const noexcept { return value(); }
  void setMillimetres(double length) { setValue(length); }
  /// What a step adds, in millimetres; with inches about as much, in tenths of an inch. 0: the unit's own step.
  void setStep(double mm) { m_step = mm; }

 protected:
  [[nodiscard]] std::string textOf(double mm) const override;
  [[nodiscard]] std::string unitSuffix() const override;
  [[nodiscard]] LengthReading read(const std::string& text) const override;
  [[nodiscard]] double stepWidth() const override;
  [[nodiscard]] std::string refusalPattern() const override { return "\"%s\" is not a length. %s is kept."; }

 private:
  CScanUnits* m_units = nullptr;
  double m_step = 0;
};

/// The text of a length in the current unit, as fields show it: with the unit's decimals.
[[nodiscard]] std::string lengthFieldText(CScanUnits& units, double mm);

}  // namespace quillbay
