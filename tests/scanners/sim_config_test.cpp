#include "scanners/sim/sim_config.h"

#include <gtest/gtest.h>

#include "scanners/sim/sim_scan.h"

namespace quillbay {
namespace {

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
      {"sim:width=9000", "width=9000", "10 to 2000"},
      {"sim:width=nan", "width=nan", "10 to 2000"},
      {"sim:size=594", "size=594", "WIDTHxLENGTH"},
      {"sim:size=594x841x3", "size=594x841x3", "WIDTHxLENGTH"},
      {"sim:skew=1,5", "\"5\"", "skew"},
      {"sim:skew=60", "skew=60", "-45 to 45"},
      {"sim:background=black", "background=black", "dark, light, white"},
      {"sim:fault=fire", "fault=fire", "jam, cover, busy"},
      {"sim:count=2.5", "count=2.5", "pages"},
      {"sim:count=-1", "count=-1", "pages"},
      {"sim:depth=12", "depth=12", "8, 16"},
      {"sim:colour=", "colour=", "0, 1"},
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

}  // namespace
}  // namespace quillbay
