#include <gtest/gtest.h>
#include <tiffio.h>

#include <cmath>
#include <filesystem>
#include <tuple>

#include "quillbay/palette.h"
#include "test_pages.h"
#include "tiff_readback.h"

namespace quillbay::test {
namespace {

using Options = std::map<std::string, std::string>;

int channelsOf(KxColorSpace colorSpace) { return isRunList(colorSpace) || bitsPerPixel(colorSpace) == 8 ? 1 : 3; }

/// A level as the manual words it: half the page's size, rounded up, the last line and column repeated.
TestPage halved(const TestPage& page) {
  TestPage half{page.colorSpace, (page.width + 1) / 2, page.dpi, {}, {}, page.palette};
  const bool ink = isRunList(page.colorSpace), indices = page.colorSpace == KxColorSpace::Palette;
  const auto channels = static_cast<std::size_t>(channelsOf(page.colorSpace));
  const auto width = static_cast<std::size_t>(page.width), halfWidth = static_cast<std::size_t>(half.width);
  for (std::size_t y = 0; y < page.seen.size(); y += 2) {
    const auto& a = page.seen[y];
    const auto& b = page.seen[std::min(y + 1, page.seen.size() - 1)];
    std::vector<std::uint8_t> line(ink ? (halfWidth + 7) / 8 : halfWidth * channels);
    for (std::size_t x = 0; x < halfWidth; ++x) {
      const std::size_t left = 2 * x, right = std::min(2 * x + 1, width - 1);
      if (ink) {
        const auto black = [](const auto& l, std::size_t at) { return l[at / 8] >> (7 - at % 8) & 1; };
        const int any = black(a, left) | black(a, right) | black(b, left) | black(b, right);
        line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | any << (7 - x % 8));
      } else if (!indices) {
        for (std::size_t c = 0; c < channels; ++c) {
          const auto at = [&](const auto& l, std::size_t i) { return l[i * channels + c]; };
          line[x * channels + c] =
              static_cast<std::uint8_t>((at(a, left) + at(a, right) + at(b, left) + at(b, right) + 2) / 4);
        }
      } else if (a[left] == a[right] && a[left] == b[left] && a[left] == b[right]) {
        line[x] = a[left];
      } else {
        const auto average = [&](std::uint8_t KXRGBQUAD::*c) {
          const int sum = page.palette[a[left]].*c + page.palette[a[right]].*c + page.palette[b[left]].*c +
                          page.palette[b[right]].*c;
          return static_cast<std::uint8_t>((sum + 2) / 4 / 8 * 8 + 4);
        };
        const KXRGBQUAD color{average(&KXRGBQUAD::red), average(&KXRGBQUAD::green), average(&KXRGBQUAD::blue), 0};
        for (std::size_t i = 1; i < page.palette.size(); ++i) {
          if (colorDistance(page.palette[i], color) < colorDistance(page.palette[line[x]], color)) {
            line[x] = static_cast<std::uint8_t>(i);
          }
        }
      }
    }
    half.seen.push_back(line);
    half.lines.push_back(line);
  }
  return half;
}

/// Compares page and levels with what they should be.
void expectPyramid(const ReadPage& read, const TestPage& page) {
  ASSERT_EQ(difference(read, page), "");
  TestPage level = page;
  for (std::size_t i = 0; i < read.levels.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "level " << i + 1);
    level = halved(level);
    ASSERT_EQ(difference(read.levels[i], level), "");
    ASSERT_EQ(read.levels[i].subfile, static_cast<std::uint32_t>(FILETYPE_REDUCEDIMAGE));
    ASSERT_EQ(read.levels[i].compression, read.compression);
    ASSERT_EQ(read.levels[i].palette, page.palette);
    ASSERT_FLOAT_EQ(read.levels[i].dpiX, read.dpiX / std::ldexp(1.0F, static_cast<int>(i) + 1));
  }
  const ReadPage& last = read.levels.empty() ? read : read.levels.back();
  ASSERT_TRUE(last.width <= read.tile && last.height <= read.tile);
}

