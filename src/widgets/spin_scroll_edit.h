#pragma once
#include <QWidget>

#include "quillbay/units.h"

class QSlider;

namespace quillbay {

class NumberSpin;

/// A slider with an edit field and a spin button for one value. The slider moves in whole numbers; the field takes
/// fractions as its unit shows them.
class CSpinScrollEdit final : public QWidget {
  Q_OBJECT
 public:
  explicit CSpinScrollEdit(QWidget* parent = nullptr);
  /// `unit` null: a plain number of the precision kind `kind` (`CSimpleUnit`). The range is put in order.
  void SetUp(IUnit* unit, int kind, double value, double minimum, double maximum, double step = 1);
  [[nodiscard]] double value() const;
  /// Raises nothing.
  void setValue(double value);
  [[nodiscard]] QSlider* slider() const noexcept { return m_slider; }
  [[nodiscard]] NumberSpin* field() const noexcept { return m_field; }

 Q_SIGNALS:
  /// The user moved the slider, stepped, or typed.
  void edited();

 private:
  void showOnSlider();

  QSlider* m_slider;
  NumberSpin* m_field;
};

}  // namespace quillbay
