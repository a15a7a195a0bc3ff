#include "rasters/ops/shape_spans.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

/// The first of `count` lines or columns whose centre is not before `place`.
std::int32_t centreFrom(double place, std::int32_t count) noexcept {
  return static_cast<std::int32_t>(std::ceil(std::clamp(place - 0.5, 0.0, static_cast<double>(count))));
}

/// Farther away than any pixel; not so far that a slope would be no number.
constexpr double kFarthest = 1e12;

void requireNumbers(std::initializer_list<double> numbers) {
  for (const double v : numbers) {
    if (!(std::abs(v) <= kFarthest))
      throw CXIFaceException(Supp_Translate("The shape has places that are no numbers, or lie much too far away."));
  }
}

CRPolygon cornersOfRect(const CRRect& r) {
  return {{{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}}, true};
}

}  // namespace

CRPolygon cornersOf(const CRFrame& frame) {
  const double c = std::cos(frame.angle), s = std::sin(frame.angle);
  const CRPoint across{frame.width * c, frame.width * s}, down{-frame.height * s, frame.height * c};
  const CRPoint& o = frame.origin;
  return {{o,
           {o.x + across.x, o.y + across.y},
           {o.x + across.x + down.x, o.y + across.y + down.y},
           {o.x + down.x, o.y + down.y}},
          true};
}

ShapeSpans::ShapeSpans(const RasterShape& shape, KxSize raster) : m_size(raster) {
  if (const auto* polygon = std::get_if<CRPolygon>(&shape)) setPolygon(*polygon);
  if (const auto* circle = std::get_if<CRCircle>(&shape)) setCircle(*circle);
  if (const auto* rect = std::get_if<CRRect>(&shape)) setPolygon(cornersOfRect(*rect));
  if (const auto* frame = std::get_if<CRFrame>(&shape)) setPolygon(cornersOf(*frame));
}

void ShapeSpans::setCircle(const CRCircle& circle) {
  requireNumbers({circle.center.x, circle.center.y, circle.radius});
  m_circle = circle;
  m_top = centreFrom(circle.center.y - circle.radius, m_size.height);
  m_bottom = std::max(m_top, centreFrom(circle.center.y + circle.radius, m_size.height));
}

void ShapeSpans::setPolygon(const CRPolygon& polygon) {
  m_edges.reserve(polygon.points.size());
  m_top = m_size.height;
  for (std::size_t i = 0; i < polygon.points.size(); ++i) {
    const CRPoint& from = polygon.points[i];
    requireNumbers({from.x, from.y});
    addEdge(from, polygon.points[(i + 1) % polygon.points.size()]);
  }
  m_top = std::min(m_top, m_bottom);
  std::sort(m_edges.begin(), m_edges.end(), [](const Edge& a, const Edge& b) { return a.first < b.first; });
  m_columns.reserve(m_edges.size());
}

/// Edges that cross no line's centre within the raster are left out.
void ShapeSpans::addEdge(const CRPoint& from, const CRPoint& to) {
  const CRPoint& upper = from.y <= to.y ? from : to;
  const CRPoint& lower = from.y <= to.y ? to : from;
  const Edge lines{centreFrom(upper.y, m_size.height), centreFrom(lower.y, m_size.height), 0, 0};
  if (lines.first >= lines.end) return;
  const double slope = (lower.x - upper.x) / (lower.y - upper.y);
  m_edges.push_back({lines.first, lines.end, upper.x + (lines.first + 0.5 - upper.y) * slope, slope});
  m_top = std::min(m_top, lines.first);
  m_bottom = std::max(m_bottom, lines.end);
}

void ShapeSpans::bringEdges(std::int32_t line) {
  std::erase_if(m_active, [line](const Edge& edge) { return edge.end <= line; });
  for (; m_next < m_edges.size() && m_edges[m_next].first <= line; ++m_next) {
    if (m_edges[m_next].end > line) m_active.push_back(m_edges[m_next]);
  }
}

std::int32_t ShapeSpans::column(double x) const noexcept { return centreFrom(x, m_size.width); }

const PixelSpans& ShapeSpans::at(std::int32_t line) {
  m_spans.clear();
  if (line < m_top || line >= m_bottom) return m_spans;
  m_columns.clear();
  if (m_circle.radius > 0) {
    const double dy = line + 0.5 - m_circle.center.y;
    const double half = std::sqrt(std::max(0.0, m_circle.radius * m_circle.radius - dy * dy));
    m_columns = {column(m_circle.center.x - half), column(m_circle.center.x + half)};
  } else {
    bringEdges(line);
    for (const Edge& edge : m_active) m_columns.push_back(column(edge.x + (line - edge.first) * edge.slope));
    std::sort(m_columns.begin(), m_columns.end());
  }
  // Outlines are closed: each line has an even number of crossings.
  for (std::size_t i = 0; i + 1 < m_columns.size(); i += 2) {
    const PixelSpan span{m_columns[i], m_columns[i + 1]};
    if (span.first >= span.end) continue;
    if (!m_spans.empty() && m_spans.back().end == span.first) {
      m_spans.back().end = span.end;
    } else {
      m_spans.push_back(span);
    }
  }
  return m_spans;
}

void complementOf(const PixelSpans& spans, std::int32_t width, PixelSpans* out) {
  out->clear();
  std::int32_t next = 0;
  for (const PixelSpan& span : spans) {
    if (span.first > next) out->push_back({next, span.first});
    next = span.end;
  }
  if (next < width) out->push_back({next, width});
}

}  // namespace quillbay
