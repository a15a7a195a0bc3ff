/// Bitmap files: written from the top, read in all their kinds.
#include <gtest/gtest.h>

#include <cstring>

#include "quillbay/errors.h"
#include "quillbay/run_list.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

KxPtr<IRStor> loadedBmp(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr);
}

/// A line as it is stored; bitonal ones packed.
Bytes bmpLine(IRStor& raster, std::int32_t y) {
  const auto lines = KxPtr<IAccessContext>::adopt(raster.GetAccessContext(0, 0));
  if (!isRunList(raster.GetColorSpace())) {
    Bytes line(fixedLineBytes(raster.GetColorSpace(), raster.GetWidth()));
    lines->ReadLine(y, 0, raster.GetWidth(), line.data());
    return line;
  }
  std::vector<std::uint32_t> runs(static_cast<std::size_t>(raster.GetWidth()) + 4);
  lines->ReadLine(y, 0, 0, runs.data());
  Bytes bits((static_cast<std::size_t>(raster.GetWidth()) + 7) / 8);
  runsToBits(runs.data(), raster.GetWidth(), bits.data());
  return bits;
}

std::string little(std::int64_t value, int size) {
  std::string out;
  for (int i = 0; i < size; ++i) out.push_back(static_cast<char>(value >> 8 * i));
  return out;
}

std::string chars(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

/// A bitmap by hand: its head of 40 bytes, what follows it, and the pixels.
std::string bitmapOf(int width, int height, int bits, int coding, const Bytes& behindHead, const Bytes& pixels) {
  const std::string info = little(40, 4) + little(width, 4) + little(height, 4) + little(1, 2) + little(bits, 2) +
                           little(coding, 4) + little(0, 4) + little(3937, 4) + little(3937, 4) + little(0, 8);
  const auto at = static_cast<std::int64_t>(14 + info.size() + behindHead.size());
  return "BM" + little(0, 8) + little(at, 4) + info + chars(behindHead) + chars(pixels);
}

/// The same with the head of 12 bytes.
std::string coreBitmapOf(int width, int height, int bits, const Bytes& behindHead, const Bytes& pixels) {
  const std::string info = little(12, 4) + little(width, 2) + little(height, 2) + little(1, 2) + little(bits, 2);
  const auto at = static_cast<std::int64_t>(14 + info.size() + behindHead.size());
  return "BM" + little(0, 8) + little(at, 4) + info + chars(behindHead) + chars(pixels);
}

TEST(BmpPages, EveryColourAndSourceReadsBackEqual) {
  const TempFolder folder;
  const std::string file = folder.file("page.bmp");
  for (const auto space : {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Grey, KxColorSpace::Rgb,
                           KxColorSpace::Bgr, KxColorSpace::Rgba, KxColorSpace::Bgra}) {
    for (const std::int32_t width : {1, 203, 1000}) {
      const TestPage page = makePage(space, width, 1300);
      for (const Source source : {Source::Stripes, Source::LooseStripes, Source::Growing}) {
        SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(space) << ", width " << width);
        ASSERT_EQ(saveSingle(file, rasterOf(page, source, 61).get(), nullptr, true), 1);
        const KxPtr<IRStor> raster = loadedBmp(file);
        ASSERT_EQ(raster->GetHeight(), page.height());
        EXPECT_EQ(raster->GetResolution(), 300U);
        EXPECT_EQ(bitsPerPixel(raster->GetColorSpace()), std::min(bitsPerPixel(space), 24));
        for (std::size_t y = 0; y < page.seen.size(); ++y)
          ASSERT_EQ(bmpLine(*raster, static_cast<std::int32_t>(y)), page.seen[y]) << y;
      }
    }
  }
}

TEST(BmpPages, TheHeadSaysSizeAndResolutionExactly) {
  const TempFolder folder;
  const std::string file = folder.file("page.bmp");
  saveSingle(file, rasterOf(makePage(KxColorSpace::Rgb, 3, 2), Source::Stripes).get());
  const std::string want = "BM" + little(54 + 24, 4) + little(0, 4) + little(54, 4) + little(40, 4) + little(3, 4) +
                           little(-2, 4) + little(1, 2) + little(24, 2) + little(0, 4) + little(24, 4) +
                           little(11811, 4) + little(11811, 4) + little(0, 8);
  EXPECT_EQ(readFile(file).substr(0, 54), want);
  EXPECT_EQ(readFile(file).size(), 54U + 24);
}

