#pragma once
#include <QWidget>
#include <optional>

#include "printing/page_layout.h"

namespace quillbay {

/// Draws a page on the sheets that it is printed on: their edges, what the printer cannot reach, the page's parts
/// with their overlaps, and the direction in which a page is read.
class SheetDrawing final : public QWidget {
 public:
  explicit SheetDrawing(QWidget* parent = nullptr);
  /// Nothing: an empty place.
  void setLayoutOf(std::optional<PageLayout> layout);
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void paintHint();

  std::optional<PageLayout> m_layout;
};

}  // namespace quillbay
