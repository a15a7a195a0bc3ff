/// JPEG 2000 files: what rows of tiles on all cores make is one picture to the library.
#include <gtest/gtest.h>
#include <openjpeg.h>

#include <algorithm>
#include <cmath>

#include "quillbay/errors.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Jp2Picture {
  bool ok = false;
  std::uint32_t width = 0, height = 0, samples = 0, tileWidth = 0, tiles = 0;
  Bytes pixels;
};

/// The whole picture as the library reads it in one go.
Jp2Picture readByLibrary(const std::string& file, OPJ_CODEC_FORMAT kind = OPJ_CODEC_JP2) {
  Jp2Picture picture;
  opj_stream_t* stream = opj_stream_create_default_file_stream(file.c_str(), OPJ_TRUE);
  opj_codec_t* codec = opj_create_decompress(kind);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_image_t* image = nullptr;
  picture.ok = opj_setup_decoder(codec, &parameters) && opj_read_header(stream, codec, &image) &&
               opj_decode(codec, stream, image) && opj_end_decompress(codec, stream);
  if (picture.ok) {
    opj_codestream_info_v2_t* info = opj_get_cstr_info(codec);
    picture.tileWidth = info->tdx;
    picture.tiles = info->tw * info->th;
    opj_destroy_cstr_info(&info);
    picture.width = image->comps[0].w;
    picture.height = image->comps[0].h;
    picture.samples = image->numcomps;
    for (std::size_t i = 0; i < std::size_t{picture.width} * picture.height; ++i) {
      for (std::uint32_t c = 0; c < image->numcomps; ++c)
        picture.pixels.push_back(static_cast<std::uint8_t>(image->comps[c].data[i]));
    }
  }
  opj_image_destroy(image);
  opj_destroy_codec(codec);
  opj_stream_destroy(stream);
  return picture;
}

Bytes seenPixels(const TestPage& page) {
  Bytes all;
  for (const Bytes& line : page.seen) {
    if (page.palette.empty()) all.insert(all.end(), line.begin(), line.end());
    for (const std::uint8_t i : page.palette.empty() ? Bytes{} : line) {
      const KXRGBQUAD& e = page.palette[i];
      all.insert(all.end(), {e.red, e.green, e.blue});
    }
  }
  return all;
}

Bytes linesOf(IRStor& raster) {
  const auto lines = KxPtr<IAccessContext>::adopt(raster.GetAccessContext(0, 0));
  Bytes all;
  Bytes line(fixedLineBytes(raster.GetColorSpace(), raster.GetWidth()));
  for (std::int32_t y = 0; y < raster.GetHeight(); ++y) {
    lines->ReadLine(y, 0, raster.GetWidth(), line.data());
    all.insert(all.end(), line.begin(), line.end());
  }
  return all;
}

KxPtr<IRStor> loadedJp2(const std::string& file) {
  return new_OpenFileChanel(nullptr, file).as<IKxRasterLoadFileChanel>()->Load(0, nullptr);
}

double jp2PeakRatio(const Bytes& a, const Bytes& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += std::pow(a[i] - b[i], 2);
  return 10 * std::log10(255.0 * 255 * static_cast<double>(a.size()) / std::max(sum, 1.0));
}

