#include "pages/scan_area.h"

#include <gtest/gtest.h>

#include "pages/paper_list.h"
#include "pages/scan_lists.h"
#include "pages/settings_text.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

ScanValues bed(double width, std::int32_t type, std::int32_t center, const tagRRECT& area) {
  ScanValues v;
  v.bedWidth = width;
  v.scanType = type;
  v.center = center;
  v.rcScan = area;
  return v;
}

TEST(ScanArea, FieldsShowTheAreaOnTheBed) {
  struct Case {
    const char* why;
    std::int32_t type, center;
    tagRRECT area;
    AreaFields want;
  };
  const Case cases[] = {
      {"as it is", kAreaCustom, 0, {100, 20, 500, 317}, {400, 100, 20, 297}},
      {"wider than the bed", kAreaCustom, 0, {10, 0, 1010, 100}, {900, 0, 0, 100}},
      {"snaps to the bed", kAreaCustom, 0, {0, 0, 899.9995, 100}, {900, 0, 0, 100}},
      {"does not snap from farther away", kAreaCustom, 0, {0, 0, 899.99, 100}, {899.99, 0, 0, 100}},
      {"moved onto the bed", kAreaCustom, 0, {700, 0, 1000, 100}, {300, 600, 0, 100}},
      {"centred", kAreaCustom, 1, {0, 0, 400, 100}, {400, 250, 0, 100}},
      {"found areas keep their place", kAreaAuto, 1, {10, 0, 410, 100}, {400, 10, 0, 100}},
      {"found widths too", kAreaAutoWidth, 1, {10, 0, 410, 100}, {400, 10, 0, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const AreaFields got = fieldsOf(bed(900, c.type, c.center, c.area));
    EXPECT_NEAR(got.width, c.want.width, 1e-9);
    EXPECT_NEAR(got.offset, c.want.offset, 1e-9);
    EXPECT_NEAR(got.top, c.want.top, 1e-9);
    EXPECT_NEAR(got.length, c.want.length, 1e-9);
  }
}

TEST(ScanArea, EditedFieldsGiveAnAreaOnTheBed) {
  struct Case {
    const char* why;
    double bedWidth;
    std::int32_t center;
    AreaFields fields;
    tagRRECT want;
  };
  const Case cases[] = {
      {"as typed", 900, 0, {400, 100, 20, 297}, {100, 20, 500, 317}},
      {"at least the minimum width", 900, 0, {5, 100, 0, 50}, {100, 0, 210, 50}},
      {"a bed narrower than the minimum wins", 80, 0, {5, 0, 0, 50}, {0, 0, 80, 50}},
      {"no wider than the bed", 900, 0, {2000, 100, 0, 50}, {0, 0, 900, 50}},
      {"not past its right edge", 900, 0, {400, 800, 0, 50}, {500, 0, 900, 50}},
      {"centred", 900, 1, {400, 800, 0, 50}, {250, 0, 650, 50}},
      {"no negative top or length", 900, 0, {400, -3, -2, -1}, {0, 0, 400, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(areaOf(c.fields, bed(c.bedWidth, kAreaCustom, c.center, {})), c.want);
  }
}

TEST(ScanArea, PapersLieByTheirOrientation) {
  struct Case {
    const char* why;
    tagRSIZE paper;
    double bedWidth;
    std::int32_t wished, center;
    bool portrait;
    tagRRECT want;
  };
  const Case cases[] = {
      {"portrait, listed upright", {210, 297}, 900, 1, 0, true, {50, 5, 260, 302}},
      {"portrait, listed lying", {297, 210}, 900, 1, 0, true, {50, 5, 260, 302}},
      {"landscape", {210, 297}, 900, 0, 0, false, {50, 5, 347, 215}},
      {"centred", {210, 297}, 900, 1, 1, true, {345, 5, 555, 302}},
      {"only upright fits", {841, 1189}, 900, 0, 0, true, {50, 5, 891, 1194}},
      {"the bed is 0.9 mm short", {841, 1189}, 840.1, 1, 0, true, {0, 5, 840.1, 1194}},
      {"the bed is 1.1 mm short: neither way", {841, 1189}, 839.9, 0, 0, false, {0, 5, 839.9, 846}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ScanValues v = bed(c.bedWidth, kAreaPaper, c.center, {50, 5, 150, 105});
    EXPECT_EQ(usableOrientation(c.paper, c.wished != 0, c.bedWidth), c.portrait);
    v.portrait = c.portrait ? 1 : 0;
    EXPECT_EQ(paperArea(c.paper, v), c.want);
  }
}

TEST(ScanArea, WhatDetectionMakesOfBurstingAndCentring) {
  struct Case {
    const char* why;
    std::int32_t mask, type, centring;
    AutodetectEffect want;
    bool offered = true;
  };
  const Case cases[] = {
      {"off", 0, kAreaCustom, 0, {true, true, 1, 1}},
      {"off, to the end of the document", 0, kAreaFixedWidth, 0, {false, true, 0, 1}},
      {"off, automatic width", 0, kAreaAutoWidth, 0, {false, true, 0, 1}},
      {"finds the size", 2, kAreaCustom, 0, {false, true, 0, 1}},
      {"finds the position", 8, kAreaCustom, 0, {false, false, 0, 0}},
      {"a device that always centres", 8, kAreaCustom, kAlwaysCentres, {false, false, 0, 1}},
      {"finds the position, where nothing is detected", 8, kAreaCustom, 0, {true, true, 1, 1}, false},
      {"a device that never centres", 0, kAreaCustom, kNeverCentres, {true, false, 1, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ScanValues v = bed(900, c.type, 1, {});
    v.autodetect = c.mask;
    v.offersDetection = c.offered;
    v.bursting = 1;
    v.centring = c.centring;
    EXPECT_EQ(autodetectEffect(v), c.want);
  }
}

TEST(ScanLists, AScannerWithoutColourHasFiveModes) {
  const test::NotingController controller;
  EXPECT_EQ(modeEntries(*controller.unit, false).size(), 5U);
  const ListEntries all = modeEntries(*controller.unit, true);
  ASSERT_EQ(all.size(), 8U);
  EXPECT_EQ(all[6], (ListEntry{"Palette", 6}));
}

TEST(ScanLists, ResolutionRanges) {
  const std::tuple<const char*, bool, int, int> cases[] = {{"50..1200", true, 50, 1200},
                                                           {"50..1200 (in steps of 1)", true, 50, 1200},
                                                           {"0.5..9600", true, 1, 9600},
                                                           {"", false, 0, 0},
                                                           {"many", false, 0, 0}};
  for (const auto& [text, has, least, greatest] : cases) {
    SCOPED_TRACE(text);
    const test::NotingController controller;
    controller.unit->dpiRange = text;
    const auto range = resolutionRange(*controller.unit);
    ASSERT_EQ(range.has_value(), has);
    if (range) {
      EXPECT_TRUE(range->least == least && range->greatest == greatest);
    }
  }
}

TEST(SettingsText, NamesEveryPaperOfAFoundSize) {
  const std::vector<PaperRecord> papers{{"A4", {210, 297}}, {"A3", {297, 420}}, {"Square", {300, 300}}};
  struct Case {
    const char* why;
    double width, length;
    bool widthOnly;
    const char* want;
  };
  const Case cases[] = {
      {"upright", 210, 297, false, "Detected:A4  Portrait\n\r"},
      {"lying", 297, 210, false, "Detected:A4 Landscape\n\r"},
      {"a width that two papers have", 297.0009, 5, true, "Detected:A4  Landscape\n\ror   \tA3   Portrait\n\r"},
      {"a square is both", 300, 300, false, "Detected:Square  Portrait\n\ror   \tSquare Landscape\n\r"},
      {"nothing keeps the text before", 210.002, 297, false, "before"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(detectionText(papers, c.width, c.length, c.widthOnly, "before"), c.want) << c.why;
}

}  // namespace
}  // namespace quillbay
