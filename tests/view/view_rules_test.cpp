/// The rules of a view that need no window.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "view/key_scroll.h"
#include "view/view_transform.h"
#include "view/zoom_history.h"

namespace quillbay::test {
namespace {

constexpr KxSize kClient{500, 301};
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(ViewTransform, RefusesWhatIsNoView) {
  struct Case {
    const char* what;
    CRTfm tfm;
    KxSize client;
    bool allowed;
  };
  const Case cases[] = {
      {"the base transform", view::baseTransform(), kClient, true},
      {"y pointing down", {1, 1, 0, 0, 0}, kClient, false},
      {"mirrored", {-1, -1, 0, 0, 0}, kClient, false},
      {"no scale", {0, -1, 0, 0, 0}, kClient, false},
      {"rotated", {2, -2, 0.7, 1000, -300}, kClient, true},
      {"not a number", {kNan, -1, 0, 0, 0}, kClient, false},
      {"offset not a number", {1, -1, 0, kNan, 0}, kClient, false},
      {"infinitely large", {kInfinity, -kInfinity, 0, 0, 0}, kClient, false},
      {"0.001 in one direction will do", {5e5, -1e6, 0, 0, 0}, kClient, true},
      {"smaller than 0.001 in both", {5.1e5, -5.1e5, 0, 0, 0}, kClient, false},
      {"a client without size", view::baseTransform(), {0, 0}, false},
      {"up to 1e11", {1, -1, 0, -9.9e10, 0}, kClient, true},
      {"beyond 1e11", {1, -1, 0, -1.01e11, 0}, kClient, false},
      {"so small that it shows more than 1e11", {4e-9, -4e-9, 0, 0, 0}, kClient, false},
  };
  for (const Case& c : cases) EXPECT_EQ(view::isAllowed(c.tfm, c.client), c.allowed) << c.what;
}

TEST(ViewTransform, RectanglesGoToTheirPlace) {
  struct Case {
    const char* what;
    CRTfm tfm;
    double scale;
    tagRPOINT centre;  // what the client's centre shows
  };
  const CRTfm start{3, -3, 0, 40, 70};
  const CRTfm turned{3, -3, 0.5, 40, 70};
  const KxSize client{210, 110};
  const Case cases[] = {
      {"wide rectangle", view::zoomedToRectangle(start, {10, 0, 115, 20}, client), 2, {62.5, 10}},
      {"high rectangle", view::zoomedToRectangle(start, {0, 0, 10, 440}, client), 0.25, {5, 220}},
      {"corners the other way round", view::zoomedToRectangle(start, {115, 20, 10, 0}, client), 2, {62.5, 10}},
      {"extents inside a margin of 5", view::zoomedToExtents(start, {0, 0, 100, 10}, client), 2, {50, 5}},
      {"extents without height", view::zoomedToExtents(start, {0, 7, 100, 7.0008}, client), 1, {50, 7.0004}},
      {"a point", view::zoomedToExtents(start, {5, 7, 5, 7}, client), 1, {5, 7}},
      {"rotation is kept", view::zoomedToExtents(turned, {0, 0, 100, 10}, client), 2, {50, 5}},
      {"actual size", view::actualSize({3, -3, 0, 0, 0}, client), 1, {35, -55 / 3.0}},
      {"factor", view::zoomedTo(turned, -4, {8, 9}, client), 4, {8, 9}},
  };
  for (const Case& c : cases) {
    EXPECT_NEAR(c.tfm.scaleX, c.scale, 1e-12) << c.what;
    EXPECT_NEAR(c.tfm.scaleY, -c.scale, 1e-12) << c.what;
    const tagRPOINT shown = view::toDocument(c.tfm, view::clientCentre(client));
    EXPECT_NEAR(shown.x, c.centre.x, 1e-9) << c.what;
    EXPECT_NEAR(shown.y, c.centre.y, 1e-9) << c.what;
  }
  EXPECT_EQ(view::zoomedToExtents(turned, {0, 0, 100, 10}, client).angle, 0.5);
  EXPECT_FALSE(view::isAllowed(view::zoomedToRectangle(start, {5, 5, 5, 5}, client), client));
  EXPECT_EQ(view::clientCentre({301, 200}), (tagRPOINT{150.5, 100}));
}

TEST(ViewTransform, TheWheelKeepsThePointUnderThePointer) {
  for (const double angle : {0.0, 1.1}) {
    const CRTfm start{2, -2, angle, -40, 900};
    const tagRPOINT pointer{120, 33};
    const tagRPOINT before = view::toDocument(start, pointer);
    const CRTfm forward = view::wheeled(start, true, 0.3, pointer);
    EXPECT_NEAR(forward.scaleX, 0.6, 1e-12);
    const CRTfm back = view::wheeled(start, false, 0.3, pointer);
    EXPECT_NEAR(back.scaleX, 2 / 0.3, 1e-12);
    for (const CRTfm& t : {forward, back}) {
      EXPECT_NEAR(view::toDocument(t, pointer).x, before.x, 1e-9);
      EXPECT_NEAR(view::toDocument(t, pointer).y, before.y, 1e-9);
    }
  }
}

TEST(ViewTransform, VisibleAreaPointsUp) {
  const CRTfm t{2, -2, 0, 100, 50};
  EXPECT_EQ(view::toDocument(t, tagRRECT{0, 0, 200, 100}), (tagRRECT{-50, -25, 50, 25}));
  EXPECT_EQ(view::pixelCover(view::toClient(t, {0, 0, 10.2, 10.2}), 1, kClient), (KxRect{99, 28, 122, 51}));
  EXPECT_EQ(view::pixelCover({-1e12, 5, 1e12, 6}, 1, kClient), (KxRect{0, 4, 500, 7}));
}

TEST(ZoomHistory, BackAndForward) {
  const auto at = [](double scale) { return CRTfm{scale, -scale, 0, 0, 0}; };
  ZoomHistory h;
  EXPECT_FALSE(h.back());
  h.remember(at(1));  // zoomed to 2
  h.remember(at(2));  // zoomed to 3
  EXPECT_EQ(h.back(), at(2));
  h.wentBack(at(3));
  EXPECT_EQ(h.back(), at(1));
  EXPECT_EQ(h.forward(), at(3));
  h.wentForward(at(2));
  EXPECT_EQ(h.back(), at(2));
  EXPECT_FALSE(h.forward());
  h.wentBack(at(3));
  h.remember(at(2));  // another way from here
  EXPECT_FALSE(h.forward());
  h.remember(at(2));  // once more: going back would lead nowhere
  h.wentBack(at(4));
  EXPECT_EQ(h.back(), at(1));
}

TEST(KeyScroll, StepsByKey) {
  struct Case {
    std::vector<int> keys;
    std::optional<KxPoint> by;
  };
  constexpr int kPad = kKeyPad0;
  const KxSize client{500, 380};  // one per cent: 5 and 3 pixels
  const Case cases[] = {
      {{kKeyPageUp}, KxPoint{0, -380}},
      {{kKeyPageDown}, KxPoint{0, 380}},
      {{kKeyLeft, kPad + 4}, KxPoint{-5, 0}},
      {{kKeyRight, kPad + 6}, KxPoint{5, 0}},
      {{kKeyUp, kPad + 8}, KxPoint{0, -3}},
      {{kKeyDown, kPad + 2}, KxPoint{0, 3}},
      {{kPad + 7}, KxPoint{-5, -3}},
      {{kPad + 9}, KxPoint{5, -3}},
      {{kPad + 1}, KxPoint{-5, 3}},
      {{kPad + 3}, KxPoint{5, 3}},
      {{kPad, kPad + 5, kKeyHome, 'A', 0}, {}},
  };
  for (const Case& c : cases) {
    for (const int key : c.keys) EXPECT_EQ(view::keyScroll(key, client, 1.0), c.by) << key;
  }
  EXPECT_EQ(view::keyScroll(kKeyRight, {50, 50}, 1.0), (KxPoint{1, 0})) << "at least a pixel";
  EXPECT_EQ(view::keyScroll(kKeyRight, {500, 50}, 10.0), (KxPoint{50, 0}));
  for (const double odd : {0.0, -5.0, kNan}) EXPECT_EQ(view::keyScroll(kKeyDown, client, odd), (KxPoint{0, 1}));
}

TEST(AutoScroll, GrowsWithTheLogarithmOfTheDistance) {
  struct Case {
    KxPoint pointer, step;
  };
  const Case cases[] = {
      {{0, 0}, {0, 0}},       {{99, 49}, {0, 0}},  {{100, 10}, {1, 0}},  // the first pixel outside: distance 1
      {{101, 10}, {1, 0}},    {{102, 10}, {2, 0}},                       // ln 2 = 0.69, ln 3 = 1.1
      {{-1, 10}, {-1, 0}},    {{-2, 10}, {-1, 0}}, {{-3, 10}, {-2, 0}},  // and the same to the left
      {{50, 57}, {0, 3}},     {{50, -8}, {0, -3}},                       // ln 8 = 2.08
      {{248, -149}, {6, -6}},                                            // ln 149 = 5.004
      {{247, -148}, {5, -5}},                                            // ln 148 = 4.997
  };
  for (const Case& c : cases)
    EXPECT_EQ(view::autoScroll(c.pointer, {100, 50}), c.step) << c.pointer.x << " " << c.pointer.y;
}

}  // namespace
}  // namespace quillbay::test
