#include "destinations/disk_space.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

TEST(DiskSpace, ExpectsThePageUncompressed) {
  struct Case {
    const char* why;
    std::int32_t scanType, dpi, added, fragment;
    KxColorSpace colorSpace;
    std::int64_t want;
  };
  // An area of 254 x 508 mm, a fragment of 25.4 x 25.4 mm.
  const Case cases[] = {
      {"colour", kAreaCustom, 300, 0, 0, KxColorSpace::Rgb, 3000LL * 3 * 6000},
      {"grey", kAreaPaper, 300, 0, 0, KxColorSpace::Grey, 3000LL * 6000},
      {"bitonal", kAreaCustom, 300, 0, 0, KxColorSpace::Bitonal, 375LL * 6000},
      {"past 32 bits", kAreaCustom, 9600, 0, 0, KxColorSpace::Rgb, 96000LL * 3 * 192000},
      {"widened by 10 %", kAreaCustom, 300, 10, 0, KxColorSpace::Grey, 3300LL * 6000},
      {"to the end of the document", kAreaFixedWidth, 300, 0, 0, KxColorSpace::Grey, -1},
      {"a fragment is never open", kAreaFixedWidth, 300, 10, 1, KxColorSpace::Grey, 300LL * 300},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ScanValues v;
    v.rcScan = {0, 0, 254, 508};
    v.rcCustomScan = {0, 0, 25.4, 25.4};
    v.scanType = c.scanType;
    v.dpi = c.dpi;
    v.addWidthPercent = c.added;
    v.customScanValid = c.fragment;
    v.colorSpace = c.colorSpace;
    EXPECT_EQ(expectedBytes(v), c.want);
  }
}

TEST(DiskSpace, WarnsWithNumbersAndRefusesOnlyWhenNextToNothingIsFree) {
  constexpr std::int64_t kMiB = 1024 * 1024;
  EXPECT_EQ(judgeSpace("/out/", -1, 5 * kMiB).fate, SpaceVerdict::Enough) << "unknown";
  EXPECT_EQ(judgeSpace("/out/", 100 * kMiB, -1).fate, SpaceVerdict::Enough);
  EXPECT_EQ(judgeSpace("/out/", 100 * kMiB, 100 * kMiB).fate, SpaceVerdict::Enough);
  const SpaceVerdict tight = judgeSpace("/out/", 3'200'000'000, 8'600'000'000);
  EXPECT_EQ(tight.fate, SpaceVerdict::Tight);
  EXPECT_NE(tight.text.find("8.6 GB"), std::string::npos) << tight.text;
  EXPECT_NE(tight.text.find("3.2 GB"), std::string::npos) << tight.text;
  EXPECT_EQ(judgeSpace("/out/", 16 * kMiB - 1, 1).fate, SpaceVerdict::Full);
  EXPECT_EQ(judgeSpace("/out/", 16 * kMiB, 1).fate, SpaceVerdict::Enough);
  EXPECT_EQ(byteText(999'950), "1 MB");
}

}  // namespace
}  // namespace quillbay
