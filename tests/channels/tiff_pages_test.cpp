#include <gtest/gtest.h>
#include <tiff.h>

#include <random>

#include "platform/base_services.h"
#include "test_pages.h"
#include "tiff_readback.h"

namespace quillbay::test {
namespace {

constexpr KxColorSpace kColorSpaces[] = {KxColorSpace::Bitonal, KxColorSpace::BitonalRle, KxColorSpace::Palette,
                                         KxColorSpace::Grey,    KxColorSpace::Rgb,        KxColorSpace::Bgr,
                                         KxColorSpace::Rgba,    KxColorSpace::Bgra};

TEST(TiffPages, EveryColourCompressionAndSourceReadsBackEqual) {
  const TempFolder folder;
  const std::string file = folder.file("page.tif");
  struct Way {
    const char* why;
    Source source;
    std::int32_t stripeLines;
  };
  const Way ways[] = {
      {"one-line stripes", Source::Stripes, 1},  {"7-line stripes", Source::Stripes, 7},
      {"64-line stripes", Source::Stripes, 64},  {"stripes of loose lines", Source::LooseStripes, 7},
      {"a page that grows", Source::Growing, 7}, {"a stored raster", Source::Stored, 0}};
  for (const KxColorSpace colorSpace : kColorSpaces) {
    const TestPage page = makePage(colorSpace, 301, 130);
    for (const char* compression : {"auto", "None", "PackBits", "LZW", "Deflate", "Zstandard", "G4"}) {
      const bool bitonal = isRunList(colorSpace);
      if (std::string(compression) == "G4" && !bitonal) continue;
      const bool differences = std::string("LZW Deflate Zstandard").find(compression) != std::string::npos;
      for (const char* predictor : {"auto", "off"}) {
        if (!differences && predictor[0] == 'o') continue;
        for (const Way& way : ways) {
          SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(colorSpace) << ", " << compression
                                          << ", predictor " << predictor << ", " << way.why);
          const auto params = paramsWith({{bitonal ? "BlackWhite" : "Compression", compression},
                                          {"StripBytes", "4096"},
                                          {"Predictor", predictor}});
          ASSERT_EQ(saveSingle(file, rasterOf(page, way.source, way.stripeLines).get(), params.get(), true), 1);
          const ReadFile read = readTiff(file);
          ASSERT_TRUE(read.ok) << read.complaint;
          ASSERT_EQ(read.pages.size(), 1U);
          ASSERT_EQ(difference(read.pages[0], page), "");
          ASSERT_EQ(read.pages[0].palette, page.palette);
          ASSERT_GE(read.pages[0].rowsPerStrip, 8U);
        }
      }
    }
  }
}

TEST(TiffPages, TagsTellWhatThePageIs) {
  const TempFolder folder;
  struct Case {
    KxColorSpace colorSpace;
    int compression, photometric, bits, samples;
  };
  const Case cases[] = {
      {KxColorSpace::Bitonal, COMPRESSION_CCITTFAX4, PHOTOMETRIC_MINISWHITE, 1, 1},
      {KxColorSpace::Palette, COMPRESSION_LZW, PHOTOMETRIC_PALETTE, 8, 1},
      {KxColorSpace::Grey, COMPRESSION_LZW, PHOTOMETRIC_MINISBLACK, 8, 1},
      {KxColorSpace::Bgr, COMPRESSION_LZW, PHOTOMETRIC_RGB, 8, 3},
  };
  const auto params = paramsWith({});
  Environment fixed;
  fixed.now = [] { return std::int64_t{1700000000}; };
  setEnvironment(fixed);
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.colorSpace));
    TestPage page = makePage(c.colorSpace, 64, 20);
    page.dpi = 450;
    const std::string file = folder.file("tags.tif");
    saveSingle(file, rasterOf(page, Source::Stripes).get(), params.get(), true);
    const ReadFile read = readTiff(file);
    ASSERT_TRUE(read.ok) << read.complaint;
    const ReadPage& tags = read.pages.at(0);
    EXPECT_EQ(tags.compression, c.compression);
    EXPECT_EQ(tags.photometric, c.photometric);
    EXPECT_EQ(tags.bits, c.bits);
    EXPECT_EQ(tags.samples, c.samples);
    EXPECT_EQ(tags.dpiX, 450);
    EXPECT_EQ(tags.dpiY, 450);
    EXPECT_EQ(tags.unit, RESUNIT_INCH);
    EXPECT_EQ(tags.software, "Test software");
    EXPECT_EQ(tags.dateTime.substr(0, 8), "2023:11:");
    EXPECT_EQ(tags.page, 0xffff) << "a single page has no page number";
  }
  setEnvironment({});
}

