#include "printing/print_fixture.h"

namespace quillbay::test {
namespace {

struct ColorCase {
  const char* what;
  KxColorSpace page;
  PrintColor color;
  cups_cspace_t space;
  unsigned bits;
};

/// Whether the page's pixels stand at a place of a sheet, and white everywhere else.
void expectPageAt(const DecodedSheet& sheet, const std::vector<Bytes>& printed, std::size_t pixels, std::size_t x,
                  std::size_t y) {
  const bool isBits = sheet.header.cupsBitsPerPixel == 1;
  const std::size_t bytes = std::max<std::size_t>(sheet.header.cupsBitsPerPixel / 8, 1);
  const Bytes blank(sheet.header.cupsBytesPerLine, isBits ? 0 : 255);
  for (std::size_t row = 0; row < sheet.lines.size(); ++row) {
    Bytes expected = blank;
    if (row >= y && row < y + printed.size()) {
      const Bytes& line = printed[row - y];
      for (std::size_t i = 0; isBits && i < pixels; ++i) {
        if (line[i / 8] >> (7 - i % 8) & 1) {
          expected[(x + i) / 8] = static_cast<std::uint8_t>(expected[(x + i) / 8] | 128 >> (x + i) % 8);
        }
      }
      if (!isBits) std::copy(line.begin(), line.end(), expected.begin() + static_cast<std::ptrdiff_t>(x * bytes));
    }
    ASSERT_TRUE(sheet.lines[row] == expected) << "line " << row;
  }
}

class PrintJobTest : public PrinterTest {};

TEST_F(PrintJobTest, PixelsOfAllColoursArriveAsTheyWereSent) {
  IppPrinter printer;
  const ColorCase cases[] = {
      {"bitonal", KxColorSpace::Bitonal, PrintColor::AsScanned, CUPS_CSPACE_K, 1},
      {"grey", KxColorSpace::Grey, PrintColor::AsScanned, CUPS_CSPACE_SW, 8},
      {"four bits", KxColorSpace::Four, PrintColor::AsScanned, CUPS_CSPACE_SW, 8},
      {"palette", KxColorSpace::Palette, PrintColor::AsScanned, CUPS_CSPACE_SRGB, 24},
      {"rgb", KxColorSpace::Rgb, PrintColor::AsScanned, CUPS_CSPACE_SRGB, 24},
      {"bgr", KxColorSpace::Bgr, PrintColor::AsScanned, CUPS_CSPACE_SRGB, 24},
      {"rgba", KxColorSpace::Rgba, PrintColor::AsScanned, CUPS_CSPACE_SRGB, 24},
      {"bgra", KxColorSpace::Bgra, PrintColor::AsScanned, CUPS_CSPACE_SRGB, 24},
  };
  std::size_t jobs = 0;
  for (const ColorCase& c : cases) {
    SCOPED_TRACE(c.what);
    const NoisePage page(c.page, 302, 125);
    PrintJob job;
    ASSERT_EQ(printPage(job, page, Options(printer.uri(), &page).with(print_key::Media, "iso_a4_210x297mm")), "");
    EXPECT_GT(job.job(), 0);
    const std::vector<std::string> kept = printer.kept();
    ASSERT_EQ(kept.size(), ++jobs);
    const auto sheets = decode(kept.back());
    ASSERT_EQ(sheets.size(), 1U);
    const cups_page_header2_t& h = sheets[0].header;
    EXPECT_STREQ(h.MediaClass, "PwgRaster");
    EXPECT_STREQ(h.cupsPageSizeName, "iso_a4_210x297mm");
    EXPECT_EQ(h.HWResolution[0], 100U);
    EXPECT_EQ(h.HWResolution[1], 100U);
    EXPECT_EQ(h.cupsWidth, 827U);
    EXPECT_EQ(h.cupsHeight, 1169U);
    EXPECT_EQ(h.cupsColorSpace, c.space);
    EXPECT_EQ(h.cupsBitsPerPixel, c.bits);
    // Centred across between margins of 20 pixels, below the one at the top.
    expectPageAt(sheets[0], page.printed, 302, 20 + (787 - 302) / 2, 20);
  }
}

TEST_F(PrintJobTest, ARollIsCutWhereThePageEnds) {
  IppPrinter printer;
  const NoisePage page(KxColorSpace::Grey, 1100, 433);
  PrintJob job;
  ASSERT_EQ(printPage(job, page, Options(printer.uri(), &page).with(print_key::Place, 1)), "");
  const auto sheets = decode(printer.kept().at(0));
  ASSERT_EQ(sheets.size(), 1U);
  EXPECT_EQ(sheets[0].header.cupsWidth, 1181U);
  EXPECT_EQ(sheets[0].header.cupsHeight, 433U);
  EXPECT_STREQ(sheets[0].header.cupsPageSizeName, "custom_300x109.98mm_300x109.98mm");
  expectPageAt(sheets[0], page.printed, 1100, 0, 0);
}

TEST_F(PrintJobTest, AShortPageIsFilledAndALongOneGoesOn) {
  IppPrinter printer;
  const NoisePage page(KxColorSpace::Grey, 200, 100);
  struct {
    int announced;
    std::size_t sheets;
  } cases[] = {{160, 1}, {80, 2}};
  for (const auto& c : cases) {
    PrintJob job;
    ASSERT_EQ(
        printPage(job, page,
                  Options(printer.uri(), &page).with(print_key::PageLines, c.announced).with(print_key::Place, 1)),
        "");
    const auto sheets = decode(printer.kept().back());
    ASSERT_EQ(sheets.size(), c.sheets);
    std::vector<Bytes> first = page.printed;
    first.resize(std::min<std::size_t>(first.size(), static_cast<std::size_t>(c.announced)));
    ASSERT_EQ(sheets[0].lines.size(), static_cast<std::size_t>(c.announced));
    expectPageAt(sheets[0], first, 200, 0, 0);
    if (c.sheets == 1) continue;
    expectPageAt(sheets[1], {page.printed.begin() + c.announced, page.printed.end()}, 200, 0, 0);
    EXPECT_NE(job.note().find("longer"), std::string::npos) << job.note();
  }
}

TEST_F(PrintJobTest, APageOfUnknownLengthGoesInPiecesWithoutAGap) {
  IppPrinter printer;
  const NoisePage page(KxColorSpace::Rgb, 300, 250);
  PrintJob job;
  ASSERT_EQ(printPage(job, page,
                      Options(printer.uri())
                          .with(print_key::Media, "roll_current_300x0mm")
                          .with(print_key::PieceLength, 25.4)
                          .with(print_key::Place, 2)),
            "");
  const auto sheets = decode(printer.kept().at(0));
  ASSERT_EQ(sheets.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    const auto from = page.printed.begin() + static_cast<std::ptrdiff_t>(100 * i);
    expectPageAt(sheets[i], {from, std::min(from + 100, page.printed.end())}, 300, 1181 - 300, 0);
  }
  EXPECT_NE(job.note().find('3'), std::string::npos) << job.note();
}

TEST_F(PrintJobTest, CopiesAreThePrintersOrOurOwn) {
  IppPrinter able;
  const std::string one = kPlotter;
  IppPrinter unable(one.substr(0, one.find("1-9")) + "1-1" + one.substr(one.find("1-9") + 3));
  struct {
    IppPrinter& printer;
    std::size_t sheets;
  } cases[] = {{able, 1}, {unable, 3}};
  for (const auto& c : cases) {
    const NoisePage page(KxColorSpace::Bitonal, 203, 90);
    PrintJob job;
    ASSERT_EQ(
        printPage(job, page, Options(c.printer.uri(), &page).with(print_key::Copies, 3).with(print_key::Place, 1)),
        "");
    const auto sheets = decode(c.printer.kept().at(0));
    ASSERT_EQ(sheets.size(), c.sheets);
    for (const DecodedSheet& sheet : sheets) expectPageAt(sheet, page.printed, 203, 0, 0);
  }
}

TEST_F(PrintJobTest, ATurnedPageStandsOnItsSide) {
  IppPrinter printer;
  for (const bool isKnown : {true, false}) {
    const NoisePage page(KxColorSpace::Grey, 200, 90);
    PrintJob job;
    Options options(printer.uri(), &page);
    if (!isKnown) options.with(print_key::PageLines, 0);
    ASSERT_EQ(printPage(job, page, options.with(print_key::Turn, 1).with(print_key::Place, 1)), "");
    std::vector<Bytes> turned(200, Bytes(90));
    for (std::size_t y = 0; y < 90; ++y) {
      for (std::size_t x = 0; x < 200; ++x) turned[x][89 - y] = page.printed[y][x];
    }
    const auto sheets = decode(printer.kept().back());
    ASSERT_EQ(sheets.size(), 1U);
    EXPECT_EQ(sheets[0].lines.size(), 200U);
    expectPageAt(sheets[0], turned, 90, 0, 0);
    EXPECT_NE(job.note().find("turned"), std::string::npos) << job.note();
  }
}

/// 300 x 150 mm with an overlap of 20 mm on A4: two columns; every pixel is on the sheet where it belongs.
TEST_F(PrintJobTest, ALargePageIsCutIntoSheetsThatOverlap) {
  IppPrinter printer;
  for (const KxColorSpace space : {KxColorSpace::Grey, KxColorSpace::Bitonal}) {
    const NoisePage page(space, 1181, 1300);
    PrintJob job;
    Options options(printer.uri(), &page);
    options.with(print_key::Media, "iso_a4_210x297mm").with(print_key::Tiled, 1).with(print_key::Overlap, 20);
    ASSERT_EQ(printPage(job, page, options.with(print_key::CropMarks, 1)), "");
    const auto sheets = decode(printer.kept().back());
    ASSERT_EQ(sheets.size(), 4U);
    constexpr std::size_t kEdge = 43, kWidth = 741, kLines = 1083, kOverlap = 79;  // 11 mm; between; 20 mm
    for (std::size_t i = 0; i < 4; ++i) {
      SCOPED_TRACE(i);
      const std::size_t left = i / 2 * (kWidth - kOverlap), top = i % 2 * (kLines - kOverlap);
      const std::size_t lines = std::min(kLines, 1300 - top), width = std::min(kWidth, 1181 - left);
      EXPECT_EQ(sheets[i].header.cupsInteger[CUPS_RASTER_PWG_TotalPageCount], 4U);
      for (std::size_t y = 0; y < lines; ++y) {
        const Bytes& line = sheets[i].lines[kEdge + y];
        const Bytes& sent = page.printed[top + y];
        if (space == KxColorSpace::Grey) {
          ASSERT_TRUE(std::equal(line.begin() + kEdge, line.begin() + static_cast<std::ptrdiff_t>(kEdge + width),
                                 sent.begin() + static_cast<std::ptrdiff_t>(left)))
              << y;
          continue;
        }
        for (std::size_t x = 0; x < width; ++x) {
          const auto at = [](const Bytes& bits, std::size_t p) { return bits[p / 8] >> (7 - p % 8) & 1; };
          ASSERT_EQ(at(line, kEdge + x), at(sent, left + x)) << x << ", " << y;
        }
      }
      // The marks stand above the corners, and the margin between them is white.
      if (space != KxColorSpace::Grey) continue;
      EXPECT_EQ(sheets[i].lines[kEdge - 10][kEdge], 0);
      EXPECT_EQ(sheets[i].lines[kEdge - 10][kEdge + width - 1], 0);
      EXPECT_EQ(sheets[i].lines[kEdge - 10][kEdge + width / 2], 255);
      EXPECT_EQ(sheets[i].lines[kEdge][kEdge - 10], 0);
      EXPECT_EQ(sheets[i].lines[kEdge - 1][kEdge], 255);
    }
  }
}

/// The printer has 100 and 200 dpi: a page of 50 dpi keeps its size in millimetres.
TEST_F(PrintJobTest, OtherResolutionsKeepTheSize) {
  IppPrinter printer;
  const NoisePage page(KxColorSpace::Bitonal, 203, 60, 50);
  PrintJob job;
  ASSERT_EQ(printPage(job, page, Options(printer.uri(), &page).with(print_key::Place, 1)), "");
  const auto sheets = decode(printer.kept().at(0));
  ASSERT_EQ(sheets.at(0).lines.size(), 120U);
  std::vector<Bytes> doubled;
  for (std::size_t y = 0; y < 120; ++y) {
    Bytes line(51);
    for (std::size_t x = 0; x < 406; ++x) {
      if (page.printed[y / 2][x / 16] >> (7 - x / 2 % 8) & 1)
        line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | 128 >> x % 8);
    }
    doubled.push_back(line);
  }
  expectPageAt(sheets[0], doubled, 406, 0, 0);
}

TEST_F(PrintJobTest, ThePrinterSaysWhatItTakes) {
  IppPrinter printer;
  const PrinterInfo info = printerAttributes(printer.uri());
  ASSERT_EQ(info.media.size(), 3U);
  EXPECT_EQ(info.media[0].margins, (PrintMargins{5, 5, 5, 5}));
  EXPECT_EQ(info.media[1].name, "iso_a1_594x841mm");
  EXPECT_EQ(mediaTitle(info.media[1]), "A1");
  const PrinterMedia& roll = info.media[2];
  EXPECT_TRUE(roll.isRoll() && roll.isReady && !roll.hasAnyWidth());
  EXPECT_EQ(roll.minLength, 20);
  EXPECT_EQ(roll.length, 500);
  EXPECT_EQ(info.defaultMedia, "iso_a4_210x297mm");
  EXPECT_EQ(info.resolutions, (std::vector<PrinterResolution>{{100, 100}, {200, 200}}));
  EXPECT_EQ(info.maxCopies, 9);
  EXPECT_TRUE(info.hasColor && info.hasMediaCol && info.isAccepting);
  EXPECT_EQ(info.state, PrinterInfo::State::Idle);
}

/// A grey printer gets grey, and one that takes Apple raster alone gets that.
TEST_F(PrintJobTest, AnOfficePrinterGetsGreyInTheFormatThatItTakes) {
  struct {
    const char* format;
    KxColorSpace page;
    std::uint32_t dpi;
  } cases[] = {{"image/pwg-raster", KxColorSpace::Rgb, 300}, {"image/urf", KxColorSpace::Bitonal, 600}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.format);
    IppPrinter printer("", c.format);
    const NoisePage page(c.page, 600, 60, c.dpi);
    PrintJob job;
    ASSERT_EQ(
        printPage(job, page, Options(printer.uri(), &page).with(print_key::Resolution, static_cast<int>(c.dpi))),
        "");
    ASSERT_EQ(printer.kept().size(), 1U);
    const auto sheets = decode(printer.kept()[0]);
    ASSERT_EQ(sheets.size(), 1U);
    EXPECT_EQ(sheets[0].header.cupsColorSpace, CUPS_CSPACE_SW);
    EXPECT_EQ(sheets[0].header.HWResolution[0], c.dpi);
    if (c.page != KxColorSpace::Bitonal) continue;
    const std::size_t left = (sheets[0].header.cupsWidth - 600) / 2;
    for (std::size_t x = 0; x < 600; ++x) {
      ASSERT_EQ(sheets[0].lines[150][left + x], page.printed[0][x / 8] >> (7 - x % 8) & 1 ? 0 : 255) << x;
    }
  }
}

}  // namespace
}  // namespace quillbay::test
