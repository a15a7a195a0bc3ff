#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>

#include <cmath>

#include "quillbay/formats.h"
#include "quillbay/run_list.h"
#include "quillbay/translation.h"
#include "support/progress.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

KxPtr<IKxRasterLoadFileChanel> open(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>();
}

/// A line as bytes; bitonal ones with 0 for black and 255 for white.
Bytes lineOf(IRStor& raster, std::int32_t y) {
  const auto lines = KxPtr<IAccessContext>::adopt(raster.GetAccessContext(0, 0));
  const auto width = static_cast<std::size_t>(raster.GetWidth());
  Bytes line(isRunList(raster.GetColorSpace()) ? width : fixedLineBytes(raster.GetColorSpace(), raster.GetWidth()));
  if (!isRunList(raster.GetColorSpace())) {
    EXPECT_EQ(lines->ReadLine(y, 0, raster.GetWidth(), line.data()), 1);
    return line;
  }
  std::vector<std::uint32_t> runs(width + 4);
  Bytes bits((width + 7) / 8);
  EXPECT_EQ(lines->ReadLine(y, 0, 0, runs.data()), 1);
  runsToBits(runs.data(), raster.GetWidth(), bits.data());
  bitsToBytes(bits.data(), width, 255, 0, line.data());
  return line;
}

std::string loadError(const std::string& file, int page = 0) {
  try {
    (void)open(file)->Load(page, nullptr);
  } catch (const CXFileException& e) {
    return e.what();
  }
  return "";
}

/// Writes the picture `at(x, y)`, which is upright, with its lines in the orientation's order.
template <class At>
void writeOriented(const std::string& file, int orientation, int samples, bool separate, int width, int height,
                   At at) {
  // Where the file's first line and its first column lie, as the standard words it.
  const char* const sides[] = {"top left", "top right", "bottom right", "bottom left",
                               "left top", "right top", "right bottom", "left bottom"};
  const std::string words = sides[orientation - 1];
  const std::string lineSide = words.substr(0, words.find(' ')), columnSide = words.substr(words.find(' ') + 1);
  const bool turned = orientation > 4;
  const int columns = turned ? height : width, lines = turned ? width : height;
  TIFF* tiff = TIFFOpen(file.c_str(), "w");
  const int bits = samples == 0 ? 1 : 8, stored = std::max(samples, 1);
  for (const auto& [tag, value] : std::vector<std::pair<std::uint32_t, int>>{
           {TIFFTAG_IMAGEWIDTH, columns},
           {TIFFTAG_IMAGELENGTH, lines},
           {TIFFTAG_BITSPERSAMPLE, bits},
           {TIFFTAG_SAMPLESPERPIXEL, stored},
           {TIFFTAG_PHOTOMETRIC, stored == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK},
           {TIFFTAG_PLANARCONFIG, separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG},
           {TIFFTAG_ROWSPERSTRIP, 5},
           {TIFFTAG_ORIENTATION, orientation}}) {
    TIFFSetField(tiff, tag, value);
  }
  const auto place = [&](const std::string& side, int i, int* x, int* y) {
    if (side == "top") *y = i;
    if (side == "bottom") *y = height - 1 - i;
    if (side == "left") *x = i;
    if (side == "right") *x = width - 1 - i;
  };
  for (int plane = 0; plane < (separate ? stored : 1); ++plane) {
    for (int i = 0; i < lines; ++i) {
      Bytes line;
      for (int j = 0; j < columns; ++j) {
        int x = 0, y = 0;
        place(lineSide, i, &x, &y);
        place(columnSide, j, &x, &y);
        for (int c = separate ? plane : 0; c < (separate ? plane + 1 : stored); ++c) line.push_back(at(x, y, c));
      }
      if (bits == 1) {
        Bytes packed((line.size() + 7) / 8);
        for (std::size_t j = 0; j < line.size(); ++j)
          packed[j / 8] |= static_cast<std::uint8_t>((line[j] & 1) << (7 - j % 8));
        line = packed;
      }
      TIFFWriteScanline(tiff, line.data(), static_cast<std::uint32_t>(i), static_cast<std::uint16_t>(plane));
    }
  }
  TIFFClose(tiff);
}

