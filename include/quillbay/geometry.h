#pragma once
#include <cstdint>

namespace quillbay {

/// Millimetres per inch, and its inverse as the document geometry has it.
inline constexpr double kMmPerInch = 25.4;
inline constexpr double kInchPerMm = 0.03937007874015748;

/// A point in millimetres: x across the scanner's width, y along the feed.
struct tagRPOINT {
  double x = 0, y = 0;
  bool operator==(const tagRPOINT&) const = default;
};

/// A size in millimetres.
struct tagRSIZE {
  double cx = 0, cy = 0;
  bool operator==(const tagRSIZE&) const = default;
};

/// A rectangle in millimetres.
struct tagRRECT {
  double left = 0, top = 0, right = 0, bottom = 0;
  bool operator==(const tagRRECT&) const = default;
  [[nodiscard]] double width() const noexcept { return right - left; }
  [[nodiscard]] double height() const noexcept { return bottom - top; }
};

/// A size in pixels.
struct KxSize {
  std::int32_t width = 0, height = 0;
  bool operator==(const KxSize&) const = default;
};

/// A rectangle in pixels; right and bottom are exclusive.
struct KxRect {
  std::int32_t left = 0, top = 0, right = 0, bottom = 0;
  bool operator==(const KxRect&) const = default;
};

/// Rounds to the nearest integer, halves upward (also negative ones: -0.5 becomes 0).
[[nodiscard]] inline std::int32_t roundHalfUp(double v) noexcept {
  return static_cast<std::int32_t>(v >= 0 ? v + 0.5 : v - 0.4999999);
}

/// Millimetres to pixels at `dpi`: px = mm * dpi / 25.4, in doubles, unrounded.
[[nodiscard]] inline double mmToPixels(double mm, double dpi) noexcept { return mm * dpi * kInchPerMm; }

}  // namespace quillbay
