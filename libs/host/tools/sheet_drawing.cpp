#include "host/tools/sheet_drawing.h"

#include <QPainter>
#include <algorithm>

#include "host/tools/tool_base.h"

namespace quillbay {

namespace {

/// More sheets than these are not told apart in so small a picture.
constexpr std::int64_t kMostDrawn = 12;
constexpr double kGap = 6;  // between sheets
constexpr double kEdge = 4;

/// A sheet with what is printed on it, in a place of the picture.
class SheetPainter {
 public:
  SheetPainter(QPainter& painter, const PageLayout& layout, const QPalette& palette, double scale)
      : m_painter(painter), m_layout(layout), m_palette(palette), m_scale(scale) {}

  void draw(QPointF corner, const PrintSheet& sheet, double length) {
    const QRectF paper(corner, QSizeF(m_layout.sheetWidth * m_scale, length * m_scale));
    m_painter.setPen(QPen(m_palette.color(QPalette::Mid), 1));
    m_painter.setBrush(Qt::white);  // paper is white in every theme
    m_painter.drawRect(paper);
    drawMargins(paper);
    const double x = toMm(sheet.x, m_layout.resolution.x), y = toMm(sheet.y, m_layout.resolution.y);
    const QRectF part(
        corner + QPointF(x, y) * m_scale,
        QSizeF(toMm(sheet.width, m_layout.resolution.x), toMm(sheet.lines, m_layout.resolution.y)) * m_scale);
    QColor filled = m_palette.color(QPalette::Highlight);
    filled.setAlpha(90);
    m_painter.setPen(QPen(m_palette.color(QPalette::Highlight), 1));
    m_painter.setBrush(filled);
    m_painter.drawRect(part);
    drawText(part);
  }

 private:
  static double toMm(std::int64_t pixels, std::uint32_t dpi) {
    return dpi == 0 ? 0 : static_cast<double>(pixels) * 25.4 / dpi;
  }

  void drawMargins(const QRectF& paper) {
    const PrintMargins& m = m_layout.media.margins;
    m_painter.setPen(QPen(QColor(0xB0, 0xB0, 0xB0), 1, Qt::DotLine));
    m_painter.setBrush(Qt::NoBrush);
    m_painter.drawRect(paper.adjusted(m.left * m_scale, m.top * m_scale, -m.right * m_scale, -m.bottom * m_scale));
  }

  /// An "A" that stands as the page's text will.
  void drawText(const QRectF& part) {
    m_painter.save();
    m_painter.translate(part.center());
    if (m_layout.isTurned) m_painter.rotate(90);
    QFont font = m_painter.font();
    const double size = std::min(part.width(), part.height()) / 2;
    font.setPixelSize(std::clamp(static_cast<int>(size), 4, 48));
    m_painter.setFont(font);
    m_painter.setPen(QColor(0x40, 0x40, 0x40));
    m_painter.drawText(QRectF(-40, -40, 80, 80), Qt::AlignCenter, QStringLiteral("A"));
    m_painter.restore();
  }

  QPainter& m_painter;
  const PageLayout& m_layout;
  const QPalette& m_palette;
  const double m_scale;
};

}  // namespace

SheetDrawing::SheetDrawing(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void SheetDrawing::setLayoutOf(std::optional<PageLayout> layout) {
  m_layout = std::move(layout);
  update();
}

QSize SheetDrawing::sizeHint() const {
  return {fontMetrics().averageCharWidth() * 26, fontMetrics().height() * 14};
}

QSize SheetDrawing::minimumSizeHint() const {
  return {fontMetrics().averageCharWidth() * 26, fontMetrics().height() * 6};
}

/// What will be there.
void SheetDrawing::paintHint() {
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::PlaceholderText));
  painter.drawText(rect().adjusted(8, 8, -8, -8), Qt::AlignCenter | Qt::TextWordWrap,
                   toolText("The sheets are drawn here when the printer is known."));
}

void SheetDrawing::paintEvent(QPaintEvent*) {
  if (!m_layout || m_layout->sheetWidth <= 0) return paintHint();
  const PageLayout& layout = *m_layout;
  const std::int64_t columns = std::clamp<std::int64_t>(layout.columns, 1, kMostDrawn);
  const std::int64_t rows = std::clamp<std::int64_t>(layout.rows == 0 ? 2 : layout.rows, 1, kMostDrawn);
  // A roll is cut where the page ends; without an end a piece is drawn.
  const double length = layout.sheetLength > 0 ? layout.sheetLength : layout.sheetWidth * 1.4;
  const double scale = std::min(
      (width() - 2 * kEdge - kGap * static_cast<double>(columns - 1)) /
          (layout.sheetWidth * static_cast<double>(columns)),
      (height() - 2 * kEdge - kGap * static_cast<double>(rows - 1)) / (length * static_cast<double>(rows)));
  if (scale <= 0) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  SheetPainter sheets(painter, layout, palette(), scale);
  const double step = layout.sheetWidth * scale + kGap, down = length * scale + kGap;
  const QPointF corner((width() - step * static_cast<double>(columns) + kGap) / 2,
                       (height() - down * static_cast<double>(rows) + kGap) / 2);
  for (std::int64_t row = 0; row < rows; ++row) {
    for (std::int64_t column = 0; column < columns; ++column) {
      sheets.draw(corner + QPointF(step * static_cast<double>(column), down * static_cast<double>(row)),
                  layout.sheet(column, row), length);
    }
  }
}

}  // namespace quillbay
