#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "platform/picture_adjustments.h"
#include "quillbay/palette.h"
#include "quillbay/scan_keys.h"
#include "recording_sink.h"
#include "scanners/lines/color_loops.h"
#include "scanners/lines/line_pipeline.h"
#include "scanners/scan_request.h"

// Its own, since it has plain loops like those of the black-and-white modes.
namespace quillbay::color_modes {
namespace {

using testing::RecordingSink;
using Bytes = std::vector<std::uint8_t>;

Bytes randomBytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(random());
  return bytes;
}

// Samples of 1 or 3 channels, in whole numbers.
struct ColorPage {
  int width, height, channels;
  std::vector<int> samples;
  [[nodiscard]] int at(int x, int y, int c) const {
    x = std::clamp(x, 0, width - 1);
    y = std::clamp(y, 0, height - 1);
    const int place = (y * width + x) * channels + c;
    return samples[static_cast<std::size_t>(place)];
  }
  template <class Function>
  [[nodiscard]] ColorPage made(int outChannels, Function&& f) const {
    ColorPage out{width, height, outChannels, {}};
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        for (int c = 0; c < outChannels; ++c) out.samples.push_back(f(x, y, c));
    return out;
  }
};

int held(double level) { return static_cast<int>(std::clamp(std::floor(level), 0.0, 255.0)); }

int greyAt(const ColorPage& p, int x, int y) {
  return p.channels == 1 ? p.at(x, y, 0)
                         : (77 * p.at(x, y, 0) + 150 * p.at(x, y, 1) + 29 * p.at(x, y, 2) + 128) / 256;
}

// The modes as plain loops over a whole page, one stage after another.
ColorPage plain(ColorPage p, int mode, const KXRGBQUAD* curves, const ColorSettings& s) {
  const ColorPage device = p;
  p = p.made(3, [&](int x, int y, int c) {
    const int level = device.at(x, y, std::min(c, device.channels - 1));
    if (!curves) return level;
    return int{c == 0 ? curves[level].red : c == 1 ? curves[level].green : curves[level].blue};
  });
  if (mode != kModeGrey && s.saturation != 0) {
    const double share = std::round(s.saturation * 1.28) / 128;
    p = p.made(3, [&, q = p](int x, int y, int c) {
      return held(q.at(x, y, c) + (q.at(x, y, c) - greyAt(q, x, y)) * share + 0.5);
    });
  }
  if (mode == kModeGrey) p = p.made(1, [q = p](int x, int y, int) { return greyAt(q, x, y); });
  if (s.blur > 0) {
    p = p.made(p.channels, [&, q = p](int x, int y, int c) {
      int sum = 0;
      for (int dy = -s.blur; dy <= s.blur; ++dy)
        for (int dx = -s.blur; dx <= s.blur; ++dx) sum += q.at(x + dx, y + dy, c);
      return held(sum / std::pow(2 * s.blur + 1, 2) + 0.5);
    });
  }
  if (s.sharpness == 0) return p;
  const int weight = (s.sharpness < 0 ? 2 : 8) * s.sharpness;
  return p.made(p.channels, [&, q = p](int x, int y, int c) {
    int sum = 0;
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx) sum += q.at(x + dx, y + dy, c) * (2 - std::abs(dx)) * (2 - std::abs(dy));
    return held(q.at(x, y, c) + (16 * q.at(x, y, c) - sum) * weight / 256.0 + 0.5);
  });
}

ColorPage noisyPage(int width, int height, int channels) {
  ColorPage page{width, height, channels, {}};
  const int count = width * height * channels;
  for (const auto b : randomBytes(static_cast<std::size_t>(count), 11))
    page.samples.push_back(b % 7 == 0 ? b : 120 + b % 40);
  return page;
}

LinePipeline::Setup setupOf(const ColorPage& page, int mode, const KXRGBQUAD* curves,
                            const ColorSettings& settings) {
  LinePipeline::Setup setup;
  setup.mode = mode;
  setup.samples = page.channels == 1 ? DeviceSamples::Grey8 : DeviceSamples::Rgb8;
  setup.width = page.width;
  setup.dpi = 300;
  setup.curves = curves;
  setup.color = settings;
  return setup;
}

