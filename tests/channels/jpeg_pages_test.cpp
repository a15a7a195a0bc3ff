/// JPEG files: what bands on all cores make is what the library makes of the whole page.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
//
#include <jpeglib.h>

#include "channels/color_profile.h"
#include "quillbay/errors.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct JpegPicture {
  Bytes pixels;
  int width = 0, height = 0, samples = 0, dpi = 0;
  long warnings = 0;
  std::string comment;
};

JpegPicture decoded(const std::string& file) {
  JpegPicture picture;
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors{};
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_mem_src(&codec, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
  jpeg_save_markers(&codec, JPEG_COM, 0xffff);
  jpeg_read_header(&codec, TRUE);
  jpeg_start_decompress(&codec);
  picture.width = static_cast<int>(codec.output_width);
  picture.height = static_cast<int>(codec.output_height);
  picture.samples = codec.output_components;
  picture.dpi = codec.density_unit == 1 && codec.X_density == codec.Y_density ? codec.X_density : -1;
  if (codec.marker_list) {
    picture.comment.assign(reinterpret_cast<const char*>(codec.marker_list->data), codec.marker_list->data_length);
  }
  const std::size_t line = std::size_t{codec.output_width} * static_cast<std::size_t>(picture.samples);
  picture.pixels.resize(line * codec.output_height);
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = picture.pixels.data() + line * codec.output_scanline;
    jpeg_read_scanlines(&codec, &row, 1);
  }
  jpeg_finish_decompress(&codec);
  picture.warnings = errors.num_warnings;
  jpeg_destroy_decompress(&codec);
  return picture;
}

/// The whole page coded by the library in one go.
std::string codedPlain(const TestPage& page, int samples, int quality, bool halved) {
  jpeg_compress_struct codec{};
  jpeg_error_mgr errors{};
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&codec, &bytes, &size);
  codec.image_width = static_cast<JDIMENSION>(page.width);
  codec.image_height = static_cast<JDIMENSION>(page.height());
  codec.input_components = samples;
  codec.in_color_space = samples == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&codec);
  jpeg_set_quality(&codec, quality, TRUE);
  codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = halved && samples == 3 ? 2 : 1;
  jpeg_start_compress(&codec, TRUE);
  for (const Bytes& line : page.seen) {
    auto* row = const_cast<JSAMPROW>(line.data());
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  jpeg_destroy_compress(&codec);
  std::string file(reinterpret_cast<char*>(bytes), size);
  std::free(bytes);
  return file;
}

double peakRatio(const Bytes& a, const TestPage& page) {
  double sum = 0;
  std::size_t at = 0;
  for (const Bytes& line : page.seen) {
    for (const std::uint8_t want : line) sum += std::pow(a[at++] - want, 2);
  }
  return 10 * std::log10(255.0 * 255 * static_cast<double>(at) / std::max(sum, 1.0));
}