TEST(TiffTiles, EveryColourAndCompressionReadsBackWithItsLevels) {
  const TempFolder folder;
  const std::string file = folder.file("tiles.tif");
  const std::pair<Source, std::int32_t> ways[] = {
      {Source::Stripes, 7}, {Source::LooseStripes, 300}, {Source::Growing, 7}, {Source::Stored, 0}};
  std::size_t way = 0;
  for (const KxColorSpace colorSpace :
       {KxColorSpace::Bitonal, KxColorSpace::BitonalRle, KxColorSpace::Palette, KxColorSpace::Grey,
        KxColorSpace::Rgb, KxColorSpace::Bgr, KxColorSpace::Rgba, KxColorSpace::Bgra}) {
    const TestPage page = makePage(colorSpace, 523, 777);
    for (const char* compression : {"auto", "None", "PackBits", "Deflate", "Zstandard", "G4", "G3"}) {
      if (compression[0] == 'G' && !isRunList(colorSpace)) continue;
      SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(colorSpace) << ", " << compression);
      const auto params =
          paramsWith({{isRunList(colorSpace) ? "BlackWhite" : "Compression", compression}, {"Layout", "tiles"}});
      const auto& [source, stripeLines] = ways[way++ % std::size(ways)];
      ASSERT_EQ(saveSingle(file, rasterOf(page, source, stripeLines).get(), params.get(), true), 1);
      const ReadFile read = readTiff(file);
      ASSERT_TRUE(read.ok) << read.complaint;
      ASSERT_EQ(read.pages.size(), 1U);
      ASSERT_EQ(read.pages[0].levels.size(), 2U);
      ASSERT_NO_FATAL_FAILURE(expectPyramid(read.pages[0], page));
    }
  }
}

TEST(TiffTiles, LevelsEndWhenOneTileHoldsThePage) {
  const TempFolder folder;
  const std::string file = folder.file("sizes.tif");
  struct Case {
    const char* what;
    std::int32_t width, height;
    Options options;
    std::size_t levels;
  };
  const Case cases[] = {
      {"a pixel", 1, 1, {}, 0},
      {"a tile", 256, 256, {}, 0},
      {"a column more", 257, 3, {}, 1},
      {"a line more", 9, 257, {}, 1},
      {"rows that end with a tile", 300, 1024, {}, 2},
      {"a long roll of one column", 1, 9000, {}, 6},
      {"wide", 4099, 5, {}, 5},
      {"larger tiles", 600, 1025, {{"TileSize", "512"}}, 2},
      {"no levels", 600, 600, {{"Overviews", "off"}}, 0},
  };
  for (const KxColorSpace colorSpace : {KxColorSpace::BitonalRle, KxColorSpace::Bgr}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << c.what << ", code " << static_cast<int>(colorSpace));
      const TestPage page = makePage(colorSpace, c.width, c.height);
      Options options = c.options;
      options["Layout"] = "tiles";
      saveSingle(file, rasterOf(page, Source::Stripes, 64).get(), paramsWith(options).get(), true);
      const ReadFile read = readTiff(file);
      ASSERT_TRUE(read.ok) << read.complaint;
      const ReadPage& first = read.pages.at(0);
      EXPECT_EQ(first.levels.size(), c.levels);
      EXPECT_EQ(first.tile, c.options.count("TileSize") ? 512U : 256U);
      if (c.options.count("Overviews")) continue;
      ASSERT_NO_FATAL_FAILURE(expectPyramid(first, page));
    }
  }
}

std::int32_t pagesOf(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->GetPageCount();
}

