#pragma once
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>

#include "analysis/bound_row_loops.h"
#include "quillbay/geometry.h"

namespace quillbay {

/// The outermost strong contrasts of a row, in columns.
struct RowExtent {
  std::int32_t left = std::numeric_limits<std::int32_t>::max();
  std::int32_t right = 0;
  [[nodiscard]] bool isEmpty() const noexcept { return left > right; }
  bool operator==(const RowExtent&) const = default;
};

/// Finds the extents of the rows of an image, which it is given from the top.
///
/// A row is smoothed (`BoundRowLoops::smooth`) from its fourth column to its fourth from the right, where it has
/// seven; the smoothed row is what the next one sees above it. A column qualifies whose contrast reaches 255 -
/// threshold. The extent goes from five columns left of where five qualify in a row for the first time, from the
/// left, to five columns right of where they do from the right. Where the second search meets the first, right is
/// 0.
class RowExtentFinder {
 public:
  /// `threshold`: 0 to 254; with any other number every column qualifies.
  RowExtentFinder(std::int32_t width, std::int32_t threshold, const BoundRowLoops& loops = boundRowLoops());
  /// The first row; kept as a copy.
  void begin(const std::uint8_t* row) noexcept;
  /// The extent of row `current`, the one below the row before; `next` lies below it.
  [[nodiscard]] RowExtent extentOf(const std::uint8_t* current, const std::uint8_t* next) noexcept;

 private:
  void smooth(const BoundBand& band) noexcept;
  void smoothNarrow(const BoundBand& band, std::size_t x, std::size_t end) noexcept;
  [[nodiscard]] RowExtent everywhere() const noexcept;
  [[nodiscard]] std::ptrdiff_t firstEnd() noexcept;
  [[nodiscard]] std::ptrdiff_t lastEnd() noexcept;

  const BoundRowLoops& m_loops;
  std::size_t m_width;
  bool m_all;  // every column qualifies
  std::int16_t m_least;
  std::unique_ptr<std::uint8_t[]> m_previous, m_smoothed;
  std::unique_ptr<std::uint16_t[]> m_memory;
  std::uint16_t* m_sums;  // of the columns of three rows, with room around
};

/// The rectangle around all extents of an image `width` pixels wide, one for each row, or nothing.
[[nodiscard]] std::optional<KxRect> uniteExtents(std::span<const RowExtent> extents, std::int32_t width) noexcept;

}  // namespace quillbay