/// One set of options has to do for a batch of all kinds of pages.
TEST(TiffPages, EachKindOfPageGetsTheCompressionThatIsForIt) {
  const TempFolder folder;
  const std::string file = folder.file("kinds.tif");
  struct Case {
    std::map<std::string, std::string> options;
    int bits, palette, grey;  // compressions
  };
  constexpr int kRefused = -1;
  const Case cases[] = {
      {{{"Compression", "JPEG"}}, COMPRESSION_CCITTFAX4, COMPRESSION_LZW, COMPRESSION_JPEG},
      {{{"Compression", "JPEG"}, {"Predictor", "off"}, {"BlackWhite", "G3"}},
       COMPRESSION_CCITTFAX3,
       COMPRESSION_LZW,
       COMPRESSION_JPEG},
      {{{"Compression", "None"}}, COMPRESSION_CCITTFAX4, COMPRESSION_NONE, COMPRESSION_NONE},
      {{{"BlackWhite", "None"}}, COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_LZW},
      {{{"BlackWhite", "G4"}, {"Predictor", "on"}}, COMPRESSION_CCITTFAX4, COMPRESSION_LZW, COMPRESSION_LZW},
      {{{"Compression", "Zstandard"}, {"BlackWhite", "Deflate"}, {"Level", "19"}},
       COMPRESSION_ADOBE_DEFLATE,
       COMPRESSION_ZSTD,
       COMPRESSION_ZSTD},
      // As it was said when there was one option.
      {{{"Compression", "G3"}}, COMPRESSION_CCITTFAX3, kRefused, kRefused},
      {{{"Compression", "g4"}}, COMPRESSION_CCITTFAX4, kRefused, kRefused},
      {{{"Compression", "G3"}, {"BlackWhite", "LZW"}}, COMPRESSION_LZW, kRefused, kRefused},
      {{{"BlackWhite", "Zip"}}, kRefused, kRefused, kRefused},
  };
  for (const Case& c : cases) {
    for (const auto& [colorSpace, wanted] : {std::pair{KxColorSpace::BitonalRle, c.bits},
                                             {KxColorSpace::Palette, c.palette},
                                             {KxColorSpace::Grey, c.grey}}) {
      SCOPED_TRACE(testing::Message() << testing::PrintToString(c.options) << ", code "
                                      << static_cast<int>(colorSpace));
      const TestPage page = makePage(colorSpace, 100, 40);
      const auto params = paramsWith(c.options);
      const auto save = [&] { saveSingle(file, rasterOf(page, Source::Stripes).get(), params.get(), true); };
      if (wanted == kRefused) {
        EXPECT_THROW(save(), CXFileException);
        continue;
      }
      ASSERT_NO_THROW(save());
      const ReadFile read = readTiff(file);
      ASSERT_TRUE(read.ok) << read.complaint;
      EXPECT_EQ(read.pages.at(0).compression, wanted);
      EXPECT_EQ(wanted == COMPRESSION_JPEG ? "" : difference(read.pages.at(0), page), "");
    }
  }
}

TEST(TiffPages, KindFollowsLengthAndOptions) {
  const TempFolder folder;
  const std::int64_t tooLong = 200'000'000;  // lines of 30 bytes pass 4 GB
  struct Case {
    const char* why;
    const char* kind;
    Source source;
    std::int64_t expected;
    bool big;
  };
  const Case cases[] = {
      {"a running scan of unknown length", "auto", Source::Stripes, 0, true},
      {"a running scan whose length fits", "auto", Source::Stripes, 1000, false},
      {"a page that may pass 4 GB", "auto", Source::Stripes, tooLong, true},
      {"a stored raster knows its height", "auto", Source::Stored, 0, false},
      {"asked for classic", "classic", Source::Stripes, 0, false},
      {"asked for big", "big", Source::Stored, 0, true},
  };
  const TestPage page = makePage(KxColorSpace::Grey, 30, 40);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const std::string file = folder.file("kind.tif");
    const auto params = paramsWith({{"TiffKind", c.kind}});
    saveSingle(file, rasterOf(page, c.source).get(), params.get(), true, c.expected);
    const ReadFile read = readTiff(file);
    ASSERT_TRUE(read.ok) << read.complaint;
    EXPECT_EQ(read.big, c.big);
    EXPECT_EQ(difference(read.pages.at(0), page), "");
  }
  savePaged(folder.file("paged.tif"), rasterOf(page, Source::Stored).get(), End::Commit);
  EXPECT_TRUE(readTiff(folder.file("paged.tif")).big) << "pages may follow";
}

