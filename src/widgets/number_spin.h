#pragma once
#include <string>

#include "params/scan_units.h"
#include "widgets/unit_spin.h"

namespace quillbay {

/// A field for a number, formatted by a unit without a length; by a plain one that shows no decimals until another
/// is set. Without decimals the field holds whole numbers: what is typed behind the point does not count.
class NumberSpin final : public UnitSpin {
  Q_OBJECT
 public:
  explicit NumberSpin(QWidget* parent = nullptr);
  /// Null: a plain unit of the precision kind `kind` (`CSimpleUnit`).
  void setUnit(IUnit* unit, int kind);
  /// What a step adds; above 0.
  void setStep(double step) { m_step = step; }

 protected:
  [[nodiscard]] std::string textOf(double number) const override;
  [[nodiscard]] std::string unitSuffix() const override { return {}; }
  [[nodiscard]] LengthReading read(const std::string& text) const override;
  [[nodiscard]] double stepWidth() const override { return m_step; }
  [[nodiscard]] std::string refusalPattern() const override { return "\"%s\" is not a number. %s is kept."; }

 private:
  KxPtr<IUnit> m_unit;
  bool m_plain = true, m_isWhole = true;
  double m_step = 1;
};

}  // namespace quillbay
