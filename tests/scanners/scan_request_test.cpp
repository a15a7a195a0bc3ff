#include "scanners/scan_request.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

TEST(ScanRequest, TellsEveryValueThatIsNone) {
  const double nan = std::nan(""), infinite = std::numeric_limits<double>::infinity();
  struct Case {
    const char* key;
    CKxVariant value;
    const char* says;  // empty: taken
  };
  const Case cases[] = {
      {key::Rect, tagRRECT{0, 0, 50, 0}, ""},
      {key::Rect, tagRRECT{50, 0, 50, 10}, "area"},
      {key::Rect, tagRRECT{0, 20, 50, 10}, "area"},
      {key::Rect, tagRRECT{0, 0, nan, 10}, "area"},
      {key::Rect, tagRRECT{0, 0, 10, infinite}, "area"},
      {key::Rect, "A5", "area"},
      {key::PaperLength, 0.0, ""},
      {key::PaperLength, nan, "m_Edit"},
      {key::PaperLength, infinite, "to 1000000"},
      {key::PaperLength, -1.0, "from 0"},
      {key::RequestType, 3, "from 0 to 2"},
      {key::Threshold, 256, "from 0 to 255"},
      {key::ImageDpi, "fine", "\"fine\""},
      {key::ImageDpi, nan, "ImageDPI"},
      {key::Mode, infinite, "MODE"},
      {key::BatchMode, 2.5, ""},
      {key::Gamma, CKxBlob(1024), ""},
      {key::Gamma, CKxBlob(1023), "1024 bytes"},
      {key::Palette, CKxBlob(1024), ""},  // of another mode
  };
  for (const Case& c : cases) {
    const auto set = new_MemParam();
    set->SetValue(c.key, c.value);
    ScanRequest request;
    const std::string why = readScanRequest(set.get(), &request);
    EXPECT_EQ(why.empty(), *c.says == '\0') << c.key << ": " << why;
    EXPECT_NE(why.find(c.says), std::string::npos) << c.key << ": " << why;
  }
}

TEST(ScanRequest, TheLevelIsTheModesOwn) {
  struct Case {
    int mode;
    const char* key;
    int level;
  };
  for (const Case& c : {Case{3, "LEVEL3", 77}, {3, "LEVEL2", -1}, {5, "LEVEL5", -1}, {3, "SCAN_THRESHOLD", 77}}) {
    const auto set = new_MemParam();
    set->SetValue(key::Mode, c.mode);
    set->SetValue(c.key, 77);
    ScanRequest request;
    EXPECT_EQ(readScanRequest(set.get(), &request), "") << c.key;
    EXPECT_EQ(request.level, c.level) << c.key;
  }
}

TEST(ScanRequest, ModesTakeWhatTheRangesTell) {
  for (int mode = 0; mode < 8; ++mode) {
    for (const char* stem : {key::Level, key::BackgroundSuppression, key::SoftenSharpen, key::Blur}) {
      const std::string name = key::numbered(stem, mode);
      SCOPED_TRACE(name);
      const auto known = modeKeyRange(name);
      const bool isAnyModes = stem == key::SoftenSharpen || stem == key::Blur;
      ASSERT_EQ(known.has_value(), isAnyModes || (stem == key::Level ? mode < 5 : mode == 1 || mode == 4));
      if (!known) continue;
      EXPECT_EQ(known->mode, mode);
      const UnitKeyRange& range = known->range;
      for (const double value : {range.least, range.initial, range.most, range.least - 1, range.most + 1}) {
        const auto set = new_MemParam();
        set->SetValue(key::Mode, mode);
        set->SetValue(name, value);
        ScanRequest request;
        const bool taken = readScanRequest(set.get(), &request).empty();
        EXPECT_EQ(taken, value >= range.least && value <= range.most) << value;
        set->SetValue(name, CKxVariant());
        ScanRequest usual;
        EXPECT_EQ(readScanRequest(set.get(), &usual), "");
        EXPECT_EQ(request.bw == usual.bw && request.color == usual.color, value == range.initial || !taken)
            << value;
      }
    }
  }
}

TEST(ScanRequest, ColourTakesWhatTheRangesTell) {
  struct Case {
    int mode;
    const char* key;
    CKxVariant value;
    const char* says;  // empty: taken
  };
  const Case cases[] = {{7, key::Saturation, 100, ""},
                        {7, key::Saturation, 101, "from -100 to 100"},
                        {6, key::Saturation, -101, "from -100 to 100"},
                        {5, key::Saturation, 500, ""},  // grey has none
                        {6, key::PaletteCount, 8, ""},
                        {6, key::PaletteCount, 7, "from 8 to 256"},
                        {6, key::PaletteCount, 257, "from 8 to 256"},
                        {7, key::PaletteCount, 2, ""},
                        {6, key::Palette, CKxBlob(1024), ""},
                        {6, key::Palette, CKxBlob(768), "1024 bytes"},
                        {6, key::Lut, CKxBlob(33792), ""},
                        {6, key::Lut, CKxBlob(33791), "33792 bytes"},
                        {6, key::Lut, "auto.lut", "auto.lut"}};
  for (const Case& c : cases) {
    const auto set = new_MemParam();
    set->SetValue(key::Mode, c.mode);
    set->SetValue(c.key, c.value);
    ScanRequest request;
    const std::string why = readScanRequest(set.get(), &request);
    EXPECT_EQ(why.empty(), *c.says == '\0') << c.key << ": " << why;
    EXPECT_NE(why.find(c.says), std::string::npos) << c.key << ": " << why;
  }
  EXPECT_EQ(modeKeyRange(key::Saturation)->mode, kModeRgb);
  EXPECT_EQ(modeKeyRange(key::PaletteCount)->range.least, 8);
  EXPECT_FALSE(modeKeyRange(key::Hue)) << "the curves have it already";
}

TEST(ScanRequest, APrescanIsNoPieceOfABurst) {
  const auto set = new_MemParam();
  set->SetValue(key::Bursting, 1);
  ScanRequest request;
  EXPECT_EQ(readScanRequest(set.get(), &request), "");
  EXPECT_TRUE(request.isPiece);
  set->SetValue(key::RequestType, kRequestPrescan);
  EXPECT_EQ(readScanRequest(set.get(), &request), "");
  EXPECT_FALSE(request.isPiece);
  EXPECT_EQ(readScanRequest(nullptr, &request), "");
}

}  // namespace
}  // namespace quillbay