TEST(BmpPages, AllKindsAreRead) {
  const TempFolder folder;
  const std::string file = folder.file("a.bmp");
  const Bytes fourColours = {0, 0, 0, 0, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0};
  Bytes sixteen(64);
  Bytes grey(1024);
  for (std::size_t i = 0; i < 256; ++i) std::memset(&grey[4 * i], static_cast<int>(i), 3);
  struct Case {
    const char* what;
    std::string bytes;
    KxColorSpace colorSpace;
    std::vector<Bytes> lines;
  };
  const Case cases[] = {
      {"bits, 0 is white",
       bitmapOf(3, 2, 1, 0, {255, 255, 255, 0, 0, 0, 0, 0}, {0x40, 0, 0, 0, 0xa0, 0, 0, 0}),
       KxColorSpace::Bitonal,
       {{0xa0}, {0x40}}},
      {"bits, 0 is black",
       bitmapOf(3, -1, 1, 0, {0, 0, 0, 0, 255, 255, 255, 0}, {0x5f, 0, 0, 0}),
       KxColorSpace::Bitonal,
       {{0xa0}}},
      {"two colours",
       bitmapOf(3, 1, 1, 0, {0, 0, 255, 0, 255, 255, 255, 0}, {0x40, 0, 0, 0}),
       KxColorSpace::Palette,
       {{0, 1, 0}}},
      {"4 bits",
       bitmapOf(3, 2, 4, 0, sixteen, {0x12, 0x30, 0, 0, 0xfe, 0xd0, 0, 0}),
       KxColorSpace::Palette,
       {{15, 14, 13}, {1, 2, 3}}},
      {"grey", bitmapOf(2, 1, 8, 0, grey, {7, 250, 0, 0}), KxColorSpace::Grey, {{7, 250}}},
      {"16 bits, five to each",
       bitmapOf(2, 1, 16, 0, {}, {0x1f, 0x7c, 0xe0, 0x03}),
       KxColorSpace::Rgb,
       {{255, 0, 255, 0, 255, 0}}},
      {"16 bits, six of green",
       bitmapOf(2, 1, 16, 3, {0, 0xf8, 0, 0, 0xe0, 7, 0, 0, 0x1f, 0, 0, 0}, {0xe0, 0x07, 0x00, 0x80}),
       KxColorSpace::Rgb,
       {{0, 255, 0, 132, 0, 0}}},
      {"32 bits", bitmapOf(1, 2, 32, 0, {}, {3, 2, 1, 9, 6, 5, 4, 9}), KxColorSpace::Rgb, {{4, 5, 6}, {1, 2, 3}}},
      {"32 bits, red last",
       bitmapOf(1, 1, 32, 3, {0, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0}, {9, 3, 2, 1}),
       KxColorSpace::Rgb,
       {{1, 2, 3}}},
      {"short head",
       coreBitmapOf(2, 2, 24, {}, {3, 2, 1, 6, 5, 4, 0, 0, 9, 8, 7, 12, 11, 10, 0, 0}),
       KxColorSpace::Rgb,
       {{7, 8, 9, 10, 11, 12}, {1, 2, 3, 4, 5, 6}}},
      {"short head, palette",
       coreBitmapOf(2, 1, 1, {0, 0, 0, 255, 255, 255}, {0x40, 0, 0, 0}),
       KxColorSpace::Bitonal,
       {{0x80}}},
      // 4 x 5: a run and single ones; a move over a line and to the right; the end before the top line.
      {"runs of 8 bits",
       bitmapOf(4, 5, 8, 1, grey, {3, 7, 1, 9, 0, 0, 0, 3, 1, 2, 3, 0, 1, 4, 0, 0, 0, 2, 1, 1, 2, 5, 0, 0, 0, 1}),
       KxColorSpace::Grey,
       {{0, 0, 0, 0}, {0, 5, 5, 0}, {0, 0, 0, 0}, {1, 2, 3, 4}, {7, 7, 7, 9}}},
      {"runs of 4 bits",
       bitmapOf(5, 2, 4, 2, sixteen, {5, 0x12, 0, 0, 0, 5, 0x34, 0x56, 0x70, 0, 0, 1}),
       KxColorSpace::Palette,
       {{3, 4, 5, 6, 7}, {1, 2, 1, 2, 1}}},
      {"runs beyond the line",
       bitmapOf(2, 1, 8, 1, grey, {9, 3, 0, 4, 1, 2, 3, 4, 0, 1}),
       KxColorSpace::Grey,
       {{3, 3}}},
      {"colours left out",
       bitmapOf(4, 1, 2, 0, fourColours, {0x1b, 0, 0, 0}),
       KxColorSpace::Palette,
       {{0, 1, 2, 3}}},
      {"its last line not filled up",
       bitmapOf(1, -2, 24, 0, {}, {1, 2, 3, 0, 4, 5, 6}),
       KxColorSpace::Rgb,
       {{3, 2, 1}, {6, 5, 4}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    writeFile(file, c.bytes);
    const KxPtr<IRStor> raster = loadedBmp(file);
    ASSERT_EQ(raster->GetColorSpace(), c.colorSpace);
    ASSERT_EQ(raster->GetHeight(), static_cast<std::int32_t>(c.lines.size()));
    for (std::size_t y = 0; y < c.lines.size(); ++y)
      EXPECT_EQ(bmpLine(*raster, static_cast<std::int32_t>(y)), c.lines[y]) << y;
  }
}

TEST(BmpPages, AResolutionBeyondReasonIsNone) {
  const TempFolder folder;
  const std::string file = folder.file("a.bmp");
  const std::pair<std::int64_t, std::uint32_t> cases[] = {{3937, 100},        {0, 0},  {1, 0},
                                                          {1'500'000'000, 0}, {-1, 0}, {-2'147'483'648, 0}};
  for (const auto& [perMetre, dpi] : cases) {
    std::string bytes = bitmapOf(1, 1, 24, 0, {}, {1, 2, 3, 0});
    bytes.replace(38, 8, little(perMetre, 4) + little(perMetre, 4));
    writeFile(file, bytes);
    EXPECT_EQ(loadedBmp(file)->GetResolution(), dpi) << perMetre;
  }
}

TEST(BmpPages, HostileAndCutFilesSaySo) {
  const TempFolder folder;
  const std::string file = folder.file("a.bmp");
  const std::string good = bitmapOf(2, 2, 24, 0, {}, Bytes(16));
  const std::pair<std::string, const char*> cases[] = {
      {bitmapOf(2, 0, 24, 0, {}, Bytes(16)), "never written to its end"},
      {bitmapOf(-2, 2, 24, 0, {}, Bytes(16)), "a size that cannot be"},
      {bitmapOf(2, INT32_MIN, 24, 0, {}, Bytes(16)), "a size that cannot be"},
      {bitmapOf(2, 2, 7, 0, {}, Bytes(16)), "no known size"},
      {bitmapOf(2, 2, 24, 9, {}, Bytes(16)), "no known kind"},
      {bitmapOf(2, 2, 24, 4, {}, Bytes(16)), "a picture of another kind"},
      {bitmapOf(2, 2, 8, 2, Bytes(1024), Bytes(16)), "does not fit"},
      {bitmapOf(2, 2, 8, 0, {}, Bytes(16)), "no colours"},
      {bitmapOf(2, 2, 32, 3, {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, Bytes(16)), "bits apart"},
      {bitmapOf(2, 2, 16, 3, {0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}, Bytes(16)), "beside its pixel"},
      {bitmapOf(2000000, 2, 8, 1, Bytes(1024), {0, 1}), "too large for a bitmap with runs"},
      {bitmapOf(2000000000, 2, 1, 0, Bytes(8), {0, 1}), "read "},
      {bitmapOf(2, 3, 8, 1, Bytes(1024), {2, 5, 0, 0}), "truncated"},
      {bitmapOf(2, -4, 24, 0, {}, Bytes(17)), "of 4 lines of page 1 the first 2 can be read"},
      {bitmapOf(2, 4, 24, 0, {}, Bytes(17)), "no line of page 1 can be read"},
      {good.substr(0, 10) + little(20, 4) + good.substr(14), "within its head"},
      {good.substr(0, 10) + little(200, 4) + good.substr(14), "truncated"},
      {good.substr(0, 30), "truncated"},
  };
  for (const auto& [bytes, says] : cases) {
    SCOPED_TRACE(says);
    writeFile(file, bytes);
    try {
      (void)loadedBmp(file);
      ADD_FAILURE() << "it was read";
    } catch (const CXException& e) {
      EXPECT_NE(std::string(e.what()).find(says), std::string::npos) << e.what();
    }
  }
}

TEST(BmpPages, MoreThanFourGigabytesAreRefused) {
  const TempFolder folder;
  try {
    saveSingle(folder.file("a.bmp"), rasterOf(makePage(KxColorSpace::Rgb, 20000, 1), Source::Stripes).get(),
               nullptr, true, 100'000);
    ADD_FAILURE() << "it was begun";
  } catch (const CXException& e) {
    // 4 GiB less the head, by 60,000 bytes
    EXPECT_NE(std::string(e.what()).find("71582 lines of this page, and it has 100000"), std::string::npos)
        << e.what();
  }
  EXPECT_EQ(folder.list(), "");
}

}  // namespace
}  // namespace quillbay::test
