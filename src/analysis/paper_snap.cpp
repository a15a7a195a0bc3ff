#include "analysis/paper_snap.h"

#include <algorithm>
#include <cmath>

#include "analysis/sheet_model.h"

namespace quillbay {

namespace {

constexpr double kOnBedMm = 0.001;

void moveAcross(tagRRECT& rect, double by) noexcept {
  rect.left += by;
  rect.right += by;
}

void moveAlong(tagRRECT& rect, double by) noexcept {
  rect.top += by;
  rect.bottom += by;
}

bool holds(const tagRSIZE& paper, const tagRSIZE& found, bool widthOnly) noexcept {
  return paper.cx + kPaperToleranceMm >= found.cx && (widthOnly || paper.cy + kPaperToleranceMm >= found.cy);
}

}  // namespace

std::optional<tagRSIZE> smallestPaper(std::span<const PaperRecord> papers, const tagRSIZE& found, bool widthOnly) {
  const auto sizeOf = [widthOnly](const tagRSIZE& p) { return widthOnly ? p.cx : p.cx * p.cy; };
  std::optional<tagRSIZE> best;
  for (const PaperRecord& record : papers) {
    for (const tagRSIZE& paper : {record.size, tagRSIZE{record.size.cy, record.size.cx}}) {
      if (holds(paper, found, widthOnly) && (!best || sizeOf(paper) < sizeOf(*best))) best = paper;
    }
  }
  return best;
}

tagRRECT snapToPaper(tagRRECT found, const tagRSIZE& paper, double bedWidth, bool widthOnly) noexcept {
  const double x = (found.left + found.right) / 2, y = (found.top + found.bottom) / 2;
  found.left = x - paper.cx / 2;
  found.right = x + paper.cx / 2;
  if (found.left < -kOnBedMm) moveAcross(found, -found.left);
  if (!widthOnly) {
    found.top = y - paper.cy / 2;
    found.bottom = y + paper.cy / 2;
    if (found.top < -kOnBedMm) moveAlong(found, -found.top);
  }
  if (found.right - kOnBedMm > bedWidth) moveAcross(found, bedWidth - found.right);
  return found;
}

tagRRECT snapOnFlatbed(const tagRRECT& found, const tagRSIZE& paper, const tagRSIZE& bed, bool widthOnly) noexcept {
  tagRRECT area = snapToPaper(found, paper, bed.cx, widthOnly);
  const double beyond = bed.cy > 0 && !widthOnly ? area.bottom - bed.cy : 0;
  if (beyond > kOnBedMm) moveAlong(area, -std::min(beyond, area.top));
  return area;
}

tagRRECT lengthenByMedia(tagRRECT found, double pulledIn, double angle) noexcept {
  found.top = 0;
  found.bottom += pulledIn;
  if (!(std::abs(angle) > kLeastSkew)) return found;
  // Straightening turns clockwise by a positive angle: the sheet leans to the left at its top.
  const double reach = pulledIn * std::tan(std::abs(angle));
  (angle > 0 ? found.left : found.right) += angle > 0 ? -reach : reach;
  return found;
}

}  // namespace quillbay