Bytes scanned(const ColorPage& page, const LinePipeline::Setup& setup) {
  RecordingSink sink;
  sink.started = 1;
  sink.colorSpace = setup.mode == kModeRgb ? KxColorSpace::Rgb : KxColorSpace::Grey;
  LinePipeline pipeline(setup, &sink);
  const Bytes bytes(page.samples.begin(), page.samples.end());
  EXPECT_EQ(pipeline.push(bytes.data(), static_cast<std::size_t>(page.width * page.channels), page.height), 1);
  EXPECT_EQ(pipeline.flush(), 1);
  EXPECT_EQ(pipeline.flush(), 1);
  EXPECT_TRUE(sink.inOrder);
  EXPECT_EQ(sink.lineCount, page.height);
  return sink.bytes;
}

std::vector<KXRGBQUAD> bentCurves() {
  std::vector<KXRGBQUAD> curves(256);
  for (std::size_t i = 0; i < 256; ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    curves[i] = {static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i / 2 + 60), v, 9};
  }
  return curves;
}

TEST(ColorLoops, AllFormsMakeTheSameBytes) {
  const auto forms = allColorLoops();
  std::array<LevelTable, 3> tables;
  for (auto& table : tables)
    std::copy_n(randomBytes(256, 3 + static_cast<unsigned>(&table - tables.data())).begin(), 256, table.begin());
  for (const std::size_t count : {0U, 1U, 5U, 21U, 22U, 63U, 64U, 65U, 128U, 191U, 193U, 1000U}) {
    const std::size_t bytes = 3 * count;
    const Bytes rows[3] = {randomBytes(bytes, 1), randomBytes(bytes, 2), randomBytes(bytes, 5)};
    const std::uint8_t* const pointers[3] = {rows[0].data(), rows[1].data(), rows[2].data()};
    std::vector<std::uint16_t> sums(bytes + 24);
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = static_cast<std::uint16_t>(i * 7919 % 2296);
    std::vector<Bytes> want;
    for (const ColorLoops* loops : forms) {
      if (!loops) continue;
      std::vector<Bytes> made(6, rows[0]);
      made.push_back(Bytes(bytes));
      std::vector<std::int16_t> columns(bytes + 6);
      loops->curve(made[0].data(), bytes, tables[0], made[0].data());
      loops->curves(made[1].data(), count, tables, made[1].data());
      loops->saturate(made[2].data(), count, -77, made[2].data());
      loops->grey(rows[0].data(), count, made[3].data());
      loops->means(sums.data(), bytes, 4, 3, made[4].data());
      loops->sharpen(pointers, bytes, 3, 40, columns.data(), made[6].data());
      if (want.empty()) {
        want = made;
        for (std::size_t i = 0; i < count; ++i)
          for (std::size_t c = 0; c < 3; ++c) ASSERT_EQ(made[1][3 * i + c], tables[c][rows[0][3 * i + c]]) << i;
      }
      EXPECT_EQ(made, want) << "of " << count << " pixels, form " << loops - forms[0];
    }
  }
}

TEST(ColorModes, MakeWhatThePlainLoopsMake) {
  const auto curves = bentCurves();
  const ColorSettings all[] = {{0, 0, 0},  {100, 0, 0}, {-100, 0, 0}, {37, 0, 1}, {-1, 8, 0},
                               {0, -8, 2}, {50, 3, 3},  {0, 0, 4},    {99, 1, 4}};
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 30}, {2, 3}, {33, 1}, {71, 25}})
    for (const int channels : {1, 3})
      for (const int mode : {kModeGrey, kModeRgb})
        for (const KXRGBQUAD* table : {static_cast<const KXRGBQUAD*>(nullptr), curves.data()})
          for (const ColorSettings& s : all) {
            SCOPED_TRACE(::testing::Message() << width << " x " << height << " x " << channels << ", mode " << mode
                                              << ", setting " << &s - all << (table ? ", curves" : ""));
            const ColorPage page = noisyPage(width, height, channels);
            const ColorPage want = plain(page, mode, table, s);
            ASSERT_EQ(scanned(page, setupOf(page, mode, table, s)),
                      Bytes(want.samples.begin(), want.samples.end()));
          }
}

TEST(ColorModes, StripesMakeNoDifference) {
  const auto curves = bentCurves();
  const ColorPage page = noisyPage(45, 37, 3);
  for (const int mode : {kModeGrey, kModePalette, kModeRgb}) {
    LinePipeline::Setup setup = setupOf(page, mode, curves.data(), {30, 4, 2});
    const Bytes want = scanned(page, setup);
    for (const int lines : {1, 2, 7, 36}) {
      setup.stripeLines = lines;
      EXPECT_EQ(scanned(page, setup), want) << "mode " << mode << ", " << lines;
    }
  }
}

