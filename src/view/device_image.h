#pragma once
#include <QImage>
#include <QPainter>
#include <numbers>

#include "quillbay/view.h"

namespace quillbay {

/// Draws device pixels at `x`, `y` of the view that `t` would show without its rotation, which the painter applies.
/// `ratio` is the number of device pixels of a client pixel. With a stretch mode other than 0 a turned image is
/// smooth.
inline void drawDeviceImage(QPainter& painter, const CRTfm& t, double ratio, int stretchMode, int x, int y,
                            const QImage& image) {
  painter.save();
  if (t.angle != 0) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform, stretchMode != 0);
    painter.translate(t.offsetX, t.offsetY);
    painter.rotate(t.angle * 180 / std::numbers::pi);
  }
  painter.scale(1 / ratio, 1 / ratio);
  painter.drawImage(x, y, image);
  painter.restore();
}

}  // namespace quillbay