TEST(Reading, EveryOrientationComesUpright) {
  const TempFolder folder;
  const std::string file = folder.file("turned.tif");
  constexpr int kWidth = 37, kHeight = 22;
  struct Kind {
    const char* what;
    int samples;  // 0: bitonal
    bool separate;
  };
  for (const Kind& kind : {Kind{"bitonal", 0, false}, Kind{"grey", 1, false}, Kind{"colour", 3, false},
                           Kind{"colour in planes", 3, true}}) {
    const auto at = [&](int x, int y, int c) {
      const bool white = (x * 7 + y * y * 3 + x * y) % 5 < 2;
      return static_cast<std::uint8_t>(kind.samples == 0 ? (white ? 255 : 0) : x * 5 + y * 3 + c * 40);
    };
    for (int orientation = 1; orientation <= 8; ++orientation) {
      SCOPED_TRACE(testing::Message() << kind.what << ", orientation " << orientation);
      writeOriented(file, orientation, kind.samples, kind.separate, kWidth, kHeight, at);
      const KxPtr<IRStor> raster = open(file)->Load(0, nullptr);
      ASSERT_EQ(raster->GetWidth(), kWidth);
      ASSERT_EQ(raster->GetHeight(), kHeight);
      for (int y = 0; y < kHeight; ++y) {
        Bytes want;
        for (int x = 0; x < kWidth; ++x)
          for (int c = 0; c < std::max(kind.samples, 1); ++c) want.push_back(at(x, y, c));
        ASSERT_EQ(lineOf(*raster, y), want) << "line " << y;
      }
    }
  }
}

/// A grey TIFF whose directory stands before its one strip.
std::string directoryFirst(int width, int height) {
  std::string out("II*\0\10\0\0\0", 8);
  const auto number = [&](std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) out.push_back(static_cast<char>(value >> 8 * i));
  };
  const std::vector<std::pair<int, std::uint32_t>> tags = {
      {256, width}, {257, height}, {258, 8},
      {259, 1},     {262, 1},      {273, 8 + 2 + 9 * 12 + 4},
      {277, 1},     {278, height}, {279, static_cast<std::uint32_t>(width * height)}};
  number(static_cast<std::uint32_t>(tags.size()), 2);
  for (const auto& [tag, value] : tags) {
    number(static_cast<std::uint32_t>(tag), 2);
    number(4, 2);
    number(1, 4);
    number(value, 4);
  }
  number(0, 4);
  out.append(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), '\x40');
  return out;
}

