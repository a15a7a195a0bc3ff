#pragma once
#include <QSizeF>

#include "quillbay/scan_mode.h"

class QPainter;

namespace quillbay {

/// The size that `paintInfoDrawing` fills, in its own units: a sheet in landscape.
[[nodiscard]] QSizeF infoDrawingSize();
/// Draws an example of what a colour class is for: a floor plan, a relief, a coloured map, a landscape.
void paintInfoDrawing(QPainter& painter, ColorClass colors);

}  // namespace quillbay
