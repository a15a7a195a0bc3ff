// Pages of the SANE drivers `test` and `pnm`, compared with what `scanimage` delivers.
#include <cstring>
#include <fstream>

#include "quillbay/palette.h"
#include "quillbay/scan_keys.h"
#include "sane_scan.h"
#include "scanners/sane/sane_gamma.h"
#include "scanners/sane/sane_thread.h"

namespace quillbay::testing {
namespace {

std::string scanimageArguments(const Request& r, const Options& options) {
  std::string text = "-d test:0 --resolution " + std::to_string(r.dpi);
  text += " --mode " + std::string(r.mode >= 6 ? "Color" : "Gray");
  bool hasDepth = false, hasArea = true;
  for (const auto& [name, value] : options) {
    text += " --" + name + "='" + value + "'";
    hasDepth = hasDepth || name == "depth";
    hasArea = hasArea && name != "hand-scanner";
  }
  if (!hasDepth) text += r.mode <= 4 ? " --depth 1" : " --depth 8";
  if (!hasArea) return text;
  const auto mm = [](double v) { return std::to_string(static_cast<int>(v)); };
  return text + " -l " + mm(r.rect.left) + " -t " + mm(r.rect.top) + " -x " + mm(r.rect.width()) + " -y " +
         mm(r.rect.height());
}

TEST(SanePages, EqualWhatScanimageDelivers) {
  struct Case {
    const char* why;
    Request request;
    Options options;
    std::int64_t announced = 0;  // 0: the picture's height
  };
  const Case cases[] = {
      {"grey, stripes filled in place", {5, 300, {0, 0, 100, 130}}, {}},
      {"colour, stripes filled in place", {7, 150, {0, 0, 100, 130}}, {}},
      {"line art of the device, a width that is no multiple of 8", {0, 150, {0, 0, 101, 60}}, {}},
      {"an area with an offset", {5, 100, {13, 17, 74, 60}}, {}},
      {"16 bits, grey", {5, 75, {0, 0, 50, 50}}, {{"depth", "16"}}},
      {"16 bits, colour", {7, 75, {0, 0, 50, 50}}, {{"depth", "16"}}},
      {"three passes", {7, 75, {0, 0, 50, 50}}, {{"three-pass", "yes"}}},
      {"three passes in another order",
       {7, 75, {0, 0, 50, 50}},
       {{"three-pass", "yes"}, {"three-pass-order", "BRG"}}},
      {"three passes of unknown length",
       {7, 50, {0, 0, 200, 0}},
       {{"three-pass", "yes"}, {"hand-scanner", "yes"}},
       -1},
      {"unknown length, grey", {5, 100, {0, 0, 200, 0}}, {{"hand-scanner", "yes"}}, -1},
      {"unknown length, colour", {7, 50, {0, 0, 200, 0}}, {{"hand-scanner", "yes"}}, -1},
      {"unknown length, line art", {0, 100, {0, 0, 200, 0}}, {{"hand-scanner", "yes"}}, -1},
      {"padded lines, grey", {5, 100, {0, 0, 51, 50}}, {{"ppl-loss", "13"}}},
      {"padded lines, colour", {7, 100, {0, 0, 51, 50}}, {{"ppl-loss", "7"}}},
      {"padded lines, line art", {0, 100, {0, 0, 51, 50}}, {{"ppl-loss", "11"}}},
      {"padded lines, three passes", {7, 100, {0, 0, 51, 50}}, {{"ppl-loss", "7"}, {"three-pass", "yes"}}},
      {"wrong parameters before the start", {7, 100, {0, 0, 50, 50}}, {{"fuzzy-parameters", "yes"}}},
      {"reads of a few bytes, filled in place",
       {5, 50, {0, 0, 30, 30}},
       {{"read-limit", "yes"}, {"read-limit-size", "7"}}},
      {"reads of a few bytes, line art",
       {0, 50, {0, 0, 30, 30}},
       {{"read-limit", "yes"}, {"read-limit-size", "3"}}},
      {"a grid", {5, 200, {0, 0, 60, 60}}, {{"test-picture", "Grid"}}},
      {"reads that do not block", {5, 60, {0, 0, 50, 50}}, {{"non-blocking", "yes"}, {"select-fd", "yes"}}},
      {"a sheet from the feeder", {5, 100, {0, 0, 50, 50}}, {{"source", "Automatic Document Feeder"}}},
      {"the highest resolution", {5, 9600, {0, 0, 2, 2}}, {}},
      {"the lowest resolution", {5, 1, {0, 0, 300, 300}}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    SaneScanner scanner;
    ASSERT_TRUE(scanner.unit) << scanner.openFault.text;
    scanner.set(c.options);
    WaitingSink sink;
    ASSERT_TRUE(scanner.scan(c.request, &sink)) << scanner.fault().text;
    EXPECT_EQ(sink.ended, std::vector<int>{1}) << scanner.fault().text;
    EXPECT_TRUE(sink.inOrder);
    EXPECT_EQ(sink.dpi, static_cast<std::uint32_t>(c.request.dpi));
    EXPECT_EQ(sink.announced, c.announced ? c.announced : sink.lineCount);
    EXPECT_TRUE(same(pictureOf(sink), scanimage(scanimageArguments(c.request, c.options))));
  }
}

// `scanimage` gives up on three passes of 16 bits; in one pass the driver delivers the same picture.
TEST(SanePages, ThreePassesOf16Bits) {
  const Request request{7, 75, {0, 0, 50, 50}};
  SaneScanner scanner;
  scanner.set({{"three-pass", "yes"}, {"depth", "16"}});
  WaitingSink sink;
  ASSERT_TRUE(scanner.scan(request, &sink));
  EXPECT_TRUE(same(pictureOf(sink), scanimage(scanimageArguments(request, {{"depth", "16"}}))));
}

// `scanimage` gives up on colour of one bit: the driver's plain pictures tell instead.
TEST(SanePages, OneBitColour) {
  for (const char* passes : {"no", "yes"}) {
    for (const auto& [picture, level] : {std::pair{"Solid black", 0}, std::pair{"Solid white", 255}}) {
      SCOPED_TRACE(std::string(picture) + ", three passes: " + passes);
      SaneScanner scanner;
      scanner.set({{"depth", "1"}, {"test-picture", picture}, {"three-pass", passes}});
      WaitingSink sink;
      ASSERT_TRUE(scanner.scan({7, 50, {0, 0, 33, 20}}, &sink));
      ASSERT_GT(sink.bytes.size(), 0u);
      EXPECT_EQ(sink.bytes, std::vector<std::uint8_t>(sink.bytes.size(), static_cast<std::uint8_t>(level)));
    }
  }
}

TEST(SanePages, ModesThatTheDeviceLacksAreMadeFromWhatItHas) {
  SaneScanner scanner;
  for (int mode = 0; mode <= 7; ++mode) EXPECT_EQ(scanner.unit->HasMode(mode), 1) << mode;
  EXPECT_EQ(scanner.unit->HasMode(8), 0);
  scanner.set({{"depth", "8"}});  // no line art of the device's own any more
  WaitingSink bits, palette;
  ASSERT_TRUE(scanner.scan({0, 50, {0, 0, 50, 50}}, &bits));
  ASSERT_TRUE(scanner.scan({6, 50, {0, 0, 50, 50}}, &palette));
  Picture grey = scanimage("-d test:0 --mode Gray --depth 8 --resolution 50 -x 50 -y 50");
  for (std::uint8_t& b : grey.bytes) b = b < 128 ? 0 : 255;
  EXPECT_TRUE(same(pictureOf(bits), grey));
  EXPECT_EQ(palette.colorSpace, KxColorSpace::Palette);
  EXPECT_EQ(palette.ended, std::vector<int>{1});
}

TEST(SanePages, Areas) {
  struct Case {
    const char* why;
    Request request;
    Options options;
    double widthMm, lengthMm;
  };
  const Case cases[] = {
      {"half a millimetre wider than the bed", {5, 10, {0, 0, 2000.5, 50}}, {}, 2000, 50},
      {"half a millimetre longer than the bed", {5, 10, {0, 0, 50, 2000.9}}, {}, 50, 2000},
      {"far longer: held to the bed", {5, 10, {0, 1900, 50, 2500}}, {}, 50, 100},
      {"to the end of the document on a flatbed: the given length",
       {5, 10, {0, 20, 50, 20}, false, 300},
       {},
       50,
       300},
      {"the same without a length: to the end of the bed", {5, 10, {0, 20, 50, 20}}, {}, 50, 1980},
      {"to the end of the sheet in a feeder",
       {5, 10, {0, 0, 50, 0}, false, 300},
       {{"source", "Automatic Document Feeder"}},
       50,
       2000},
      {"far from the area before", {5, 10, {1500, 1500, 1600, 1600}}, {}, 100, 100},
      {"and back", {5, 10, {0, 0, 100, 100}}, {}, 100, 100},
  };
  SaneScanner scanner;
  EXPECT_EQ(scanner.unit->GetMaxWidth(), 2000);
  EXPECT_EQ(scanner.unit->GetMaxLength(), 2000);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    scanner.set({{"source", "Flatbed"}});
    scanner.set(c.options);
    WaitingSink sink;
    ASSERT_TRUE(scanner.scan(c.request, &sink)) << scanner.fault().text;
    EXPECT_NEAR(static_cast<double>(sink.width), mmToPixels(c.widthMm, 10), 1);
    EXPECT_NEAR(static_cast<double>(sink.lineCount), mmToPixels(c.lengthMm, 10), 1);
  }
}

// The driver of files has no area: what is wanted is cut out of what it delivers.
TEST(SanePages, AnAreaThatTheDeviceCannotCut) {
  struct Case {
    const char* why;
    const char* header;
    std::size_t bytes;
    int mode;
    KxRect want;  // pixels; bottom 0: to the end
  };
  const Case cases[] = {
      {"colour", "P6\n37 23\n255\n", 37 * 23 * 3, 7, {3, 5, 20, 17}},
      {"the whole picture", "P6\n37 23\n255\n", 37 * 23 * 3, 7, {0, 0, 100, 100}},
      {"grey, beyond the picture", "P5\n41 19\n255\n", 41 * 19, 5, {9, 2, 100, 100}},
      {"grey, to its end", "P5\n41 19\n255\n", 41 * 19, 5, {9, 6, 40, 0}},
      {"line art", "P4\n43 17\n", 6 * 17, 0, {11, 4, 30, 16}},
      {"grey made black and white", "P5\n41 19\n255\n", 41 * 19, 0, {5, 5, 33, 12}},
  };
  const auto path = saneConfig.folder() / "picture.pnm";
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    std::string file = c.header;
    for (std::size_t i = 0; i < c.bytes; ++i) file.push_back(static_cast<char>(i * 7 + i / 11));
    std::ofstream(path, std::ios::binary) << file;
    const auto mm = [](int pixels) { return pixels * kMmPerInch / 100; };
    SaneScanner scanner("pnm:0");
    scanner.set({{"filename", path.string()}});
    WaitingSink sink;
    const tagRRECT rect{mm(c.want.left), mm(c.want.top), mm(c.want.right),
                        mm(c.want.bottom ? c.want.bottom : c.want.top)};
    ASSERT_TRUE(scanner.scan({c.mode, 100, rect}, &sink)) << scanner.fault().text;
    ASSERT_EQ(sink.ended, std::vector<int>{1}) << scanner.fault().text;
    const Picture whole = readPnm(file);
    Picture want{0, 0, whole.channels, {}};
    const auto right = std::min<std::int64_t>(c.want.right, whole.width);
    const auto bottom = std::min<std::int64_t>(c.want.bottom ? c.want.bottom : 1000, whole.height);
    want.width = right - c.want.left;
    want.height = bottom - c.want.top;
    for (std::int64_t y = c.want.top; y < bottom; ++y)
      for (std::int64_t x = c.want.left * whole.channels; x < right * whole.channels; ++x) {
        const std::uint8_t level = whole.bytes[static_cast<std::size_t>(y * whole.width * whole.channels + x)];
        want.bytes.push_back(c.mode != 0 ? level : level < 128 ? 0 : 255);
      }
    EXPECT_TRUE(same(pictureOf(sink), want));
    EXPECT_EQ(sink.announced, want.height);
  }
  std::ofstream(path, std::ios::binary) << "P5\n41 19\n255\n" << std::string(41 * 12 + 20, 'x');
  SaneScanner scanner("pnm:0");
  scanner.set({{"filename", path.string()}});
  WaitingSink torn, sink;
  ASSERT_TRUE(scanner.scan({5, 100}, &torn));
  EXPECT_EQ(torn.ended, std::vector<int>{1}) << scanner.fault().text;
  EXPECT_EQ(torn.lineCount, 12) << "as long as its lines";
  ASSERT_TRUE(scanner.scan({5, 100, {500, 0, 600, 10}}, &sink));
  EXPECT_EQ(sink.started, 0);
  EXPECT_NE(scanner.fault().text.find("outside"), std::string::npos) << scanner.fault().text;
}

std::vector<KXRGBQUAD> fallingCurves() {
  std::vector<KXRGBQUAD> curves(256);
  for (std::size_t i = 0; i < 256; ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    curves[i] = {static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i / 2), v, 0};
  }
  return curves;
}

