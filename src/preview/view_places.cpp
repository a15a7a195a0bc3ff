#include "preview/view_places.h"

#include <algorithm>
#include <cmath>

#include "preview/first_frame.h"
#include "view/view_transform.h"

namespace quillbay::places {

namespace {

constexpr double kFarthest = 1 << 22;  // pixels: painters count no farther
constexpr double kPictureShift = 2;    // to the right of its area's edge
constexpr double kPictureMargin = 10;  // below and above together
constexpr double kPicturePart = 0.5;   // of the area's width

std::int32_t pixel(double v) noexcept { return roundHalfUp(std::clamp(v, -kFarthest, kFarthest)); }

}  // namespace

double aspectOf(const tagRRECT& shown) noexcept {
  const double aspect = std::abs(shown.height() / shown.width());
  return std::isfinite(aspect) && aspect > 0 ? aspect : kFirstFrameAspect;
}

tagRRECT onBed(const tagRRECT& frame, double bedWidth) noexcept {
  const double width = std::min(frame.width(), bedWidth);
  const double left = std::clamp(frame.left, 0.0, std::max(0.0, bedWidth - width));
  const double top = std::max(frame.top, 0.0);
  return {left, top, left + width, top + frame.height()};
}

CRTfm across(const tagRRECT& extent, const tagRRECT& place) noexcept {
  const double k = std::abs(place.width() / extent.width());
  return {k, -k, 0, place.left - k * extent.left, place.bottom + k * extent.top};
}

DevicePart devicePart(const CRTfm& toDocument, const CRTfm& view, const tagRRECT& extent, const tagRRECT& clip,
                      double ratio) noexcept {
  DevicePart out;
  const tagRPOINT origin = view::toClient(view, tagRPOINT{toDocument.offsetX, toDocument.offsetY});
  out.tfm = {view.scaleX * toDocument.scaleX * ratio, view.scaleY * toDocument.scaleY * ratio, origin.x * ratio,
             origin.y * ratio};
  const tagRRECT place = out.tfm.map(extent);
  const double left = std::max(std::floor(place.left + 1e-6), std::floor(clip.left * ratio));
  const double top = std::max(std::floor(place.top + 1e-6), std::floor(clip.top * ratio));
  const double right = std::min(std::ceil(place.right - 1e-6), std::ceil(clip.right * ratio));
  const double bottom = std::min(std::ceil(place.bottom - 1e-6), std::ceil(clip.bottom * ratio));
  if (!(left < right && top < bottom)) return out;
  out.pixels = {pixel(left), pixel(top), pixel(right), pixel(bottom)};
  out.tfm.offsetX -= left;
  out.tfm.offsetY -= top;
  return out;
}

KxRect outline(const CRTfm& view, const tagRRECT& frame) noexcept {
  const tagRRECT r = view::toClient(view, frame);
  return {pixel(r.left), pixel(r.top), pixel(r.right) + 1, pixel(r.bottom) + 1};
}

tagRRECT picturePlace(const tagRRECT& area, const tagRSIZE& picture) noexcept {
  if (!(picture.cx > 0 && picture.cy > 0)) return {};
  double scale = area.width() * kPicturePart / picture.cx;
  if (area.height() - kPictureMargin < scale * picture.cy) scale = (area.height() - kPictureMargin) / picture.cy;
  if (!(scale > 0)) return {};
  const double left = area.left + kPictureShift;
  return {left, area.top, left + scale * picture.cx, area.top + scale * picture.cy};
}

}  // namespace quillbay::places
