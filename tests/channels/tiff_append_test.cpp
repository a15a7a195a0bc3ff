#include <gtest/gtest.h>
#include <tiffio.h>

#include "platform/base_services.h"
#include "test_pages.h"
#include "tiff_readback.h"

namespace quillbay::test {
namespace {

/// The bytes of a grey page without compression whose directory stands before its pixels; made with `file`.
std::string directoryFirst(const std::string& file, const char* kind, bool tiled, const TestPage& page) {
  TIFF* tiff = TIFFOpen(file.c_str(), kind);
  const auto height = static_cast<std::uint32_t>(page.height()), width = static_cast<std::uint32_t>(page.width);
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  if (tiled) {
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 128);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, 128);
  } else {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 7);
  }
  // libtiff puts the directory behind all that was written: its room is taken first.
  TIFFDeferStrileArrayWriting(tiff);
  TIFFWriteCheck(tiff, tiled ? 1 : 0, "test");
  TIFFWriteDirectory(tiff);
  TIFFSetDirectory(tiff, 0);
  TIFFForceStrileArrayWriting(tiff);
  TIFFClose(tiff);
  tiff = TIFFOpen(file.c_str(), "r+");
  std::vector<std::uint8_t> tile(std::size_t{128} * 128, 55);
  for (std::uint32_t y = 0; !tiled && y < height; ++y) {
    std::vector<std::uint8_t> line = page.lines[y];
    TIFFWriteScanline(tiff, line.data(), y, 0);
  }
  for (std::uint32_t i = 0; tiled && i < TIFFNumberOfTiles(tiff); ++i) {
    TIFFWriteEncodedTile(tiff, i, tile.data(), static_cast<tmsize_t>(tile.size()));
  }
  TIFFClose(tiff);
  return readFile(file);
}

/// A directory before its pixels, as other programs write it: what is cut off would be filled by the next page.
TEST(TiffAppend, NoPageIsAddedWherePixelsAreCutOff) {
  const TempFolder folder;
  const TestPage page = makePage(KxColorSpace::Grey, 300, 300), other = makePage(KxColorSpace::Rgb, 50, 20);
  const std::string file = folder.file("cut.tif");
  const auto added = [&](const std::string& bytes) {
    writeFile(file, bytes);
    try {
      savePaged(file, rasterOf(other, Source::Stripes).get(), End::Commit);
    } catch (const CXFileException& e) {
      EXPECT_NE(std::string(e.what()).find("its page 1 goes on after the end"), std::string::npos) << e.what();
      EXPECT_NE(std::string(e.what()).find("choose another name"), std::string::npos) << e.what();
      EXPECT_TRUE(readFile(file) == bytes);
      return false;
    }
    EXPECT_EQ(readTiff(file).pages.size(), 2U);
    return true;
  };
  for (const char* kind : {"w", "wb", "w8", "wb8"}) {
    for (const bool tiled : {false, true}) {
      SCOPED_TRACE(testing::Message() << kind << (tiled ? ", tiles" : ", strips"));
      const std::string bytes = directoryFirst(file, kind, tiled, page);
      EXPECT_TRUE(added(bytes));
      EXPECT_FALSE(added(bytes.substr(0, bytes.size() - 1)));
      EXPECT_FALSE(added(bytes.substr(0, bytes.size() / 2)));
    }
  }
  // A smaller copy that lies elsewhere than its page.
  saveSingle(file, rasterOf(page, Source::Stored).get(), paramsWith({{"Layout", "tiles"}}).get(), true);
  std::string bytes = readFile(file);
  EXPECT_TRUE(added(bytes));
  const std::size_t copies = bytes.rfind(std::string("\x4a\x01\x04\x00\x01\x00\x00\x00", 8));
  ASSERT_NE(copies, std::string::npos);
  bytes[copies + 10] = '\x7f';
  EXPECT_FALSE(added(bytes));
}

}  // namespace
}  // namespace quillbay::test
