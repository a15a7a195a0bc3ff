#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "quillbay/geometry.h"
#include "quillbay/raster.h"
#include "rasters/ops/rotate_kernels.h"

namespace quillbay {

/// A tile of the result, and the box of source pixels that its samples touch.
struct RotateTile {
  KxRect pixels;  ///< of the result
  KxRect box;     ///< of the source; may reach beyond it
};

/// A clockwise turn of a picture, about its centre onto a canvas that holds it whole, or onto a part of that.
class RotateFrame {
 public:
  RotateFrame(KxSize from, double radians)
      : m_from(from),
        m_cos(std::cos(radians)),
        m_sin(std::sin(radians)),
        m_centre{from.width / 2.0, from.height / 2.0} {
    // What is over a whole pixel by rounding only is no pixel more.
    constexpr double kSlack = 1e-6;
    const double w = std::abs(m_cos) * from.width + std::abs(m_sin) * from.height;
    const double h = std::abs(m_sin) * from.width + std::abs(m_cos) * from.height;
    m_width = static_cast<std::int64_t>(std::ceil(w - kSlack));
    m_height = static_cast<std::int64_t>(std::ceil(h - kSlack));
  }
  /// A canvas of `size`, whose centre is the picture's place `centre`.
  RotateFrame(KxSize from, double radians, tagRPOINT centre, KxSize size)
      : m_from(from),
        m_cos(std::cos(radians)),
        m_sin(std::sin(radians)),
        m_centre(centre),
        m_width(size.width),
        m_height(size.height) {}
  [[nodiscard]] KxSize from() const noexcept { return m_from; }
  [[nodiscard]] std::int64_t width() const noexcept { return m_width; }
  [[nodiscard]] std::int64_t height() const noexcept { return m_height; }
  void setWidth(std::int64_t width) noexcept { m_width = width; }

  /// The place in the source of a pixel of the result, both from pixel centre to pixel centre.
  [[nodiscard]] tagRPOINT sourceOf(double x, double y) const noexcept {
    const double dx = x + 0.5 - static_cast<double>(m_width) / 2;
    const double dy = y + 0.5 - static_cast<double>(m_height) / 2;
    return {dx * m_cos + dy * m_sin + m_centre.x - 0.5, dy * m_cos - dx * m_sin + m_centre.y - 0.5};
  }

  [[nodiscard]] RotateTile tile(const KxRect& pixels) const noexcept {
    const tagRPOINT corners[] = {sourceOf(pixels.left, pixels.top), sourceOf(pixels.right - 1, pixels.top),
                                 sourceOf(pixels.left, pixels.bottom - 1),
                                 sourceOf(pixels.right - 1, pixels.bottom - 1)};
    double left = corners[0].x, right = left, top = corners[0].y, bottom = top;
    for (const tagRPOINT& c : corners) {
      left = std::min(left, c.x);
      right = std::max(right, c.x);
      top = std::min(top, c.y);
      bottom = std::max(bottom, c.y);
    }
    // One pixel around for rounding, one more right and below for the neighbours.
    const auto low = [](double v) { return static_cast<std::int32_t>(std::floor(v)) - 1; };
    const auto high = [](double v) { return static_cast<std::int32_t>(std::floor(v)) + 3; };
    return {pixels, {low(left), low(top), high(right), high(bottom)}};
  }

  /// The samples of a tile's row, in its box.
  [[nodiscard]] SampleLine samples(const RotateTile& tile, std::int32_t y) const noexcept {
    constexpr double kScale = 1 << kPlaceBits;
    const tagRPOINT at = sourceOf(tile.pixels.left, y);
    const auto fixed = [](double v) { return static_cast<std::int32_t>(std::lround(v * kScale)); };
    return {fixed(at.x - tile.box.left), fixed(at.y - tile.box.top), fixed(m_cos), fixed(-m_sin),
            tile.pixels.right - tile.pixels.left};
  }

 private:
  const KxSize m_from;
  const double m_cos, m_sin;
  const tagRPOINT m_centre;  // in the picture, of the canvas
  std::int64_t m_width = 0, m_height = 0;
};

/// Turns a raster that has pixels; null when it was cancelled. Throws as `rotateRaster`.
[[nodiscard]] KxPtr<IRStor> rotateOnto(IRStor& source, RotateFrame frame, IProgress* progress);

}  // namespace quillbay
