#pragma once
#include <QAbstractSpinBox>
#include <string>

#include "params/scan_units.h"

namespace quillbay {

/// A field for a length: shown and typed in the current unit, kept in millimetres.
/// `edited` is raised for what the person types or steps, never for `setMillimetres`.
class LengthSpin final : public QAbstractSpinBox {
  Q_OBJECT
 public:
  explicit LengthSpin(QWidget* parent = nullptr);
  /// The unit switch that formats and parses; it must outlive the field.
  void setUnits(CScanUnits* units);
  /// The least and greatest length that stepping reaches, in millimetres.
  void setLimits(double least, double greatest);
  [[nodiscard]] double millimetres() const noexcept { return m_value; }
  void setMillimetres(double value);
  /// Shows the value again, after the units changed.
  void redisplay();

  void stepBy(int steps) override;
  QValidator::State validate(QString& text, int& position) const override;

 Q_SIGNALS:
  void edited();

 protected:
  StepEnabled stepEnabled() const override;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 private:
  [[nodiscard]] double stepWidth() const;
  void typed(const QString& text);

  CScanUnits* m_units = nullptr;
  double m_value = 0, m_least = 0, m_greatest = 1e6;
};

/// The text of a length in the current unit, as fields show it: with the unit's decimals.
[[nodiscard]] std::string lengthFieldText(CScanUnits& units, double mm);
/// What a person typed into such a field, in millimetres; false when it is no length.
[[nodiscard]] bool parseLengthField(CScanUnits& units, const std::string& text, double* mm);

}  // namespace quillbay
