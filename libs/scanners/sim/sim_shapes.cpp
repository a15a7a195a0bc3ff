#include "scanners/sim/sim_shapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "quillbay/palette.h"

namespace quillbay {

namespace {

struct Interval {
  double lo, hi;
};

// Where |(x - cx) * k + base| < reach on a row.
Interval slab(double cx, double k, double base, double reach) noexcept {
  if (std::abs(k) < 1e-9) return std::abs(base) < reach ? Interval{-1e15, 1e15} : Interval{1, 0};
  const double inverse = 1 / k;
  const double middle = cx - base * inverse;
  const double half = reach * std::abs(inverse);
  return {middle - half, middle + half};
}

// The first pixel of a row whose middle is at or right of `x`.
std::int32_t pixelFrom(double x, const SimRow& row) noexcept {
  const double p = std::ceil(x - 0.5);
  if (!(p > row.left)) return row.left;
  return p < row.right ? static_cast<std::int32_t>(p) : row.right;
}

template <int channels>
struct Ink {
  std::uint8_t v[3];
  explicit Ink(SimInk ink) noexcept : v{ink.red, ink.green, ink.blue} {
    if constexpr (channels == 1) v[0] = greyOf(ink.red, ink.green, ink.blue);
  }
  void set(std::uint8_t* p, std::int32_t count) const noexcept {
    if constexpr (channels == 1) {
      std::fill_n(p, count, v[0]);
    } else {
      for (; count > 0; --count, p += 3) {
        p[0] = v[0];
        p[1] = v[1];
        p[2] = v[2];
      }
    }
  }
  // Mixes `strength` (0 to 1) of the ink over a pixel.
  void blend(std::uint8_t* p, double strength) const noexcept {
    const int s = steps256(strength);
    for (int c = 0; c < channels; ++c) p[c] = static_cast<std::uint8_t>(p[c] + (((v[c] - p[c]) * s + 128) >> 8));
  }
  // Takes from the paper what the ink swallows; `strength` as above. A whole pixel is tinted as `tintRow` does.
  void tint(std::uint8_t* p, double strength) const noexcept {
    const int s = steps256(strength);
    for (int c = 0; c < channels; ++c) {
      const int factor = 256 - (((256 - factorOf(c)) * s) >> 8);
      p[c] = static_cast<std::uint8_t>((p[c] * factor + 128) >> 8);
    }
  }
  void tintRow(std::uint8_t* p, std::int32_t count) const noexcept {
    constexpr int kBlock = 48;  // whole pixels and whole vector registers
    std::uint16_t factor[kBlock];
    for (int i = 0; i < kBlock; ++i) factor[i] = static_cast<std::uint16_t>(factorOf(i % channels));
    std::int32_t bytes = count * channels;
    for (; bytes >= kBlock; bytes -= kBlock, p += kBlock)
      for (int i = 0; i < kBlock; ++i) p[i] = static_cast<std::uint8_t>((p[i] * factor[i] + 128) >> 8);
    for (int i = 0; i < bytes; ++i) p[i] = static_cast<std::uint8_t>((p[i] * factor[i] + 128) >> 8);
  }
  [[nodiscard]] int factorOf(int c) const noexcept { return v[c] + (v[c] >> 7); }
};

template <int channels>
void paintBox(const SimBox& box, double strength, SimInk color, const SimRow& row, std::int64_t y) noexcept {
  const SimSpan span = spanOf(box, y, row);
  if (span.outer0 >= span.outer1) return;
  const Ink<channels> ink(color);
  const auto edge = [&](std::int32_t from, std::int32_t to) {
    const double dy = static_cast<double>(y) + 0.5 - box.cy;
    std::uint8_t* p = row.at(from);
    for (std::int32_t x = from; x < to; ++x, p += channels) {
      const double dx = x + 0.5 - box.cx;
      const double u = std::clamp(box.hu + 0.5 - std::abs(dx * box.ux + dy * box.uy), 0.0, 1.0);
      const double v = std::clamp(box.hv + 0.5 - std::abs(dy * box.ux - dx * box.uy), 0.0, 1.0);
      ink.blend(p, u * v * strength);
    }
  };
  edge(span.outer0, span.inner0);
  if (strength >= 1) {
    ink.set(row.at(span.inner0), span.inner1 - span.inner0);
    edge(span.inner1, span.outer1);
  } else {
    edge(span.inner0, span.outer1);
  }
}

template <int channels>
void paintRing(double cx, double cy, double radius, double half, double strength, SimInk color, const SimRow& row,
               std::int64_t y) noexcept {
  const double dy = static_cast<double>(y) + 0.5 - cy;
  const double outer = radius + half + 0.5;
  if (std::abs(dy) >= outer) return;
  const double reach = std::sqrt(outer * outer - dy * dy);
  const double hole = std::max(radius - half - 0.5, 0.0);
  const double inner = std::abs(dy) < hole ? std::sqrt(hole * hole - dy * dy) : 0;
  const Ink<channels> ink(color);
  const auto side = [&](double from, double to) {
    const std::int32_t end = pixelFrom(to, row);
    std::int32_t x = pixelFrom(from, row);
    for (std::uint8_t* p = row.at(x); x < end; ++x, p += channels) {
      const double dx = x + 0.5 - cx;
      const double off = std::abs(std::sqrt(dx * dx + dy * dy) - radius);
      ink.blend(p, std::clamp(half + 0.5 - off, 0.0, 1.0) * strength);
    }
  };
  side(cx - reach, cx - inner);
  side(cx + inner, cx + reach);
}

}  // namespace

SimSpan spanOf(const SimBox& box, std::int64_t y, const SimRow& row) noexcept {
  const double dy = static_cast<double>(y) + 0.5 - box.cy;
  const Interval u = slab(box.cx, box.ux, dy * box.uy, box.hu + 0.5);
  const Interval v = slab(box.cx, -box.uy, dy * box.ux, box.hv + 0.5);
  SimSpan span;
  span.outer0 = pixelFrom(std::max(u.lo, v.lo), row);
  span.outer1 = pixelFrom(std::min(u.hi, v.hi), row);
  if (u.lo > u.hi || v.lo > v.hi || span.outer0 >= span.outer1) return {};
  span.inner0 = span.inner1 = span.outer0;
  if (box.hu < 0.5 || box.hv < 0.5) return span;
  const Interval iu = slab(box.cx, box.ux, dy * box.uy, box.hu - 0.5);
  const Interval iv = slab(box.cx, -box.uy, dy * box.ux, box.hv - 0.5);
  if (iu.lo > iu.hi || iv.lo > iv.hi) return span;
  const std::int32_t from = pixelFrom(std::max(iu.lo, iv.lo), row);
  const std::int32_t to = pixelFrom(std::min(iu.hi, iv.hi), row);
  if (from >= to) return span;
  span.inner0 = from;
  span.inner1 = to;
  return span;
}

double coverageOf(const SimBox& box, std::int32_t x, std::int64_t y) noexcept {
  const double dx = x + 0.5 - box.cx;
  const double dy = static_cast<double>(y) + 0.5 - box.cy;
  const double u = std::clamp(box.hu + 0.5 - std::abs(dx * box.ux + dy * box.uy), 0.0, 1.0);
  const double v = std::clamp(box.hv + 0.5 - std::abs(dy * box.ux - dx * box.uy), 0.0, 1.0);
  return u * v;
}

template <class Shape>
void SimDisplayList::Layer<Shape>::seal() {
  std::stable_sort(shapes.begin(), shapes.end(), [](const Shape& a, const Shape& b) { return a.top < b.top; });
  active.reserve(256);
}

template <class Shape>
template <class Paint>
void SimDisplayList::Layer<Shape>::paint(std::int64_t y, const Paint& paintShape) {
  for (; next < shapes.size() && shapes[next].top <= y; ++next) active.push_back(static_cast<std::uint32_t>(next));
  std::size_t kept = 0;
  for (const std::uint32_t i : active) {
    const Shape& shape = shapes[i];
    if (shape.bottom < y) continue;
    active[kept++] = i;
    paintShape(shape);
  }
  active.resize(kept);
}

void SimDisplayList::keep(const Extent& extent) noexcept { m_bottom = std::max(m_bottom, extent.bottom); }

void SimDisplayList::line(SimPoint a, SimPoint b, double width, SimInk ink) {
  a = m_transform.map(a);
  b = m_transform.map(b);
  const double length = std::hypot(b.x - a.x, b.y - a.y);
  const double half = width * m_transform.scale / 2;
  SimBox box{(a.x + b.x) / 2, (a.y + b.y) / 2, 1, 0, length / 2 + half, half};
  if (length > 1e-9) {
    box.ux = (b.x - a.x) / length;
    box.uy = (b.y - a.y) / length;
  }
  const double reach = std::abs(box.uy) * box.hu + std::abs(box.ux) * box.hv + 1;
  const Extent extent{static_cast<std::int64_t>(std::floor(box.cy - reach)),
                      static_cast<std::int64_t>(std::ceil(box.cy + reach))};
  m_lines.shapes.push_back({extent, box, static_cast<float>(std::min(1.0, 2 * half)), ink});
  keep(extent);
}

void SimDisplayList::polyline(const std::vector<SimPoint>& points, double width, SimInk ink, bool closed) {
  for (std::size_t i = 1; i < points.size(); ++i) line(points[i - 1], points[i], width, ink);
  if (closed && points.size() > 2) line(points.back(), points.front(), width, ink);
}

void SimDisplayList::circle(SimPoint middle, double radius, double width, SimInk ink) {
  const SimPoint c = m_transform.map(middle);
  const double half = width * m_transform.scale / 2;
  const double r = radius * m_transform.scale;
  const Extent extent{static_cast<std::int64_t>(std::floor(c.y - r - half - 1)),
                      static_cast<std::int64_t>(std::ceil(c.y + r + half + 1))};
  m_rings.shapes.push_back({extent, c.x, c.y, r, half, static_cast<float>(std::min(1.0, 2 * half)), ink});
  keep(extent);
}

void SimDisplayList::arc(SimPoint middle, double radius, double from, double to, double width, SimInk ink) {
  const int steps = std::max(2, static_cast<int>(std::abs(to - from) / 6));
  std::vector<SimPoint> points;
  for (int i = 0; i <= steps; ++i) {
    const double angle = (from + (to - from) * i / steps) * std::numbers::pi / 180;
    points.push_back({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle)});
  }
  polyline(points, width, ink);
}

