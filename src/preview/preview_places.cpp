#include "preview/preview_places.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "view/view_transform.h"

namespace quillbay::preview {

namespace {

constexpr double kTolerance = 0.001;
constexpr double kFarthest = 1 << 22;
constexpr double kAround = 0.06;  // of a document's longer side

/// They change nothing that is seen.
constexpr const char* kSilentKeys[] = {key::RcCustomScan,   key::Dir,     key::Mask,      key::CounterFormat,
                                       key::UseAutoCounter, key::Counter, key::MultiPage, key::FileFate};

double factorOf(std::int32_t pixels, double length) {
  return std::abs(length) <= kTolerance ? 1.0 : std::abs(pixels / length);
}

std::int32_t pixelOf(double v) { return roundHalfUp(std::clamp(v, -kFarthest, kFarthest)); }

}  // namespace

tagRRECT shownArea(const ScanValues& v) noexcept {
  return v.rectValid ? v.rcScan : tagRRECT{0, 0, v.bedWidth, v.bedWidth};
}

tagRRECT viewedArea(const ScanValues& v, const tagRRECT& placed) noexcept {
  if (!isFound(v)) return shownArea(v);
  const tagRRECT& box = v.rcScan;
  const double around = kAround * std::max(box.width(), box.height());
  return {std::min(box.left, std::max(box.left - around, placed.left)),
          std::min(box.top, std::max(box.top - around, placed.top)),
          std::max(box.right, std::min(box.right + around, placed.right)),
          std::max(box.bottom, std::min(box.bottom + around, placed.bottom))};
}

std::int32_t fittedType(const ScanValues& v, const KxRect& client, const tagRRECT& area) noexcept {
  if (!isFound(v)) return v.scanType;
  const bool isHigh = fitFactor(kAreaCustom, false, client, area) < fitFactor(kAreaAuto, false, client, area);
  return isHigh ? kAreaCustom : kAreaAuto;
}

double fitFactor(std::int32_t scanType, bool portrait, const KxRect& client, const tagRRECT& area) noexcept {
  if (scanType >= kAreaCustom && !portrait) {
    return factorOf(client.bottom - client.top - 2 * kInset, area.height());
  }
  return factorOf(client.right - client.left - 2 * kInset, area.width());
}

CRTfm fittedView(const CRTfm& now, std::int32_t scanType, bool portrait, const KxRect& client,
                 const tagRRECT& area) noexcept {
  const bool hasRoom = client.right - client.left > 2 * kInset && client.bottom - client.top > 2 * kInset;
  if (!hasRoom) return now;
  const double scale = fitFactor(scanType, portrait, client, area);
  return view::placed(now, scale, scale, {area.left, area.top},
                      {double(client.left + kInset), double(client.top + kInset)});
}

KxRect toPixels(const CRTfm& t, const tagRRECT& r) noexcept {
  const tagRRECT c = view::toClient(t, r);
  return {pixelOf(c.left), pixelOf(c.top), pixelOf(c.right) + 1, pixelOf(c.bottom) + 1};
}

ScrollBar scrollBarOf(double area, std::int32_t client, double scale) noexcept {
  const double seen = client / scale;
  return {std::abs(area) >= seen - kTolerance, pixelOf(std::abs(area) * scale), std::max(0, client - 2 * kInset)};
}

std::int32_t revealOffset(const KxRect& frame, const KxRect& client) noexcept {
  std::int32_t down = std::max(0, client.top - frame.top);
  if (frame.bottom + down > client.bottom) down += client.bottom - (frame.bottom + down);
  return down;
}

CRDirectTfm rulerTransform(bool centred, double bedWidth, double factor) noexcept {
  const double u = factor > 0 ? 1 / factor : 1;
  return {u, u, centred ? -bedWidth / 2 * u : 0, 0};
}

CRDirectTfm rasterTransform(const tagRRECT& e, const tagRRECT& s) noexcept {
  const double x = e.width() > 0 ? s.width() / e.width() : 0;
  const double y = e.height() > 0 ? s.height() / e.height() : 0;
  return {x, y, s.left - e.left * x, s.top - e.top * y};
}

Reaction reactionTo(const char* name) noexcept {
  for (const char* silent : kSilentKeys) {
    if (sameKey(name, silent)) return {};
  }
  Reaction r;
  if (sameKey(name, key::RcPreview)) {
    r.revealsFrame = true;
    return r;
  }
  if (sameKey(name, key::UpdateRect)) {
    r.hidesFragment = r.updatesBars = true;
    return r;
  }
  r.takesFragment = r.endsModes = true;
  if (sameKey(name, key::CustomScanValid) || sameKey(name, key::BoundDetectDirty)) return r;
  r.renewsRulers = sameKey(name, key::Units) || sameKey(name, key::Center);
  r.fits = true;
  return r;
}

}  // namespace quillbay::preview
