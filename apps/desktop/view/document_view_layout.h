#pragma once
#include <QRectF>
#include <QSizeF>
#include <vector>

namespace desktop {

/// Rows of pages, in millimetres with y pointing down; the first page's corner is at 0, 0. Pages keep their order
/// and their true sizes; those of a row hang from one line, with a gap between neighbours.
///
/// Puts pages side by side until a row would get wider than `rowWidth`. A page wider than that has a row of its
/// own.
[[nodiscard]] std::vector<QRectF> layInRows(const std::vector<QSizeF>& pages, double rowWidth);

/// The row width with which all pages together show largest in a window of this aspect (width / height). Few pages
/// stay in one row.
[[nodiscard]] double bestRowWidth(const std::vector<QSizeF>& pages, double aspect);

/// What bounds all of them.
[[nodiscard]] QRectF boundsOf(const std::vector<QRectF>& places);

}  // namespace desktop
