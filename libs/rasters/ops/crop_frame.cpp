/// What the tools cut out and turn.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "rasters/ops/op_support.h"
#include "rasters/ops/raster_ops.h"
#include "rasters/ops/rotate_frame.h"
#include "rasters/ops/shape_spans.h"

namespace quillbay {
namespace {

/// Radians; less than a tenth of a pixel at the end of the largest page.
constexpr double kLevel = 1e-7;

[[noreturn]] void holdsNothing(KxSize size) {
  throw CXIFaceException(
      formatText(Supp_Translate("The frame holds nothing of the page of %d x %d pixels. Draw it over the page."),
                 {toText(std::int64_t{size.width}), toText(std::int64_t{size.height})}));
}

/// The same frame with an angle of at most 45 degrees either way.
CRFrame uprightFrame(CRFrame frame) {
  constexpr double kQuarter = std::numbers::pi / 2;
  const double quarters = std::round(frame.angle / kQuarter);
  for (int turns = static_cast<int>(std::fmod(quarters, 4) + 4) % 4; turns > 0; --turns) {
    const double angle = std::remainder(frame.angle, 2 * std::numbers::pi);
    frame.origin.x -= frame.height * std::sin(angle);
    frame.origin.y += frame.height * std::cos(angle);
    std::swap(frame.width, frame.height);
    frame.angle = angle - kQuarter;
  }
  frame.angle = std::remainder(frame.angle, 2 * std::numbers::pi);
  return frame;
}

/// What of a polygon lies where `inside`, a distance from a line, is not negative.
template <class Inside>
std::vector<CRPoint> clippedAt(const std::vector<CRPoint>& polygon, Inside&& inside) {
  std::vector<CRPoint> out;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const CRPoint& a = polygon[i];
    const CRPoint& b = polygon[(i + 1) % polygon.size()];
    const double da = inside(a), db = inside(b);
    if (da >= 0) out.push_back(a);
    if ((da >= 0) == (db >= 0)) continue;
    const double t = da / (da - db);
    out.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t});
  }
  return out;
}

/// The part of an upright frame that bounds what of the raster lies in it.
CRFrame onRaster(const CRFrame& frame, KxSize size) {
  auto seen = cornersOf(frame).points;
  seen = clippedAt(seen, [](const CRPoint& p) { return p.x; });
  seen = clippedAt(seen, [](const CRPoint& p) { return p.y; });
  seen = clippedAt(seen, [&](const CRPoint& p) { return size.width - p.x; });
  seen = clippedAt(seen, [&](const CRPoint& p) { return size.height - p.y; });
  if (seen.empty()) holdsNothing(size);
  const double c = std::cos(frame.angle), s = std::sin(frame.angle);
  tagRRECT part{frame.width, frame.height, 0, 0};  // along the frame's sides
  for (const CRPoint& p : seen) {
    const double x = p.x - frame.origin.x, y = p.y - frame.origin.y;
    const double across = std::clamp(x * c + y * s, 0.0, frame.width);
    const double down = std::clamp(y * c - x * s, 0.0, frame.height);
    part = {std::min(part.left, across), std::min(part.top, down), std::max(part.right, across),
            std::max(part.bottom, down)};
  }
  const CRPoint origin{frame.origin.x + part.left * c - part.top * s,
                       frame.origin.y + part.left * s + part.top * c};
  return {origin, part.width(), part.height(), frame.angle};
}

KxPtr<IRStor> cropTurned(IRStor& source, const CRFrame& wanted, KxSize size, IProgress* progress) {
  const CRFrame frame = onRaster(wanted, size);
  const KxSize pixels{roundHalfUp(frame.width), roundHalfUp(frame.height)};
  if (pixels.width <= 0 || pixels.height <= 0) holdsNothing(size);
  const auto corners =
      cornersOf({frame.origin, static_cast<double>(pixels.width), static_cast<double>(pixels.height), frame.angle})
          .points;
  const CRPoint centre{(corners[0].x + corners[2].x) / 2, (corners[0].y + corners[2].y) / 2};
  return rotateOnto(source, RotateFrame(size, -frame.angle, centre, pixels), progress);
}

}  // namespace

KxPtr<IRStor> CropToFrame(IRStor* source, const CRFrame& wanted, IProgress* progress) {
  requireLines(source);
  const KxSize size{storedWidth(*source), source->GetHeight()};
  for (const double v : {wanted.origin.x, wanted.origin.y, wanted.width, wanted.height, wanted.angle}) {
    if (!(std::abs(v) < 1e9)) holdsNothing(size);
  }
  const CRFrame frame = uprightFrame(wanted);
  if (std::abs(frame.angle) > kLevel) return cropTurned(*source, frame, size, progress);
  const KxRect pixels{std::max(0, roundHalfUp(frame.origin.x)), std::max(0, roundHalfUp(frame.origin.y)),
                      std::min(size.width, roundHalfUp(frame.origin.x + frame.width)),
                      std::min(size.height, roundHalfUp(frame.origin.y + frame.height))};
  if (pixels.left >= pixels.right || pixels.top >= pixels.bottom) holdsNothing(size);
  return cropRaster(source, pixels, progress);
}

KxPtr<IRStor> TurnRaster(IRStor* source, double radians, IProgress* progress) {
  return rotateRaster(source, radians, progress);
}

double TurnToAxis(const CRLine& edge) noexcept {
  const double angle = std::atan2(edge.to.y - edge.from.y, edge.to.x - edge.from.x);
  return -std::remainder(angle, std::numbers::pi / 2);
}

}  // namespace quillbay
