/// The rubber bands of any number of points.
#include <cmath>
#include <utility>

#include "drawing/measure_text.h"
#include "platform/base_services.h"
#include "platform/rubber_bands.h"
#include "platform/shape_math.h"

namespace quillbay {
namespace {

/// A click so near to the first point closes the outline.
constexpr double kClosingPixels = 5;
/// Points that the hand draws are at least so far apart.
constexpr double kHandPixels = 1;
/// A click may shake by so much without being a stroke.
constexpr double kShakePixels = 4;

}  // namespace

bool CRubberPolyGone::get(CRPolygon* out) const {
  auto p = points();
  if (p.size() < static_cast<std::size_t>(least())) return false;
  *out = {std::move(p), m_closed};
  return true;
}

bool CRubberPolyGone::press(const CRPoint& at) {
  if (!isRunning()) return false;
  if (m_closed && m_hand != Hand::Free && count() >= least() && isNear(fixedPoints().front(), at, kClosingPixels))
    return finish();
  m_isDrawing = m_hand != Hand::None;
  m_isStroke = false;
  return fix(at);
}

bool CRubberPolyGone::drag(const CRPoint& at) {
  const double least = m_isStroke ? kHandPixels * 0.999 : kShakePixels;
  if (!m_isDrawing || count() == 0 || isNear(fixedPoints().back(), at, least)) return move(at);
  m_isStroke = true;
  return fix(at);
}

bool CRubberPolyGone::release(const CRPoint&) {
  if (!std::exchange(m_isDrawing, false) || m_hand != Hand::Free || !isRunning()) return false;
  if (finish()) return true;
  while (takeBack()) {  // a click without a stroke: the outline is still to be drawn
  }
  return true;
}

bool CRubberPolyGone::doubleClick(const CRPoint& at) {
  if (m_hand == Hand::Free) return press(at);
  // Its first press has fixed the last point.
  return finish();
}

std::string CRubberPolyGone::hint() const {
  if (m_hand == Hand::Free) return Supp_Translate("Draw around the area with the mouse button held.");
  if (count() == 0)
    return Supp_Translate(m_hand == Hand::Corner ? "Click the first corner, or draw with the mouse button held."
                          : m_closed             ? "Click the first corner."
                                                 : "Click the first point.");
  if (count() < least()) return Supp_Translate(m_closed ? "Click the next corner." : "Click the next point.");
  return Supp_Translate(m_closed ? "Click the next corner. A double click, a right click or the first corner ends."
                                 : "Click the next point. A double click or a right click ends.");
}

std::string CRubberPolyGone::measures(ILinearUnit* unit) const {
  const CRPolygon shape{points(), m_closed};
  if (shape.points.size() < 2) return {};
  if (!m_closed || shape.points.size() < 3)
    return formatText(Supp_Translate("Length %s"),
                      {measure::length(shape::perimeter({shape.points, false}), unit)});
  return formatText(
      Supp_Translate("Perimeter %s, area %s"),
      {measure::length(shape::perimeter(shape), unit), measure::area(std::abs(shape::signedArea(shape)), unit)});
}

void CRubberPolyGone::draw(const std::vector<CRPoint>& p, double pixel, CRPolyVector* out) const {
  // In an order in which a further point changes nothing before it: what did not change is not drawn again.
  if (m_closed && p.size() > 2) out->addLine(p.back(), p.front());
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (m_hand == Hand::None && i < fixedPoints().size()) drawMark(p[i], pixel, out);
    if (i + 1 < p.size()) out->addLine(p[i], p[i + 1]);
  }
}

}  // namespace quillbay