// The driver has tables that do nothing: curves must not be left to them.
TEST(SanePages, CurvesAreTheTablesValues) {
  const auto curves = fallingCurves();
  CKxBlob bytes(1024);
  std::memcpy(bytes.data(), curves.data(), bytes.size());
  const auto pictureOfMode = [&](int mode, bool hasCurves) {
    SaneScanner scanner;
    const auto params = Request{mode, 75, {0, 0, 50, 50}}.params();
    if (hasCurves) params->SetValue(key::Gamma, bytes);
    WaitingSink sink;
    EXPECT_TRUE(scanner.unit->Scan(&sink, params.get()) && scanner.unit->Command(&sink, 0) && sink.waitForEnd());
    return pictureOf(sink);
  };
  Picture colour = pictureOfMode(7, false), grey = pictureOfMode(5, false);
  for (std::size_t i = 0; i < colour.bytes.size(); i += 3) {
    std::uint8_t* p = colour.bytes.data() + i;
    p[0] = curves[p[0]].red;
    p[1] = curves[p[1]].green;
    p[2] = curves[p[2]].blue;
  }
  for (std::uint8_t& v : grey.bytes) v = greyOf(curves[v].red, curves[v].green, curves[v].blue);
  EXPECT_TRUE(same(pictureOfMode(7, true), colour));
  EXPECT_TRUE(same(pictureOfMode(5, true), grey));
}

