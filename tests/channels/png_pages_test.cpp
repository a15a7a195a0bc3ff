#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>

#include "channels/color_profile.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

struct PngPicture {
  png_uint_32 width = 0, height = 0, perMetre = 0;
  int depth = 0, color = 0, paletteCount = 0;
  std::string software, title, moment;
  ColorProfile profile;
  std::vector<std::vector<std::uint8_t>> lines;
  bool ok = false;
};

__attribute__((noinline)) void readAll(png_structp png, png_infop info, PngPicture* picture) {
  png_read_info(png, info);
  picture->width = png_get_image_width(png, info);
  picture->height = png_get_image_height(png, info);
  picture->depth = png_get_bit_depth(png, info);
  picture->color = png_get_color_type(png, info);
  picture->perMetre = png_get_x_pixels_per_meter(png, info);
  png_colorp palette = nullptr;
  png_get_PLTE(png, info, &palette, &picture->paletteCount);
  png_textp texts = nullptr;
  int count = 0;
  png_get_text(png, info, &texts, &count);
  for (int i = 0; i < count; ++i) {
    if (std::string_view(texts[i].key) == "Software") picture->software = texts[i].text;
    if (std::string_view(texts[i].key) == "Creation Time") picture->moment = texts[i].text;
    if (std::string_view(texts[i].key) == "Title") picture->title = texts[i].text;
  }
  png_charp name = nullptr;
  png_bytep profile = nullptr;
  png_uint_32 size = 0;
  if (png_get_iCCP(png, info, &name, &count, &profile, &size)) picture->profile.assign(profile, profile + size);
  picture->lines.assign(picture->height, std::vector<std::uint8_t>(png_get_rowbytes(png, info)));
  for (auto& line : picture->lines) png_read_row(png, line.data(), nullptr);
  png_read_end(png, nullptr);
  picture->ok = true;
}

/// Reads with libpng; it checks every checksum and that the stream ends where it must.
PngPicture readWithLibpng(const std::string& file) {
  PngPicture picture;
  std::FILE* from = std::fopen(file.c_str(), "rb");
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  if (setjmp(png_jmpbuf(png)) == 0) {
    png_init_io(png, from);
    readAll(png, info, &picture);
  }
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(from);
  return picture;
}

TEST(PngPages, EveryColourAndSourceReadsBackEqual) {
  const TempFolder folder;
  const std::string file = folder.file("page.png");
  struct Case {
    KxColorSpace colorSpace;
    int depth, color;
    std::int32_t height;  // some pages take several bands
  };
  const Case cases[] = {{KxColorSpace::Bitonal, 1, PNG_COLOR_TYPE_GRAY, 300},
                        {KxColorSpace::Palette, 8, PNG_COLOR_TYPE_PALETTE, 130},
                        {KxColorSpace::Grey, 8, PNG_COLOR_TYPE_GRAY, 1700},
                        {KxColorSpace::Rgb, 8, PNG_COLOR_TYPE_RGB, 1300},
                        {KxColorSpace::Bgr, 8, PNG_COLOR_TYPE_RGB, 1300}};
  const auto params = paramsWith({});
  for (const Case& c : cases) {
    const TestPage page = makePage(c.colorSpace, 1003, c.height);
    for (const std::int32_t stripeLines : {1, 7, 64, 0}) {
      SCOPED_TRACE(testing::Message() << "code " << static_cast<int>(c.colorSpace) << ", stripes " << stripeLines);
      const Source source = stripeLines ? Source::Stripes : Source::Stored;
      ASSERT_EQ(saveSingle(file, rasterOf(page, source, stripeLines).get(), params.get(), true), 1);
      PngPicture read = readWithLibpng(file);
      ASSERT_TRUE(read.ok);
      ASSERT_EQ(static_cast<std::int32_t>(read.height), page.height());
      EXPECT_EQ(read.depth, c.depth);
      EXPECT_EQ(read.color, c.color);
      EXPECT_EQ(read.perMetre, 11811U);
      EXPECT_EQ(read.software, "Test software");
      EXPECT_EQ(read.title, "page");
      EXPECT_EQ(read.moment.find('T'), 10U) << read.moment;
      EXPECT_EQ(read.profile, profileFor(c.colorSpace, ""));
      for (std::size_t y = 0; y < page.seen.size(); ++y) {
        std::vector<std::uint8_t> want = page.seen[y];
        if (c.depth == 1) {
          for (auto& byte : want) byte = static_cast<std::uint8_t>(~byte);
          const int spare = 8 - page.width % 8;  // bits that say nothing
          for (auto* line : {&want, &read.lines[y]})
            line->back() = static_cast<std::uint8_t>(line->back() >> spare);
        }
        ASSERT_EQ(read.lines[y], want) << "line " << y;
      }
    }
  }
}

}  // namespace
}  // namespace quillbay::test