TEST(TiffTiles, LevelsAreNoPages) {
  const TempFolder folder;
  const std::string file = folder.file("pages.tif");
  const auto tiles = paramsWith({{"Layout", "tiles"}}), strips = paramsWith({});
  std::vector<TestPage> pages;
  for (unsigned i = 0; i < 4; ++i) {
    pages.push_back(makePage(i == 2 ? KxColorSpace::Bitonal : KxColorSpace::Rgb, 500, 400, i));
    // The second page is in strips.
    savePaged(file, rasterOf(pages[i], Source::Stripes).get(), End::Commit, (i == 1 ? strips : tiles).get());
    EXPECT_EQ(pagesOf(file), static_cast<std::int32_t>(i) + 1);
  }
  const ReadFile read = readTiff(file);
  ASSERT_TRUE(read.ok) << read.complaint;
  ASSERT_EQ(read.pages.size(), pages.size());
  for (std::size_t i = 0; i < pages.size(); ++i) {
    EXPECT_EQ(read.pages[i].page, i);
    EXPECT_EQ(read.pages[i].levels.size(), i == 1 ? 0U : 1U);
    if (i != 1) expectPyramid(read.pages[i], pages[i]);
  }
}

/// Pages in tiles go into files of every kind and byte order; what is abandoned leaves nothing.
TEST(TiffTiles, PagesJoinFilesOfOtherPrograms) {
  const TempFolder folder;
  const std::string file = folder.file("foreign.tif");
  const auto tiles = paramsWith({{"Layout", "tiles"}});
  for (const char* kind : {"wl", "wb", "w8l", "w8b"}) {
    SCOPED_TRACE(kind);
    TIFF* tiff = TIFFOpen(file.c_str(), kind);
    for (const auto& [tag, value] : std::vector<std::pair<std::uint32_t, int>>{{TIFFTAG_IMAGEWIDTH, 3},
                                                                               {TIFFTAG_IMAGELENGTH, 1},
                                                                               {TIFFTAG_BITSPERSAMPLE, 8},
                                                                               {TIFFTAG_PHOTOMETRIC, 1}}) {
      TIFFSetField(tiff, tag, value);
    }
    std::uint8_t line[] = {1, 2, 3};
    TIFFWriteScanline(tiff, line, 0, 0);
    TIFFClose(tiff);
    std::vector<TestPage> pages;
    for (const auto& [colorSpace, width, height] : {std::tuple{KxColorSpace::Palette, 1025, 3},
                                                    {KxColorSpace::Bitonal, 1, 515},
                                                    {KxColorSpace::Bgr, 513, 1},
                                                    {KxColorSpace::Grey, 777, 600}}) {
      const std::string before = readFile(file);
      const TestPage page = makePage(colorSpace, width, height);
      if (height > 1) savePaged(file, abandonedRaster(page, height - 1).get(), End::Abandon, tiles.get());
      ASSERT_TRUE(readFile(file) == before);
      savePaged(file, rasterOf(page, Source::Stripes, 300).get(), End::Commit, tiles.get());
      pages.push_back(page);
    }
    const ReadFile read = readTiff(file);
    ASSERT_TRUE(read.ok) << read.complaint;
    ASSERT_EQ(read.pages.size(), pages.size() + 1);
    EXPECT_EQ(read.big, kind[1] == '8');
    EXPECT_EQ(read.pages[0].lines.at(0), (std::vector<std::uint8_t>{1, 2, 3}));
    for (std::size_t i = 0; i < pages.size(); ++i) {
      ASSERT_NO_FATAL_FAILURE(expectPyramid(read.pages[i + 1], pages[i])) << i;
    }
  }
}

