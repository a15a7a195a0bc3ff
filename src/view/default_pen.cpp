#include "view/default_pen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "platform/shape_math.h"
#include "view/view_transform.h"

namespace quillbay {
namespace {

constexpr std::size_t kFirstPoints = 512, kMorePoints = 256;
/// Pixels farther away are on no screen; closer to the largest integer a stroke's width would not fit.
constexpr double kFarthestPixel = 1 << 28;

KxPoint rounded(const tagRPOINT& p) {
  return {roundHalfUp(std::clamp(p.x, -kFarthestPixel, kFarthestPixel)),
          roundHalfUp(std::clamp(p.y, -kFarthestPixel, kFarthestPixel))};
}

/// Draws one element between the pen's begin and end.
template <class Draw>
int drawElement(IPen& pen, IPenDC* dc, Draw&& draw) {
  const auto held = KxPtr<IPenDC>::share(dc);
  if (dc && pen.Begin(dc, 0)) {
    draw();
    pen.End(dc);
  }
  return 1;
}

/// A circle stays one.
bool isEven(const CRTfm& tfm) { return std::abs(tfm.scaleX + tfm.scaleY) <= 1e-9 * std::abs(tfm.scaleX); }

std::vector<CRPoint> flattened(const CRArc& arc) {
  constexpr int kSteps = 256;
  std::vector<CRPoint> points;
  points.reserve(kSteps + 1);
  for (int i = 0; i <= kSteps; ++i) {
    const double angle = arc.start + arc.sweep * i / kSteps;
    points.push_back({arc.center.x + arc.radius * std::cos(angle), arc.center.y + arc.radius * std::sin(angle)});
  }
  return points;
}

/// The pens by their values, in buckets by the remainder of 127.
class PenCache {
 public:
  [[nodiscard]] KxPtr<IPen> get(std::uint32_t value) {
    Bucket& bucket = m_buckets[value % m_buckets.size()];
    const auto at = std::find_if(bucket.begin(), bucket.end(), [&](const auto& pen) { return pen.first == value; });
    if (at != bucket.end()) return at->second;
    bucket.emplace_back(value, KxPtr<IPen>::adopt(new CDefaultPen(value)));
    return bucket.back().second;
  }

 private:
  using Bucket = std::vector<std::pair<std::uint32_t, KxPtr<IPen>>>;
  std::array<Bucket, 127> m_buckets;
};

}  // namespace

CDefaultPen::CDefaultPen(std::uint32_t value) : m_value(value) { m_points.reserve(kFirstPoints); }

void CDefaultPen::addPoint(const CRTfm& tfm, const CRPoint& at) {
  if (m_points.size() == m_points.capacity()) m_points.reserve(m_points.size() + kMorePoints);
  m_points.push_back(rounded(view::toClient(tfm, at)));
}

int CDefaultPen::DrawLine(IPenDC* dc, const CRTfm& tfm, const CRPoint& from, const CRPoint& to) {
  return drawElement(*this, dc, [&] {
    constexpr CRRect kAll{-kFarthestPixel, -kFarthestPixel, kFarthestPixel, kFarthestPixel};
    // A line that leads far away keeps its direction.
    if (const auto part = shape::clipped({view::toClient(tfm, from), view::toClient(tfm, to)}, kAll))
      dc->DrawLine(rounded(part->from), rounded(part->to));
  });
}

int CDefaultPen::DrawPath(IPenDC* dc, const CRTfm& tfm, std::span<const CRPoint> points) {
  return drawElement(*this, dc, [&] {
    m_points.clear();
    for (const CRPoint& p : points) addPoint(tfm, p);
    dc->DrawPolyline(m_points);
  });
}

int CDefaultPen::DrawPolygon(IPenDC* dc, const CRTfm& tfm, const CRPolygon& polygon) {
  return drawElement(*this, dc, [&] {
    m_points.clear();
    for (const CRPoint& p : polygon.points) addPoint(tfm, p);
    if (polygon.closed && !polygon.points.empty()) addPoint(tfm, polygon.points.front());
    dc->DrawPolyline(m_points);
  });
}

int CDefaultPen::DrawArc(IPenDC* dc, const CRTfm& tfm, const CRArc& arc) {
  if (!isEven(tfm)) return DrawPath(dc, tfm, flattened(arc));
  // The client's y axis points down: angles turn the other way.
  return drawElement(*this, dc, [&] {
    dc->DrawArc(view::toClient(tfm, arc.center), arc.radius * tfm.scaleX, tfm.angle - arc.start, -arc.sweep);
  });
}

int CDefaultPen::DrawCircle(IPenDC* dc, const CRTfm& tfm, const CRCircle& circle) {
  if (!isEven(tfm)) return DrawPath(dc, tfm, flattened({circle.center, circle.radius, 0, 2 * std::numbers::pi}));
  return drawElement(*this, dc,
                     [&] { dc->DrawCircle(view::toClient(tfm, circle.center), circle.radius * tfm.scaleX); });
}

int CDefaultPen::DrawPolyVector(IPenDC* dc, const CRTfm& tfm, const CRPolyVector& shape) {
  shape.breakInto(&m_work);
  for (const CRPolyVector::Element& e : m_work.elements()) {
    switch (e.type) {
      case CRPolyVector::Type::Line: DrawLine(dc, tfm, e.from, e.to); break;
      case CRPolyVector::Type::Arc: DrawArc(dc, tfm, e.arc()); break;
      case CRPolyVector::Type::Circle: DrawCircle(dc, tfm, {e.from, e.radius}); break;
      case CRPolyVector::Type::Point:
      case CRPolyVector::Type::Path: break;
    }
  }
  return 1;
}

KxPtr<IPen> getDefaultPen(std::uint32_t value) {
  static PenCache cache;
  return cache.get(value);
}

void selectDefaultPen(IPenDC* dc, std::uint32_t value) {
  if (dc) dc->SetPen(getDefaultPen(value).get());
}

}  // namespace quillbay
