#pragma once
#include <QWidget>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {

/// Shows the colours of a palette as squares, row by row in the palette's order, and a colour's numbers while the
/// pointer is on it. It is as tall as its width needs.
class PaletteSwatches final : public QWidget {
  Q_OBJECT
 public:
  explicit PaletteSwatches(QWidget* parent = nullptr);
  /// At most 256.
  void setColors(std::vector<KXRGBQUAD> colors);
  [[nodiscard]] const std::vector<KXRGBQUAD>& colors() const noexcept { return m_colors; }

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;
  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  [[nodiscard]] int columns() const noexcept;
  [[nodiscard]] int rows() const noexcept;
  [[nodiscard]] int sideIn(int width) const noexcept;
  [[nodiscard]] QRect squareOf(int index) const noexcept;
  /// The colour at a place; -1 where there is none.
  [[nodiscard]] int colorAt(const QPoint& place) const noexcept;

  std::vector<KXRGBQUAD> m_colors;
};

}  // namespace quillbay
