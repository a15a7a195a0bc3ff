#pragma once
#include <QWidget>
#include <optional>

#include "drawing/ruler_marks.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/units.h"

namespace quillbay {

/// One ruler along an edge of its parent: marks, numbers, and where the pointer is. All places are pixels of the
/// parent. Takes the mouse, so that nothing is drawn through it.
class RulerBand final : public QWidget {
 public:
  RulerBand(Qt::Orientation along, QWidget* parent);

  void setUnit(KxPtr<ILinearUnit> unit);
  void setScale(const RulerScale& scale);
  void markPointer(std::optional<double> at);
  /// Pixels across, for numbers in the font of the parent.
  [[nodiscard]] int thickness() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); }

 private:
  [[nodiscard]] bool isUpright() const noexcept { return m_along == Qt::Vertical; }
  [[nodiscard]] int start() const { return isUpright() ? y() : x(); }
  [[nodiscard]] QString numberText(double value, int decimals) const;
  [[nodiscard]] QRect pointerPlace() const;
  void paintMark(QPainter& painter, const RulerMark& mark, int decimals) const;

  const Qt::Orientation m_along;
  KxPtr<ILinearUnit> m_unit;
  RulerScale m_scale;
  std::optional<double> m_pointer;
};

}  // namespace quillbay