/// The file is sparse: it takes no room on the disk.
TEST(TiffTiles, AClassicFileEndsAtFourGigabytes) {
  const TempFolder folder;
  const std::string file = folder.file("full.tif");
  const auto classic = paramsWith({{"Layout", "tiles"}, {"TiffKind", "classic"}, {"Compression", "None"}});
  const TestPage page = makePage(KxColorSpace::Rgb, 700, 2100);
  savePaged(file, rasterOf(makePage(KxColorSpace::Grey, 9, 9), Source::Stripes).get(), End::Commit, classic.get());
  for (const std::int64_t left : {std::int64_t{5} << 20, std::int64_t{1} << 10}) {
    SCOPED_TRACE(left);
    const std::int64_t size = (std::int64_t{1} << 32) - left;
    std::filesystem::resize_file(file, static_cast<std::uintmax_t>(size));
    try {
      savePaged(file, rasterOf(page, Source::Stripes).get(), End::Abandon, classic.get());
      ADD_FAILURE() << "was not refused";
    } catch (const CXFileException& e) {
      EXPECT_NE(std::string(e.what()).find("4 GB"), std::string::npos) << e.what();
    }
    EXPECT_EQ(std::filesystem::file_size(file), static_cast<std::uintmax_t>(size));
    EXPECT_EQ(pagesOf(file), 1);
  }
}

/// As other programs do it: smaller copies and masks follow their pages in the chain.
TEST(TiffTiles, SmallerCopiesInTheChainAreNoPages) {
  const TempFolder folder;
  const std::string file = folder.file("chain.tif");
  struct Directory {
    std::uint32_t kind;
    int width;
  };
  const auto write = [&](const std::vector<Directory>& chain) {
    TIFF* tiff = TIFFOpen(file.c_str(), "w");
    for (const Directory& d : chain) {
      if (d.kind) TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, d.kind);
      for (const auto& [tag, value] :
           std::vector<std::pair<std::uint32_t, int>>{{TIFFTAG_IMAGEWIDTH, d.width},
                                                      {TIFFTAG_IMAGELENGTH, 1},
                                                      {TIFFTAG_BITSPERSAMPLE, 8},
                                                      {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK}}) {
        TIFFSetField(tiff, tag, value);
      }
      std::vector<std::uint8_t> line(static_cast<std::size_t>(d.width), 77);
      TIFFWriteScanline(tiff, line.data(), 0, 0);
      TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
  };
  write({{0, 40},
         {FILETYPE_REDUCEDIMAGE, 20},
         {FILETYPE_MASK, 40},
         {FILETYPE_PAGE, 41},
         {OFILETYPE_REDUCEDIMAGE, 21},
         {FILETYPE_REDUCEDIMAGE | FILETYPE_PAGE, 10}});
  // libtiff does not write the old tag (255), whose 2 is a smaller copy.
  std::string bytes = readFile(file);
  bytes[bytes.rfind(std::string("\xfe\0\4\0\1\0\0\0\2\0\0\0", 12))] = '\xff';
  writeFile(file, bytes);
  EXPECT_EQ(pagesOf(file), 2);
  const auto loader = new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>();
  EXPECT_EQ(loader->Load(1, nullptr)->GetWidth(), 41);
  savePaged(file, rasterOf(makePage(KxColorSpace::Grey, 30, 20), Source::Stripes).get(), End::Commit);
  EXPECT_EQ(pagesOf(file), 3);
  EXPECT_EQ(readTiff(file).pages.back().page, 2) << "the number counts pages";
  write({{FILETYPE_REDUCEDIMAGE, 20}});
  EXPECT_EQ(pagesOf(file), 1) << "the only picture that there is";
}

/// Soft colours, as JPEG is made for.
TestPage softPage(KxColorSpace colorSpace, std::int32_t width, std::int32_t height) {
  TestPage page{colorSpace, width, 300, {}, {}, {}};
  const auto step = static_cast<std::size_t>(bitsPerPixel(colorSpace)) / 8;
  const bool swaps = colorSpace == KxColorSpace::Bgra;
  for (std::int32_t y = 0; y < height; ++y) {
    std::vector<std::uint8_t> line, seen;
    for (std::int32_t x = 0; x < width; ++x) {
      for (std::size_t c = 0; c < step; ++c) {
        const double phase = x * (0.01 + 0.004 * static_cast<double>(swaps && c < 3 ? 2 - c : c)) + y * 0.013;
        line.push_back(static_cast<std::uint8_t>(128 + 90 * std::sin(phase)));
      }
      const auto pixel = line.end() - static_cast<long>(step);
      for (std::size_t c = 0; c < std::min<std::size_t>(step, 3); ++c) {
        seen.push_back(pixel[static_cast<long>(swaps ? 2 - c : c)]);
      }
    }
    page.lines.push_back(line);
    page.seen.push_back(seen);
  }
  return page;
}

