/// The geometry of shapes, also far from the origin.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/poly_vector.h"
#include "platform/shape_math.h"

namespace quillbay::test {
namespace {

constexpr double kPi = std::numbers::pi;

TEST(ShapeMath, AreasKeepTheirDigitsFarFromTheOrigin) {
  struct Case {
    const char* what;
    std::vector<CRPoint> points;
    bool closed;
    double area, perimeter;
  };
  const Case cases[] = {
      {"nothing", {}, true, 0, 0},
      {"a point", {{3, 4}}, true, 0, 0},
      {"a segment, there and back", {{0, 0}, {3, 4}}, true, 0, 10},
      {"anticlockwise", {{0, 0}, {4, 0}, {4, 3}}, true, 6, 12},
      {"clockwise", {{0, 0}, {4, 3}, {4, 0}}, true, -6, 12},
      {"open: as if it were closed, without the leg", {{0, 0}, {4, 0}, {4, 3}}, false, 6, 7},
      {"crossing itself: with signs", {{0, 0}, {2, 2}, {2, 0}, {0, 2}}, true, 0, 4 + 4 * std::numbers::sqrt2},
  };
  for (const double away : {0.0, 7.5e9, -1e11}) {
    for (const Case& c : cases) {
      CRPolygon p{c.points, c.closed};
      for (CRPoint& at : p.points) at = {at.x + away, at.y - away};
      EXPECT_NEAR(shape::signedArea(p), c.area, 1e-9) << c.what << ' ' << away;
      EXPECT_NEAR(shape::perimeter(p), c.perimeter, 1e-9) << c.what << ' ' << away;
    }
  }
}

TEST(ShapeMath, ACircleNeedsThreePointsThatAreNotOnALine) {
  const auto circle = shape::circleThrough({1e6 + 5, 2}, {1e6, 7}, {1e6 - 5, 2});
  ASSERT_TRUE(circle);
  EXPECT_NEAR(circle->center.x, 1e6, 1e-6);
  EXPECT_NEAR(circle->center.y, 2, 1e-6);
  EXPECT_NEAR(circle->radius, 5, 1e-6);
  const CRPoint a{0, 0}, b{0.1, 0.3}, c{0.2, 0.6};
  EXPECT_FALSE(shape::circleThrough(a, b, c));
  EXPECT_FALSE(shape::circleThrough(a, a, b));
  EXPECT_FALSE(shape::circleThrough({-1e200, 0}, {0, 1e-200}, {1e200, 0}));
}

TEST(ShapeMath, AFrameLiesOnTheSideOfItsThirdPoint) {
  struct Case {
    CRPoint from, to, third;
    CRPoint origin;
    double width, height, angle;
  };
  const Case cases[] = {
      {{1, 1}, {5, 1}, {9, 4}, {1, 1}, 4, 3, 0},
      {{1, 1}, {5, 1}, {-9, -1}, {1, -1}, 4, 2, 0},
      {{5, 1}, {1, 1}, {2, 4}, {5, 4}, 4, 3, kPi},
      {{0, 0}, {0, 2}, {-3, 7}, {0, 0}, 2, 3, kPi / 2},
  };
  for (const Case& c : cases) {
    const auto f = shape::frameOver(c.from, c.to, c.third);
    ASSERT_TRUE(f);
    EXPECT_NEAR(f->origin.x, c.origin.x, 1e-12);
    EXPECT_NEAR(f->origin.y, c.origin.y, 1e-12);
    EXPECT_NEAR(f->width, c.width, 1e-12);
    EXPECT_NEAR(f->height, c.height, 1e-12);
    EXPECT_NEAR(f->angle, c.angle, 1e-12);
  }
  EXPECT_FALSE(shape::frameOver({1, 1}, {1, 1}, {2, 2}));
}

TEST(ShapeMath, DirectionsAreHeldToTheNearest45Degrees) {
  const CRPoint o{10, -20};
  for (int degrees = 0; degrees < 360; degrees += 7) {
    const double angle = degrees * kPi / 180;
    const CRPoint held = shape::heldTo45(o, {o.x + 9 * std::cos(angle), o.y + 9 * std::sin(angle)});
    const double nearest = std::round(degrees / 45.0) * 45 * kPi / 180;
    const double length = 9 * std::cos(angle - nearest);
    EXPECT_NEAR(held.x, o.x + length * std::cos(nearest), 1e-12) << degrees;
    EXPECT_NEAR(held.y, o.y + length * std::sin(nearest), 1e-12) << degrees;
  }
  EXPECT_EQ(shape::heldTo45(o, o), o);
}

TEST(ShapeMath, ALineIsCutToARectangle) {
  struct Case {
    CRLine line;
    bool touches;
    CRLine part;
  };
  const CRRect area{0, 0, 10, 4};
  const Case cases[] = {
      {{{2, 1}, {3, 2}}, true, {{2, 1}, {3, 2}}},
      {{{-5, 2}, {15, 2}}, true, {{0, 2}, {10, 2}}},
      {{{3, 9}, {3, -1}}, true, {{3, 4}, {3, 0}}},
      {{{-4, 0}, {4, 8}}, true, {{0, 4}, {0, 4}}},
      {{{-5, 1}, {3, 9}}, false, {}},
      {{{11, 1}, {12, 2}}, false, {}},
      {{{-1, 5}, {11, 5}}, false, {}},
      {{{5, 2}, {5, 2}}, true, {{5, 2}, {5, 2}}},
  };
  for (const Case& c : cases) {
    const auto part = shape::clipped(c.line, area);
    ASSERT_EQ(part.has_value(), c.touches) << c.line.from.x << ' ' << c.line.from.y;
    if (part) {
      EXPECT_EQ(*part, c.part);
    }
  }
}

TEST(PolyVector, FallsApartIntoElementsInOrder) {
  CRPolyVector shape, work;
  const CRPoint triangle[] = {{0, 0}, {1, 0}, {0, 1}};
  work.addPoint({9, 9});  // what it held goes
  shape.addPoint({5, 5});
  shape.addPath(triangle, true);
  shape.addPath(std::span(triangle).first(1), true);
  shape.addArc({{1, 2}, 3, 4, 5});
  shape.addPath(std::span(triangle).first(2), false);
  shape.addCircle({{6, 7}, 8});
  shape.breakInto(&work);
  using Type = CRPolyVector::Type;
  std::vector<Type> types;
  for (const auto& e : work.elements()) types.push_back(e.type);
  EXPECT_EQ(types, (std::vector<Type>{Type::Point, Type::Line, Type::Line, Type::Line, Type::Arc, Type::Line,
                                      Type::Circle}));
  EXPECT_EQ(work.elements()[3].from, triangle[2]);
  EXPECT_EQ(work.elements()[3].to, triangle[0]);
  EXPECT_EQ(work.elements()[4].arc(), (CRArc{{1, 2}, 3, 4, 5}));
}

}  // namespace
}  // namespace quillbay::test