TEST(JpegPages, BandsMakeWhatTheLibraryMakesOfTheWholePage) {
  const TempFolder folder;
  const std::string file = folder.file("page.jpg");
  struct Case {
    KxColorSpace colorSpace;
    std::int32_t width, height;  // some pages take several bands; odd sizes end within a block
    int quality;
    const char* colour;
  };
  const Case cases[] = {{KxColorSpace::Grey, 1003, 1703, 90, "full"}, {KxColorSpace::Grey, 1, 1, 50, "full"},
                        {KxColorSpace::Rgb, 1003, 1303, 90, "full"},  {KxColorSpace::Bgr, 1003, 1303, 75, "half"},
                        {KxColorSpace::Rgb, 9001, 131, 100, "half"},  {KxColorSpace::Rgba, 700, 1601, 90, "half"},
                        {KxColorSpace::Bgra, 17, 2049, 90, "full"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(c.colorSpace) << ", width " << c.width);
    const TestPage page = makePage(c.colorSpace, c.width, c.height);
    const int samples = c.colorSpace == KxColorSpace::Grey ? 1 : 3;
    const auto params = paramsWith({{"Quality", std::to_string(c.quality)}, {"Colour", c.colour}});
    for (const Source source : {Source::Stripes, Source::Growing}) {
      ASSERT_EQ(saveSingle(file, rasterOf(page, source, 13).get(), params.get(), true), 1);
      const JpegPicture read = decoded(readFile(file));
      EXPECT_EQ(read.warnings, 0);
      EXPECT_EQ(read.width, c.width);
      ASSERT_EQ(read.height, c.height);
      ASSERT_EQ(read.samples, samples);
      EXPECT_EQ(read.dpi, 300);
      EXPECT_EQ(read.comment, "Test software");
      const JpegPicture plain = decoded(codedPlain(page, samples, c.quality, c.colour == std::string("half")));
      ASSERT_TRUE(read.pixels == plain.pixels);
      if (c.quality == 90 && c.colour == std::string("full") && c.width > 100) {
        EXPECT_GT(peakRatio(read.pixels, page), 30);
      }
    }
    const auto raster = new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr);
    ASSERT_EQ(raster->GetHeight(), c.height);
    EXPECT_EQ(raster->GetColorSpace(), samples == 1 ? KxColorSpace::Grey : KxColorSpace::Rgb);
  }
}

