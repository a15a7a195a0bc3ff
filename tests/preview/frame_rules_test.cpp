/// Frames: how they are stored, grasped, dragged and changed by keys; where everything lies; rulers' marks.
#include "preview/frame_rules.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "drawing/ruler_marks.h"
#include "params/scan_key.h"
#include "preview/preview_places.h"

namespace quillbay {
namespace {

struct Span {
  const char* what;
  double from, to, low, high;  // drawn, stored
};
/// Across an area from 100 to 700, at least 110.
constexpr Span kAcross[] = {{"inside", 200, 400, 200, 400},
                            {"reversed", 400, 200, 200, 400},
                            {"tiny", 300, 301, 300, 410},
                            {"tiny at the end", 690, 695, 590, 700},
                            {"just the least", 300, 410, 300, 410},
                            {"before", -500, -300, 100, 300},
                            {"after", 900, 1000, 590, 700},
                            {"over the start", 50, 250, 100, 300},
                            {"over the end", 600, 800, 500, 700},
                            {"larger", 0, 900, 100, 700},
                            {"larger, reversed", 900, 0, 100, 700},
                            {"a point at the start", 100, 100, 100, 210},
                            {"a point at the end", 700, 700, 590, 700}};
/// Down the same area, from 50 to 450, at least 55.
constexpr Span kDown[] = {{"inside", 100, 200, 100, 200},
                          {"reversed", 200, 100, 100, 200},
                          {"tiny", 200, 201, 200, 255},
                          {"above", -90, -80, 50, 105},
                          {"below", 900, 950, 395, 450},
                          {"over the top", 20, 120, 50, 150},
                          {"over the bottom", 400, 500, 350, 450},
                          {"larger", -10, 900, 50, 450},
                          {"a point at the bottom", 450, 450, 395, 450}};

TEST(FrameRules, StoredFramesAreLargeEnoughAndInTheArea) {
  const tagRRECT area{100, 50, 700, 450};
  for (const Span& x : kAcross) {
    for (const Span& y : kDown) {
      EXPECT_EQ(settledFrame({x.from, y.from, x.to, y.to}, area, 110, 55), (tagRRECT{x.low, y.low, x.high, y.high}))
          << x.what << "; " << y.what;
    }
  }
  EXPECT_EQ(settledFrame({10, 10, 20, 20}, {0, 0, 80, 40}, 110, 55), (tagRRECT{0, 0, 80, 40})) << "a narrow bed";
  const tagRRECT flat = settledFrame({10, 0, 20, 0}, {0, 0, 80, 0.5}, 110, 55);
  EXPECT_DOUBLE_EQ(flat.height(), 1) << "never lower than 1 mm";
  EXPECT_DOUBLE_EQ(flat.bottom, 0.5);
  EXPECT_EQ(settledFrame({0, 0, 150, 99.9995}, {0, 0, 300, 100}, 110, 55), (tagRRECT{0, 0, 150, 100}));
}

TEST(FrameRules, EveryHandleOfBothFramesIsFound) {
  const KxRect frame{100, 50, 201, 151};
  struct Case {
    int x, y, zone;
  };
  constexpr Case kCases[] = {
      {98, 48, kTopLeft},      {97, 47, kTopLeft},   {96, 47, kNoZone},   {97, 46, kNoZone},
      {102, 49, kTopLeft},     {103, 49, kNoZone},   {150, 47, kTop},     {152, 49, kTop},
      {153, 49, kNoZone},      {203, 47, kTopRight}, {204, 47, kNoZone},  {201, 52, kTopRight},
      {201, 53, kNoZone},      {203, 100, kRight},   {203, 103, kNoZone}, {203, 153, kBottomRight},
      {203, 154, kNoZone},     {150, 153, kBottom},  {146, 153, kNoZone}, {98, 153, kBottomLeft},
      {97, 148, kBottomLeft},  {97, 147, kNoZone},   {97, 100, kLeft},    {97, 97, kLeft},
      {97, 96, kNoZone},       {100, 50, kWhole},    {101, 51, kWhole},   {200, 150, kWhole},
      {200, 151, kBottomRight}};
  const KxRect far{1000, 1000, 1101, 1101};
  for (const Case& c : kCases) {
    EXPECT_EQ(zoneAt(frame, &far, c.x, c.y), c.zone) << c.x << ", " << c.y;
    const int own = c.zone == kNoZone ? kNoZone : c.zone + kFragmentZones;
    EXPECT_EQ(zoneAt(far, &frame, c.x, c.y), own) << c.x << ", " << c.y;
    EXPECT_EQ(zoneAt(frame, &frame, c.x, c.y), c.zone) << "the preview frame wins at " << c.x << ", " << c.y;
    EXPECT_EQ(zoneAt(far, nullptr, c.x, c.y), kNoZone);
  }
}

TEST(FrameRules, EdgesFollowThePointerAndKeys) {
  const tagRRECT f{10, 20, 110, 220};
  const tagRPOINT start{60, 70}, at{65, 90};
  const tagRRECT expected[] = {{65, 90, 110, 220}, {10, 90, 110, 220}, {10, 90, 65, 220},
                               {10, 20, 65, 220},  {10, 20, 65, 90},   {10, 20, 110, 90},
                               {65, 20, 110, 90},  {65, 20, 110, 220}, {15, 40, 115, 240}};
  for (int zone = kTopLeft; zone <= kWhole; ++zone) {
    EXPECT_EQ(dragged(f, zone, start, at), expected[zone]) << zone;
  }
  EXPECT_EQ(centredFrame(f, {0, 0}), (tagRRECT{-50, -100, 50, 100}));
  EXPECT_EQ(stepped(f, FrameStep::Left, false, false), (tagRRECT{9, 20, 109, 220}));
  EXPECT_EQ(stepped(f, FrameStep::Down, true, false), (tagRRECT{10, 30, 110, 230}));
  EXPECT_EQ(stepped(f, FrameStep::Right, false, true), (tagRRECT{10, 20, 111, 220}));
  EXPECT_EQ(stepped(f, FrameStep::Up, true, true), (tagRRECT{10, 20, 110, 210}));
  EXPECT_EQ(stepped({10, 20, 15, 25}, FrameStep::Left, true, true), (tagRRECT{10, 20, 10, 25})) << "turned over";
  using enum ActiveFrame;
  EXPECT_EQ(nextFrame(Preview, true, true, true), Fragment);
  EXPECT_EQ(nextFrame(Preview, false, true, true), Sheet);
  EXPECT_EQ(nextFrame(Fragment, true, false, true), std::nullopt) << "the last one: the focus leaves";
  EXPECT_EQ(nextFrame(Sheet, true, true, true), std::nullopt);
  EXPECT_EQ(nextFrame(Sheet, false, true, false), Preview);
  EXPECT_EQ(nextFrame(Fragment, true, true, false), Preview);
  EXPECT_EQ(nextFrame(Preview, true, true, false), std::nullopt);
}

TEST(FrameRules, DashesRunThroughAllPhasesOfAClosedOutline) {
  std::set<int> phases;
  int phase = 1;
  for (int i = 0; i < 51; ++i, phase = nextPhase(phase)) phases.insert(phase);
  EXPECT_EQ(phase, 1);
  EXPECT_EQ(phases.size(), 51U);
  EXPECT_EQ(*phases.rbegin(), 51);
  const auto line = dashOutline({10, 20, 111, 71}, 7);
  EXPECT_EQ(line.front(), (KxPoint{17, 20}));
  EXPECT_EQ(line.back(), line.front());
  EXPECT_EQ(line[2], (KxPoint{110, 70}));
  EXPECT_EQ(dashOutline({10, 20, 15, 25}, 51).front(), (KxPoint{14, 20})) << "a narrow frame";
}

TEST(PreviewPlaces, TheAreaFillsTheControl) {
  const KxRect client{20, 10, 434, 224};  // 400 x 200 without the insets
  const tagRRECT area{100, 50, 300, 450};
  for (int type = kAreaAuto; type <= kAreaPaper; ++type) {
    for (const bool portrait : {false, true}) {
      const bool byHeight = type >= kAreaCustom && !portrait;
      const CRTfm t = preview::fittedView({9, 9, 0, 1, 1}, type, portrait, client, area);
      EXPECT_DOUBLE_EQ(t.scaleX, byHeight ? 0.5 : 2) << type << portrait;
      EXPECT_EQ(t.scaleX, t.scaleY);
      EXPECT_EQ(preview::toPixels(t, area).left, 27) << "at the inset";
      EXPECT_EQ(preview::toPixels(t, area).top, 17);
    }
  }
  EXPECT_EQ(preview::fitFactor(kAreaCustom, false, client, {0, 0, 100, 0}), 1);
  EXPECT_EQ(preview::fitFactor(kAreaAuto, false, client, {5, 0, 5.0005, 9}), 1);
  const CRTfm before{3, 3, 0, 5, 6};
  for (const KxRect& none : {KxRect{0, 0, 14, 100}, KxRect{0, 0, 100, 14}, KxRect{}, KxRect{50, 50, 20, 20}}) {
    EXPECT_EQ(preview::fittedView(before, 0, false, none, area), before);
  }
  ScanValues v;
  v.rcScan = area;
  EXPECT_EQ(preview::shownArea(v), (tagRRECT{0, 0, 900, 900}));
  v.rectValid = 1;
  EXPECT_EQ(preview::shownArea(v), area);
}

TEST(PreviewPlaces, RoundingScrollingAndRulers) {
  const CRTfm plain{1, 1, 0, 0, 0};
  EXPECT_EQ(preview::toPixels(plain, {0.5, 1.49, 2.5, 3.49}), (KxRect{1, 1, 4, 4}));
  EXPECT_EQ(preview::toPixels(plain, {-1.5, -0.5, -0.51, 0}), (KxRect{-1, 0, 0, 1}));
  EXPECT_LT(preview::toPixels({1e9, 1e9, 0, 0, 0}, {0, 0, 900, 900}).right, 1 << 23) << "no overflow";

  EXPECT_EQ(preview::scrollBarOf(100, 414, 4), (preview::ScrollBar{false, 400, 400}));
  EXPECT_EQ(preview::scrollBarOf(103.5, 414, 4), (preview::ScrollBar{true, 414, 400}));
  EXPECT_EQ(preview::scrollBarOf(103.4985, 414, 4), (preview::ScrollBar{false, 414, 400}));
  EXPECT_EQ(preview::scrollBarOf(500, 0, 2), (preview::ScrollBar{true, 1000, 0}));

  const KxRect client{0, 0, 200, 100};
  EXPECT_EQ(preview::revealOffset({0, 10, 9, 90}, client), 0);
  EXPECT_EQ(preview::revealOffset({0, -30, 9, 20}, client), 30);
  EXPECT_EQ(preview::revealOffset({0, 90, 9, 130}, client), -30);
  EXPECT_EQ(preview::revealOffset({0, -30, 9, 100}, client), 0) << "higher than the client: its lower edge wins";

  const auto at = [](const CRDirectTfm& t, double x) { return t.scaleX * x + t.offsetX; };
  EXPECT_DOUBLE_EQ(at(preview::rulerTransform(false, 900, 25.4), 254), 10);
  EXPECT_DOUBLE_EQ(at(preview::rulerTransform(true, 900, 1), 450), 0);
  EXPECT_DOUBLE_EQ(at(preview::rulerTransform(true, 900, 1), 100), -350);
  EXPECT_EQ(preview::rulerTransform(true, 900, 0).scaleX, 1) << "no unit";
  const CRDirectTfm t = preview::rasterTransform({10, 0, 210, 400}, {100, 50, 200, 150});
  EXPECT_EQ(t.map({10, 0, 210, 400}), (tagRRECT{100, 50, 200, 150}));
  EXPECT_EQ(preview::rasterTransform({}, {0, 0, 9, 9}).scaleX, 0);
}

TEST(PreviewPlaces, EveryParameterHasItsReaction) {
  const std::set<std::string> silent{key::RcCustomScan,   key::Dir,     key::Mask,      key::CounterFormat,
                                     key::UseAutoCounter, key::Counter, key::MultiPage, key::FileFate};
  for (const AnyScanKey& any : allScanKeys()) {
    const std::string name = nameOf(any);
    const preview::Reaction r = preview::reactionTo(name.c_str());
    preview::Reaction expected;
    if (name == key::RcPreview) {
      expected.revealsFrame = true;
    } else if (name == key::UpdateRect) {
      expected.hidesFragment = expected.updatesBars = true;
    } else if (!silent.contains(name)) {
      expected.takesFragment = expected.endsModes = true;
      expected.renewsRulers = name == key::Units || name == key::Center;
      expected.fits = name != key::CustomScanValid && name != key::BoundDetectDirty;
    }
    EXPECT_EQ(r, expected) << name;
  }
  EXPECT_EQ(preview::reactionTo("M_RCPREVIEW"), preview::reactionTo(key::RcPreview));
}

TEST(RulerMarks, NumbersStandAtNiceDistances) {
  struct Case {
    double pixelsPerUnit;
    RulerSteps expected;
  };
  for (const Case& c : {Case{1, {50, 10, 0}}, Case{10, {5, 10, 0}}, Case{0.4, {200, 10, 0}},
                        Case{100, {0.5, 10, 1}}, Case{60, {1, 10, 0}}, Case{25, {2, 10, 0}},
                        Case{1e4, {0.005, 10, 3}}, Case{0, {}}, Case{1e30, {}}, Case{-1, {}}}) {
    const RulerSteps steps = rulerSteps(c.pixelsPerUnit, 50, 5);
    EXPECT_NEAR(steps.number, c.expected.number, 1e-12) << c.pixelsPerUnit;
    EXPECT_EQ(steps.parts, c.expected.parts) << c.pixelsPerUnit;
    EXPECT_EQ(steps.decimals, c.expected.decimals) << c.pixelsPerUnit;
  }
  EXPECT_EQ(rulerSteps(1, 50, 11).parts, 1) << "neither 10 nor 5 parts have room";
  // From the middle, to both sides.
  const auto marks = rulerMarks({2, 200}, {50, 2, 0}, 0, 301);
  ASSERT_EQ(marks.size(), 7U);
  EXPECT_EQ(marks.front().pixel, 0);
  EXPECT_EQ(marks.front().value, -100);
  EXPECT_EQ(marks[1].kind, RulerMark::Kind::Half);
  EXPECT_EQ(marks[4].value, 0);
  EXPECT_EQ(marks[4].kind, RulerMark::Kind::Number);
  EXPECT_TRUE(rulerMarks({1, 0}, {}, 0, 100).empty());
}

}  // namespace
}  // namespace quillbay
