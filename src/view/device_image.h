#pragma once
#include <QImage>
#include <QPainter>
#include <cmath>
#include <numbers>

#include "quillbay/view.h"

namespace quillbay {

/// Makes the painter draw in device pixels, counted from where its client area begins on the device.
inline void toDevicePixels(QPainter& painter, double ratio) {
  const QTransform device = painter.deviceTransform();
  const QPointF origin = device.map(QPointF(0, 0));
  const QTransform wanted = QTransform::fromTranslate(std::round(origin.x()), std::round(origin.y()));
  bool possible = false;
  const QTransform back = device.inverted(&possible);
  if (possible) {
    painter.setWorldTransform(wanted * back * painter.worldTransform());
  } else {
    painter.scale(1 / ratio, 1 / ratio);
  }
}

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
    painter.scale(1 / ratio, 1 / ratio);
  } else {
    toDevicePixels(painter, ratio);
  }
  painter.drawImage(x, y, image);
  painter.restore();
}

}  // namespace quillbay
