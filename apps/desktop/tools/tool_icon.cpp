#include "tools/tool_icon.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <algorithm>
#include <optional>

namespace desktop {

namespace {

/// Pictures are drawn on a square of this side, its strokes on the grid.
constexpr double kSide = 16;

class ToolIconEngine final : public QIconEngine {
 public:
  ToolIconEngine(ToolWork work, std::optional<ToolShape> shape) : m_work(work), m_shape(shape) {}

  QIconEngine* clone() const override { return new ToolIconEngine(m_work, m_shape); }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap picture(size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return picture;
  }
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const QPalette palette = QGuiApplication::palette();
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
    m_line = palette.color(group, role);
    m_accent = mode == QIcon::Normal || mode == QIcon::Active ? palette.color(group, QPalette::Highlight) : m_line;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const double side = std::min(rect.width(), rect.height());
    painter->translate(rect.x() + (rect.width() - side) / 2, rect.y() + (rect.height() - side) / 2);
    painter->scale(side / kSide, side / kSide);
    draw(*painter);
    painter->restore();
  }

 private:
  void pen(QPainter& painter, const QColor& colour, double width = 1.2, Qt::PenStyle style = Qt::SolidLine) const {
    painter.setPen(QPen(colour, width, style, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
  }
  void node(QPainter& painter, double x, double y) const {
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_accent);
    painter.drawRect(QRectF(x - 1.5, y - 1.5, 3, 3));
  }
  [[nodiscard]] QPainterPath outline() const {
    QPainterPath path;
    switch (m_shape.value_or(ToolShape::Polygon)) {
      case ToolShape::Frame: path.addRect(2.5, 3.5, 11, 9); break;
      case ToolShape::TurnedFrame:
        path.addPolygon(QPolygonF({{2, 6}, {11, 2.5}, {14, 9.5}, {5, 13.5}, {2, 6}}));
        break;
      case ToolShape::Circle:
      case ToolShape::CircleByDiameter: path.addEllipse(2.5, 2.5, 11, 11); break;
      case ToolShape::Freehand:
        path.moveTo(3, 8);
        path.cubicTo(2, 2, 8, 1, 9, 4);
        path.cubicTo(10, 6, 15, 4, 14, 9);
        path.cubicTo(13, 14, 9, 10, 7, 13);
        path.cubicTo(5, 15, 3, 12, 3, 8);
        break;
      case ToolShape::Polyhand:
        path.moveTo(3, 13);
        path.lineTo(3, 4);
        path.lineTo(8, 2.5);
        path.cubicTo(9, 8, 15, 5, 13.5, 12);
        path.lineTo(3, 13);
        break;
      default: path.addPolygon(QPolygonF({{2.5, 6}, {8, 2.5}, {13.5, 7}, {11, 13.5}, {4, 12.5}, {2.5, 6}})); break;
    }
    return path;
  }
  void drawLength(QPainter& painter) const {
    pen(painter, m_line);
    painter.drawRect(QRectF(1.5, 8.5, 13, 5));
    for (const double x : {4.5, 7.5, 10.5}) painter.drawLine(QPointF(x, 8.5), QPointF(x, 11));
    pen(painter, m_accent);
    painter.drawLine(QPointF(2, 4.5), QPointF(14, 4.5));
    painter.drawPolyline(QPolygonF({{4, 2.5}, {2, 4.5}, {4, 6.5}}));
    painter.drawPolyline(QPolygonF({{12, 2.5}, {14, 4.5}, {12, 6.5}}));
    if (m_shape == ToolShape::NextPoint) node(painter, 2, 4.5);
  }
  void drawPlace(QPainter& painter) const {
    pen(painter, m_line);
    painter.drawPolyline(QPolygonF({{14, 2.5}, {2.5, 2.5}, {2.5, 14}}));
    pen(painter, m_line, 1, Qt::DotLine);
    painter.drawLine(QPointF(10.5, 3), QPointF(10.5, 9));
    painter.drawLine(QPointF(3, 10.5), QPointF(9, 10.5));
    node(painter, 10.5, 10.5);
  }
  void drawPath(QPainter& painter) const {
    const QPolygonF line({{2.5, 12.5}, {5.5, 4.5}, {10, 10}, {13.5, 3}});
    pen(painter, m_line);
    painter.drawPolyline(line);
    for (const QPointF& at : line) node(painter, at.x(), at.y());
  }
  void drawAngle(QPainter& painter) const {
    pen(painter, m_line);
    painter.drawPolyline(QPolygonF({{11, 2.5}, {2.5, 13}, {14, 13}}));
    pen(painter, m_accent);
    painter.drawArc(QRectF(-4.5, 6, 14, 14), 0, 50 * 16);
  }
  void drawArea(QPainter& painter) const {
    QColor inside = m_accent;
    inside.setAlphaF(0.35F);
    pen(painter, m_line);
    painter.setBrush(inside);
    painter.drawPath(outline());
    if (m_shape == ToolShape::Circle) node(painter, 8, 8);
    if (m_shape != ToolShape::CircleByDiameter) return;
    node(painter, 2.5, 8);
    node(painter, 13.5, 8);
  }
  void drawCrop(QPainter& painter) const {
    if (m_shape == ToolShape::TurnedFrame) {
      painter.translate(8, 8);
      painter.rotate(-20);
      painter.scale(0.86, 0.86);
      painter.translate(-8, -8);
    }
    pen(painter, m_line, 1.4);
    painter.drawPolyline(QPolygonF({{4.5, 1}, {4.5, 11.5}, {15, 11.5}}));
    pen(painter, m_accent, 1.4);
    painter.drawPolyline(QPolygonF({{1, 4.5}, {11.5, 4.5}, {11.5, 15}}));
  }
  void drawStraighten(QPainter& painter) const {
    pen(painter, m_line);
    painter.drawPolygon(QPolygonF({{3.5, 2.5}, {14, 5}, {12, 14}, {1.5, 11.5}}));
    pen(painter, m_accent, 1.6);
    painter.drawLine(QPointF(0.8, 8), QPointF(15.2, 8));
  }
  /// What is erased is hatched; what stays has the picture's line.
  void drawFill(QPainter& painter, bool erases) const {
    QPainterPath page;
    page.addRect(0.8, 0.8, 14.4, 14.4);
    QPainterPath hole = outline();
    const QPainterPath gone = erases ? hole : page.subtracted(hole);
    painter.save();
    painter.setClipPath(gone);
    pen(painter, m_accent, 1);
    for (int x = -16; x < 17; x += 3) painter.drawLine(QPointF(x, 16), QPointF(x + 16, 0));
    painter.restore();
    pen(painter, m_line);
    painter.drawPath(hole);
    if (erases) return;
    pen(painter, m_line, 0.8, Qt::DotLine);
    painter.drawPath(page);
  }
  void frame(QPainter& painter, const QRectF& rect) const {
    pen(painter, m_accent, 1.2, Qt::DashLine);
    painter.drawRect(rect);
  }
  void drawCopy(QPainter& painter) const {
    frame(painter, {1.5, 1.5, 9, 9});
    pen(painter, m_line);
    painter.drawPolyline(QPolygonF({{6.5, 13}, {6.5, 14.5}, {14.5, 14.5}, {14.5, 6.5}, {13, 6.5}}));
  }
  void drawSave(QPainter& painter) const {
    frame(painter, {3.5, 1.5, 9, 6});
    pen(painter, m_line, 1.4);
    painter.drawLine(QPointF(8, 4.5), QPointF(8, 11.5));
    painter.drawPolyline(QPolygonF({{5.5, 9}, {8, 11.5}, {10.5, 9}}));
    painter.drawPolyline(QPolygonF({{1.5, 11.5}, {1.5, 14.5}, {14.5, 14.5}, {14.5, 11.5}}));
  }
  void drawScan(QPainter& painter) const {
    frame(painter, {3.5, 1.5, 9, 5});
    pen(painter, m_line);
    painter.drawRect(QRectF(1.5, 10.5, 13, 4));
    pen(painter, m_accent, 1.6);
    painter.drawLine(QPointF(1, 8.6), QPointF(15, 8.6));
  }
  void draw(QPainter& painter) const {
    switch (m_work) {
      case ToolWork::MeasurePlace: return drawPlace(painter);
      case ToolWork::MeasureLength: return drawLength(painter);
      case ToolWork::MeasurePath: return drawPath(painter);
      case ToolWork::MeasureAngle: return drawAngle(painter);
      case ToolWork::MeasureArea: return drawArea(painter);
      case ToolWork::Crop: return drawCrop(painter);
      case ToolWork::Straighten: return drawStraighten(painter);
      case ToolWork::EraseInside: return drawFill(painter, true);
      case ToolWork::KeepInside: return drawFill(painter, false);
      case ToolWork::CopyFrame: return drawCopy(painter);
      case ToolWork::SaveFrame: return drawSave(painter);
      case ToolWork::ScanAgain: return drawScan(painter);
    }
  }

  const ToolWork m_work;
  const std::optional<ToolShape> m_shape;
  QColor m_line, m_accent;
};

}  // namespace

QIcon toolIcon(ToolWork work, const ToolShape* shape) {
  return QIcon(new ToolIconEngine(work, shape ? std::optional(*shape) : std::nullopt));
}

}  // namespace desktop
