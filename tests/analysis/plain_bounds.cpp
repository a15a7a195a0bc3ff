#include "plain_bounds.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace quillbay::test {

namespace {

void smoothRow(const std::uint8_t* p, std::uint8_t* c, const std::uint8_t* n, int w) {
  for (int x = 3; w >= 7 && x <= w - 4; ++x) {
    const int sum = p[x - 1] + p[x] + p[x + 1] + c[x - 1] + 2 * c[x] + c[x + 1] + n[x - 1] + n[x] + n[x + 1];
    c[x] = static_cast<std::uint8_t>(sum / 10);
  }
}

std::vector<int> contrasts(const std::uint8_t* p, const std::uint8_t* c, const std::uint8_t* n, int w) {
  std::vector<int> edges(static_cast<std::size_t>(w), 0);
  const auto block = [&](int x) {
    int sum = 0;
    for (int i = x; i < x + 3; ++i) sum += p[i] + c[i] + n[i];
    return sum;
  };
  for (int x = 2; w >= 9 && x <= w - 7; ++x) {
    edges[static_cast<std::size_t>(x) + 2] = std::min(255, std::abs(block(x + 3) - block(x - 1)));
  }
  return edges;
}

RowExtent scanRow(const std::vector<int>& edges, int threshold) {
  const int w = static_cast<int>(edges.size());
  const auto qualifies = [&](int x) {
    return static_cast<unsigned>(255 - edges[static_cast<std::size_t>(x)]) <= static_cast<unsigned>(threshold);
  };
  int stop = -1;
  for (int x = 1, count = 0; x <= w - 2 && stop < 0; ++x) {
    count = qualifies(x) ? count + 1 : 0;
    if (count == 5) stop = x;
  }
  if (stop < 0) return {};
  for (int x = w - 2, count = 0; x >= stop; --x) {
    count = qualifies(x) ? count + 1 : 0;
    if (count == 5) return {stop - 5, x + 5};
  }
  return {stop - 5, 0};
}

double boxArea(std::span<const RowExtent> extents, double angle) {
  double left = 2147483647.0, top = left, right = -2147483648.0, bottom = right;
  for (std::size_t i = 0; i < extents.size(); ++i) {
    if (extents[i].left > extents[i].right) continue;
    for (const int x : {extents[i].left, extents[i].right}) {
      const double y = static_cast<double>(i);
      const double turnedX = x * std::cos(angle) - y * std::sin(angle);
      const double turnedY = x * std::sin(angle) + y * std::cos(angle);
      left = std::min(left, turnedX);
      right = std::max(right, turnedX);
      top = std::min(top, turnedY);
      bottom = std::max(bottom, turnedY);
    }
  }
  return (bottom - top) * (right - left);
}

}  // namespace

std::vector<RowExtent> plainExtents(GreyImage image, int threshold) {
  std::vector<RowExtent> extents(static_cast<std::size_t>(image.height));
  const auto row = [&](int y) { return image.pixels.data() + static_cast<std::ptrdiff_t>(y) * image.width; };
  for (int y = 1; y + 1 < image.height; ++y) {
    smoothRow(row(y - 1), row(y), row(y + 1), image.width);
    extents[static_cast<std::size_t>(y)] =
        scanRow(contrasts(row(y - 1), row(y), row(y + 1), image.width), threshold);
  }
  return extents;
}

double plainSkew(std::span<const RowExtent> extents) {
  const double step = 0.0008726646259972223;
  double best = 2147483647.0, result = 0;
  for (const int way : {1, -1}) {
    int misses = 0;
    for (double angle = way > 0 ? 0 : -step; std::abs(angle) <= 0.7853981633975001; angle += way * step) {
      const double area = boxArea(extents, angle);
      misses = area < best ? 0 : misses + 1;
      if (area < best) {
        best = area;
        result = angle;
      }
      if (misses * step > 0.08726646259972222) break;
    }
  }
  return result;
}

}  // namespace quillbay::test
