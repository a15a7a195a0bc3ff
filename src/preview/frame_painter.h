#pragma once
#include <QPainter>
#include <QRegion>
#include <span>

#include "quillbay/geometry.h"

namespace quillbay {

/// A frame as it is seen, in device-independent pixels.
struct PaintedFrame {
  KxRect pixels;
  bool isFragment = false;
  bool isActive = false;  ///< the keys change it
  bool operator==(const PaintedFrame&) const = default;
};

/// Draws frames over a picture in memory: what lies below is inverted, so that they are seen on every ground, with
/// handles, and dashes at `phase` run along them. The painter's image needs a format without transparency.
void paintFrames(QPainter& painter, std::span<const PaintedFrame> frames, int phase);

/// All pixels that `paintFrames` may touch.
[[nodiscard]] QRegion touchedBy(const PaintedFrame& frame);

}  // namespace quillbay
