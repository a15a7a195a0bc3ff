#pragma once
#include <cstdint>

#include "quillbay/geometry.h"

namespace quillbay {

/// The inclusive extent of a store's lines in pixels: left, top, right, bottom. Empty: 0, 0, -1, -1.
inline void putExtent(std::int32_t width, std::int64_t lines, double rect[4]) noexcept {
  rect[0] = rect[1] = 0;
  rect[2] = width - 1;
  rect[3] = static_cast<double>(lines - 1);
}

/// The same in millimetres.
inline void putExtentMM(std::int32_t width, std::int64_t lines, std::uint32_t dpi, double rect[4]) noexcept {
  putExtent(width, lines, rect);
  for (int i = 0; i < 4; ++i) rect[i] = rect[i] * kMmPerInch / dpi;
}

}  // namespace quillbay
