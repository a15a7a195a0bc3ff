#include "preview/frame_painter.h"

#include <QPolygonF>

#include "preview/frame_rules.h"

namespace quillbay {

namespace {

/// Dashes and gaps together divide the number of phases, so that they run on without a jump.
constexpr qreal kDash = 10, kGap = 7;
constexpr int kReach = 4;  // of handles and thick lines beside the edge

QRect rectOf(const KxRect& r) { return {r.left, r.top, r.right - r.left, r.bottom - r.top}; }

QPolygonF outlineOf(const KxRect& frame, int phase) {
  QPolygonF line;
  for (const KxPoint& p : dashOutline(frame, phase)) line << QPointF(p.x + 0.5, p.y + 0.5);
  return line;
}

QPen dashedPen(const QColor& colour, qreal width, qreal offset) {
  QPen pen(colour, width, Qt::CustomDashLine, Qt::FlatCap, Qt::MiterJoin);
  pen.setDashPattern({kDash / width, kGap / width});
  pen.setDashOffset(offset / width);
  return pen;
}

/// On a ground of many tones a square that is only inverted is lost.
void paintHandles(QPainter& painter, const PaintedFrame& frame) {
  painter.setPen(QPen(frame.isFragment ? Qt::red : Qt::blue, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  for (int zone = kTopLeft; zone < kWhole; ++zone) {
    painter.drawRect(QRectF(rectOf(handleOf(frame.pixels, zone))).adjusted(0.5, 0.5, -0.5, -0.5));
  }
}

}  // namespace

void paintFrames(QPainter& painter, std::span<const PaintedFrame> frames, int phase) {
  painter.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
  QRegion handles;  // of both: inverted twice they would not be seen
  for (const PaintedFrame& frame : frames) {
    painter.setPen(QPen(frame.isFragment ? Qt::blue : Qt::yellow, 1, Qt::DashLine, Qt::FlatCap, Qt::MiterJoin));
    painter.drawPolyline(outlineOf(frame.pixels, 0));
    for (int zone = kTopLeft; zone < kWhole; ++zone) handles += rectOf(handleOf(frame.pixels, zone));
  }
  for (const QRect& handle : handles) painter.fillRect(handle, Qt::white);
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  for (const PaintedFrame& frame : frames) {
    // Half a dash on: where both frames lie on one another both are seen.
    const qreal offset = frame.isFragment ? kDash / 2 : 0;
    painter.setPen(dashedPen(frame.isFragment ? Qt::red : Qt::blue, frame.isActive ? 2 : 1, offset));
    painter.drawPolyline(outlineOf(frame.pixels, phase));
    paintHandles(painter, frame);
  }
}

QRegion touchedBy(const PaintedFrame& frame) {
  const QRect r = rectOf(frame.pixels);
  return QRegion(r.adjusted(-kReach, -kReach, kReach, kReach)) -
         QRegion(r.adjusted(kReach, kReach, -kReach, -kReach));
}

}  // namespace quillbay
