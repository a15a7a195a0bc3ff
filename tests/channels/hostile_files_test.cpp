// What the fuzz targets found, and what they cannot: files that ask for more memory or time than a picture needs.
#include <gtest/gtest.h>

#include <cstdio>
//
#include <jpeglib.h>

#include <string>
#include <vector>

#include "platform/file_channel.h"
#include "quillbay/errors.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

KxPtr<IRStor> loadHostile(const std::string& file, int page) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(page, nullptr);
}

std::string hostileError(const std::string& file) {
  try {
    (void)loadHostile(file, 0);
  } catch (const CXException& e) {
    return e.what();
  }
  return "";
}

/// A picture of 16 bits with opacity, one line, with the checksum of such a head.
std::string widePng() {
  return std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) +
         std::string("\x7f\xff\xff\xff\0\0\0\1\x10\6\0\0\0\xf0\xa6\xef\x9e", 17) +
         std::string("\0\0\0\0IDAT\x35\xaf\x06\x1e", 12);
}

/// A small progressive picture with a scan for each bit of each coefficient.
std::string manyScans() {
  std::vector<jpeg_scan_info> scans{{1, {0}, 0, 0, 0, 0}};
  for (int k = 1; k < 64; ++k) {
    scans.push_back({1, {0}, k, k, 0, 1});
    scans.push_back({1, {0}, k, k, 1, 0});
  }
  jpeg_compress_struct codec{};
  jpeg_error_mgr errors{};
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&codec, &bytes, &size);
  codec.image_width = codec.image_height = 16;
  codec.input_components = 1;
  codec.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&codec);
  codec.scan_info = scans.data();
  codec.num_scans = static_cast<int>(scans.size());
  jpeg_start_compress(&codec, TRUE);
  JSAMPLE line[16] = {0, 255, 0, 200, 9, 8, 7, 6, 5, 4, 3, 2, 1, 99, 98, 97};
  JSAMPROW row = line;
  for (int y = 0; y < 16; ++y) jpeg_write_scanlines(&codec, &row, 1);
  jpeg_finish_compress(&codec);
  jpeg_destroy_compress(&codec);
  std::string out(reinterpret_cast<const char*>(bytes), size);
  std::free(bytes);
  return out;
}

TEST(HostileFiles, AskForNoMoreThanAPictureNeeds) {
  const TempFolder folder;
  struct Case {
    const char* name;
    std::string bytes;
    const char* says;
  };
  const Case cases[] = {
      {"wide.png", widePng(), "longer than any picture's"},
      {"wide.pgm", "P5 2147483632 1 65535\n", "longer than any picture's"},
      {"wide.ppm", "P3 2147483632 1 255\n1", "longer than any picture's"},
      {"scans.jpg", manyScans(), "too many scans"},
      {"scans.pdf",
       documentWith("/Width 16 /Height 16 /ColorSpace /DeviceGray /BitsPerComponent 8 /Filter /DCTDecode",
                    manyScans(), 72, 72, "q 72 0 0 72 0 0 cm /A Do Q"),
       "too many scans"},
      // Its pixels are no squares, so that it is drawn.
      {"drawn.pdf",
       documentWith("/Width 100000 /Height 2147483000 /ColorSpace /DeviceGray /BitsPerComponent 8", "x", 72, 72,
                    "q 72 0 0 72 0 0 cm /A Do Q"),
       "more pixels than can be drawn"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    writeFile(folder.file(c.name), c.bytes);
    const std::string text = hostileError(folder.file(c.name));
    EXPECT_NE(text.find(c.says), std::string::npos) << text;
  }
}

TEST(HostileFiles, APageBehindADamagedOneCanBeRead) {
  const TempFolder folder;
  const std::string file = folder.file("pages.tif");
  const TestPage page = makePage(KxColorSpace::Grey, 20, 9);
  for (int i = 0; i < 2; ++i) savePaged(file, rasterOf(page, Source::Stripes).get(), End::Commit);
  std::string bytes = readFile(file);
  // The first page's directory, of a BigTIFF, loses its width.
  std::uint64_t first = 0;
  for (int i = 7; i >= 0; --i)
    first = first << 8 | static_cast<std::uint8_t>(bytes[static_cast<std::size_t>(8 + i)]);
  constexpr std::size_t kCount = 8, kEntry = 20;
  std::size_t width = first + kCount;
  while (width < bytes.size() && bytes.compare(width, 2, std::string("\0\1", 2)) != 0) width += kEntry;
  ASSERT_LT(width, bytes.size());
  bytes[width] = '\1';  // tag 257 in place of 256
  writeFile(file, bytes);
  EXPECT_FALSE(hostileError(file).empty());
  EXPECT_EQ(loadHostile(file, 1)->GetHeight(), 9);
}

TEST(HostileFiles, AFileWithACopyAloneTakesNoPage) {
  const TempFolder folder;
  const std::string file = folder.file("copy.tif");
  const TestPage page = makePage(KxColorSpace::Grey, 20, 9);
  savePaged(file, rasterOf(page, Source::Stripes).get(), End::Commit);
  std::string bytes = readFile(file);
  const std::size_t kind = bytes.find(std::string("\xfe\0\4\0\1\0\0\0\0\0\0\0\2", 13));
  ASSERT_NE(kind, std::string::npos);
  bytes[kind + 12] = '\1';  // a smaller copy, not a page of several
  writeFile(file, bytes);
  EXPECT_EQ(loadHostile(file, 0)->GetHeight(), 9) << "what there is can be read";
  EXPECT_THROW(savePaged(file, rasterOf(page, Source::Stripes).get(), End::Commit), CXFileException)
      << "the page before would be none";
  EXPECT_TRUE(readFile(file) == bytes);
}

}  // namespace
}  // namespace quillbay::test
