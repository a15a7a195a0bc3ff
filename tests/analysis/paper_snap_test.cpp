#include "analysis/paper_snap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "analysis/sheet_model.h"
#include "analysis/sheet_outline.h"

namespace quillbay {
namespace {

const std::vector<PaperRecord> kPapers{{"A4", {210, 297}}, {"A3", {297, 420}}, {"Letter", {215.9, 279.4}}};

void expectNear(const tagRRECT& a, const tagRRECT& b) {
  EXPECT_NEAR(a.left, b.left, 1e-9);
  EXPECT_NEAR(a.top, b.top, 1e-9);
  EXPECT_NEAR(a.right, b.right, 1e-9);
  EXPECT_NEAR(a.bottom, b.bottom, 1e-9);
}

TEST(PaperSnap, TheSmallestPaperThatHoldsTheFoundSize) {
  struct Case {
    const char* why;
    tagRSIZE found;
    bool widthOnly;
    std::optional<tagRSIZE> paper;
  };
  const Case cases[] = {
      {"as it is", {210, 297}, false, tagRSIZE{210, 297}},
      {"turned", {296, 209}, false, tagRSIZE{297, 210}},
      {"a millimetre more", {211, 298}, false, tagRSIZE{210, 297}},
      {"more than that", {211.1, 298}, false, tagRSIZE{297, 420}},
      {"the smaller area of two", {205, 275}, false, tagRSIZE{215.9, 279.4}},
      {"nothing is large enough", {300, 430}, false, std::nullopt},
      {"one side is too long", {100, 430}, false, std::nullopt},
      {"the width alone: any length", {212, 5000}, true, tagRSIZE{215.9, 279.4}},
      {"the width alone: landscape, too", {278, 1}, true, tagRSIZE{279.4, 215.9}},
      {"the width alone: too wide", {421.1, 1}, true, std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(smallestPaper(kPapers, c.found, c.widthOnly), c.paper) << c.why;
  EXPECT_EQ(smallestPaper({}, {1, 1}, false), std::nullopt);
}

TEST(PaperSnap, ThePaperLiesAboutTheFoundMiddleAndOnTheBed) {
  struct Case {
    const char* why;
    tagRRECT found;
    bool widthOnly;
    tagRRECT snapped;
  };
  const Case cases[] = {
      {"about the middle", {100, 3, 308, 299}, false, {99, 2.5, 309, 299.5}},
      {"beyond the left edge", {0, 0, 206, 297}, false, {0, 0, 210, 297}},
      {"beyond the upper edge", {100, 0, 310, 290}, false, {100, 0, 310, 297}},
      {"beyond the right edge", {694, 0, 900, 297}, false, {690, 0, 900, 297}},
      {"on the right edge", {690, 0, 900, 297}, false, {690, 0, 900, 297}},
      {"a length that is not looked at", {100, 0, 308, 5000}, true, {99, 0, 309, 5000}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    expectNear(snapToPaper(c.found, {210, 297}, 900, c.widthOnly), c.snapped);
  }
  // A paper wider than the bed passes its left edge: the right one counts.
  expectNear(snapToPaper({5, 0, 295, 420}, {297, 420}, 290, false), {-7, 0, 290, 420});
}

TEST(PaperSnap, APulledInTurnedSheetKeepsItsWidth) {
  expectNear(lengthenByMedia({100, 2, 310, 250}, 49, 0), {100, 0, 310, 299});
  for (const double degrees : {3.0, -3.0, 0.2}) {
    SCOPED_TRACE(degrees);
    const double angle = degrees * std::numbers::pi / 180, pulledIn = 60;
    const tagRRECT whole = boxAround({{400, 300}, 300, 400, angle});
    // What lies below the cut, moved to the top: one long side's upper corner is missing.
    const double reach = pulledIn * std::tan(std::abs(angle));
    tagRRECT seen{whole.left, 0, whole.right, whole.height() - pulledIn};
    (angle > 0 ? seen.left : seen.right) += angle > 0 ? reach : -reach;
    const tagRRECT area = lengthenByMedia(seen, pulledIn, angle);
    EXPECT_NEAR(sheetWidth(area.width(), area.height(), angle), 300, 1e-3);  // the model of a sheet is a near one
    EXPECT_NEAR(area.height(), whole.height(), 1e-9);
  }
}

}  // namespace
}  // namespace quillbay