TEST(TiffPages, RefusalsSayWhyAndLeaveNothing) {
  const TempFolder folder;
  struct Case {
    std::map<std::string, std::string> options;
    std::int64_t expected;
    const char* says;
    KxColorSpace colorSpace = KxColorSpace::Grey;
    std::int32_t width = 30;
  };
  const Case cases[] = {
      {{{"TiffKind", "classic"}}, 200'000'000, "4 GB"},
      {{{"Compression", "G4"}}, 0, "black-and-white"},
      {{{"Compression", "Zip"}}, 0, "Deflate"},
      {{{"Level", "99"}}, 0, "Level"},
      {{{"StripBytes", "many"}}, 0, "StripBytes"},
      {{{"Compression", "G3"}}, 0, "black-and-white"},
      {{{"Compression", "JPEG"}}, 0, "Layout to tiles", KxColorSpace::Grey, 65501},
      {{{"Compression", "JPEG"}, {"Predictor", "on"}}, 0, "Predictor"},
      {{{"Compression", "JPEG"}, {"Quality", "0"}}, 0, "Quality"},
      {{{"Layout", "tiles"}, {"TileSize", "100"}}, 0, "TileSize"},
      // In strips it would fit; tiles are 256 pixels wide, and the levels come on top.
      {{{"TiffKind", "classic"}, {"Layout", "tiles"}}, 12'000'000, "4 GB"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.says);
    const TestPage page = makePage(c.colorSpace, c.width, 40);
    const auto params = paramsWith(c.options);
    const std::string file = folder.file("refused.tif");
    try {
      saveSingle(file, rasterOf(page, Source::Stripes).get(), params.get(), false, c.expected);
      ADD_FAILURE() << c.says << ": was not refused";
    } catch (const CXFileException& e) {
      EXPECT_NE(std::string(e.what()).find(c.says), std::string::npos) << e.what();
      EXPECT_NE(std::string(e.what()).find(file), std::string::npos) << e.what();
    }
    EXPECT_EQ(folder.list(), "");
  }
}

TestPage adversarialPage(std::int32_t width) {
  std::mt19937 random(static_cast<unsigned>(width));
  std::vector<std::vector<bool>> rows;
  const auto row = [&](auto&& isBlack) {
    std::vector<bool> line(static_cast<std::size_t>(width));
    for (std::int32_t x = 0; x < width; ++x) line[static_cast<std::size_t>(x)] = isBlack(x);
    rows.push_back(std::move(line));
  };
  row([](int) { return false; });
  row([](int) { return true; });
  row([](int x) { return x % 2 == 0; });
  row([](int x) { return x % 2 == 1; });
  row([](int) { return false; });
  row([&](int x) { return x == width - 1; });
  row([](int x) { return x == 0; });
  row([&](int x) { return x != width / 2; });
  // Every distance of a change to the one above it, and passes of every kind.
  for (int shift = 0; shift < 12; ++shift) {
    row([&](int x) { return (x + shift * 2) % 23 < 9; });
    row([&](int x) { return (x + shift * shift) % 19 < 3; });
  }
  // Runs of every length up to the line's.
  for (std::int32_t run = 1; run <= width; run += run < 130 ? 1 : 61) {
    row([&](int x) { return x % (2 * run) < run; });
    row([](int x) { return x % 5 == 0; });
    row([&](int x) { return x % (run + 1) == run; });
  }
  for (unsigned density = 1; density < 40; ++density) row([&](int) { return random() % 40 < density; });
  return bitonalPage(rows, width);
}

