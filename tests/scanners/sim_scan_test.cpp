#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <numbers>

#include "quillbay/scan_keys.h"
#include "scanners/sim/sim_config.h"
#include "scanners/sim/sim_scan.h"
#include "sim_scan_helper.h"

namespace quillbay {
namespace {

using testing::RecordingSink;
using testing::SimRig;

std::vector<std::uint8_t> scanned(const std::string& device, int mode, int dpi, const tagRRECT& area) {
  RecordingSink sink;
  SimRig rig(device);
  rig.newRequest(mode, dpi);
  rig.area(area.left, area.top, area.right, area.bottom);
  EXPECT_EQ(rig.scan(sink), 1);
  EXPECT_TRUE(sink.inOrder);
  return sink.bytes;
}

TEST(SimScan, SameSeedSameBytes) {
  const tagRRECT area{0, 0, 300, 0};
  const std::string sheet = "sim:width=300,size=270x200,skew=1,background=dirty";
  for (const int mode : {0, 5, 6, 7}) {
    const auto bytes = scanned(sheet, mode, 60, area);
    EXPECT_EQ(bytes, scanned(sheet, mode, 60, area)) << mode;
    EXPECT_EQ(bytes, scanned(sheet + ",depth=16,speed=1000000", mode, 60, area))
        << mode;  // stripes of other heights
    EXPECT_NE(bytes, scanned(sheet + ",seed=2", mode, 60, area)) << mode;
  }
}

TEST(SimScan, APartEqualsThePartOfTheWhole) {
  for (const char* kind : {"background=white,drawing=plan", "background=dirty,drawing=map"}) {
    const std::string device = std::string("sim:width=420,size=330x480,skew=2.5,at=30x15,") + kind;
    const double mm = 25.4 / 80;
    const auto whole = scanned(device, 7, 80, {0, 0, 420, 540});
    const auto part = scanned(device, 7, 80, {600 * mm, 850 * mm, 1200 * mm, 1550 * mm});
    const std::size_t width = static_cast<std::size_t>(roundHalfUp(mmToPixels(420, 80)));
    ASSERT_EQ(part.size(), 600U * 700U * 3U);
    for (std::size_t y = 0; y < 700; ++y)
      ASSERT_TRUE(std::equal(part.begin() + static_cast<std::ptrdiff_t>(y * 1800),
                             part.begin() + static_cast<std::ptrdiff_t>((y + 1) * 1800),
                             whole.begin() + static_cast<std::ptrdiff_t>(((y + 850) * width + 600) * 3)))
          << kind << " line " << y;
  }
}

// The edges of a bright sheet on the dark bed, in pixels: where a line or column crosses half the brightness.
double crossing(const std::vector<std::uint8_t>& px, std::size_t start, std::size_t step, std::size_t count) {
  for (std::size_t i = 0; i + 1 < count; ++i) {
    const double a = px[start + i * step];
    const double b = px[start + (i + 1) * step];
    if (a < 130 && b >= 130) return static_cast<double>(i) + 0.5 + (130 - a) / (b - a);
  }
  return -1;
}

TEST(SimScan, PaperLiesWhereItWasPut) {
  struct Case {
    double x, y, width, length, skew;
  };
  const Case cases[] = {{150, 40, 300, 200, 0}, {80.3, 20.7, 297, 210, 1.5}, {60, 60, 300, 200, -2}};
  constexpr int kDpi = 100;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.skew);
    RecordingSink sink;
    SimRig rig("sim:width=500,size=" + std::to_string(c.width) + "x" + std::to_string(c.length) +
               ",at=" + std::to_string(c.x) + "x" + std::to_string(c.y) + ",skew=" + std::to_string(c.skew));
    rig.newRequest(5, kDpi);
    ASSERT_EQ(rig.scan(sink), 1);
    const auto width = static_cast<std::size_t>(sink.width);
    const auto height = static_cast<std::size_t>(sink.lineCount);
    const double angle = c.skew * std::numbers::pi / 180;
    const double scale = kDpi / 25.4;
    const double end = c.y + c.length * std::cos(angle) + std::max(0.0, c.width * std::sin(angle));
    ASSERT_NEAR(static_cast<double>(height), end * scale, 1);
    // Where a line at `t` of the page's length meets its left edge, and a column at `t` of its width the top one.
    for (const double t : {0.2, 0.8}) {
      const double leftX = (c.x - c.length * t * std::sin(angle)) * scale;
      const double leftY = (c.y + c.length * t * std::cos(angle)) * scale;
      const double topX = (c.x + c.width * t * std::cos(angle)) * scale;
      const double topY = (c.y + c.width * t * std::sin(angle)) * scale;
      const auto row = static_cast<std::size_t>(leftY);
      const auto column = static_cast<std::size_t>(topX);
      EXPECT_NEAR(crossing(sink.bytes, row * width, 1, width), leftX, 0.6) << t;
      EXPECT_NEAR(crossing(sink.bytes, column, width, height), topY, 0.6) << t;
    }
  }
}

