#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "scanners/sim/sim_content.h"

namespace quillbay::sim {

namespace {

constexpr double kStep = 5;  // of the height grid, mm
constexpr const char* kPlaces[] = {"NORTHFIELD", "MILL HILL", "OLD BRIDGE", "EASTON",    "GREENWOOD",
                                   "LONG LAKE",  "STONY ROW", "HIGH MOOR",  "WATERSIDE", "PINE RIDGE"};

// A rounded shape around a point, for lakes, woods and fields.
std::vector<SimPoint> blob(SimPoint c, double radius, SimRandom& random) {
  double phase[4];
  for (double& p : phase) p = random.between(0, 2 * std::numbers::pi);
  std::vector<SimPoint> points;
  for (int i = 0; i < 40; ++i) {
    const double a = 2 * std::numbers::pi * i / 40;
    double r = 1;
    for (int k = 0; k < 4; ++k) r += 0.35 / (k + 2) * std::sin((k + 2) * a + phase[k]);
    points.push_back({c.x + radius * r * std::cos(a), c.y + radius * r * std::sin(a) * 0.8});
  }
  return points;
}

void drawPlaces(SimDisplayList& list, const Rect& r, SimRandom& random) {
  struct Kind {
    SimInk fill, edge;
  };
  constexpr Kind kinds[] = {{{178, 212, 240}, kBlue}, {{196, 226, 180}, kGreen}, {{246, 226, 178}, kBrown}};
  const double largest = std::min(r.width(), r.height()) * 0.2;
  for (int i = 0; i < 5; ++i) {
    const Kind& kind = kinds[random.below(3)];
    const double radius = random.between(largest * 0.3, largest);
    const SimPoint c{random.between(r.left + radius * 1.6, r.right - radius * 1.6),
                     random.between(r.top + radius * 1.6, r.bottom - radius * 1.6)};
    const auto shape = blob(c, radius, random);
    list.area(shape, kind.fill);
    list.polyline(shape, 0.35, kind.edge, true);
  }
  for (int i = 0; i < 24; ++i) {  // houses
    const SimPoint p{random.between(r.left, r.right - 4), random.between(r.top, r.bottom - 4)};
    const double size = random.between(1.5, 4);
    list.area({p, {p.x + size, p.y}, {p.x + size, p.y + size}, {p.x, p.y + size}}, {60, 56, 56});
  }
  const std::string name = kPlaces[random.below(static_cast<int>(std::size(kPlaces)))];
  const double height = std::min(6.0, r.width() / 16);
  text(list, {r.left + random.between(0.05, 0.3) * r.width(), r.top + random.between(0.2, 0.9) * r.height()},
       height, name, kBlack);
}

}  // namespace

SimLand::SimLand(std::uint64_t seed) {
  SimRandom random(seed);
  double length = 420;
  for (Wave& wave : m_waves) {
    const double a = random.between(0, 2 * std::numbers::pi);
    const double k = 2 * std::numbers::pi / length;
    wave = {k * std::cos(a), k * std::sin(a), random.between(0, 2 * std::numbers::pi), length / 420};
    length *= 0.62;
  }
  m_road = random.between(0.3, 0.7);
}

double SimLand::height(double x, double y) const noexcept {
  double h = 0;
  for (const Wave& wave : m_waves) h += wave.size * std::sin(wave.kx * x + wave.ky * y + wave.phase);
  return h;
}

double SimLand::roadAt(double y) const noexcept {
  return 60 * std::sin(y / 170 + m_waves[0].phase) + 25 * std::sin(y / 61 + m_waves[1].phase);
}

// Marching squares: in each square of the grid, a piece of each height line that crosses it.
void SimLand::drawContours(SimDisplayList& list, const Rect& r) const {
  constexpr double kInterval = 0.16;
  const int columns = std::max(1, static_cast<int>(std::ceil(r.width() / kStep)));
  const int rows = std::max(1, static_cast<int>(std::ceil(r.height() / kStep)));
  const double dx = r.width() / columns;
  const double dy = r.height() / rows;
  std::vector<double> above(static_cast<std::size_t>(columns) + 1);
  std::vector<double> below(above.size());
  const auto fill = [&](std::vector<double>& h, int row) {
    for (std::size_t i = 0; i < h.size(); ++i)
      h[i] = height(r.left + dx * static_cast<double>(i), r.top + dy * row) / kInterval;
  };
  fill(above, 0);
  for (int row = 0; row < rows; ++row, std::swap(above, below)) {
    fill(below, row + 1);
    for (std::size_t i = 0; i + 1 < above.size(); ++i) {
      const double corner[4] = {above[i], above[i + 1], below[i + 1], below[i]};
      const auto [low, high] = std::minmax_element(corner, corner + 4);
      for (int level = static_cast<int>(std::ceil(*low)); level <= *high; ++level) {
        SimPoint hit[4];
        int hits = 0;
        for (int k = 0; k < 4; ++k) {
          constexpr double cx[] = {0, 1, 1, 0};
          constexpr double cy[] = {0, 0, 1, 1};
          const int n = (k + 1) % 4;
          if ((corner[k] < level) == (corner[n] < level)) continue;
          const double t = (level - corner[k]) / (corner[n] - corner[k]);
          hit[hits++] = {r.left + dx * (static_cast<double>(i) + cx[k] + t * (cx[n] - cx[k])),
                         r.top + dy * (row + cy[k] + t * (cy[n] - cy[k]))};
        }
        for (int k = 0; k + 1 < hits; k += 2) list.line(hit[k], hit[k + 1], level % 5 == 0 ? 0.45 : 0.2, kBrown);
      }
    }
  }
}

// Its two edges beside the fill: shapes that meet have no order among them.
void SimLand::drawRoad(SimDisplayList& list, const Rect& r) const {
  const auto piece = [&](double shift, double width, SimInk ink) {
    for (double y = r.top; y < r.bottom; y += 4) {
      const double next = std::min(y + 4, r.bottom);
      const double x = 600 * m_road + roadAt(y);
      if (x > r.left + 2 && x < r.right - 2)
        list.line({x + shift, y}, {600 * m_road + roadAt(next) + shift, next}, width, ink);
    }
  };
  piece(0, 1.6, {244, 196, 96});
  piece(-1.05, 0.35, kBlack);
  piece(1.05, 0.35, kBlack);
}

void SimLand::drawMap(SimDisplayList& list, const Rect& r, SimRandom& random) const {
  drawPlaces(list, r, random);
  drawContours(list, r);
  drawRoad(list, r);
  for (double x = std::ceil(r.left / 100) * 100; x < r.right; x += 100) {
    list.line({x, r.top}, {x, r.bottom}, 0.18, kBlue);
    text(list, {x + 1, r.top + 4}, 2.5, std::to_string(static_cast<int>(x / 100)), kBlue);
  }
  for (double y = std::ceil(r.top / 100) * 100; y < r.bottom; y += 100) {
    list.line({r.left, y}, {r.right, y}, 0.18, kBlue);
    text(list, {r.left + 1, y - 1}, 2.5, std::to_string(static_cast<int>(y / 100)), kBlue);
  }
}

}  // namespace quillbay::sim
