/// JPEG files: what bands on all cores make is what the library makes of the whole page.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
//
#include <jpeglib.h>

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
  EXPECT_NE(said(tall, 0, "90").find("at most 65500 lines, and the page has 65501"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Grey, 3, 2), 70000, "90").find("the page has 70000"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Grey, 65501, 1), 0, "90").find("65501"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Grey, 3, 2), 0, "101").find("1 to 100"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Palette, 3, 2), 0, "90").find("grey or full colour"), std::string::npos);
  EXPECT_NE(said(makePage(KxColorSpace::Bitonal, 9, 2), 0, "90").find("grey or full colour"), std::string::npos);
  EXPECT_EQ(folder.list(), "");
}

}  // namespace
}  // namespace quillbay::test