void SimDisplayList::area(const std::vector<SimPoint>& points, SimInk ink) {
  Area area{{INT64_MAX, INT64_MIN},
            static_cast<std::uint32_t>(m_points.size()),
            static_cast<std::uint32_t>(points.size()),
            ink};
  for (const SimPoint& p : points) {
    m_points.push_back(m_transform.map(p));
    area.top = std::min(area.top, static_cast<std::int64_t>(std::floor(m_points.back().y)));
    area.bottom = std::max(area.bottom, static_cast<std::int64_t>(std::ceil(m_points.back().y)));
  }
  m_areas.shapes.push_back(area);
  keep(area);
}

void SimDisplayList::seal() {
  m_areas.seal();
  m_rings.seal();
  m_lines.seal();
}

template <int channels>
void SimDisplayList::paintArea(const Area& area, const SimRow& row, std::int64_t y) {
  const double yc = static_cast<double>(y) + 0.5;
  m_crossings.clear();
  const SimPoint* points = m_points.data() + area.first;
  for (std::uint32_t i = 0, j = area.count - 1; i < area.count; j = i++) {
    const SimPoint& a = points[j];
    const SimPoint& b = points[i];
    if ((a.y <= yc) == (b.y <= yc)) continue;
    m_crossings.push_back(a.x + (yc - a.y) / (b.y - a.y) * (b.x - a.x));
  }
  std::sort(m_crossings.begin(), m_crossings.end());
  const Ink<channels> ink(area.ink);
  for (std::size_t i = 0; i + 1 < m_crossings.size(); i += 2) {
    const double from = std::max(m_crossings[i], static_cast<double>(row.left));
    const double to = std::min(m_crossings[i + 1], static_cast<double>(row.right));
    if (from >= to) continue;
    const auto first = static_cast<std::int32_t>(std::floor(from));
    const auto last = static_cast<std::int32_t>(std::floor(to));
    if (first == last) {
      ink.tint(row.at(first), to - from);
      continue;
    }
    ink.tint(row.at(first), first + 1 - from);
    ink.tintRow(row.at(first + 1), last - first - 1);
    if (last < row.right) ink.tint(row.at(last), to - last);
  }
}

template <int channels>
void SimDisplayList::paintChannels(const SimRow& row, std::int64_t y) {
  m_areas.paint(y, [&](const Area& a) { paintArea<channels>(a, row, y); });
  m_rings.paint(y, [&](const Ring& r) {
    paintRing<channels>(r.cx, r.cy, r.radius, r.half, static_cast<double>(r.strength), r.ink, row, y);
  });
  m_lines.paint(y,
                [&](const Line& l) { paintBox<channels>(l.box, static_cast<double>(l.strength), l.ink, row, y); });
}

void SimDisplayList::paint(const SimRow& row, std::int64_t y) {
  if (row.channels == 1)
    paintChannels<1>(row, y);
  else
    paintChannels<3>(row, y);
}

}  // namespace quillbay