TEST(SimScan, TellsWhatItDelivers) {
  struct Case {
    const char* keys;
    int mode;
    KxColorSpace colorSpace;
    tagRRECT area;
    std::int64_t width, lines, announced;
  };
  const Case cases[] = {
      {"size=100x50", 0, KxColorSpace::Bitonal, {0, 0, 127, 0}, 500, 197, 197},
      {"size=100x50,at=10x77", 5, KxColorSpace::Grey, {0, 0, 127, 0}, 500, 500, 500},
      {"size=100x50,at=10x77", 6, KxColorSpace::Palette, {25.4, 25.4, 127, 50.8}, 400, 100, 100},
      {"unknown-length=1", 7, KxColorSpace::Rgb, {0, 0, 900, 25.4}, 500, 100, -1},  // cut to the bed
      {"length=50.8", 5, KxColorSpace::Grey, {0, 0, 127, 900}, 500, 200, 200},
      {"finds-end=0", 5, KxColorSpace::Grey, {0, 25.4, 127, 25.4}, 500, 120, 120},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.keys);
    RecordingSink sink;
    SimRig rig(std::string("sim:width=127,") + c.keys);
    rig.newRequest(c.mode, 100).SetValue("m_Edit", 30.48);
    rig.area(c.area.left, c.area.top, c.area.right, c.area.bottom);
    ASSERT_EQ(rig.scan(sink), 1);
    EXPECT_EQ(sink.colorSpace, c.colorSpace);
    EXPECT_EQ(sink.width, c.width);
    EXPECT_EQ(sink.lineCount, c.lines);
    EXPECT_EQ(sink.announced, c.announced);
    EXPECT_EQ(sink.dpi, 100U);
  }
}

TEST(SimScan, CurvesAndThresholdApply) {
  const std::string device = "sim:width=100,size=90x60";
  RecordingSink plain, inverse, black;
  SimRig rig(device);
  EXPECT_EQ(rig.scan(plain), 1);
  CKxBlob gamma(1024);
  for (std::size_t i = 0; i < 1024; ++i) gamma[i] = static_cast<std::uint8_t>(255 - i / 4);
  SimRig curved(device);
  curved.request->SetValue("SCAN_GAMMA", gamma);
  EXPECT_EQ(curved.scan(inverse), 1);
  ASSERT_EQ(inverse.bytes.size(), plain.bytes.size());
  for (std::size_t i = 0; i < plain.bytes.size(); ++i) ASSERT_EQ(inverse.bytes[i], 255 - plain.bytes[i]);
  SimRig bitonal(device);
  bitonal.newRequest(0, 50).SetValue("SCAN_THRESHOLD", 0);
  EXPECT_EQ(bitonal.scan(black), 1);
  EXPECT_EQ(black.bytes.size(), static_cast<std::size_t>(black.lineCount) * 8);  // no run anywhere
}

std::int64_t memoryPeak() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == "VmHWM:") return status >> word ? std::stoll(word) : 0;
  return 0;
}