KxPtr<IParam> paletteRequest() {
  auto request = new_MemParam();
  request->SetValue(key::Mode, kModePalette);
  return request;
}

ScanRequest taken(IParam* request) {
  ScanRequest out;
  EXPECT_EQ(readScanRequest(request, &out), "");
  return out;
}

CKxBlob blobOf(std::span<const KXRGBQUAD> entries) {
  CKxBlob bytes(1024);
  std::memcpy(bytes.data(), entries.data(), entries.size_bytes());
  return bytes;
}

std::uint8_t classOf(IParam* request, std::array<std::uint8_t, 3> color) {
  std::uint8_t index = 0;
  paletteOf(taken(request))->map(color.data(), 1, &index);
  return index;
}

TEST(Palettes, LinearOnesAreSpreadEvenly) {
  struct Case {
    int count, reds, greens, blues;
    std::vector<int> greys;  // beside the cube
  };
  const Case cases[] = {{8, 2, 2, 2, {}},
                        {9, 2, 2, 2, {127}},
                        {16, 2, 3, 2, {63, 95, 127, 191}},
                        {27, 3, 3, 3, {}},
                        {30, 3, 3, 3, {32, 64, 191}},
                        {64, 4, 4, 4, {}},
                        {256, 6, 7, 6, {63, 95, 127, 191}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.count);
    std::vector<KXRGBQUAD> want;
    const auto level = [](int i, int n) { return static_cast<std::uint8_t>(std::lround(i * 255.0 / (n - 1))); };
    for (int r = 0; r < c.reds; ++r)
      for (int g = 0; g < c.greens; ++g)
        for (int b = 0; b < c.blues; ++b)
          want.push_back({level(r, c.reds), level(g, c.greens), level(b, c.blues), 0});
    for (const int grey : c.greys) {
      const auto v = static_cast<std::uint8_t>(grey);
      want.push_back({v, v, v, 0});
    }
    ASSERT_EQ(want.size(), static_cast<std::size_t>(c.count));
    want.resize(256);
    const auto made = linearPalette(c.count);
    EXPECT_TRUE(std::equal(made.begin(), made.end(), want.begin()));
  }
  for (int count = 8; count <= 256; ++count) {
    const auto made = linearPalette(count);
    std::vector<std::uint32_t> words;
    for (int i = 0; i < count; ++i) {
      const KXRGBQUAD& e = made[static_cast<std::size_t>(i)];
      words.push_back(std::uint32_t{e.red} << 16 | std::uint32_t{e.green} << 8 | e.blue);
    }
    std::sort(words.begin(), words.end());
    EXPECT_EQ(std::adjacent_find(words.begin(), words.end()), words.end()) << count << ": a colour appears twice";
  }
}

TEST(Palettes, PixelsTakeTheNearestEntryAndTiesTheEarlier) {
  const std::vector<KXRGBQUAD> entries{{10, 0, 0, 0}, {0, 10, 0, 0}, {5, 5, 0, 0}, {200, 100, 50, 0}, {0, 0, 9, 0}};
  auto request = paletteRequest();
  request->SetValue(key::Palette, blobOf(entries));
  EXPECT_EQ(taken(request.get()).palette, entries) << "zeros after the last colour are none";
  EXPECT_EQ(classOf(request.get(), {5, 0, 0}), 0) << "as near to entry 2";
  EXPECT_EQ(classOf(request.get(), {20, 0, 210}), 4) << "red and blue are not exchanged";
  EXPECT_EQ(classOf(request.get(), {255, 0, 0}), 3);
  EXPECT_EQ(classOf(request.get(), {0, 0, 0}), 2);
  request->SetValue(key::PaletteCount, 8);
  EXPECT_EQ(taken(request.get()).palette.size(), 8U) << "as many as were asked for, black ones too";
  EXPECT_EQ(classOf(request.get(), {0, 0, 0}), 5);
}

