/// The rubber bands whose number of points is fixed.
#include <cmath>
#include <numbers>

#include "drawing/measure_text.h"
#include "platform/base_services.h"
#include "platform/rubber_bands.h"
#include "platform/shape_math.h"

namespace quillbay {
namespace {

std::string circleText(const CRCircle& c, ILinearUnit* unit) {
  return formatText(Supp_Translate("Radius %s, diameter %s, area %s"),
                    {measure::length(c.radius, unit), measure::length(2 * c.radius, unit),
                     measure::area(std::numbers::pi * c.radius * c.radius, unit)});
}

CRCircle overDiameter(const CRLine& d) {
  return {{(d.from.x + d.to.x) / 2, (d.from.y + d.to.y) / 2}, d.length() / 2};
}

}  // namespace

std::string CRubberPoint::hint() const { return Supp_Translate("Click a point."); }
std::string CRubberPoint::measures(ILinearUnit*) const { return {}; }
void CRubberPoint::draw(const std::vector<CRPoint>&, double, CRPolyVector*) const {}

std::string CRubberLine::hint() const {
  return Supp_Translate(count() == 0 ? "Click where the line begins."
                                     : "Click where the line ends. Shift holds it to 45 degrees.");
}

std::string CRubberLine::measures(ILinearUnit* unit) const {
  CRLine l;
  if (!get(&l)) return {};
  return formatText(Supp_Translate("Length %s (Δx %s, Δy %s), angle %s"),
                    {measure::length(l.length(), unit), measure::bareLength(l.to.x - l.from.x, unit),
                     measure::bareLength(l.to.y - l.from.y, unit), measure::angle(shape::direction(l.from, l.to))});
}

void CRubberLine::draw(const std::vector<CRPoint>& p, double pixel, CRPolyVector* out) const {
  out->addPath(p, false);
  drawMarks(pixel, out);
}

std::string CRubberRect::hint() const {
  return Supp_Translate(count() == 0 ? "Click a corner of the frame." : "Click the opposite corner.");
}

std::string CRubberRect::measures(ILinearUnit* unit) const {
  CRRect r;
  if (!get(&r)) return {};
  return formatText(Supp_Translate("%s × %s"),
                    {measure::bareLength(r.width(), unit), measure::length(r.height(), unit)});
}

void CRubberRect::draw(const std::vector<CRPoint>& p, double, CRPolyVector* out) const {
  if (p.size() < 2) return;
  const CRRect r = shape::spanned(p[0], p[1]);
  const CRPoint corners[] = {{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
  out->addPath(corners, true);
}

bool CRubberBaseFrame::get(CRFrame* out) const {
  CRPoint a, b, c;
  if (!point(0, &a) || !point(1, &b) || !point(2, &c)) return false;
  const auto frame = shape::frameOver(a, b, c);
  if (frame) *out = *frame;
  return frame.has_value();
}

void CRubberBaseFrame::set(const CRFrame& frame) {
  const auto c = shape::corners(frame);
  setPoints({c[0], c[1], c[2]});
}

std::string CRubberBaseFrame::hint() const {
  if (count() == 0) return Supp_Translate("Click one end of the frame's base line.");
  if (count() == 1) return Supp_Translate("Click the other end of the base line. Shift holds it to 45 degrees.");
  return Supp_Translate("Click how far the frame reaches.");
}

std::string CRubberBaseFrame::measures(ILinearUnit* unit) const {
  CRLine base;
  CRFrame frame;
  if (get(&frame)) {
    return formatText(
        Supp_Translate("%s × %s, angle %s"),
        {measure::bareLength(frame.width, unit), measure::length(frame.height, unit), measure::angle(frame.angle)});
  }
  if (!line(0, &base)) return {};
  return formatText(Supp_Translate("Length %s, angle %s"),
                    {measure::length(base.length(), unit), measure::angle(shape::direction(base.from, base.to))});
}

void CRubberBaseFrame::draw(const std::vector<CRPoint>& p, double pixel, CRPolyVector* out) const {
  const auto frame = p.size() == 3 ? shape::frameOver(p[0], p[1], p[2]) : std::nullopt;
  if (frame) {
    out->addPath(shape::corners(*frame), true);
  } else {
    out->addPath(p, false);
  }
  drawMarks(pixel, out);
}

bool CRubberCircle::get(CRCircle* out) const {
  CRLine radius;
  if (!line(0, &radius)) return false;
  *out = {radius.from, radius.length()};
  return true;
}

void CRubberCircle::set(const CRCircle& c) { setPoints({c.center, {c.center.x + c.radius, c.center.y}}); }

std::string CRubberCircle::hint() const {
  return Supp_Translate(count() == 0 ? "Click the centre of the circle." : "Click a point of the circle.");
}

std::string CRubberCircle::measures(ILinearUnit* unit) const {
  CRCircle c;
  return get(&c) ? circleText(c, unit) : std::string();
}

void CRubberCircle::draw(const std::vector<CRPoint>& p, double pixel, CRPolyVector* out) const {
  if (p.size() == 2) out->addCircle({p[0], shape::distance(p[0], p[1])});
  out->addPath(p, false);
  drawMarks(pixel, out);
}

bool CRubberCircleByDiameter::get(CRCircle* out) const {
  CRLine diameter;
  if (!line(0, &diameter)) return false;
  *out = overDiameter(diameter);
  return true;
}

void CRubberCircleByDiameter::set(const CRCircle& c) {
  setPoints({{c.center.x - c.radius, c.center.y}, {c.center.x + c.radius, c.center.y}});
}

std::string CRubberCircleByDiameter::hint() const {
  return Supp_Translate(count() == 0 ? "Click one end of a diameter." : "Click the other end of the diameter.");
}

std::string CRubberCircleByDiameter::measures(ILinearUnit* unit) const {
  CRCircle c;
  return get(&c) ? circleText(c, unit) : std::string();
}

void CRubberCircleByDiameter::draw(const std::vector<CRPoint>& p, double pixel, CRPolyVector* out) const {
  if (p.size() == 2) out->addCircle(overDiameter({p[0], p[1]}));
  out->addPath(p, false);
  drawMarks(pixel, out);
}

}  // namespace quillbay
