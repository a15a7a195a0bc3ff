#include "preview/info_drawing.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <numbers>

namespace quillbay {

namespace {

constexpr double kWidth = 420, kHeight = 297;

QRectF sheet() { return {0, 0, kWidth, kHeight}; }

/// A closed line around `centre` that is no circle.
QPainterPath hill(const QPointF& centre, double radius, double phase) {
  constexpr int kSteps = 72;
  QPainterPath path;
  for (int i = 0; i <= kSteps; ++i) {
    const double a = i * 2 * std::numbers::pi / kSteps;
    const double r = radius * (1 + 0.18 * std::sin(2 * a + phase) + 0.09 * std::sin(5 * a - phase));
    const QPointF at = centre + QPointF(1.35 * r * std::cos(a), r * std::sin(a));
    i == 0 ? path.moveTo(at) : path.lineTo(at);
  }
  path.closeSubpath();
  return path;
}

QPainterPath smooth(const QList<QPointF>& points) {
  QPainterPath path(points.front());
  for (qsizetype i = 1; i < points.size(); ++i) {
    const QPointF from = points[i - 1], to = points[i], mid = (from + to) / 2;
    path.cubicTo(QPointF(mid.x(), from.y()), QPointF(mid.x(), to.y()), to);
  }
  return path;
}

void drawWalls(QPainter& painter) {
  painter.setPen(QPen(Qt::black, 6, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  painter.drawRect(QRectF(40, 40, 300, 200));
  painter.setPen(QPen(Qt::black, 4, Qt::SolidLine, Qt::FlatCap));
  painter.drawLines(QList<QLineF>{{170, 40, 170, 95},
                                  {170, 135, 170, 240},
                                  {170, 150, 255, 150},
                                  {290, 150, 340, 150},
                                  {255, 150, 255, 190},
                                  {40, 150, 90, 150},
                                  {130, 150, 170, 150}});
  // Doors: an opening, a leaf and its swing.
  painter.setPen(QPen(Qt::black, 1.2));
  for (const auto& [hinge, start] :
       {std::pair(QPointF(170, 95), 180), std::pair(QPointF(90, 150), 270), std::pair(QPointF(290, 150), 180)}) {
    painter.drawArc(QRectF(hinge - QPointF(38, 38), QSizeF(76, 76)), start * 16, 90 * 16);
  }
  painter.drawLine(QLineF(170, 95, 132, 95));
  painter.drawLine(QLineF(90, 150, 90, 188));
  painter.drawLine(QLineF(290, 150, 252, 150));
}

void drawPlan(QPainter& painter) {
  painter.fillRect(sheet(), Qt::white);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::black, 1.5));
  painter.drawRect(sheet().adjusted(10, 10, -10, -10));
  drawWalls(painter);
  painter.setPen(QPen(Qt::black, 1));
  // Stairs, hatching of a yard, dimensions.
  for (int i = 0; i <= 8; ++i) painter.drawLine(QLineF(262 + i * 9, 156, 262 + i * 9, 186));
  for (int i = 0; i < 12; ++i) painter.drawLine(QLineF(352 + i * 4, 90, 346 + i * 4, 100));
  painter.drawEllipse(QRectF(80, 72, 46, 46));
  painter.drawRect(QRectF(200, 70, 90, 44));
  painter.drawLine(QLineF(40, 262, 340, 262));
  for (const double x : {40.0, 170.0, 255.0, 340.0}) {
    painter.drawLine(QLineF(x, 248, x, 270));
    painter.drawLine(QLineF(x - 4, 266, x + 4, 258));
  }
  painter.drawRect(QRectF(352, 200, 58, 87));
  for (const double y : {222.0, 236.0, 250.0, 264.0}) painter.drawLine(QLineF(352, y, 410, y));
  painter.setBrush(Qt::black);
  painter.drawPolygon(QPolygonF({{381, 30}, {390, 62}, {381, 54}}));
  painter.setBrush(Qt::NoBrush);
  painter.drawPolygon(QPolygonF({{381, 30}, {372, 62}, {381, 54}}));
}

void drawRelief(QPainter& painter) {
  QLinearGradient ground(0, 0, kWidth, kHeight);
  ground.setColorAt(0, QColor(0x8a, 0x8a, 0x8a));
  ground.setColorAt(1, QColor(0x55, 0x55, 0x55));
  painter.fillRect(sheet(), ground);
  struct Hill {
    QPointF at;
    double radius, phase;
  };
  for (const Hill& h : {Hill{{120, 110}, 105, 0.4}, Hill{{300, 190}, 95, 2.1}, Hill{{330, 60}, 60, 4.0}}) {
    constexpr int kLevels = 7;
    for (int i = 0; i < kLevels; ++i) {
      const double part = 1.0 - double(i) / kLevels;
      // Light from the upper left: each level is brighter there.
      QLinearGradient tone(h.at - QPointF(h.radius, h.radius) * part, h.at + QPointF(h.radius, h.radius) * part);
      const int light = std::min(255, 120 + i * 21);
      tone.setColorAt(0, QColor(light, light, light));
      tone.setColorAt(1, QColor(light / 2, light / 2, light / 2));
      painter.setBrush(tone);
      painter.setPen(QPen(QColor(0, 0, 0, 70), 0.8));
      painter.drawPath(hill(h.at - QPointF(4.0 * i, 4.0 * i), h.radius * part, h.phase + 0.12 * i));
    }
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(QColor(0xe8, 0xe8, 0xe8), 5, Qt::SolidLine, Qt::RoundCap));
  painter.drawPath(smooth({{-5, 250}, {90, 232}, {180, 200}, {215, 120}, {240, 40}, {250, -5}}));
}

void drawMap(QPainter& painter) {
  painter.fillRect(sheet(), QColor(0xf2, 0xe9, 0xc9));
  painter.setPen(QPen(QColor(0x6b, 0x5b, 0x3a), 1));
  struct Field {
    QRgb color;
    QPolygonF corners;
  };
  for (const Field& f : {Field{qRgb(0xc9, 0xdf, 0x9a), {{{0, 0}, {150, 0}, {120, 90}, {0, 120}}}},
                         Field{qRgb(0x8f, 0xbf, 0x76), {{{150, 0}, {290, 0}, {260, 80}, {120, 90}}}},
                         Field{qRgb(0xf3, 0xc9, 0x8b), {{{0, 120}, {120, 90}, {150, 190}, {0, 215}}}},
                         Field{qRgb(0xe9, 0xd8, 0x6f), {{{260, 150}, {420, 120}, {420, 230}, {300, 250}}}},
                         Field{qRgb(0x8f, 0xbf, 0x76), {{{0, 215}, {150, 190}, {170, 297}, {0, 297}}}},
                         Field{qRgb(0xd9, 0x8f, 0x7f), {{{320, 20}, {400, 30}, {390, 90}, {312, 80}}}}}) {
    painter.setBrush(QColor::fromRgb(f.color));
    painter.drawPolygon(f.corners);
  }
  painter.setBrush(Qt::NoBrush);
  const QPainterPath river = smooth({{-5, 165}, {80, 180}, {170, 120}, {230, 150}, {270, 230}, {330, 300}});
  painter.setPen(QPen(QColor(0x3a, 0x6f, 0xb0), 16, Qt::SolidLine, Qt::RoundCap));
  painter.drawPath(river);
  painter.setPen(QPen(QColor(0x8c, 0xc4, 0xea), 12, Qt::SolidLine, Qt::RoundCap));
  painter.drawPath(river);
  const QPainterPath road = smooth({{60, 300}, {130, 220}, {230, 200}, {300, 110}, {425, 100}});
  painter.setPen(QPen(QColor(0x9c, 0x2f, 0x23), 8));
  painter.drawPath(road);
  painter.setPen(QPen(QColor(0xff, 0xe2, 0xa8), 5));
  painter.drawPath(road);
  painter.setPen(QPen(QColor(0x40, 0x28, 0x20), 1));
  painter.setBrush(QColor(0xb9, 0x3c, 0x2c));
  for (const QPointF& house : {QPointF(250, 172), {268, 184}, {238, 212}, {276, 160}, {215, 216}, {345, 112}})
    painter.drawRect(QRectF(house, QSizeF(11, 8)));
}

void drawWater(QPainter& painter) {
  QLinearGradient water(0, 205, 0, kHeight);
  water.setColorAt(0, QColor(0x6f, 0xb7, 0xd6));
  water.setColorAt(1, QColor(0x1f, 0x5f, 0x8b));
  painter.setBrush(water);
  painter.drawRect(QRectF(0, 205, kWidth, kHeight - 205));
  painter.setBrush(QColor(255, 236, 190, 110));
  for (int i = 0; i < 7; ++i) painter.drawEllipse(QPointF(305, 212 + i * 11), 34 - i * 3.5, 1.8);
}

void drawLandscape(QPainter& painter) {
  QLinearGradient sky(0, 0, 0, 205);
  sky.setColorAt(0, QColor(0x2f, 0x6f, 0xc0));
  sky.setColorAt(0.7, QColor(0xbf, 0xdc, 0xf0));
  sky.setColorAt(1, QColor(0xfb, 0xdc, 0xa8));
  painter.fillRect(sheet(), sky);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xff, 0xf2, 0xb8));
  painter.drawEllipse(QPointF(305, 78), 27, 27);
  painter.setBrush(QColor(0x7f, 0x93, 0xb8));
  painter.drawPolygon(QPolygonF(
      {{0, 160}, {70, 95}, {120, 140}, {190, 60}, {265, 150}, {330, 105}, {420, 170}, {420, 206}, {0, 206}}));
  painter.setBrush(Qt::white);
  painter.drawPolygon(QPolygonF({{190, 60}, {168, 85}, {181, 92}, {192, 84}, {203, 94}, {211, 85}}));
  QLinearGradient slope(0, 120, 0, 215);
  slope.setColorAt(0, QColor(0x5f, 0x8f, 0x4a));
  slope.setColorAt(1, QColor(0x2f, 0x5f, 0x38));
  painter.setBrush(slope);
  QPainterPath hills = smooth({{0, 150}, {90, 175}, {180, 160}, {260, 195}, {420, 205}});
  hills.lineTo(kWidth, 215);
  hills.lineTo(0, 215);
  painter.drawPath(hills);
  drawWater(painter);
  painter.setBrush(QColor(0x1f, 0x45, 0x2b));
  for (int i = 0; i < 6; ++i) {
    const double x = 22 + i * 27.0, foot = 206 + (i % 3) * 6.0, height = 46 + (i % 2) * 16.0;
    painter.drawPolygon(QPolygonF({{x, foot - height}, {x + 14, foot}, {x - 14, foot}}));
  }
  painter.setBrush(QColor(0xc8, 0x3f, 0x2b));
  painter.drawPolygon(QPolygonF({{330, 246}, {330, 205}, {362, 240}}));
  painter.setBrush(QColor(0x6b, 0x3d, 0x22));
  painter.drawPolygon(QPolygonF({{310, 248}, {372, 248}, {362, 259}, {320, 259}}));
}

}  // namespace

QSizeF infoDrawingSize() { return {kWidth, kHeight}; }

void paintInfoDrawing(QPainter& painter, ColorClass colors) {
  switch (colors) {
    case kClassGrey: drawRelief(painter); break;
    case kClassPalette: drawMap(painter); break;
    case kClassColor: drawLandscape(painter); break;
    default: drawPlan(painter);
  }
}

}  // namespace quillbay
