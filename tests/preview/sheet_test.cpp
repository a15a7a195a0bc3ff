/// The outline of a found document: it is the page that straightening makes, and it can be corrected.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

#include "analysis/deskew_stage.h"
#include "analysis/scan_rectangle.h"
#include "params/found_text.h"
#include "preview/sheet_rules.h"
#include "stores/scan_buffer.h"

namespace quillbay::test {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr std::uint32_t kDpi = 100;

/// A bed on which a document was found.
ScanValues foundOn(const Sheet& sheet) {
  ScanValues v;
  v.rectValid = 1;
  v.scanType = kAreaAuto;
  v.found = {DetectedBy::Prescan, boxAround(sheet), sheet.angle, {sheet.width, sheet.height}, {}};
  v.rcScan = v.found.box;
  return v;
}

/// The straightened page of a scan whose pixels have the tones that `toneAt` gives for a place on the bed, in mm.
std::vector<std::vector<std::uint8_t>> straightened(const ScanValues& v,
                                                    const std::function<double(double, double)>& toneAt) {
  const tagRRECT scanned =
      computeScanRectangle({v.rcScan, v.addWidthPercent, v.bedWidth, v.minWidth, v.center != 0, false, true});
  const KxSize size{roundHalfUp(mmToPixels(scanned.width(), kDpi)),
                    roundHalfUp(mmToPixels(scanned.height(), kDpi))};
  const auto scan = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(kDpi, size, KxColorSpace::Grey, nullptr));
  std::vector<std::uint8_t> line(static_cast<std::size_t>(size.width));
  const double mm = kMmPerInch / kDpi;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double tone = toneAt(scanned.left + (x + 0.5) * mm, scanned.top + (y + 0.5) * mm);
      line[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(std::clamp(tone, 0.0, 255.0));
    }
    scan->AddLine(0, line.data());
  }
  DeskewStage stage(&newScanBuffer);
  stage.Begin({v.found.angle, boxOfSheet(scanned, v.rcScan), v.scanType});
  std::vector<std::vector<std::uint8_t>> page;
  const auto take = [&page](IScanBuffer* stripe) {
    KxSize part;
    stripe->GetSize(&part);
    for (int y = 0; y < part.height; ++y) {
      const std::uint8_t* from = stripe->GetLine(y);
      page.emplace_back(from, from + part.width);
    }
  };
  if (const auto stripe = stage.Pass(scan.get(), 0)) take(stripe.get());
  if (const auto rest = stage.Pass(nullptr, 0)) take(rest.get());
  return page;
}