TEST(Palettes, LookupFilesGoFirstAndAreBlueGreenRed) {
  auto request = paletteRequest();
  CKxBlob lut(33792);
  lut[4 * 7] = 30;  // entry 7
  lut[4 * 7 + 1] = 20;
  lut[4 * 7 + 2] = 10;
  lut[1024 + (31 << 10 | 2 << 5 | 1)] = 7;
  request->SetValue(key::Lut, lut);
  request->SetValue(key::Palette, CKxBlob(1024, 1));
  request->SetValue(key::PaletteCount, 16);
  const auto palette = paletteOf(taken(request.get()));
  EXPECT_EQ(palette->entries()[7], (KXRGBQUAD{10, 20, 30, 0}));
  EXPECT_EQ(classOf(request.get(), {255, 16, 8}), 7);
  EXPECT_EQ(classOf(request.get(), {248, 23, 15}), 7) << "the same upper bits";
  EXPECT_EQ(classOf(request.get(), {248, 24, 15}), 0);
  EXPECT_EQ(classOf(request.get(), {8, 16, 255}), 0);
}

TEST(Palettes, StripesBearTheirPalette) {
  const auto entries = linearPalette(16);
  RecordingSink sink;
  sink.started = 1;
  KXRGBQUAD last{};
  sink.onStripe = [&](IScanBuffer* stripe) {
    EXPECT_EQ(stripe->GetColorSpace(), KxColorSpace::Palette);
    last = stripe->GetPalette()[15];
    return 1;
  };
  LinePipeline::Setup setup = setupOf({4, 1, 3, {}}, kModePalette, nullptr, {});
  setup.palette = PaletteMap::nearest(std::span(entries).first(16));
  LinePipeline pipeline(setup, &sink);
  const Bytes line{0, 0, 0, 255, 255, 255, 190, 190, 190, 255, 0, 0};
  pipeline.push(line.data(), 0, 1);
  pipeline.flush();
  EXPECT_EQ(last, entries[15]);
  ASSERT_EQ(sink.bytes.size(), 4U);
  const Bytes want{0, 11, 15, 6};
  EXPECT_EQ(sink.bytes, want);
}

TEST(PictureAdjustments, MakeThePixelsOfAScan) {
  const auto curves = bentCurves();
  const ColorPage page = noisyPage(40, 20, 3);
  const std::size_t stride = 123;
  Bytes in(stride * 20, 77), out = in;
  for (int y = 0; y < 20; ++y)
    std::copy_n(page.samples.begin() + y * 120, 120, in.begin() + static_cast<std::ptrdiff_t>(stride) * y);
  const auto adjustments = newPictureAdjustments();
  for (const int mode : {kModeRgb, kModeGrey, kModePalette, kModeBwThreshold}) {
    SCOPED_TRACE(mode);
    const auto request = new_MemParam();
    request->SetValue(key::Mode, mode);
    request->SetValue(key::Gamma, blobOf(curves));
    request->SetValue(key::Saturation, 40);
    request->SetValue(key::numbered(key::SoftenSharpen, mode), 2);
    request->SetValue(key::PaletteCount, 8);
    ASSERT_EQ(adjustments->Apply(request.get(), in.data(), {40, 20}, stride, out.data()), "");
    ColorPage want = plain(page, mode <= kModeGrey ? kModeGrey : mode, curves.data(), {40, 2, 0});
    for (int y = 0; y < 20; ++y)
      for (int x = 0; x < 40; ++x)
        for (int c = 0; c < 3; ++c) {
          int level = want.at(x, y, std::min(c, want.channels - 1));
          if (mode == kModePalette || mode == kModeBwThreshold) level = level < 128 ? 0 : 255;
          ASSERT_EQ(out[stride * static_cast<std::size_t>(y) + static_cast<std::size_t>(3 * x + c)], level)
              << x << ", " << y;
        }
    EXPECT_EQ(out[stride - 1], 77) << "what is beside the picture stays";
  }
  const auto palette = paletteRequest();
  for (const int count : {8, 27, 8}) {  // what was kept of one palette is not another's
    palette->SetValue(key::PaletteCount, count);
    ASSERT_EQ(adjustments->Apply(palette.get(), in.data(), {40, 20}, stride, out.data()), "");
    EXPECT_EQ(std::count(out.begin(), out.end(), 128) > 0, count == 27) << count;
  }
  const auto wrong = new_MemParam();
  wrong->SetValue(key::Mode, kModeRgb);
  wrong->SetValue(key::Saturation, 101);
  EXPECT_NE(adjustments->Apply(wrong.get(), in.data(), {40, 20}, stride, out.data()).find("SCAN_SATURATION"),
            std::string::npos);
}

}  // namespace
}  // namespace quillbay::color_modes