TEST(Jp2Pages, LosslessTilesMakeOnePicture) {
  const TempFolder folder;
  struct Case {
    const char* name;
    KxColorSpace colorSpace;
    std::int32_t width, height;
    std::uint32_t tiles;
  };
  const Case cases[] = {
      {"a.jp2", KxColorSpace::Grey, 1, 1, 1},         {"a.jp2", KxColorSpace::Grey, 1100, 1030, 4},
      {"a.jp2", KxColorSpace::Rgb, 1025, 700, 2},     {"a.jp2", KxColorSpace::Bgr, 17, 2049, 3},
      {"a.jp2", KxColorSpace::Rgba, 1003, 33, 1},     {"a.jp2", KxColorSpace::Bgra, 4099, 20, 3},
      {"a.jp2", KxColorSpace::Palette, 1003, 131, 1}, {"a.j2k", KxColorSpace::Rgb, 600, 1029, 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.name << ", code " << static_cast<int>(c.colorSpace) << ", " << c.width);
    const std::string file = folder.file(c.name);
    const TestPage page = makePage(c.colorSpace, c.width, c.height);
    const Bytes want = seenPixels(page);
    const Source source = &c - cases < 4 ? Source::Stripes : Source::Growing;
    ASSERT_EQ(saveSingle(file, rasterOf(page, source, 97).get(), nullptr, true), 1);
    const Jp2Picture read = readByLibrary(file, file.ends_with("jp2") ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K);
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(read.tiles, c.tiles);
    ASSERT_EQ(static_cast<std::int32_t>(read.width), c.width);
    ASSERT_EQ(static_cast<std::int32_t>(read.height), c.height);
    ASSERT_TRUE(read.pixels == want);
    const KxPtr<IRStor> raster = loadedJp2(file);
    ASSERT_EQ(raster->GetHeight(), c.height);
    EXPECT_EQ(raster->GetResolution(), file.ends_with("jp2") ? 300U : 0U);
    if (page.palette.empty()) {
      EXPECT_TRUE(linesOf(*raster) == want);
    } else {
      EXPECT_EQ(raster->GetColorSpace(), KxColorSpace::Palette);
    }
  }
}

TEST(Jp2Pages, ResolutionAndTextsAreExact) {
  const TempFolder folder;
  const std::string file = folder.file("a & b\xe9 \xc3\xa9.jp2");  // one letter of it is no UTF-8
  saveSingle(file, rasterOf(makePage(KxColorSpace::Grey, 20, 20), Source::Stripes).get(), paramsWith({}).get());
  const std::string bytes = readFile(file);
  EXPECT_NE(bytes.find(">a &amp; b \xc3\xa9</rdf:li>"), std::string::npos);
  // 300 / 254 x 10^4 dots per metre, both ways.
  EXPECT_NE(bytes.find(std::string("resc\x01\x2c\x00\xfe\x01\x2c\x00\xfe\x04\x04", 14)), std::string::npos);
  EXPECT_NE(bytes.find("<xmp:CreatorTool>Test software</xmp:CreatorTool>"), std::string::npos);
  EXPECT_NE(bytes.find(std::string("colr\x01\x00\x00\x00\x00\x00\x11", 11)), std::string::npos) << "grey";
}

TEST(Jp2Pages, QualityIsTheSameInAllThatIsNotEven) {
  const TempFolder folder;
  const std::string file = folder.file("a.jp2");
  const auto params = paramsWith({{"Coding", "quality"}, {"Quality", "90"}});
  const TestPage full = makePage(KxColorSpace::Grey, 600, 600);
  TestPage white = full;  // one corner of it on white
  for (std::size_t y = 0; y < white.lines.size(); ++y) {
    std::fill(white.lines[y].begin() + 60, white.lines[y].end(), std::uint8_t{255});
    if (y >= 60) std::fill(white.lines[y].begin(), white.lines[y].end(), std::uint8_t{255});
  }
  white.seen = white.lines;
  const auto corner = [](const Bytes& pixels) {
    Bytes part;
    for (std::size_t y = 0; y < 60; ++y)
      part.insert(part.end(), pixels.begin() + static_cast<std::ptrdiff_t>(600 * y),
                  pixels.begin() + static_cast<std::ptrdiff_t>(600 * y + 60));
    return part;
  };
  std::size_t sizes[2] = {};
  double ratios[2] = {};
  for (const TestPage* page : {&full, static_cast<const TestPage*>(&white)}) {
    saveSingle(file, rasterOf(*page, Source::Stripes).get(), params.get(), true);
    sizes[page == &white] = readFile(file).size();
    const Jp2Picture read = readByLibrary(file);
    ASSERT_TRUE(read.ok);
    const double ratio = jp2PeakRatio(corner(read.pixels), corner(seenPixels(*page)));
    EXPECT_GT(ratio, 38) << (page == &white);
    ratios[page == &white] = ratio;
  }
  EXPECT_NEAR(ratios[0], ratios[1], 4);
  EXPECT_LT(sizes[1] * 20, sizes[0]) << "white costs next to nothing";
}

