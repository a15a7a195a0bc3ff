#pragma once
#include <QAbstractSpinBox>
#include <string>

#include "quillbay/units.h"

namespace quillbay {

/// A field for a value of some unit, with a least and a greatest one. What the user types counts as soon as it can
/// be read. When the edit ends with a text that cannot, the field shows the value from before the edit; a value out
/// of range gives way to the nearest one. `noted` says why, for the page to show beside the field.
/// `edited` is raised for what the user types or steps, never for `setValue`.
class UnitSpin : public QAbstractSpinBox {
  Q_OBJECT
 public:
  explicit UnitSpin(QWidget* parent = nullptr);
  /// The least and greatest value that the field takes.
  void setLimits(double least, double greatest);
  [[nodiscard]] double value() const noexcept { return m_value; }
  void setValue(double value);
  /// Shows the value again, after the unit changed.
  void redisplay();
  /// Ends the edit, as Return and leaving the field do.
  void finishEdit();
  /// Why the text that stands in the field does not count; empty when it does.
  [[nodiscard]] const QString& problem() const noexcept { return m_problem; }

  void stepBy(int steps) override;
  QValidator::State validate(QString& text, int& position) const override;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 Q_SIGNALS:
  void edited();
  /// Why the text that was typed is not what the field shows; empty when there is no such reason any more.
  void noted(const QString& why);

 protected:
  StepEnabled stepEnabled() const override;
  /// The text of a value, without the unit's name.
  [[nodiscard]] virtual std::string textOf(double value) const = 0;
  /// The unit's name behind a value, with a blank before it; may be empty.
  [[nodiscard]] virtual std::string unitSuffix() const = 0;
  [[nodiscard]] virtual LengthReading read(const std::string& text) const = 0;
  [[nodiscard]] virtual double stepWidth() const = 0;
  /// A message with "%s" for the text that is no value of the unit and "%s" for the one that is kept.
  [[nodiscard]] virtual std::string refusalPattern() const = 0;
  [[nodiscard]] double least() const noexcept { return m_least; }
  [[nodiscard]] double greatest() const noexcept { return m_greatest; }

 private:
  void typed(const QString& text);
  [[nodiscard]] double held(double value) const noexcept;
  [[nodiscard]] QString reasonAgainst(const LengthReading& reading, const QString& text) const;
  [[nodiscard]] QString rangeNote(const QString& text) const;
  void note(const QString& why);

  double m_value = 0, m_least = 0, m_greatest = 1e6;
  double m_before = 0;     // the value when the edit began
  bool m_editing = false;  // something was typed since the last value was settled
  QString m_problem, m_note;
};

/// Ends the edits of fields (pointers to `UnitSpin`). The first reason why one does not hold what was typed; empty
/// when all do.
template <class Fields>
[[nodiscard]] std::string finishEdits(const Fields& fields) {
  std::string why;
  for (UnitSpin* field : fields) {
    if (why.empty()) why = field->problem().toStdString();
    field->finishEdit();
  }
  return why;
}

}  // namespace quillbay
