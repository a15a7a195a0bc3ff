#include "analysis/second_look.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quillbay {

namespace {

constexpr std::int32_t kMostSensitive = 192;
/// The contrast of an edge begins this far before it, along the direction of the scan.
constexpr std::int32_t kReach = 4;
/// An edge found later than the other one by less is the same edge.
constexpr std::int32_t kSamePixels = 3;
constexpr std::int32_t kColumnsAtOnce = 64;

/// The extents of all columns: of the picture, turned about its diagonal.
std::vector<RowExtent> extentsOfColumns(const BoundStripes& stripes) {
  const KxSize size = stripes.size();
  const auto height = static_cast<std::size_t>(size.height);
  std::vector<RowExtent> extents(static_cast<std::size_t>(size.width));
  if (size.width < 3) return extents;
  std::vector<std::uint8_t> columns(height * kColumnsAtOnce), kept(height),
      room(static_cast<std::size_t>(size.width));
  RowExtentFinder finder(size.height, kMostSensitive);
  std::int32_t next = 0;  // column
  for (std::int32_t left = 0; left < size.width; left += kColumnsAtOnce) {
    const std::int32_t count = std::min(kColumnsAtOnce, size.width - left);
    for (std::int32_t y = 0; y < size.height; ++y) {
      const std::uint8_t* row = stripes.row(y, room.data()) + left;
      for (std::int32_t x = 0; x < count; ++x)
        columns[static_cast<std::size_t>(x) * height + static_cast<std::size_t>(y)] = row[x];
    }
    for (std::int32_t x = 0; x < count; ++x, ++next) {
      const std::uint8_t* column = columns.data() + static_cast<std::size_t>(x) * height;
      if (next == 0) finder.begin(column);
      if (next > 1) extents[static_cast<std::size_t>(next) - 1] = finder.extentOf(kept.data(), column);
      if (next > 0) std::copy_n(column, height, kept.data());
    }
  }
  return extents;
}

void trim(std::int32_t* from, std::int32_t* to) {
  if (*to - *from <= 2 * kReach) return;
  *from += kReach;
  *to -= kReach;
}

KxRect united(const KxRect& a, const KxRect& b) noexcept {
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

}  // namespace

bool isLess(const KxRect& first, const KxRect& second) noexcept {
  return first.left > second.left + kSamePixels || first.top > second.top + kSamePixels ||
         first.right < second.right - kSamePixels || first.bottom < second.bottom - kSamePixels;
}

bool isNearer(const KxRect& first, const KxRect& second) noexcept {
  const auto near = [](std::int32_t outer, std::int32_t inner) {
    return inner >= outer - kSamePixels && inner <= outer + kReach + kSamePixels;
  };
  return near(first.left, second.left) && near(first.top, second.top) && near(-first.right, -second.right) &&
         near(-first.bottom, -second.bottom);
}

std::optional<SecondLook> lookAgain(const BoundStripes& stripes, const BoundServices& services, bool wantsAngle) {
  const auto rows = extentsOf(stripes, kMostSensitive);
  auto along = uniteExtents(rows, stripes.size().width);
  if (along) trim(&along->left, &along->right);
  const auto turned = uniteExtents(extentsOfColumns(stripes), stripes.size().height);
  std::optional<KxRect> across;
  if (turned) {
    across = KxRect{turned->top, turned->left, turned->bottom, turned->right};
    trim(&across->top, &across->bottom);
  }
  if (!along && !across) return std::nullopt;
  SecondLook found;
  found.bounds = along && across ? united(*along, *across) : along ? *along : *across;
  if (wantsAngle) found.angle = skewOf(stripes, rows, services);
  return found;
}

}  // namespace quillbay
