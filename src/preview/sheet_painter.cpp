#include "preview/sheet_painter.h"

#include <QFontMetrics>
#include <QPolygonF>
#include <algorithm>

namespace quillbay {

namespace {

constexpr double kHalfSquare = 3.5, kKnob = 4.5;
constexpr int kPad = 5, kGapBelow = 12;
constexpr int kTouched = 6;  // of lines and handles beside the outline

QPointF pointAt(const tagRPOINT& p) { return {p.x, p.y}; }

QPolygonF polygonOf(const SheetPlaces& places) {
  QPolygonF line;
  for (const tagRPOINT& corner : places.corners) line << pointAt(corner);
  return line << line.front();
}

/// At the lower edge's middle, held inside the room.
QRect labelOf(const PaintedSheet& sheet, const QRect& room, const QFont& font) {
  if (sheet.numbers.isEmpty()) return {};
  const QFontMetrics metrics(font);
  QRect label(0, 0, metrics.horizontalAdvance(sheet.numbers) + 2 * kPad, metrics.height() + kPad);
  label.setWidth(std::min(label.width(), room.width()));
  const tagRPOINT& foot = sheet.places.handles[kBottom];
  label.moveCenter({qRound(foot.x), 0});
  label.moveBottom(qRound(foot.y) - kGapBelow);
  label.moveLeft(std::clamp(label.left(), room.left(), std::max(room.left(), room.right() - label.width() + 1)));
  label.moveTop(std::clamp(label.top(), room.top(), std::max(room.top(), room.bottom() - label.height() + 1)));
  return label;
}

void paintLabel(QPainter& painter, const PaintedSheet& sheet, const QRect& room, const QFont& font) {
  const QRect label = labelOf(sheet, room, font);
  if (label.isEmpty()) return;
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0, 60, 30, 220));
  painter.drawRoundedRect(label, 3, 3);
  painter.setPen(Qt::white);
  painter.setFont(font);
  const QRect text = label.adjusted(kPad, 0, -kPad, 0);
  painter.drawText(text, Qt::AlignCenter | Qt::TextSingleLine,
                   QFontMetrics(font).elidedText(sheet.numbers, Qt::ElideRight, text.width()));
}

}  // namespace

void paintSheet(QPainter& painter, const PaintedSheet& sheet, const QRect& room, const QFont& font) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(Qt::NoBrush);
  const QPolygonF outline = polygonOf(sheet.places);
  // A light line under the green one: it is seen on every ground.
  painter.setPen(
      QPen(QColor(255, 255, 255, 200), sheet.isActive ? 5 : 4, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  painter.drawPolyline(outline);
  painter.setPen(QPen(QColor(kSheetGreen), sheet.isActive ? 3 : 2, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  painter.drawPolyline(outline);
  if (sheet.hasHandles) {
    painter.drawLine(pointAt(sheet.places.handles[kTop]), pointAt(sheet.places.knob));
    painter.setPen(QPen(QColor(kSheetGreen), 1.5));
    painter.setBrush(Qt::white);
    for (const tagRPOINT& handle : sheet.places.handles) {
      painter.drawRect(QRectF(handle.x - kHalfSquare, handle.y - kHalfSquare, 2 * kHalfSquare, 2 * kHalfSquare));
    }
    painter.drawEllipse(pointAt(sheet.places.knob), kKnob, kKnob);
  }
  paintLabel(painter, sheet, room, font);
  painter.restore();
}

QRegion touchedBy(const PaintedSheet& sheet, const QRect& room, const QFont& font) {
  const QRect all = polygonOf(sheet.places).boundingRect().toAlignedRect();
  return QRegion(all.adjusted(-kTouched, -kTouched, kTouched, kTouched)) + labelOf(sheet, room, font);
}

}  // namespace quillbay