TEST(SanePages, TablesOfTheDeviceAreComposedAndPutBack) {
  const auto curves = fallingCurves();
  SaneThread::instance().call(nullptr, [&] {
    SaneDevice device("test:0");
    const auto table = [&](const char* name) { return device.find(name)->value; };
    const char* const channels[] = {"red-gamma-table", "green-gamma-table", "blue-gamma-table"};
    SaneGamma gamma;
    device.setText("mode", "Color");
    device.setNumber("depth", 8);
    device.set("enable-test-options", {{SANE_TRUE}, {}});  // the driver hides tables when this is switched off
    device.set("enable-test-options", {{SANE_FALSE}, {}});
    gamma.apply(device, curves);
    EXPECT_FALSE(gamma.isApplied()) << "inactive tables are none";
    device.set("enable-test-options", {{SANE_TRUE}, {}});
    std::vector<SANE_Word> bent(256);
    for (int i = 0; i < 256; ++i) bent[static_cast<std::size_t>(i)] = i * i / 255;
    for (const char* name : channels) device.set(name, {bent, {}});
    gamma.apply(device, curves);
    EXPECT_TRUE(gamma.isApplied());
    for (std::size_t i = 0; i < 256; ++i) {
      const auto level = static_cast<std::size_t>(bent[i]);
      ASSERT_EQ(table(channels[0])[i], curves[level].red) << i;
      ASSERT_EQ(table(channels[1])[i], curves[level].green) << i;
      ASSERT_EQ(table(channels[2])[i], curves[level].blue) << i;
    }
    gamma.restore(device);
    for (const char* name : channels) EXPECT_EQ(table(name), bent) << name;
    device.set(channels[2], {std::vector<SANE_Word>(256, 0), {}});
    gamma.apply(device, curves);
    EXPECT_FALSE(gamma.isApplied()) << "a table that does not rise";
    EXPECT_EQ(table(channels[0]), bent) << "half of the tables would be no curves";
    device.setText("mode", "Gray");
    device.setNumber("depth", 8);
    const auto own = table("gamma-table");
    gamma.apply(device, curves);
    ASSERT_TRUE(gamma.isApplied());
    for (std::size_t i = 0; i < own.size(); ++i) {
      const KXRGBQUAD& c = curves[static_cast<std::size_t>(own[i])];
      ASSERT_EQ(table("gamma-table")[i], greyOf(c.red, c.green, c.blue)) << i;
    }
    gamma.restore(device);
    for (std::size_t i = 0; i < bent.size(); ++i) bent[i] = static_cast<SANE_Word>(i);
    for (const char* name : channels) device.set(name, {bent, {}});  // the driver keeps them
    device.set("enable-test-options", {{SANE_FALSE}, {}});
  });
  EXPECT_TRUE(SaneGamma::isTrusted("epson2:test:/dev/usb"));
  EXPECT_FALSE(SaneGamma::isTrusted("test:0"));
  EXPECT_FALSE(SaneGamma::isTrusted("net:host:test:0"));
}

TEST(SanePages, TablesOfMoreLevelsAreComposedBetweenTheCurvesLevels) {
  LevelTable curve;
  for (std::size_t i = 0; i < 256; ++i) curve[i] = static_cast<std::uint8_t>(i < 128 ? 2 * i : 255);
  const auto made = SaneGamma::compose({0, 128.5 / 255 * 65535, 10.25 / 255 * 65535, 65535}, 0, 65535, curve);
  const double want[] = {0, 65535, 20.5 / 255 * 65535, 65535};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(made[i], want[i], 0.01) << i;
}

}  // namespace
}  // namespace quillbay::testing
