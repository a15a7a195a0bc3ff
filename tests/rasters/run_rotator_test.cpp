/// Straightening of run lists: thin lines stay whole, areas stay full.
#include <algorithm>

#include "quillbay/run_list.h"
#include "straighten_tools.h"

namespace quillbay::test {
namespace {

/// A bitonal picture with a byte for each pixel.
struct Picture {
  Picture(std::int32_t w, std::int32_t h) : width(w), height(h), pixels(static_cast<std::size_t>(w * h)) {}
  [[nodiscard]] bool at(std::int32_t x, std::int32_t y) const {
    return x >= 0 && y >= 0 && x < width && y < height && pixels[static_cast<std::size_t>(y * width + x)] != 0;
  }
  void set(std::int32_t x, std::int32_t y) { pixels[static_cast<std::size_t>(y * width + x)] = 1; }
  void line(double x, double y, double toX, double toY) {
    const int steps = static_cast<int>(std::ceil(std::max(std::abs(toX - x), std::abs(toY - y))));
    for (int i = 0; i <= steps; ++i) {
      set(static_cast<std::int32_t>(std::lround(x + (toX - x) * i / steps)),
          static_cast<std::int32_t>(std::lround(y + (toY - y) * i / steps)));
    }
  }
  [[nodiscard]] std::int64_t dark() const { return std::count(pixels.begin(), pixels.end(), 1); }
  std::int32_t width, height;
  Bytes pixels;
};

/// Components of pixels that are `dark`, connected by eight neighbours, or of those that are not, by four.
int components(const Picture& p, bool dark) {
  Bytes seen(p.pixels.size());
  int count = 0;
  std::vector<std::pair<std::int32_t, std::int32_t>> open;
  const auto visit = [&](std::int32_t x, std::int32_t y) {
    if (x < 0 || y < 0 || x >= p.width || y >= p.height || p.at(x, y) != dark) return false;
    auto& mark = seen[static_cast<std::size_t>(y * p.width + x)];
    if (mark) return false;
    mark = 1;
    open.emplace_back(x, y);
    return true;
  };
  for (std::int32_t y = 0; y < p.height; ++y) {
    for (std::int32_t x = 0; x < p.width; ++x) {
      if (!visit(x, y)) continue;
      ++count;
      while (!open.empty()) {
        const auto [cx, cy] = open.back();
        open.pop_back();
        for (int dy = -1; dy <= 1; ++dy) {
          for (int dx = -1; dx <= 1; ++dx) {
            if (dark || dx == 0 || dy == 0) visit(cx + dx, cy + dy);
          }
        }
      }
    }
  }
  return count;
}

std::vector<Bytes> runRows(const Picture& p) {
  std::vector<Bytes> rows;
  for (std::int32_t y = 0; y < p.height; ++y) {
    Runs runs;
    for (std::int32_t x = 0; x < p.width; ++x) {
      if (!p.at(x, y)) continue;
      if (!p.at(x - 1, y)) runs.push_back(static_cast<std::uint32_t>(x));
      if (!p.at(x + 1, y)) runs.push_back(static_cast<std::uint32_t>(x));
    }
    runs.insert(runs.end(), {RunEnd, 0});
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(runs.data());
    rows.emplace_back(bytes, bytes + runs.size() * 4);
  }
  return rows;
}

Picture straight(const Picture& source, double degrees) {
  const auto lines =
      straightened(KxColorSpace::Bitonal, {source.width, {0, 0}, degrees * kDegree}, runRows(source));
  const auto width = static_cast<std::int32_t>(std::ceil(source.width / std::cos(degrees * kDegree))) + 1;
  Picture out(width, static_cast<std::int32_t>(lines.size()));
  for (std::size_t y = 0; y < lines.size(); ++y) {
    std::size_t count = 0;
    const auto* runs = reinterpret_cast<const std::uint32_t*>(lines[y].data());
    EXPECT_TRUE(areValidRuns(runs, width, &count)) << "line " << y;
    eachRun(runs, width, [&](std::uint32_t first, std::uint32_t last) {
      for (std::uint32_t x = first; x <= last; ++x)
        out.set(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y));
    });
  }
  return out;
}

/// Lines of one pixel in all directions, in the middle of a picture, well apart; 41 in all.
Picture drawing() {
  Picture p(1400, 1400);
  for (int i = 0; i < 12; ++i) {
    const double angle = (i * 15 + 0.5) * kDegree, dx = 90 * std::cos(angle), dy = 90 * std::sin(angle);
    const double x = 500 + i % 4 * 130, y = 400 + i / 4 * 110;
    p.line(x, y, x + dx * 0.5, y + dy * 0.5);
  }
  for (int i = 0; i < 8; ++i) p.line(480, 720 + i * 9, 900, 720 + i * 9);    // along
  for (int i = 0; i < 8; ++i) p.line(480 + i * 9, 800, 480 + i * 9, 1000);   // across
  for (int i = 0; i < 4; ++i) p.line(570 + i * 30, 800, 670 + i * 30, 900);  // diagonals
  for (int i = 0; i < 4; ++i) p.line(880 + i * 30, 800, 780 + i * 30, 900);  // and the others
  for (int i = 0; i < 4; ++i) p.set(620 + i * 40, 980);                      // single pixels
  for (int i = 0; i < 720; ++i) {                                            // a circle
    p.set(static_cast<std::int32_t>(std::lround(860 + 40 * std::cos(i * kDegree / 2))),
          static_cast<std::int32_t>(std::lround(960 + 40 * std::sin(i * kDegree / 2))));
  }
  return p;
}

TEST(RunRotator, ThinLinesStayWhole) {
  const Picture source = drawing();
  const int lines = components(source, true);
  ASSERT_EQ(lines, 41);
  for (const double degrees : {3.0, -3.0, 0.06, -0.3, 1.0, -1.7, 5.0, -5.0, 14.0, -22.0, 30.0, -30.0}) {
    const Picture out = straight(source, degrees);
    EXPECT_EQ(components(out, true), lines) << degrees;
    EXPECT_LT(static_cast<double>(out.dark()), 1.5 * static_cast<double>(source.dark())) << degrees;
  }
}

TEST(RunRotator, AreasStayFullAndKeepTheirShape) {
  Picture source(900, 900);
  for (int y = 300; y < 600; ++y) {
    for (int x = 320; x < 580; ++x) source.set(x, y);
  }
  for (const double degrees : {3.0, -3.0, 0.4, -11.0, 30.0}) {
    SCOPED_TRACE(degrees);
    const Picture out = straight(source, degrees);
    EXPECT_EQ(components(out, false), 1);
    const PlainTurn plain({source.width, {0, 0}, degrees * kDegree});
    for (std::int32_t y = 0; y < out.height; ++y) {
      for (std::int32_t x = 0; x < out.width; ++x) {
        const tagRPOINT p = plain.sourceOf(x, y);
        const double outside = std::max({320 - p.x, p.x - 579, 300 - p.y, p.y - 599});
        if (std::abs(outside - 0.5) < 0.75) continue;  // at the edge
        ASSERT_EQ(out.at(x, y), outside < 0) << x << ", " << y;
      }
    }
  }
}

TEST(RunRotator, SparseAndFullLinesOfAnyWidth) {
  for (const std::int32_t width : {1, 2, 63, 64, 65, 129}) {
    Picture full(width, 90);
    std::fill(full.pixels.begin(), full.pixels.end(), std::uint8_t{1});
    for (const double degrees : {4.0, -4.0}) {
      const Picture out = straight(full, degrees), blank = straight(Picture(width, 90), degrees);
      EXPECT_EQ(blank.dark(), 0);
      EXPECT_EQ(components(out, true), 1) << width;
      // A narrow strip leaves its line on the way down.
      if (width < 60) continue;
      EXPECT_NEAR(static_cast<double>(out.dark()), width * (90.0 - width * std::sin(4 * kDegree)), width * 10)
          << width;
    }
  }
}

}  // namespace
}  // namespace quillbay::test
