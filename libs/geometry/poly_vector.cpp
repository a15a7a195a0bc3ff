#include "platform/poly_vector.h"

namespace quillbay {

void CRPolyVector::clear() noexcept {
  m_elements.clear();
  m_points.clear();
}

std::span<const CRPoint> CRPolyVector::pathOf(const Element& element) const noexcept {
  return std::span(m_points).subspan(element.firstPoint, element.count);
}

void CRPolyVector::addPoint(const CRPoint& at) {
  Element e;
  e.type = Type::Point;
  e.from = at;
  m_elements.push_back(e);
}

void CRPolyVector::addLine(const CRPoint& from, const CRPoint& to) {
  Element e;
  e.from = from;
  e.to = to;
  m_elements.push_back(e);
}

void CRPolyVector::addPath(std::span<const CRPoint> points, bool closed) {
  if (points.size() < 2) return;
  Element e;
  e.type = Type::Path;
  e.firstPoint = m_points.size();
  m_points.insert(m_points.end(), points.begin(), points.end());
  if (closed) m_points.push_back(points.front());
  e.count = m_points.size() - e.firstPoint;
  m_elements.push_back(e);
}

void CRPolyVector::addArc(const CRArc& arc) {
  Element e;
  e.type = Type::Arc;
  e.from = arc.center;
  e.radius = arc.radius;
  e.start = arc.start;
  e.sweep = arc.sweep;
  m_elements.push_back(e);
}

void CRPolyVector::addCircle(const CRCircle& circle) {
  Element e;
  e.type = Type::Circle;
  e.from = circle.center;
  e.radius = circle.radius;
  m_elements.push_back(e);
}

void CRPolyVector::addCross(const CRPoint& at, double arm) {
  addLine({at.x - arm, at.y}, {at.x + arm, at.y});
  addLine({at.x, at.y - arm}, {at.x, at.y + arm});
}

void CRPolyVector::breakInto(CRPolyVector* out) const {
  out->clear();
  out->m_elements.reserve(m_elements.size() + m_points.size());
  for (const Element& e : m_elements) {
    if (e.type != Type::Path) {
      out->m_elements.push_back(e);
      continue;
    }
    const auto points = pathOf(e);
    for (std::size_t i = 1; i < points.size(); ++i) out->addLine(points[i - 1], points[i]);
  }
}

}  // namespace quillbay