TEST(SheetOutline, IsTheEdgeOfTheStraightenedPage) {
  for (const double degrees : {-5.0, -2.0, 2.0, 5.0, 12.0}) {
    for (const int added : {0, 10}) {
      SCOPED_TRACE(testing::Message() << degrees << " degrees, " << added << " %");
      ScanValues v = foundOn({{200, 150}, 140, 90, degrees * kDegree});
      v.addWidthPercent = added;
      const Sheet sheet = scannedSheet(v);
      // Tones that grow with the place by 1.3 for a millimetre.
      const auto across = straightened(v, [](double x, double) { return (x - 100) * 1.3; });
      const auto down = straightened(v, [](double, double y) { return (y - 60) * 1.3; });
      const double mm = kMmPerInch / kDpi;
      ASSERT_FALSE(across.empty());
      EXPECT_NEAR(static_cast<double>(across.size()) * mm, sheet.height, mm);
      EXPECT_NEAR(static_cast<double>(across[0].size()) * mm, sheet.width, mm);
      const auto last = across.size() - 1, end = across[0].size() - 1;
      constexpr std::size_t kIn = 12;  // pixels from the corner: the paper is there for sure
      const std::size_t rows[] = {kIn, kIn, last - kIn, last - kIn}, columns[] = {kIn, end - kIn, end - kIn, kIn};
      const double inside = (kIn + 0.5) * mm;
      const double signs[][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
      for (std::size_t i = 0; i < 4; ++i) {
        const tagRPOINT corner = sheet.corners()[i], u = sheet.across(), d = sheet.down();
        const double x = corner.x + inside * (u.x * signs[i][0] + d.x * signs[i][1]);
        const double y = corner.y + inside * (u.y * signs[i][0] + d.y * signs[i][1]);
        EXPECT_NEAR(across[rows[i]][columns[i]] / 1.3 + 100, x, 1) << i;
        EXPECT_NEAR(down[rows[i]][columns[i]] / 1.3 + 60, y, 1) << i;
      }
    }
  }
}

TEST(SheetOutline, AndItsBoxBelongTogether) {
  for (const double degrees : {-14.0, -1.2, 0.0, 0.05, 3.0}) {
    const Sheet sheet{{420, 600}, 841, 1189, degrees * kDegree};
    const Sheet back = sheetIn(boxAround(sheet), sheet.angle, kAreaAuto);
    const double least = std::abs(degrees) < 0.0573 ? 1.1 : 0.6;  // what is not straightened keeps its box
    EXPECT_NEAR(back.width, sheet.width, least) << degrees;
    EXPECT_NEAR(back.height, sheet.height, least) << degrees;
  }
  const tagRRECT flat{0, 0, 100, 2};
  EXPECT_EQ(sheetIn(flat, 0.2, kAreaAuto).angle, 0) << "no sheet of this skew fills the box";
  EXPECT_EQ(sheetIn(flat, std::nan(""), kAreaAuto).width, 100);
}

TEST(SheetRules, EdgesFollowThePointerAndTheOppositeOnesStay) {
  const Sheet sheet{{200, 150}, 140, 90, 5 * kDegree};
  const auto before = sheet.corners();
  const tagRPOINT u = sheet.across(), d = sheet.down();
  const tagRPOINT by{7 * u.x + 3 * d.x, 7 * u.y + 3 * d.y};  // 7 mm along the upper edge, 3 mm down
  struct Case {
    int zone;
    double width, height;
    std::size_t stays;  // a corner
  };
  constexpr Case kCases[] = {{kTopLeft, 133, 87, 2},    {kTop, 140, 87, 2},         {kTopRight, 147, 87, 3},
                             {kRight, 147, 90, 0},      {kBottomRight, 147, 93, 0}, {kBottom, 140, 93, 0},
                             {kBottomLeft, 133, 93, 1}, {kLeft, 133, 90, 1}};
  for (const Case& c : kCases) {
    const Sheet now = draggedSheet(sheet, c.zone, {}, by);
    EXPECT_NEAR(now.width, c.width, 1e-9) << c.zone;
    EXPECT_NEAR(now.height, c.height, 1e-9) << c.zone;
    EXPECT_NEAR(now.corners()[c.stays].x, before[c.stays].x, 1e-9) << c.zone;
    EXPECT_NEAR(now.corners()[c.stays].y, before[c.stays].y, 1e-9) << c.zone;
    EXPECT_EQ(now.angle, sheet.angle) << "resizing keeps the angle";
  }
  EXPECT_NEAR(draggedSheet(sheet, kRight, {}, {-900, 0}).width, 10, 1e-9) << "it is not turned over";
  EXPECT_EQ(draggedSheet(sheet, kWhole, {10, 10}, {15, 7}), (Sheet{{205, 147}, 140, 90, sheet.angle}));
  // The knob goes round the centre; clockwise on the bed is anticlockwise to straighten.
  const Sheet turned = draggedSheet(sheet, kTurn, {200, 50}, {200 + 100 * std::tan(2 * kDegree), 50});
  EXPECT_NEAR(turned.angle, 3 * kDegree, 1e-9);
  EXPECT_EQ(turned.centre, sheet.centre);
  EXPECT_EQ(turnedSheet(sheet, 99).angle, kMostTurn);
  EXPECT_NEAR(steppedSheet(sheet, FrameStep::Right, true, true).width, 150, 1e-9);
  EXPECT_EQ(steppedSheet(sheet, FrameStep::Up, false, false).centre, (tagRPOINT{200, 149}));

  const SheetPlaces places = placesOf(sheet, {2, 2, 0, 10, 20});
  const auto at = [&](const tagRPOINT& p) { return sheetZoneAt(places, p.x, p.y); };
  for (int zone = kTopLeft; zone < kWhole; ++zone) {
    EXPECT_EQ(at(places.handles[static_cast<std::size_t>(zone)]), kSheetZones + zone);
  }
  EXPECT_EQ(at(places.knob), kSheetZones + kTurn);
  const tagRPOINT a = places.corners[0], b = places.corners[1];
  EXPECT_EQ(at({a.x * 0.75 + b.x * 0.25, a.y * 0.75 + b.y * 0.25}), kSheetZones + kWhole);
  EXPECT_EQ(at({410, 320}), kNoZone) << "inside";
}

TEST(SheetRules, ACorrectedDocumentStaysOnTheBed) {
  ScanValues v = foundOn({{200, 150}, 140, 90, 2 * kDegree});
  const Sheet out{{20, 30}, 140, 90, 2 * kDegree}, wide{{450, 100}, 1000, 50, 0};
  const DetectedArea held = correctedArea(out, v);
  EXPECT_EQ(held.by, DetectedBy::User);
  EXPECT_EQ(held.box.left, 0);
  EXPECT_EQ(held.box.top, 0);
  EXPECT_NEAR(held.sheet.cx, 140, 0.1);
  EXPECT_NEAR(held.sheet.cy, 90, 0.1);
  EXPECT_EQ(correctedArea(wide, v).box.right, 900);
  EXPECT_EQ(correctedArea({{200, 150}, 140, 90, 0.0005}, v).angle, 0) << "nothing is straightened by that";
  v.found = held;
  EXPECT_FALSE(isFound(v)) << "another area is scanned";
  v.rcScan = held.box;
  EXPECT_TRUE(isFound(v));
  v.found.by = DetectedBy::WholeBed;
  EXPECT_FALSE(isFound(v));
}

TEST(FoundText, NamesPapersThatAreMeasuredAlmostRight) {
  const std::vector<PaperRecord> papers{{"A4", {210, 297}}, {"B4", {250, 353}}, {"A4+", {212, 299}}};
  EXPECT_EQ(paperOfSize(papers, {210.9, 296.2}), "A4");
  EXPECT_EQ(paperOfSize(papers, {299.2, 211.9}), "A4+") << "the nearest, sideways";
  EXPECT_EQ(paperOfSize(papers, {216, 297}), "");
}

}  // namespace
}  // namespace quillbay::test
