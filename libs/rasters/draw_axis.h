#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

#include "quillbay/raster.h"

namespace quillbay {

/// The source pixels of one device pixel along one axis, both inclusive. Weights are parts of 256; those between
/// first and last weigh 256. When `first` is `last`, only `firstWeight` counts.
struct AxisSpan {
  std::int32_t first = 0, last = 0;
  std::uint32_t firstWeight = 256, lastWeight = 256;
  bool operator==(const AxisSpan&) const = default;
  [[nodiscard]] std::uint32_t weight(std::int32_t i) const noexcept {
    return i == first ? firstWeight : i == last ? lastWeight : 256;
  }
};

/// Device pixels begin..end-1 that are drawn along one axis.
struct DrawAxis {
  double scale = 1, offset = 0;  ///< device = scale * source + offset
  std::int32_t begin = 0, end = 0;
  std::vector<AxisSpan> spans;
  [[nodiscard]] bool empty() const noexcept { return begin >= end; }
  [[nodiscard]] std::int32_t count() const noexcept { return end - begin; }
  [[nodiscard]] bool shrinks() const noexcept { return scale > -1 && scale < 1; }
  /// Source pixels that one device pixel covers; 1 when the axis enlarges.
  [[nodiscard]] double reduction() const noexcept { return shrinks() ? 1 / (scale < 0 ? -scale : scale) : 1; }
};

/// An axis of `length` source pixels within the clip. Shrinking: every device pixel that the source touches, with
/// the source pixels under it, weighted by how much of them it covers. Otherwise: every device pixel whose centre
/// lies on the source, with the one source pixel under the centre.
[[nodiscard]] DrawAxis makeDrawAxis(double scale, double offset, std::int32_t length, std::int32_t clipBegin,
                                    std::int32_t clipEnd);

/// The same device pixels as `source`, an axis over `length` pixels, over a reduced picture of it: each pixel
/// stands for 1 << shift pixels of the source, the last one for what is left.
[[nodiscard]] DrawAxis makeLevelAxis(const DrawAxis& source, std::int32_t length, int shift);

/// The same device pixels, each showing the one source pixel in the middle of those that it covers.
[[nodiscard]] DrawAxis makeSampledAxis(const DrawAxis& source);

/// Paints the rows of a picture: `paint(i, out)` gets the row's place in the axis and its first device pixel of
/// `columns`. Rows with the same source as the row before are copied. Returns 0 when cancelled.
template <class PaintRow>
int drawRows(IRasterDC& target, const DrawAxis& columns, const DrawAxis& rows, IProgress* progress,
             PaintRow&& paint) {
  constexpr std::int32_t kRowsPerStep = 16;
  const std::uint32_t* before = nullptr;
  for (std::int32_t i = 0; i < rows.count(); ++i) {
    if (progress && i % kRowsPerStep == 0) {
      if (progress->IsCancelled()) return 0;
      progress->Step();
    }
    std::uint32_t* out = target.GetRow(rows.begin + i);
    if (!out) continue;
    out += columns.begin;
    const AxisSpan& span = rows.spans[static_cast<std::size_t>(i)];
    if (before && span == rows.spans[static_cast<std::size_t>(i) - 1]) {
      std::copy(before, before + columns.count(), out);
    } else {
      paint(static_cast<std::size_t>(i), out);
    }
    before = out;
  }
  return 1;
}

}  // namespace quillbay