/// The profile as the library joins its pieces.
std::vector<std::uint8_t> jpegProfile(const std::string& file) {
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors{};
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_mem_src(&codec, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
  jpeg_save_markers(&codec, JPEG_APP0 + 2, 0xffff);
  jpeg_read_header(&codec, TRUE);
  JOCTET* bytes = nullptr;
  unsigned size = 0;
  std::vector<std::uint8_t> profile;
  if (jpeg_read_icc_profile(&codec, &bytes, &size)) profile.assign(bytes, bytes + size);
  std::free(bytes);
  jpeg_destroy_decompress(&codec);
  return profile;
}

TEST(JpegPages, TheProfileIsThereInPiecesWhereItIsLong) {
  const TempFolder folder;
  const std::string file = folder.file("page.jpg"), own = folder.file("own.icc");
  ColorProfile large = profileFor(KxColorSpace::Rgb, "sRGB");
  large.resize(150'000);  // three pieces; what follows the tables counts for nothing
  for (int i = 0; i < 4; ++i)
    large[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(150'000 >> 8 * (3 - i));
  writeFile(own, std::string(large.begin(), large.end()));
  struct Case {
    KxColorSpace colorSpace;
    std::string choice;
    ColorProfile want;
  };
  const Case cases[] = {{KxColorSpace::Rgb, "sRGB", profileFor(KxColorSpace::Rgb, "")},
                        {KxColorSpace::Grey, "sRGB", profileFor(KxColorSpace::Grey, "")},
                        {KxColorSpace::Bgra, "none", {}},
                        {KxColorSpace::Bgr, own, large}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.choice);
    const TestPage page = makePage(c.colorSpace, 100, 700);
    saveSingle(file, rasterOf(page, Source::Stripes).get(), paramsWith({{"Profile", c.choice}}).get(), true);
    EXPECT_EQ(jpegProfile(readFile(file)), c.want);
    EXPECT_EQ(decoded(readFile(file)).height, 700);
  }
}

/// Inks are saved turned over by programs that say so in a marker of their own, and as they are by others.
TEST(JpegPages, InksAreMixedAsLight) {
  const TempFolder folder;
  const std::string file = folder.file("inks.jpg");
  for (const bool marked : {true, false}) {
    for (const J_COLOR_SPACE space : {JCS_CMYK, JCS_YCCK}) {
      SCOPED_TRACE(testing::Message() << marked << ' ' << space);
      jpeg_compress_struct codec{};
      jpeg_error_mgr errors{};
      codec.err = jpeg_std_error(&errors);
      jpeg_create_compress(&codec);
      unsigned char* bytes = nullptr;
      unsigned long size = 0;
      jpeg_mem_dest(&codec, &bytes, &size);
      codec.image_width = codec.image_height = 16;
      codec.input_components = 4;
      codec.in_color_space = JCS_CMYK;
      jpeg_set_defaults(&codec);
      jpeg_set_colorspace(&codec, space);
      codec.write_Adobe_marker = marked || space == JCS_YCCK ? TRUE : FALSE;
      jpeg_set_quality(&codec, 100, TRUE);
      jpeg_start_compress(&codec, TRUE);
      const std::uint8_t turned = codec.write_Adobe_marker ? 255 : 0;
      const std::uint8_t inks[] = {255, 102, 0, 51};  // no red; light 153, 255, 255 of which 204 / 255 are left
      Bytes line;
      for (int i = 0; i < 64; ++i) line.push_back(turned ^ inks[i % 4]);
      for (int y = 0; y < 16; ++y) {
        JSAMPROW row = line.data();
        jpeg_write_scanlines(&codec, &row, 1);
      }
      jpeg_finish_compress(&codec);
      jpeg_destroy_compress(&codec);
      writeFile(file, std::string(reinterpret_cast<char*>(bytes), size));
      std::free(bytes);
      const auto raster = new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr);
      const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
      Bytes read(48);
      lines->ReadLine(7, 0, 16, read.data());
      const int want[] = {0, 122, 204};
      for (std::size_t i = 0; i < 48; ++i) ASSERT_NEAR(read[i], want[i % 3], 3) << i;
    }
  }
}

TEST(JpegPages, WhatAJpegCannotHoldIsRefusedByItsNumber) {
  const TempFolder folder;
  const std::string file = folder.file("page.jpg");
  const auto said = [&](const TestPage& page, std::int64_t expected, const char* quality) {
    const auto params = paramsWith({{"Quality", quality}});
    try {
      saveSingle(file, rasterOf(page, Source::Stripes, 500).get(), params.get(), true, expected);
    } catch (const CXException& e) {
      return std::string(e.what());
    }
    return std::string("saved");
  };
  const TestPage tall = makePage(KxColorSpace::Grey, 3, 65501);
  EXPECT_NE(said(tall, 65501, "90").find("at most 65500 lines, and the page has 65501"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Grey, 3, 2), 70000, "90").find("the page has 70000"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Grey, 65501, 1), 0, "90").find("65501"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Grey, 3, 2), 0, "101").find("1 to 100"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Palette, 3, 2), 0, "90").find("grey or full colour"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Bitonal, 9, 2), 0, "90").find("grey or full colour"), std::string::npos);
  // The same before a scan.
  const auto refusal = [&](const ExpectedPage& page, const char* key, const std::string& value) {
    return RefusalOf(paramsWith({{key, value}}).get(), file, page);
  };
  EXPECT_NE(refusal({KxColorSpace::Grey, 9, 70000}, "Quality", "90").find("the page has 70000"), std::string::npos);
  EXPECT_NE(refusal({KxColorSpace::Grey, 65501, 0}, "Quality", "90").find("65501"), std::string::npos);
  EXPECT_NE(refusal({KxColorSpace::Grey}, "Profile", "/none.icc").find("/none.icc"), std::string::npos);
  EXPECT_EQ(refusal({KxColorSpace::Rgb, 65500, 65500}, "Quality", "90"), "");
  EXPECT_EQ(folder.list(), "");
}

TEST(JpegPages, APageOfUnknownLengthEndsAtTheLastLineThatAJpegHolds) {
  const TempFolder folder;
  const std::string file = folder.file("page.jpg");
  for (const std::int32_t lines : {65500, 65501, 66100}) {
    const TestPage page = makePage(KxColorSpace::Grey, 3, lines);
    EXPECT_EQ(saveSingle(file, rasterOf(page, Source::Stripes, 500).get(), nullptr, true), lines > 65500 ? 2 : 1);
    const auto channel = new_OpenFileChanel(nullptr, file);
    EXPECT_EQ(channel.as<IKxRasterLoadFileChanel>()->OpenLines(0)->GetSize().height, 65500);
  }
}

}  // namespace
}  // namespace quillbay::test
