#include "printing/page_layout.h"

#include <gtest/gtest.h>

#include "printing/printers.h"
#include "quillbay/errors.h"

namespace quillbay::test {
namespace {

PrinterInfo plotter() {
  PrinterInfo p;
  p.name = "plotter";
  p.media = {{"iso_a4_210x297mm", 210, 297, 210, 297, {5, 5, 5, 5}, true},
             {"iso_a1_594x841mm", 594, 841, 594, 841, {5, 5, 5, 5}, false},
             {"roll_current_914x0mm", 914, 15000, 914, 200, {3, 10, 3, 10}, true}};
  p.defaultMedia = "iso_a1_594x841mm";
  p.resolutions = {{254, 254}, {300, 300}, {600, 600}, {1200, 600}};
  return p;
}

/// A page in millimetres at 254 dpi: ten pixels a millimetre.
PageShape page(double width, double length) {
  return {static_cast<std::int64_t>(width * 10), static_cast<std::int64_t>(length * 10), 254};
}

struct LayoutCase {
  const char* what;
  double width, length;  // mm; length 0: unknown
  void (*set)(PrintSettings&);
  const char* media;
  double sheetLength;
  bool isTurned;
  std::int64_t columns, rows, x, y, pictureWidth, pictureLines;
};

TEST(PageLayout, PutsPagesOnMedia) {
  const LayoutCase cases[] = {
      {"a sheet", 200, 280, [](PrintSettings&) {}, "iso_a4_210x297mm", 297, false, 1, 1, 50, 50, 2000, 2800},
      {"no more than it needs", 600, 900, [](PrintSettings&) {}, "roll_current_914x0mm", 920, false, 1, 1, 1570,
       100, 6000, 9000},
      {"as large as the sheet", 594, 841, [](PrintSettings& s) { s.media = "iso_a1_594x841mm"; },
       "iso_a1_594x841mm", 841, false, 1, 1, 0, 0, 5940, 8410},
      {"left", 100, 100,
       [](PrintSettings& s) {
         s.place = PrintPlace::Left;
         s.media = "roll_current_914x0mm";
       },
       "roll_current_914x0mm", 200, false, 1, 1, 30, 100, 1000, 1000},
      {"right with a margin", 100, 300,
       [](PrintSettings& s) {
         s.place = PrintPlace::Right;
         s.margins.right = 20;
         s.media = "roll_current_914x0mm";
       },
       "roll_current_914x0mm", 320, false, 1, 1, 7940, 100, 1000, 3000},
      {"half", 1200, 1000,
       [](PrintSettings& s) {
         s.scaling = PrintScaling::Percent;
         s.percent = 50;
       },
       "roll_current_914x0mm", 520, false, 1, 1, 1570, 100, 6000, 5000},
      {"fit to width", 1816, 1000,
       [](PrintSettings& s) {
         s.scaling = PrintScaling::FitWidth;
         s.media = "roll_current_914x0mm";
       },
       "roll_current_914x0mm", 520, false, 1, 1, 30, 100, 9080, 5000},
      {"turned, which saves paper", 594, 900,
       [](PrintSettings& s) {
         s.turn = PrintTurn::Auto;
         s.media = "roll_current_914x0mm";
       },
       "roll_current_914x0mm", 614, true, 1, 1, 70, 100, 9000, 5940},
      {"not turned, which would waste it", 900, 594,
       [](PrintSettings& s) {
         s.turn = PrintTurn::Auto;
         s.media = "roll_current_914x0mm";
       },
       "roll_current_914x0mm", 614, false, 1, 1, 70, 100, 9000, 5940},
      {"turned since it fits only so", 2000, 900, [](PrintSettings& s) { s.turn = PrintTurn::Auto; },
       "roll_current_914x0mm", 2020, true, 1, 1, 70, 100, 9000, 20000},
      {"unknown length", 900, 0, [](PrintSettings&) {}, "roll_current_914x0mm", 2000, false, 1, 0, 70, 100, 9000,
       0},
      {"longer than the roll allows", 900, 0, [](PrintSettings& s) { s.pieceLength = 1e6; }, "roll_current_914x0mm",
       15000, false, 1, 0, 70, 100, 9000, 0},
      {"tiled", 1200, 1000,
       [](PrintSettings& s) {
         s.isTiled = true;
         s.overlap = 10;
         s.media = "iso_a1_594x841mm";
       },
       "iso_a1_594x841mm", 841, false, 3, 2, 50, 50, 12000, 10000},
      {"tiled where it fits", 500, 500,
       [](PrintSettings& s) {
         s.isTiled = true;
         s.media = "iso_a1_594x841mm";
       },
       "iso_a1_594x841mm", 841, false, 1, 1, 470, 50, 5000, 5000},
  };
  for (const LayoutCase& c : cases) {
    SCOPED_TRACE(c.what);
    PrintSettings settings;
    c.set(settings);
    const PageLayout l = layOutPage(page(c.width, c.length), settings, plotter());
    EXPECT_EQ(l.media.name, c.media);
    EXPECT_NEAR(l.sheetLength, c.sheetLength, 0.01);
    EXPECT_EQ(l.isTurned, c.isTurned);
    EXPECT_EQ(l.columns, c.columns);
    EXPECT_EQ(l.rows, c.rows);
    EXPECT_EQ(l.x, c.x);
    EXPECT_EQ(l.y, c.y);
    EXPECT_EQ(l.pictureWidth, c.pictureWidth);
    EXPECT_EQ(l.pictureLines, c.pictureLines);
    // Nothing is lost or beyond the sheet, whatever the case.
    std::int64_t right = 0, bottom = 0;
    for (std::int64_t column = 0; column < l.columns; ++column) {
      for (std::int64_t row = 0; row < std::max<std::int64_t>(l.rows, 1); ++row) {
        const PrintSheet s = l.sheet(column, row);
        EXPECT_LE(s.left, right);
        EXPECT_TRUE(s.x >= 0 && s.x + s.width <= l.sheetPixels && s.y >= 0 && s.y + s.lines <= l.sheetLines);
        bottom = s.top + s.lines;
        if (row + 1 == std::max<std::int64_t>(l.rows, 1)) right = s.left + s.width;
      }
    }
    EXPECT_EQ(right, l.pictureWidth);
    EXPECT_TRUE(l.rows == 0 || bottom == l.pictureLines) << bottom;
  }
}

TEST(PageLayout, RefusesWithTheSizes) {
  PrintSettings settings;
  settings.media = "iso_a4_210x297mm";
  try {
    (void)layOutPage(page(594, 841), settings, plotter());
    FAIL() << "an A1 page went on A4";
  } catch (const CXDeviceException& e) {
    for (const char* word : {"594 x 841", "210 x 297", "plotter", "A4"}) {
      EXPECT_NE(std::string(e.what()).find(word), std::string::npos) << e.what();
    }
  }
  settings.media = "no_such_1x1mm";
  EXPECT_THROW((void)layOutPage(page(10, 10), settings, plotter()), CXDeviceException);
  EXPECT_THROW((void)layOutPage(page(2000, 1000), {}, plotter()), CXDeviceException);
}

TEST(PageLayout, TakesThePagesResolutionOrTheNextAbove) {
  const PrinterInfo printer = plotter();
  const struct {
    std::uint32_t wanted, page;
    PrinterResolution expected;
  } cases[] = {{0, 300, {300, 300}},
               {0, 400, {600, 600}},
               {0, 2400, {600, 600}},
               {254, 600, {254, 254}},
               {0, 100, {254, 254}}};
  for (const auto& c : cases) EXPECT_EQ(printResolution(printer, c.wanted, c.page), c.expected) << c.page;
}

TEST(PageLayout, PixelsThatAreNotSquareKeepTheSize) {
  PrinterInfo printer = plotter();
  printer.resolutions = {{508, 254}};
  for (const bool isTurned : {false, true}) {
    PrintSettings settings;
    settings.turn = isTurned ? PrintTurn::Quarter : PrintTurn::None;
    const PageLayout l = layOutPage(page(100, 200), settings, printer);
    EXPECT_EQ(l.pictureWidth, isTurned ? 4000 : 2000);
    EXPECT_EQ(l.pictureLines, isTurned ? 1000 : 2000);
  }
}

TEST(MediaForPage, TakesTheLeastPaperThatShowsAll) {
  PrinterInfo printer = plotter();
  const struct {
    double width, length;
    const char* expected;  // null: none
  } cases[] = {{200, 287, "iso_a4_210x297mm"},
               {210, 297, "roll_current_914x0mm"},
               {910, 14000, "roll_current_914x0mm"},
               {914, 100, "roll_current_914x0mm"},
               {915, 100, nullptr},
               {500, 15100, nullptr},
               {100, 0, "roll_current_914x0mm"}};
  for (const auto& c : cases) {
    const PrinterMedia* media = mediaForPage(printer, c.width, c.length);
    ASSERT_EQ(media != nullptr, c.expected != nullptr) << c.width;
    EXPECT_TRUE(!media || media->name == c.expected) << c.width << " x " << c.length;
  }
}

}  // namespace
}  // namespace quillbay::test
