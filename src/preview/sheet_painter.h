#pragma once
#include <QPainter>
#include <QRegion>
#include <QString>

#include "preview/sheet_rules.h"

namespace quillbay {

/// The outline of a found sheet.
inline constexpr QRgb kSheetGreen = qRgb(0, 150, 70);

/// A found sheet as it is seen, in device-independent pixels.
struct PaintedSheet {
  SheetPlaces places;
  bool isActive = false;    ///< the keys change it
  bool hasHandles = false;  ///< it can be changed
  QString numbers;          ///< what stands beside it: size and angle
};

/// Draws a found sheet over the picture: its outline, handles and knob, and its numbers on a ground of their own at
/// its lower edge, inside `room`.
void paintSheet(QPainter& painter, const PaintedSheet& sheet, const QRect& room, const QFont& font);

/// All pixels that `paintSheet` may touch.
[[nodiscard]] QRegion touchedBy(const PaintedSheet& sheet, const QRect& room, const QFont& font);

}  // namespace quillbay
