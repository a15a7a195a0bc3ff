#include "host/tools/tone_curve.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace quillbay {

namespace {

constexpr int kMostLevel = 255;
constexpr int kFollowStep = 16;

int toLevel(int v) { return std::clamp(v, 0, kMostLevel); }

bool isLevel(int v) { return v >= 0 && v <= kMostLevel; }

double slopeBetween(CurvePoint a, CurvePoint b) { return static_cast<double>(b.y - a.y) / (b.x - a.x); }

/// At an inner point: the weighted harmonic mean of the slopes to both sides, 0 where they differ in sign.
double innerSlope(CurvePoint before, CurvePoint at, CurvePoint after) {
  const double left = slopeBetween(before, at), right = slopeBetween(at, after);
  if (left * right <= 0) return 0;
  const double toLeft = at.x - before.x, toRight = after.x - at.x;
  const double leftWeight = 2 * toRight + toLeft, rightWeight = toRight + 2 * toLeft;
  return (leftWeight + rightWeight) / (leftWeight / left + rightWeight / right);
}

/// At an end: that of the parabola through three points, kept so low that the curve does not overshoot.
double endSlope(CurvePoint end, CurvePoint next, CurvePoint afterNext) {
  const double first = slopeBetween(end, next), second = slopeBetween(next, afterNext);
  const double h = std::abs(next.x - end.x), g = std::abs(afterNext.x - next.x);
  const double slope = ((2 * h + g) * first - h * second) / (h + g);
  if (slope * first <= 0) return 0;
  if (first * second <= 0 && std::fabs(slope) > 3 * std::fabs(first)) return 3 * first;
  return slope;
}

std::vector<double> slopesOf(std::span<const CurvePoint> p) {
  const std::size_t last = p.size() - 1;
  if (last == 1) return {slopeBetween(p[0], p[1]), slopeBetween(p[0], p[1])};
  std::vector<double> slopes(p.size());
  slopes[0] = endSlope(p[0], p[1], p[2]);
  for (std::size_t i = 1; i < last; ++i) slopes[i] = innerSlope(p[i - 1], p[i], p[i + 1]);
  slopes[last] = endSlope(p[last], p[last - 1], p[last - 2]);
  return slopes;
}

double hermite(CurvePoint a, CurvePoint b, double slopeA, double slopeB, int x) {
  const double h = b.x - a.x, t = (x - a.x) / h;
  const double u = 1 - t;
  return (1 + 2 * t) * u * u * a.y + t * u * u * h * slopeA + t * t * (3 - 2 * t) * b.y - t * t * u * h * slopeB;
}

}  // namespace

ToneCurve::ToneCurve() : m_points{{0, 0}, {kMostLevel, kMostLevel}} {}

std::optional<ToneCurve> ToneCurve::through(std::vector<CurvePoint> points) {
  if (points.size() < 2 || points.size() > kMostPoints) return std::nullopt;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!isLevel(points[i].x) || !isLevel(points[i].y)) return std::nullopt;
    if (i > 0 && points[i].x <= points[i - 1].x) return std::nullopt;
  }
  ToneCurve curve;
  curve.m_points = std::move(points);
  return curve;
}

ToneCurve ToneCurve::following(const CurveLevels& levels) {
  ToneCurve curve;
  curve.m_points.clear();
  for (int x = 0; x <= kMostLevel; x += kFollowStep)
    curve.m_points.push_back({x, levels[static_cast<unsigned>(x)]});
  curve.m_points.push_back({kMostLevel, levels[kMostLevel]});
  return curve;
}

CurveLevels ToneCurve::levels() const {
  const std::vector<double> slopes = slopesOf(m_points);
  CurveLevels out{};
  std::size_t i = 0;  // the point before x
  for (int x = 0; x <= kMostLevel; ++x) {
    while (i + 2 < m_points.size() && x >= m_points[i + 1].x) ++i;
    const CurvePoint a = m_points[i], b = m_points[i + 1];
    const double y = x <= a.x ? a.y : x >= b.x ? b.y : hermite(a, b, slopes[i], slopes[i + 1], x);
    out[static_cast<unsigned>(x)] = static_cast<std::uint8_t>(toLevel(static_cast<int>(std::floor(y + 0.5))));
  }
  return out;
}

std::optional<std::size_t> ToneCurve::add(CurvePoint point) {
  point = {toLevel(point.x), toLevel(point.y)};
  const auto at = std::lower_bound(m_points.begin(), m_points.end(), point.x,
                                   [](const CurvePoint& p, int x) { return p.x < x; });
  const auto index = static_cast<std::size_t>(at - m_points.begin());
  if (at != m_points.end() && at->x == point.x) {
    at->y = point.y;
    return index;
  }
  if (m_points.size() == kMostPoints) return std::nullopt;
  m_points.insert(at, point);
  return index;
}

CurvePoint ToneCurve::move(std::size_t index, CurvePoint to) {
  const int least = index == 0 ? 0 : m_points[index - 1].x + 1;
  const int most = index + 1 == m_points.size() ? kMostLevel : m_points[index + 1].x - 1;
  return m_points[index] = {std::clamp(to.x, least, most), toLevel(to.y)};
}

bool ToneCurve::remove(std::size_t index) {
  if (index == 0 || index + 1 >= m_points.size()) return false;
  m_points.erase(m_points.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

bool ToneCurve::setBlack(int x) {
  if (x < 0 || x >= m_points.back().x) return false;
  std::erase_if(m_points, [x](const CurvePoint& p) { return p.x <= x; });
  m_points.insert(m_points.begin(), {x, 0});
  if (m_points.size() > kMostPoints) m_points.erase(m_points.begin() + 1);
  return true;
}

bool ToneCurve::setWhite(int x) {
  if (x > kMostLevel || x <= m_points.front().x) return false;
  std::erase_if(m_points, [x](const CurvePoint& p) { return p.x >= x; });
  m_points.push_back({x, kMostLevel});
  if (m_points.size() > kMostPoints) m_points.erase(m_points.end() - 2);
  return true;
}

}  // namespace quillbay
