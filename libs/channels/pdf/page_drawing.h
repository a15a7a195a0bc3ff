#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "channels/pdf/qpdf.h"

namespace quillbay {

/// A rectangle in a page's units, y upwards.
struct PageRect {
  double left = 0, bottom = 0, right = 0, top = 0;
  [[nodiscard]] double width() const noexcept { return right - left; }
  [[nodiscard]] double height() const noexcept { return top - bottom; }
};

/// What the attributes of a page say; inherited ones, too.
struct PageFrame {
  PageRect area;        ///< what is shown
  double unit = 1;      ///< of 1/72 inch
  int rotation = 0;     ///< 0, 90, 180 or 270 degrees clockwise
  bool isPlain = true;  ///< nothing is drawn on top of the page
};
/// Throws ModuleError for a page without an area.
[[nodiscard]] PageFrame frameOf(QPDFObjectHandle page);

struct PlacedImage {
  QPDFObjectHandle stream;
  PageRect area;
};

/// What a page's drawing consists of, as far as it is upright images.
struct PageDrawing {
  std::vector<PlacedImage> images;  ///< in the order in which they are drawn
  bool isOnlyImages = true;         ///< else the images are those that were found
};
/// Invisible text, as text recognition leaves it, counts for nothing.
[[nodiscard]] PageDrawing drawingOf(QPDF& qpdf, const QPDFObjectHandle& page);

}  // namespace quillbay