TEST(SimScan, ARollOfFiftyMetresTakesNoMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer keeps memory of its own";
#endif
  RecordingSink sink;
  sink.keep = false;
  SimRig rig("sim:size=880x50000,skew=0.1");
  rig.newRequest(5, 25);
  const std::int64_t before = memoryPeak();
  EXPECT_EQ(rig.scan(sink), 1);
  EXPECT_GT(sink.lineCount, 49000);
  EXPECT_LT(memoryPeak() - before, 64 * 1024);
}

TEST(SimConfig, ReadsEveryKeyAndTellsItAgain) {
  const char* device =
      "sim:width=1000,length=5000,size=594x841.5,at=150x-40,skew=-1.5,background=white,source=flatbed,count=3,"
      "speed=2000,seed=7,drawing=map,jam-after=2000,fault=cover,unknown-length=1,finds-end=0,centring=2,depth=16,"
      "colour=0,"
      "image-dpi=254,images=/a%2Cb.tif:/c.png";
  SimConfig config;
  std::string why;
  ASSERT_TRUE(parseSimDevice(device, &config, &why)) << why;
  EXPECT_EQ(config.paperLength, 841.5);
  EXPECT_EQ(config.y, -40);
  EXPECT_EQ(config.fault, UnitFaultCode::CoverOpen);
  EXPECT_EQ(config.images, (std::vector<std::string>{"/a,b.tif", "/c.png"}));
  std::string again = "sim:";
  for (const UnitOption& o : simOptions(config)) again += (again.size() > 4 ? "," : "") + o.name + "=" + o.value;
  EXPECT_EQ(again, device);
}

TEST(SimConfig, RefusesByNameAndListsWhatIsAllowed) {
  struct Case {
    const char *device, *named, *listed;
  };
  const Case cases[] = {
      {"sim:widht=900", "\"widht\"", "width, length, size"},
      {"sim:width", "width=", "10 to 2000"},
      {"sim:width=nan", "width=nan", "10 to 2000"},
      {"sim:size=594x841x3", "size=594x841x3", "WIDTHxLENGTH"},
      {"sim:skew=1,5", "\"5\"", "skew"},
      {"sim:skew=60", "skew=60", "-45 to 45"},
      {"sim:background=black", "background=black", "dark, light, white"},
      {"sim:fault=fire", "fault=fire", "jam, cover, busy"},
      {"sim:count=2.5", "count=2.5", "pages"},
      {"sim:depth=12", "depth=12", "8, 16"},
      {"test:0", "test:0", "sim:"},
      {"sim:images=/nowhere/x.ppm", "/nowhere/x.ppm", "no such file"},
  };
  for (const Case& c : cases) {
    std::string why;
    EXPECT_FALSE(newSimScan(c.device, &why)) << c.device;
    EXPECT_NE(why.find(c.named), std::string::npos) << why;
    EXPECT_NE(why.find(c.listed), std::string::npos) << why;
    EXPECT_EQ(why.find('\n'), std::string::npos) << why;
  }
  for (const char* fine : {"sim", "sim:", "sim:,", "sim:seed=3,"}) EXPECT_TRUE(newSimScan(fine, nullptr)) << fine;
}

// Filters hold lines back: what they hold is handed on at the end and at a fault.
TEST(SimScan, FiltersLoseNoLine) {
  for (const char* device : {"sim:width=60,size=50x50", "sim:width=60,size=50x50,jam-after=37"}) {
    for (const int mode : {5, 6, 7}) {
      SCOPED_TRACE(::testing::Message() << device << ", mode " << mode);
      RecordingSink plain, filtered;
      SimRig rig(device), other(device);
      rig.newRequest(mode, 60);
      rig.area(0, 0, 60, 50);
      const int status = rig.scan(plain);
      IParam& request = other.newRequest(mode, 60);
      other.area(0, 0, 60, 50);
      request.SetValue(key::numbered(key::Blur, mode), 4);
      request.SetValue(key::numbered(key::SoftenSharpen, mode), 8);
      EXPECT_EQ(other.scan(filtered), status);
      EXPECT_EQ(filtered.lineCount, plain.lineCount);
      EXPECT_GT(filtered.lineCount, 30);
    }
  }
}

}  // namespace
}  // namespace quillbay