TEST(TiffPages, FaxCodesHoldAnyLine) {
  const TempFolder folder;
  for (const std::int32_t width :
       {1, 2, 7, 8, 9, 63, 64, 65, 255, 1728, 2559, 2561, 2623, 2624, 2625, 5199, 10303}) {
    SCOPED_TRACE(width);
    const TestPage page = adversarialPage(width);
    const std::string file = folder.file("fax.tif");
    for (const char* compression : {"G4", "G3"}) {
      // libtiff's room for the runs of Group 3 is one short there for a line of single dots.
      if (compression[1] == '3' && width % 32 == 0) continue;
      const auto params = paramsWith({{"BlackWhite", compression}, {"StripBytes", "4096"}});
      for (const Source source : {Source::Stripes, Source::LooseStripes}) {
        saveSingle(file, rasterOf(page, source, 64).get(), params.get(), true);
        const ReadFile read = readTiff(file);
        ASSERT_TRUE(read.ok) << compression << ": " << read.complaint;
        ASSERT_EQ(difference(read.pages.at(0), page), "") << compression;
        if (compression[1] == '4') continue;
        // What every fax program takes: one strip, one dimension, each line ended on a byte.
        ASSERT_EQ(read.pages.at(0).rowsPerStrip, read.pages.at(0).height);
        ASSERT_EQ(read.pages.at(0).options, static_cast<std::uint32_t>(GROUP3OPT_FILLBITS));
      }
    }
  }
}

TEST(TiffPages, RunsOutsideTheLineOrTouchingAreTakenAsTheyShow) {
  const TempFolder folder;
  const std::string file = folder.file("runs.tif");
  TestPage page = bitonalPage({std::vector<bool>(20)}, 20);
  const std::uint32_t runs[] = {static_cast<std::uint32_t>(-5), 1, 2, 4, 5, 6, 9, 8, 15, 99, RunEnd, 0};
  page.lines[0].assign(reinterpret_cast<const std::uint8_t*>(runs),
                       reinterpret_cast<const std::uint8_t*>(runs + 12));
  page.seen[0] = {0xfe, 0x01, 0xf0};
  for (const char* compression : {"G4", "LZW"}) {
    const auto params = paramsWith({{"BlackWhite", compression}});
    saveSingle(file, rasterOf(page, Source::Stripes).get(), params.get(), true);
    EXPECT_EQ(difference(readTiff(file).pages.at(0), page), "") << compression;
  }
}

TEST(TiffPages, LoadGivesBackWhatWasSaved) {
  const TempFolder folder;
  for (const KxColorSpace colorSpace :
       {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Grey, KxColorSpace::Rgb}) {
    for (const char* name : {"load.tif", "load.png"}) {
      SCOPED_TRACE(testing::Message() << name << ", code " << static_cast<int>(colorSpace));
      const TestPage page = makePage(colorSpace, 301, 60);
      saveSingle(folder.file(name), rasterOf(page, Source::Stripes).get(), nullptr, true);
      const auto loader = new_OpenFileChanel(nullptr, folder.file(name)).as<IKxRasterLoadFileChanel>();
      ASSERT_EQ(loader->GetPageCount(), 1);
      const KxPtr<IRStor> raster = loader->Load(0, nullptr);
      ASSERT_EQ(raster->GetColorSpace(), colorSpace);
      ASSERT_EQ(raster->GetResolution(), 300U);
      // Saved once more, so that the lines, and the palette, are compared by libtiff.
      saveSingle(folder.file("again.tif"), raster.get(), nullptr, true);
      const ReadFile read = readTiff(folder.file("again.tif"));
      EXPECT_EQ(difference(read.pages.at(0), page), "");
      EXPECT_EQ(read.pages.at(0).palette, page.palette);
    }
  }
}

TEST(TiffPages, DamagedFilesAreRefusedWithTheirName) {
  const TempFolder folder;
  const std::string good = folder.file("good.tif");
  const TestPage page = makePage(KxColorSpace::Rgb, 100, 60);
  savePaged(good, rasterOf(page, Source::Stripes).get(), End::Commit);
  const std::string whole = readFile(good);
  for (std::size_t size = 0; size < whole.size(); size += 1 + size / 3) {
    SCOPED_TRACE(size);
    const std::string file = folder.file("cut.tif");
    writeFile(file, whole.substr(0, size));
    EXPECT_THROW(new_OpenFileChanel(nullptr, file), CXFileException);
    if (size == 0) continue;  // an empty file takes pages
    EXPECT_THROW(savePaged(file, rasterOf(page, Source::Stripes).get(), End::Commit), CXFileException);
    EXPECT_TRUE(readFile(file) == whole.substr(0, size));
  }
  for (const std::size_t place : {4, 5, 6, 7}) {  // of a BigTIFF's head
    std::string head = whole;
    head[place] = static_cast<char>(head[place] + 1);
    writeFile(good, head);
    EXPECT_THROW(new_OpenFileChanel(nullptr, good), CXFileException) << place;
    EXPECT_THROW(savePaged(good, rasterOf(page, Source::Stripes).get(), End::Commit), CXFileException) << place;
  }
}

}  // namespace
}  // namespace quillbay::test
