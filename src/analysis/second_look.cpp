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
/// Dirt on a bed is as strong as a faint edge where the picture is finer than this, in dots per inch; averages of
/// areas leave the edge.
constexpr std::int32_t kMostDpi = 60;

/// The picture, each pixel the average of `scale` x `scale`.
struct Coarse {
  std::int32_t width = 0, height = 0, scale = 1;
  std::vector<std::uint8_t> pixels;
  [[nodiscard]] const std::uint8_t* row(std::int32_t y) const {
    return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
  }
};

Coarse coarseOf(const BoundStripes& stripes) {
  const KxSize size = stripes.size();
  const auto dpi = static_cast<std::int32_t>(std::min(stripes.resolution(), 9600U));
  Coarse out;
  out.scale = std::max(1, (dpi + kMostDpi - 1) / kMostDpi);
  out.width = size.width / out.scale;
  out.height = size.height / out.scale;
  const auto width = static_cast<std::size_t>(out.width), scale = static_cast<std::size_t>(out.scale);
  out.pixels.resize(width * static_cast<std::size_t>(out.height));
  std::vector<std::uint8_t> room(static_cast<std::size_t>(size.width));
  std::vector<std::uint32_t> sums(width);
  const auto area = static_cast<std::uint32_t>(out.scale * out.scale);
  for (std::int32_t y = 0; y < out.height; ++y) {
    std::fill(sums.begin(), sums.end(), area / 2);
    for (std::int32_t k = 0; k < out.scale; ++k) {
      const std::uint8_t* row = stripes.row(y * out.scale + k, room.data());
      for (std::size_t x = 0; x < width; ++x)
        for (std::size_t n = 0; n < scale; ++n) sums[x] += row[x * scale + n];
    }
    std::uint8_t* to = out.pixels.data() + static_cast<std::size_t>(y) * width;
    for (std::size_t x = 0; x < width; ++x) to[x] = static_cast<std::uint8_t>(sums[x] / area);
  }
  return out;
}

/// One extent for each row; the first and the last have none.
std::vector<RowExtent> extentsOfRows(const Coarse& picture) {
  std::vector<RowExtent> extents(static_cast<std::size_t>(picture.height));
  if (picture.height < 3 || picture.width <= 0) return extents;
  RowExtentFinder finder(picture.width, kMostSensitive);
  finder.begin(picture.row(0));
  for (std::int32_t y = 1; y + 1 < picture.height; ++y)
    extents[static_cast<std::size_t>(y)] = finder.extentOf(picture.row(y), picture.row(y + 1));
  return extents;
}

/// Turned about its diagonal.
Coarse turnedOf(const Coarse& picture) {
  Coarse out{picture.height, picture.width, picture.scale, std::vector<std::uint8_t>(picture.pixels.size())};
  for (std::int32_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.row(y);
    for (std::int32_t x = 0; x < picture.width; ++x)
      out.pixels[static_cast<std::size_t>(x) * static_cast<std::size_t>(out.width) + static_cast<std::size_t>(y)] =
          row[x];
  }
  return out;
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
  const Coarse picture = coarseOf(stripes);
  const auto rows = extentsOfRows(picture);
  auto along = uniteExtents(rows, picture.width);
  if (along) trim(&along->left, &along->right);
  const auto turned = uniteExtents(extentsOfRows(turnedOf(picture)), picture.height);
  std::optional<KxRect> across;
  if (turned) {
    across = KxRect{turned->top, turned->left, turned->bottom, turned->right};
    trim(&across->top, &across->bottom);
  }
  if (!along && !across) return std::nullopt;
  SecondLook found;
  found.bounds = along && across ? united(*along, *across) : along ? *along : *across;
  for (std::int32_t* edge : {&found.bounds.left, &found.bounds.top, &found.bounds.right, &found.bounds.bottom})
    *edge *= picture.scale;
  if (wantsAngle) found.angle = skewOf(stripes, rows, services);
  return found;
}

}  // namespace quillbay