double signalToNoise(const ReadPage& read, const TestPage& page) {
  double errors = 0, count = 0;
  for (std::size_t y = 0; y < page.seen.size(); ++y) {
    for (std::size_t i = 0; i < page.seen[y].size(); ++i, ++count) {
      errors += std::pow(read.lines.at(y).at(i) - page.seen[y][i], 2);
    }
  }
  return 10 * std::log10(255.0 * 255.0 * count / std::max(errors, 1e-9));
}

TEST(TiffTiles, JpegKeepsItsQualityInEveryLayout) {
  const TempFolder folder;
  const std::string file = folder.file("jpeg.tif");
  for (const KxColorSpace colorSpace : {KxColorSpace::Grey, KxColorSpace::Rgb, KxColorSpace::Bgra}) {
    const TestPage page = softPage(colorSpace, 333, 301);
    const int step = channelsOf(colorSpace);
    for (const char* layout : {"strips", "tiles"}) {
      for (const char* colour : {"full", "half"}) {
        std::size_t sizes[2] = {};
        for (const int quality : {40, 95}) {
          SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(colorSpace) << ", " << layout << ", "
                                          << colour << ", quality " << quality);
          const auto params = paramsWith({{"Compression", "JPEG"},
                                          {"Layout", layout},
                                          {"Colour", colour},
                                          {"StripBytes", "20000"},
                                          {"Quality", std::to_string(quality)}});
          saveSingle(file, rasterOf(page, Source::Stripes).get(), params.get(), true);
          sizes[quality > 50] = readFile(file).size();
          const ReadFile read = readTiff(file);
          ASSERT_TRUE(read.ok) << read.complaint;
          const ReadPage& first = read.pages.at(0);
          ASSERT_EQ(first.compression, COMPRESSION_JPEG);
          ASSERT_GT(signalToNoise(first, page), quality > 50 ? 42 : 32);
          EXPECT_EQ(first.tile == 0 ? first.rowsPerStrip % (step > 1 && colour[0] == 'h' ? 16 : 8) : 0, 0U);
          for (const ReadPage& level : first.levels) ASSERT_GT(signalToNoise(level, halved(page)), 32);
          // Our reader sees what libtiff sees.
          const auto loaded = new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr);
          saveSingle(folder.file("plain.tif"), loaded.get(), nullptr, true);
          ASSERT_EQ(readTiff(folder.file("plain.tif")).pages.at(0).lines, first.lines);
        }
        EXPECT_LT(sizes[0] * 3, sizes[1] * 2);
      }
    }
  }
}

TEST(TiffTiles, TilesLoadInEveryColour) {
  const TempFolder folder;
  for (const KxColorSpace colorSpace :
       {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Grey, KxColorSpace::Rgb}) {
    SCOPED_TRACE(static_cast<int>(colorSpace));
    const TestPage page = makePage(colorSpace, 301, 530);
    saveSingle(folder.file("in.tif"), rasterOf(page, Source::Stripes).get(),
               paramsWith({{"Layout", "tiles"}}).get(), true);
    const auto raster = new_OpenFileChanel(nullptr, folder.file("in.tif")).as<IKxRasterLoadFileChanel>();
    saveSingle(folder.file("out.tif"), raster->Load(0, nullptr).get(), nullptr, true);
    EXPECT_EQ(difference(readTiff(folder.file("out.tif")).pages.at(0), page), "");
  }
}

}  // namespace
}  // namespace quillbay::test
