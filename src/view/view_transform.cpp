#include "view/view_transform.h"

#include <algorithm>
#include <cmath>

namespace quillbay::view {
namespace {

constexpr double kLeastSize = 0.001;
constexpr double kFarthest = 1e11;
constexpr double kExtentsMargin = 5;
/// How far the product of a transform and its inverse may be from the identity, of 1 and relative to the offset.
constexpr double kIdentitySlack = 1e-6;

tagRRECT bounds(const tagRPOINT (&corners)[4]) noexcept {
  tagRRECT r{corners[0].x, corners[0].y, corners[0].x, corners[0].y};
  for (const tagRPOINT& p : corners) {
    r = {std::min(r.left, p.x), std::min(r.top, p.y), std::max(r.right, p.x), std::max(r.bottom, p.y)};
  }
  return r;
}

template <class Map>
tagRRECT mapped(const tagRRECT& r, Map&& map) noexcept {
  const tagRPOINT corners[4] = {map(tagRPOINT{r.left, r.top}), map(tagRPOINT{r.right, r.top}),
                                map(tagRPOINT{r.left, r.bottom}), map(tagRPOINT{r.right, r.bottom})};
  return bounds(corners);
}

/// Whether going to the client and back leads where it began; false for anything that is not finite.
bool isInvertible(const CRTfm& t) noexcept {
  const tagRPOINT probes[] = {{0, 0}, {1, 0}, {0, 1}};
  for (const tagRPOINT& p : probes) {
    const tagRPOINT q = toDocument(t, toClient(t, p));
    const double slack = kIdentitySlack * (1 + std::abs(t.offsetX / t.scaleX) + std::abs(t.offsetY / t.scaleY));
    if (!(std::abs(q.x - p.x) <= slack) || !(std::abs(q.y - p.y) <= slack)) return false;
  }
  return true;
}

double fit(double w, double h, const tagRRECT& area) noexcept {
  return std::min(std::abs(w / area.width()), std::abs(h / area.height()));
}

tagRPOINT centre(const tagRRECT& r) noexcept { return {(r.left + r.right) / 2, (r.top + r.bottom) / 2}; }

}  // namespace

CRTfm baseTransform() noexcept { return {1, -1, 0, 0, 0}; }

tagRPOINT toClient(const CRTfm& t, const tagRPOINT& at) noexcept {
  const double x = t.scaleX * at.x;
  const double y = t.scaleY * at.y;
  if (t.angle == 0) return {x + t.offsetX, y + t.offsetY};
  const double c = std::cos(t.angle);
  const double s = std::sin(t.angle);
  return {c * x - s * y + t.offsetX, s * x + c * y + t.offsetY};
}

tagRPOINT toDocument(const CRTfm& t, const tagRPOINT& client) noexcept {
  const double x = client.x - t.offsetX;
  const double y = client.y - t.offsetY;
  if (t.angle == 0) return {x / t.scaleX, y / t.scaleY};
  const double c = std::cos(t.angle);
  const double s = std::sin(t.angle);
  return {(c * x + s * y) / t.scaleX, (c * y - s * x) / t.scaleY};
}

CRTfm onDevice(const CRTfm& t, double ratio) noexcept {
  return {t.scaleX * ratio, t.scaleY * ratio, t.angle, t.offsetX * ratio, t.offsetY * ratio};
}

tagRRECT toDocument(const CRTfm& t, const tagRRECT& client) noexcept {
  return mapped(client, [&](const tagRPOINT& p) { return toDocument(t, p); });
}

tagRRECT toClient(const CRTfm& t, const tagRRECT& document) noexcept {
  return mapped(document, [&](const tagRPOINT& p) { return toClient(t, p); });
}

KxRect pixelCover(const tagRRECT& client, int grow, const KxSize& size) noexcept {
  const auto low = [&](double v, std::int32_t end) {
    return static_cast<std::int32_t>(std::clamp<double>(std::floor(v) - grow, 0, end));
  };
  const auto high = [&](double v, std::int32_t end) {
    return static_cast<std::int32_t>(std::clamp<double>(std::ceil(v) + grow, 0, end));
  };
  return {low(client.left, size.width), low(client.top, size.height), high(client.right, size.width),
          high(client.bottom, size.height)};
}

bool isAllowed(const CRTfm& t, const KxSize& client) noexcept {
  if (!(t.scaleX > 0) || !(t.scaleY < 0) || !isInvertible(t)) return false;
  const tagRRECT shown = toDocument(t, tagRRECT{0, 0, double(client.width), double(client.height)});
  if (!(shown.width() >= kLeastSize) && !(shown.height() >= kLeastSize)) return false;
  return shown.left >= -kFarthest && shown.top >= -kFarthest && shown.right <= kFarthest &&
         shown.bottom <= kFarthest;
}

tagRPOINT clientCentre(const KxSize& client) noexcept { return {client.width / 2.0, client.height / 2.0}; }

CRTfm placed(const CRTfm& t, double scaleX, double scaleY, const tagRPOINT& at, const tagRPOINT& place) noexcept {
  CRTfm r{scaleX, scaleY, t.angle, 0, 0};
  const tagRPOINT p = toClient(r, at);
  r.offsetX = place.x - p.x;
  r.offsetY = place.y - p.y;
  return r;
}

CRTfm zoomedAbout(const CRTfm& t, double factor, const tagRPOINT& place) noexcept {
  return placed(t, t.scaleX * factor, t.scaleY * factor, toDocument(t, place), place);
}

CRTfm actualSize(const CRTfm& t, const KxSize& client) noexcept {
  return zoomedTo(t, 1, toDocument(t, clientCentre(client)), client);
}

CRTfm zoomedTo(const CRTfm& t, double factor, const tagRPOINT& at, const KxSize& client) noexcept {
  const CRTfm base = baseTransform();
  const double scale = std::abs(factor);
  return placed(t, base.scaleX * scale, base.scaleY * scale, at, clientCentre(client));
}

CRTfm zoomedToRectangle(const CRTfm& t, const tagRRECT& area, const KxSize& client) noexcept {
  return zoomedTo(t, fit(client.width, client.height, area), centre(area), client);
}

CRTfm zoomedToExtents(const CRTfm& t, const tagRRECT& extents, const KxSize& client) noexcept {
  const bool hasSize = extents.width() > kLeastSize && extents.height() > kLeastSize;
  const double scale =
      hasSize ? fit(client.width - 2 * kExtentsMargin, client.height - 2 * kExtentsMargin, extents) : 1.0;
  return zoomedTo(t, scale, centre(extents), client);
}

CRTfm wheeled(const CRTfm& t, bool forward, double step, const tagRPOINT& place) noexcept {
  return zoomedAbout(t, forward ? step : 1 / step, place);
}

CRTfm scrolled(const CRTfm& t, double dx, double dy) noexcept {
  CRTfm r = t;
  r.offsetX += dx;
  r.offsetY += dy;
  return r;
}

}  // namespace quillbay::view
