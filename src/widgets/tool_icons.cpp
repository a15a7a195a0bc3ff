#include "widgets/tool_icons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <memory>

namespace quillbay {

namespace {

/// Pictures are drawn on a grid of 24 by 24.
constexpr qreal kGrid = 24;

/// Points to the right, halfway up the grid.
QPainterPath arrow(qreal left, qreal top, qreal width) {
  QPainterPath path;
  path.moveTo(left, top);
  path.lineTo(left + width, kGrid / 2);
  path.lineTo(left, kGrid - top);
  path.closeSubpath();
  return path;
}

QPainterPath ejectShape() {
  QPainterPath path;
  path.moveTo(12, 4);
  path.lineTo(20, 14);
  path.lineTo(4, 14);
  path.closeSubpath();
  path.addRect(4, 17, 16, 3);
  return path;
}

QPainterPath filledShape(ToolIcon icon) {
  QPainterPath path;
  switch (icon) {
    case ToolIcon::Scan: return arrow(7, 4, 12);
    case ToolIcon::Batch:
      path.addPath(arrow(3, 5, 9));
      path.addPath(arrow(12, 5, 9));
      break;
    case ToolIcon::Stop: path.addRect(6, 6, 12, 12); break;
    case ToolIcon::StopAfterPage:
      path.addPath(arrow(5, 5, 9));
      path.addRect(16, 5, 3, 14);
      break;
    case ToolIcon::Eject: return ejectShape();
    case ToolIcon::ScanFragment: return arrow(9, 7.5, 7);
    default: break;
  }
  return path;
}

/// In a circle.
void strokeQuestionMark(QPainter& painter) {
  painter.drawEllipse(QPointF(12, 12), 9, 9);
  QPainterPath hook;
  hook.moveTo(8.8, 9.6);
  hook.cubicTo(8.8, 5.6, 15.2, 5.6, 15.2, 9.4);
  hook.cubicTo(15.2, 11.8, 12, 11.6, 12, 14);
  painter.drawPath(hook);
  painter.drawPoint(QPointF(12, 17.2));
}

/// A magnifying glass, with what it does in it.
void strokeGlass(QPainter& painter, ToolIcon icon) {
  painter.drawEllipse(QPointF(10, 10), 6.5, 6.5);
  painter.drawLine(QPointF(15, 15), QPointF(20.5, 20.5));
  if (icon == ToolIcon::ZoomPixels) {
    painter.drawPoint(QPointF(10, 8.5));
    painter.drawPoint(QPointF(10, 11.5));
    painter.drawLine(QPointF(7.2, 7.5), QPointF(7.2, 12.5));
    painter.drawLine(QPointF(12.8, 7.5), QPointF(12.8, 12.5));
    return;
  }
  painter.drawLine(QPointF(7, 10), QPointF(13, 10));
  if (icon == ToolIcon::ZoomIn) painter.drawLine(QPointF(10, 7), QPointF(10, 13));
}

/// Four corners around a sheet.
void strokeAll(QPainter& painter) {
  painter.drawRect(QRectF(8, 8, 8, 8));
  for (const int x : {-1, 1}) {
    for (const int y : {-1, 1}) {
      const QPointF corner(12 + x * 9, 12 + y * 9);
      painter.drawLine(corner, corner - QPointF(x * 4, 0));
      painter.drawLine(corner, corner - QPointF(0, y * 4));
    }
  }
}

/// An arrow to the left (-1) or to the right (1).
void strokeArrow(QPainter& painter, int to) {
  const QPointF tip(12 + to * 8, 12);
  painter.drawLine(QPointF(12 - to * 8, 12), tip);
  painter.drawLine(tip, tip + QPointF(-to * 6, -6));
  painter.drawLine(tip, tip + QPointF(-to * 6, 6));
}

void strokePlus(QPainter& painter, QPointF at) {
  painter.drawLine(at - QPointF(3.5, 0), at + QPointF(3.5, 0));
  painter.drawLine(at - QPointF(0, 3.5), at + QPointF(0, 3.5));
}

/// The tools of the preview: frames on it, and where it stands. A fragment is dashed.
void strokePreviewTool(QPainter& painter, ToolIcon icon) {
  const QPen solid = painter.pen();
  QPen dashed = solid;
  dashed.setDashPattern({2, 1.7});
  const bool isFragment =
      icon == ToolIcon::NewFragment || icon == ToolIcon::AreaFromFragment || icon == ToolIcon::ScanFragment;
  painter.setPen(isFragment ? dashed : solid);
  switch (icon) {
    case ToolIcon::NewArea:
    case ToolIcon::NewFragment:
      painter.drawRect(QRectF(3, 8, 13, 12));
      painter.setPen(solid);
      strokePlus(painter, {18.5, 5.5});
      break;
    case ToolIcon::AreaFromFragment:
      painter.drawRect(QRectF(7.5, 7.5, 9, 9));
      painter.setPen(solid);
      for (const int way : {-1, 1}) {
        const QPointF tip(12 + way * 9, 12 + way * 9);
        painter.drawLine(QPointF(12, 12), tip);
        painter.drawLine(tip, tip - QPointF(way * 4.5, 0));
        painter.drawLine(tip, tip - QPointF(0, way * 4.5));
      }
      break;
    case ToolIcon::ScanFragment: painter.drawRect(QRectF(3, 3.5, 18, 17)); break;
    case ToolIcon::PauseUpdating:
      painter.drawArc(QRectF(4.5, 4.5, 15, 15), 40 * 16, 290 * 16);
      painter.drawLine(QPointF(17.7, 7.2), QPointF(18.4, 2.8));
      painter.drawLine(QPointF(17.7, 7.2), QPointF(13.2, 6.6));
      painter.drawLine(QPointF(4, 20), QPointF(20, 4));
      break;
    case ToolIcon::Dock:
      painter.drawRect(QRectF(3, 4, 18, 16));
      painter.drawLine(QPointF(12, 4), QPointF(12, 20));
      break;
    case ToolIcon::Float:
      painter.drawRect(QRectF(3, 9, 12, 11));
      painter.drawLine(QPointF(9, 9), QPointF(9, 4));
      painter.drawLine(QPointF(9, 4), QPointF(21, 4));
      painter.drawLine(QPointF(21, 4), QPointF(21, 15));
      painter.drawLine(QPointF(21, 15), QPointF(15, 15));
      break;
    default: break;
  }
}

/// What is drawn with lines: a sheet under a magnifying glass, a sheet with a marked part, a window with a bar.
void strokeShape(QPainter& painter, ToolIcon icon) {
  painter.setBrush(Qt::NoBrush);
  switch (icon) {
    case ToolIcon::Preview:
      painter.drawRect(QRectF(4, 3, 12, 17));
      painter.drawEllipse(QPointF(14, 13), 5, 5);
      painter.drawLine(QPointF(17.6, 16.6), QPointF(21.5, 20.5));
      break;
    case ToolIcon::PreviewArea: {
      painter.drawRect(QRectF(4, 3, 16, 18));
      QPen dashed = painter.pen();
      dashed.setDashPattern({2, 1.5});
      painter.setPen(dashed);
      painter.drawRect(QRectF(8, 8, 8, 7));
      break;
    }
    case ToolIcon::Layout:
      painter.drawRect(QRectF(4, 5, 16, 14));
      painter.drawLine(QPointF(4, 9), QPointF(20, 9));
      painter.drawLine(QPointF(8, 15.5), QPointF(12, 12));
      painter.drawLine(QPointF(12, 12), QPointF(16, 15.5));
      break;
    case ToolIcon::View:
      painter.drawRect(QRectF(3, 4, 18, 16));
      painter.drawLine(QPointF(3.5, 17), QPointF(9, 11));
      painter.drawLine(QPointF(9, 11), QPointF(13, 15));
      painter.drawLine(QPointF(13, 15), QPointF(16, 12.5));
      painter.drawLine(QPointF(16, 12.5), QPointF(20.5, 17));
      break;
    case ToolIcon::ZoomIn:
    case ToolIcon::ZoomOut:
    case ToolIcon::ZoomPixels: strokeGlass(painter, icon); break;
    case ToolIcon::ZoomAll: strokeAll(painter); break;
    case ToolIcon::ZoomBack: strokeArrow(painter, -1); break;
    case ToolIcon::ZoomForward: strokeArrow(painter, 1); break;
    case ToolIcon::Help: strokeQuestionMark(painter); break;
    default: strokePreviewTool(painter, icon); break;
  }
}

class ToolIconEngine final : public QIconEngine {
 public:
  ToolIconEngine(ToolIcon icon, const QPalette& palette) : m_icon(icon), m_palette(palette) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const QColor color = m_palette.color(group, QPalette::ButtonText);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(rect.topLeft());
    painter->scale(rect.width() / kGrid, rect.height() / kGrid);
    painter->fillPath(filledShape(m_icon), color);
    painter->setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::MiterJoin));
    strokeShape(*painter, m_icon);
    painter->restore();
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap picture(size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return picture;
  }

  QIconEngine* clone() const override { return std::make_unique<ToolIconEngine>(m_icon, m_palette).release(); }

 private:
  ToolIcon m_icon;
  QPalette m_palette;
};

}  // namespace

QIcon toolIcon(ToolIcon icon, const QPalette& palette) {
  // The icon owns its engine.
  return QIcon(std::make_unique<ToolIconEngine>(icon, palette).release());
}

}  // namespace quillbay