TEST(Reading, ATruncatedFileSaysSoAndWhatCanBeRead) {
  const TempFolder folder;
  const TestPage page = makePage(KxColorSpace::Rgb, 400, 900);
  const auto saved = [&](const char* name) {
    const std::string file = folder.file(name);
    saveSingle(file, rasterOf(page, Source::Stripes).get());
    return readFile(file);
  };
  struct Case {
    const char* name;
    std::string whole;
    double kept;
    const char* says;  // besides
  };
  const Case cases[] = {
      {"first.tif", directoryFirst(4000, 900), 0.5, "of 900 lines of page 1 the first "},
      {"last.tif", saved("a.tif"), 0.5, "its page 1 lies after the end of the file"},
      {"head.tif", saved("b.tif"), 0, "it ends within its head"},
      {"cut.png", saved("c.png"), 0.6, "of 900 lines of page 1 the first "},
      {"head.png", saved("d.png"), 0, "no line of page 1 can be read"},
      {"cut.jpg", saved("f.jpg"), 0.6, "of 900 lines of page 1 the first "},
      {"head.jpg", saved("g.jpg"), 0, "no line of page 1 can be read"},
      {"cut.ppm", saved("e.ppm"), 0.5, "of 900 lines of page 1 the first 449 can be read"},
      {"head.ppm", "P6\n40", 1, "no line of page 1 can be read"},
      {"plain.pgm", "P2 2 900 255 1 2 3", 1, "of 900 lines of page 1 the first 1 can be read"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string file = folder.file(c.name);
    const auto size = c.kept == 0 ? 10 : static_cast<std::size_t>(static_cast<double>(c.whole.size()) * c.kept);
    writeFile(file, c.whole.substr(0, size));
    const std::string text = loadError(file);
    EXPECT_NE(text.find("read " + file + ": the file is truncated"), std::string::npos) << text;
    EXPECT_NE(text.find(c.says), std::string::npos) << text;
    EXPECT_NE(text.find("Get the file again"), std::string::npos) << text;
  }
}

TEST(Reading, ThePagesBeforeTheBreakOfATruncatedTiffCanBeRead) {
  const TempFolder folder;
  const std::string file = folder.file("pages.tif");
  const TestPage page = makePage(KxColorSpace::Grey, 300, 200);
  std::vector<std::size_t> sizes;
  for (int i = 0; i < 3; ++i) {
    savePaged(file, rasterOf(page, Source::Stripes).get(), End::Commit);
    sizes.push_back(readFile(file).size());
  }
  writeFile(file, readFile(file).substr(0, (sizes[1] + sizes[2]) / 2));
  ASSERT_EQ(open(file)->GetPageCount(), 3);
  for (const int whole : {0, 1}) EXPECT_EQ(open(file)->Load(whole, nullptr)->GetHeight(), 200);
  const std::string text = loadError(file, 2);
  EXPECT_NE(text.find("truncated: its page 3 lies after the end of the file; the pages before it can be read"),
            std::string::npos)
      << text;
  EXPECT_THROW(savePaged(file, rasterOf(page, Source::Stripes).get(), End::Commit), CXFileException);
}

TEST(Reading, PortableAnymapsOfEveryKind) {
  const TempFolder folder;
  const std::string file = folder.file("a.pnm");
  struct Case {
    std::string bytes;
    KxColorSpace colorSpace;
    std::vector<Bytes> lines;
  };
  const Case cases[] = {
      {"P1 #a remark\n# another\n3 2\n101\n0 1 0", KxColorSpace::Bitonal, {{0, 255, 0}, {255, 0, 255}}},
      {"P2\n2 2 15\n0 15\n# between\n7 99", KxColorSpace::Grey, {{0, 255}, {119, 255}}},
      {"P3 1 2 65535 65535 0 256 1 2 40000", KxColorSpace::Rgb, {{255, 0, 1}, {0, 0, 156}}},
      {std::string("P4\t10 2\n\x81\x7f\x00\xff", 12),
       KxColorSpace::Bitonal,
       {{0, 255, 255, 255, 255, 255, 255, 0, 255, 0}, {255, 255, 255, 255, 255, 255, 255, 255, 0, 0}}},
      {"P5\n2 1\n100\nd2", KxColorSpace::Grey, {{255, 128}}},
      {std::string("P5 2 1 65535\n\x12\x34\xff\x00", 17), KxColorSpace::Grey, {{0x12, 0xff}}},
      {std::string("P5 2 1 1000\n\x00\x00\x03\xe8", 16), KxColorSpace::Grey, {{0, 255}}},
      {"P6#x\n1 1 255\nabc", KxColorSpace::Rgb, {{'a', 'b', 'c'}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes.substr(0, 12));
    writeFile(file, c.bytes);
    const KxPtr<IRStor> raster = open(file)->Load(0, nullptr);
    ASSERT_EQ(raster->GetColorSpace(), c.colorSpace);
    ASSERT_EQ(raster->GetHeight(), static_cast<std::int32_t>(c.lines.size()));
    for (std::size_t y = 0; y < c.lines.size(); ++y) {
      EXPECT_EQ(lineOf(*raster, static_cast<std::int32_t>(y)), c.lines[y]) << y;
    }
  }
  const std::pair<const char*, const char*> bad[] = {{"P5 5 x 255\n", "text where a number"},
                                                     {"P5 5 5 70000\n", "samples"},
                                                     {"P5 99999999999 5 255\n", "too large"},
                                                     {"P1 2 1\n12", "text where a pixel"},
                                                     {"P5\n10          0\n255\nabc", "never written to its end"}};
  for (const auto& [bytes, says] : bad) {
    writeFile(file, bytes);
    EXPECT_NE(loadError(file).find(says), std::string::npos) << bytes << ": " << loadError(file);
  }
}

TEST(Reading, AnymapsAreWrittenWithTheirHeightLast) {
  const TempFolder folder;
  struct Case {
    const char* name;
    KxColorSpace colorSpace;
    const char* head;
  };
  const Case cases[] = {{"a.pbm", KxColorSpace::Bitonal, "P4\n203         41\n"},
                        {"b.pgm", KxColorSpace::Grey, "P5\n203         41\n255\n"},
                        {"c.ppm", KxColorSpace::Bgr, "P6\n203         41\n255\n"},
                        {"d.pnm", KxColorSpace::Rgba, "P6\n203         41\n255\n"},
                        {"e.ppm", KxColorSpace::Palette, "P6\n203         41\n255\n"}};
  for (const Case& c : cases) {
    for (const Source source : {Source::Stripes, Source::LooseStripes, Source::Growing}) {
      SCOPED_TRACE(testing::Message() << c.name << ", source " << static_cast<int>(source));
      const TestPage page = makePage(c.colorSpace, 203, 41);
      std::string want = c.head;
      for (const Bytes& line : page.seen) {
        if (page.palette.empty()) want.append(line.begin(), line.end());
        for (const std::uint8_t i : page.palette.empty() ? Bytes{} : line) {
          const KXRGBQUAD& e = page.palette[i];
          for (const std::uint8_t v : {e.red, e.green, e.blue}) want.push_back(static_cast<char>(v));
        }
      }
      saveSingle(folder.file(c.name), rasterOf(page, source).get(), nullptr, true);
      EXPECT_TRUE(readFile(folder.file(c.name)) == want);
    }
  }
  const auto grey = new_FileChanel(nullptr, folder.file("f.pbm"), nullptr, nullptr);
  EXPECT_FALSE(grey.as<IKxRasterSaveFileChanel>()->AcceptColorSpace(KxColorSpace::Grey));
}

TEST(Reading, TransparentPixelsLieOnWhite) {
  const TempFolder folder;
  const std::string file = folder.file("a.png");
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = 3;
  image.height = 1;
  image.format = PNG_FORMAT_RGBA;
  const Bytes pixels = {10, 20, 30, 255, 10, 20, 30, 0, 0, 100, 200, 128};
  ASSERT_TRUE(png_image_write_to_file(&image, file.c_str(), 0, pixels.data(), 0, nullptr));
  const Bytes line = lineOf(*open(file)->Load(0, nullptr), 0);
  const Bytes want = {10, 20, 30, 255, 255, 255, 127, 177, 227};
  for (std::size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(line.at(i), want[i], 1) << i;
}

TEST(Reading, TilesAndInvertedGrey) {
  const TempFolder folder;
  constexpr int kWidth = 211, kHeight = 150;
  const auto at = [](int x, int y) { return static_cast<std::uint8_t>(x * 5 + y * 3 + x * y); };
  for (const auto& [samples, tile] : {std::pair{3, 64}, {1, 64}, {1, 16}}) {
    const std::string file = folder.file("tiled.tif");
    TIFF* tiff = TIFFOpen(file.c_str(), "w");
    for (const auto& [tag, value] : std::vector<std::pair<std::uint32_t, int>>{
             {TIFFTAG_IMAGEWIDTH, kWidth},
             {TIFFTAG_IMAGELENGTH, kHeight},
             {TIFFTAG_BITSPERSAMPLE, 8},
             {TIFFTAG_SAMPLESPERPIXEL, samples},
             {TIFFTAG_TILEWIDTH, tile},
             {TIFFTAG_TILELENGTH, tile},
             {TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISWHITE},
             {TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG}}) {
      TIFFSetField(tiff, tag, value);
    }
    for (int top = 0; top < kHeight; top += tile) {
      for (int left = 0; left < kWidth; left += tile) {
        Bytes bytes;
        for (int i = 0; i < tile * tile * samples; ++i)
          bytes.push_back(at((left + i / samples % tile) * samples + i % samples, top + i / samples / tile));
        TIFFWriteTile(tiff, bytes.data(), static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top), 0, 0);
      }
    }
    TIFFClose(tiff);
    const KxPtr<IRStor> raster = open(file)->Load(0, nullptr);
    for (int y = 0; y < kHeight; ++y) {
      Bytes want;
      for (int x = 0; x < kWidth * samples; ++x)
        want.push_back(static_cast<std::uint8_t>(samples == 3 ? at(x, y) : 255 - at(x, y)));
      ASSERT_EQ(lineOf(*raster, y), want) << samples << " samples, line " << y;
    }
  }
}

TEST(Reading, ProgressIsToldAndCancellingIsPrompt) {
  const TempFolder folder;
  const TestPage page = makePage(KxColorSpace::Rgb, 2000, 2000);
  std::vector<std::string> files;
  for (const char* name : {"a.tif", "a.png", "a.ppm"}) {
    files.push_back(folder.file(name));
    saveSingle(files.back(), rasterOf(page, Source::Stripes, 64).get());
  }
  files.push_back(folder.file("turned.tif"));
  writeOriented(files.back(), 6, 3, false, 2000, 2000,
                [](int x, int y, int) { return static_cast<std::uint8_t>(x ^ y); });
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    Progress whole;
    EXPECT_TRUE(open(file)->Load(0, &whole));
    EXPECT_TRUE(whole.rises && whole.position > kLoadSteps * 9 / 10 && whole.position <= kLoadSteps);
    EXPECT_GE(whole.asked, 10) << "12 MB";
    for (const int at : {0, 1, 6}) {
      Progress stopped(at);
      const auto channel = open(file);
      EXPECT_FALSE(channel->Load(0, &stopped));
      EXPECT_EQ(stopped.asked, at + 1) << "nothing goes on after the answer";
      if (at == 1) {
        EXPECT_TRUE(channel->Load(0, nullptr)) << "the channel stays usable";
      }
    }
  }
}

TEST(Reading, WhatIsRefusedIsTranslated) {
  const TempDir dir;
  writeFile(dir.file("empty.tif"), "");
  writeFile(dir.file("text.tif"), "no picture");
  writeFile(dir.file("short.pgm"), "P5 4 4 255 1234");
  writeFile(dir.file("broken.pgm"), "P5 0 4 255 ");
  SetTranslator([](std::string_view english) { return '<' + std::string(english) + '>'; });
  for (const char* name : {"empty.tif", "text.tif", "short.pgm", "broken.pgm"}) {
    const std::string why = loadError(dir.file(name));
    EXPECT_TRUE(why.starts_with("<read ") && why.ends_with('>')) << name << ": " << why;
  }
  try {
    (void)new_FileChanel(nullptr, dir.file("page.doc"), nullptr, nullptr);
    ADD_FAILURE() << "a format that nobody knows";
  } catch (const CXFileException& e) {
    EXPECT_TRUE(std::string_view(e.what()).starts_with("<write ")) << e.what();
  }
  SetTranslator(nullptr);
}

}  // namespace
}  // namespace quillbay::test
