#include <algorithm>
#include <utility>

#include "platform/rubber_bands.h"
#include "platform/shape_math.h"

namespace quillbay {
namespace {

constexpr double kCrossArm = 4;  // pixels
/// A press and a release so far apart are the two points of a shape.
constexpr double kDragPixels = 10;
/// The second press of a double click is no further point within this distance.
constexpr double kSamePlacePixels = 3;

}  // namespace

template <class Point>
bool CRubberBase<Point>::point(int index, Point* out) const {
  if (index < 0 || index > count() || (m_most >= 0 && index >= m_most)) return false;
  *out = index < count() ? m_points[static_cast<std::size_t>(index)] : m_current;
  return true;
}

template <class Point>
bool CRubberBase<Point>::line(int index, CRLine* out) const {
  CRLine found;
  if (!point(index, &found.from) || !point(index + 1, &found.to)) return false;
  *out = found;
  return true;
}

template <class Point>
bool CRubberBase<Point>::rect(int index, CRRect* out) const {
  CRLine diagonal;
  if (!line(index, &diagonal)) return false;
  *out = shape::spanned(diagonal.from, diagonal.to);
  return true;
}

template <class Point>
bool CRubberBase<Point>::circle(int index, CRCircle* out) const {
  Point a, b, c;
  if (!point(index, &a) || !point(index + 1, &b) || !point(index + 2, &c)) return false;
  const auto found = shape::circleThrough(a, b, c);
  if (found) *out = *found;
  return found.has_value();
}

template <class Point>
std::vector<Point> CRubberBase<Point>::points() const {
  std::vector<Point> all;
  all.reserve(m_points.size() + 1);
  all = m_points;
  Point current;
  if (isRunning() && m_isPlaced && point(count(), &current)) all.push_back(current);
  return all;
}

template <class Point>
void CRubberBase<Point>::setPoints(std::vector<Point> points) {
  m_points = std::move(points);
  redraw();
}

template <class Point>
bool CRubberBase<Point>::isNear(const Point& a, const Point& b, double pixels) const {
  return m_site && shape::distance(a, b) <= pixels * m_site->pixel();
}

/// What is drawn now takes the place of what was, which erases it.
template <class Point>
void CRubberBase<Point>::redraw() {
  if (!m_site) return;
  std::swap(m_shown, m_before);
  rebuild(m_site->pixel());
  m_site->redraw(m_before, m_shown);
}

template <class Point>
void CRubberBase<Point>::rebuild(double pixel) {
  CRPolyVector whole;
  if (isRunning()) draw(points(), pixel, &whole);
  // Before the first point there is the pointer's place only: keys move it where no pointer shows it.
  if (isRunning() && m_points.empty() && m_isPlaced) drawMark(m_current, pixel, &whole);
  whole.breakInto(&m_shown);
  m_shownPixel = pixel;
}

template <class Point>
const CRPolyVector& CRubberBase<Point>::drawing(double pixel) {
  if (pixel != m_shownPixel) rebuild(pixel);  // the view was zoomed: all of it is painted
  return m_shown;
}

template <class Point>
void CRubberBase<Point>::drawMark(const Point& at, double pixel, CRPolyVector* out) {
  out->addCross(at, kCrossArm * pixel);
}

template <class Point>
void CRubberBase<Point>::drawMarks(double pixel, CRPolyVector* out) const {
  for (const Point& p : m_points) drawMark(p, pixel, out);
}

template <class Point>
void CRubberBase<Point>::setPolarOriginToLast() {
  if (m_site) m_site->setPolarOrigin(m_points.empty() ? nullptr : &m_points.back());
}

template <class Point>
void CRubberBase<Point>::start() {
  if (!m_keepPoints) {
    m_points.clear();
    m_current = {};
    m_isPlaced = false;
  }
  m_state = RubberState::Running;
  if (m_site) m_site->setPainted(true);
  setPolarOriginToLast();
  redraw();
}

template <class Point>
void CRubberBase<Point>::end(RubberState state) {
  const bool ran = isRunning();
  m_state = state;
  if (ran) redraw();
  if (!m_site) return;
  m_site->setPainted(false);
  if (state == RubberState::Finished || state == RubberState::Cancelled) {
    m_keepPoints = false;
    m_site->setPolarOrigin(nullptr);
  }
  m_site->ended(state);
}

template <class Point>
bool CRubberBase<Point>::command(int command) {
  if (command == kChooseRestart) {
    if (isRunning()) return false;
    m_state = RubberState::Running;
    if (m_site) m_site->setPainted(true);
    setPolarOriginToLast();
    redraw();
    if (m_site) m_site->restarted();
    return true;
  }
  const bool ends = command == kChooseStop
                        ? isRunning()
                        : command == kChooseCancel && (isRunning() || m_state == RubberState::Commanded);
  if (ends) end(command == kChooseStop ? RubberState::Commanded : RubberState::Cancelled);
  return ends;
}

template <class Point>
bool CRubberBase<Point>::move(const Point& at) {
  if (!isRunning()) return false;
  m_current = at;
  m_isPlaced = true;
  redraw();
  if (m_site) m_site->pointMoved(count(), at);
  return true;
}

template <class Point>
bool CRubberBase<Point>::fix(const Point& at) {
  if (!isRunning()) return false;
  if (m_most >= 0 && count() >= m_most) {  // restarted when it was complete
    end(RubberState::Finished);
    return true;
  }
  m_points.push_back(at);
  m_current = at;
  m_isPlaced = true;
  m_isPressed = m_most == 2 && count() == 1;
  setPolarOriginToLast();
  redraw();
  if (m_site) m_site->pointFixed(count() - 1, at);
  // Whoever was told may have ended it, or taken the point back.
  if (isRunning() && m_most >= 0 && count() >= m_most) end(RubberState::Finished);
  return true;
}

template <class Point>
bool CRubberBase<Point>::takeBack() {
  if (!isRunning() || m_points.empty()) return false;
  m_points.pop_back();
  m_isPressed = false;
  setPolarOriginToLast();
  redraw();
  if (m_site) m_site->pointTakenBack(count());
  return true;
}

template <class Point>
bool CRubberBase<Point>::finish() {
  if (!isRunning() || m_most >= 0 || count() < least()) return false;
  end(RubberState::Finished);
  return true;
}

template <class Point>
bool CRubberBase<Point>::key(int key) {
  if (!isRunning() || (key != kKeyEscape && key != kKeyBackspace)) return false;
  if (key == kKeyEscape) {
    end(RubberState::Cancelled);
  } else {
    takeBack();
  }
  return true;
}

/// A shape of two points may also be drawn from one to the other with the button held.
template <class Point>
bool CRubberBase<Point>::release(const Point& at) {
  const bool pressed = std::exchange(m_isPressed, false);
  return pressed && isRunning() && count() == 1 && !isNear(m_points.front(), at, kDragPixels) && fix(at);
}

template <class Point>
bool CRubberBase<Point>::doubleClick(const Point& at) {
  // Without a point its first press went to another chooser, whose shape it ended.
  if (m_points.empty() || isNear(m_points.back(), at, kSamePlacePixels)) return false;
  return press(at);
}

template class CRubberBase<CRPoint>;

}  // namespace quillbay
