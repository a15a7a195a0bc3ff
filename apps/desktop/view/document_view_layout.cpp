#include "view/document_view_layout.h"

#include <algorithm>
#include <limits>

namespace desktop {

namespace {
constexpr double kGapMm = 20;
constexpr std::size_t kAlwaysOneRow = 3;
}  // namespace

std::vector<QRectF> layInRows(const std::vector<QSizeF>& pages, double rowWidth) {
  std::vector<QRectF> places;
  places.reserve(pages.size());
  double x = 0, y = 0, rowHeight = 0;
  for (const QSizeF& page : pages) {
    // A hair's breadth more: widths are sums of the same lengths in another order.
    if (x > 0 && x + page.width() > rowWidth + 0.001) {
      x = 0;
      y += rowHeight + kGapMm;
      rowHeight = 0;
    }
    places.emplace_back(QPointF(x, y), page);
    x += page.width() + kGapMm;
    rowHeight = std::max(rowHeight, page.height());
  }
  return places;
}

QRectF boundsOf(const std::vector<QRectF>& places) {
  QRectF all;
  for (const QRectF& place : places) all |= place;
  return all;
}

double bestRowWidth(const std::vector<QSizeF>& pages, double aspect) {
  if (pages.size() <= kAlwaysOneRow || !(aspect > 0)) return std::numeric_limits<double>::infinity();
  // Rows as wide as the first pages side by side. Wider rows are fewer: the best width is where height stops
  // being what limits the scale.
  std::vector<double> widths;
  double x = 0;
  for (const QSizeF& page : pages) {
    widths.push_back(x + page.width());
    x += page.width() + kGapMm;
  }
  const auto cost = [&](double width) {
    const QSizeF size = boundsOf(layInRows(pages, width)).size();
    return std::pair(size.width(), size.height() * aspect);
  };
  const auto wide = std::partition_point(widths.begin(), widths.end() - 1, [&](double width) {
    const auto [across, down] = cost(width);
    return across < down;
  });
  double best = *wide, least = std::numeric_limits<double>::infinity();
  for (auto width = wide == widths.begin() ? wide : wide - 1; width <= wide; ++width) {
    const auto [across, down] = cost(*width);
    if (std::max(across, down) < least) {
      least = std::max(across, down);
      best = *width;
    }
  }
  return best;
}

}  // namespace desktop