TEST(Jp2Pages, ARatioHolds) {
  const TempFolder folder;
  const std::string file = folder.file("a.jp2");
  const TestPage page = makePage(KxColorSpace::Rgb, 1200, 1100);
  saveSingle(file, rasterOf(page, Source::Stripes).get(), paramsWith({{"Coding", "ratio"}, {"Ratio", "20"}}).get());
  const double size = static_cast<double>(readFile(file).size());
  EXPECT_LE(size, 1200 * 1100 * 3 / 20.0 * 1.02);
  EXPECT_GE(size, 1200 * 1100 * 3 / 20.0 * 0.9);
  EXPECT_TRUE(readByLibrary(file).ok);
}

TEST(Jp2Pages, WhatDoesNotFitIsRefusedByItsNumber) {
  const TempFolder folder;
  const auto said = [&](const char* name, KxColorSpace space, std::int64_t expected) {
    try {
      const TestPage page = makePage(space, 9, 2);
      saveSingle(folder.file(name), rasterOf(page, Source::Stripes).get(), nullptr, true, expected);
    } catch (const CXException& e) {
      return std::string(e.what());
    }
    return std::string("saved");
  };
  EXPECT_NE(said("a.jp2", KxColorSpace::Grey, 2'000'000'000).find("1073725440 lines"), std::string::npos);
  EXPECT_NE(said("a.jp2", KxColorSpace::Bitonal, 0).find("grey, palettes or full colour"), std::string::npos);
  EXPECT_NE(said("a.j2k", KxColorSpace::Palette, 0).find(".jp2"), std::string::npos);
  EXPECT_EQ(folder.list(), "");
}

TEST(Jp2Pages, HostileAndCutFilesSaySo) {
  const TempFolder folder;
  const std::string file = folder.file("a.j2k");
  saveSingle(file, rasterOf(makePage(KxColorSpace::Rgb, 700, 2100), Source::Stripes).get());
  const std::string whole = readFile(file);
  const auto changed = [&](std::size_t at, const std::string& bytes) {
    std::string copy = whole;
    return copy.replace(at, bytes.size(), bytes);
  };
  const auto four = [](std::uint32_t value) {
    std::string out;
    for (int i = 3; i >= 0; --i) out.push_back(static_cast<char>(value >> 8 * i));
    return out;
  };
  struct Case {
    const char* why;
    std::string bytes;
    const char* says;
  };
  const Case cases[] = {
      {"never ended", changed(12, four(0)), "never written to its end"},
      {"2^31 lines", changed(12, four(0x80000001)), "a size that cannot be"},
      {"tiles of one pixel", changed(24, four(1) + four(1)), "more tiles than can be numbered"},
      {"no tiles", changed(24, four(0)), "its tiles lie elsewhere"},
      {"tiles elsewhere", changed(32, four(800)), "its tiles lie elsewhere"},
      {"one tile of 4 Gpixels",
       changed(8, four(70000) + four(70000) + four(0) + four(0) + four(70000) + four(70000)), "too many blocks"},
      {"wide lines", changed(8, four(2000000000)), "lines are longer"},
      {"no planes", changed(40, std::string(2, '\0')), "what its pixels are"},
      {"many planes", changed(40, "\x40"), "what its pixels are"},
      {"cut within its head", whole.substr(0, 60), "truncated"},
      {"cut in the second row of tiles", whole.substr(0, whole.size() * 7 / 10),
       "of 2100 lines of page 1 the first 1024 can be read"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    writeFile(file, c.bytes);
    try {
      (void)loadedJp2(file);
      ADD_FAILURE() << "it was read";
    } catch (const CXException& e) {
      EXPECT_NE(std::string(e.what()).find(c.says), std::string::npos) << e.what();
    }
  }
}

}  // namespace
}  // namespace quillbay::test
