#include <gtest/gtest.h>

#include <algorithm>

#include "quillbay/formats.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

TEST(FormatModules, AreFoundBesideTheProgramAndSayWhatTheyTake) {
  const std::vector<FormatInfo> formats = ListFormats();
  const auto named = [&](const char* name) {
    return std::find_if(formats.begin(), formats.end(), [&](const FormatInfo& f) { return f.name == name; });
  };
  ASSERT_NE(named("TIFF"), formats.end());
  ASSERT_NE(named("PNG"), formats.end());
  EXPECT_TRUE(named("TIFF")->paged);
  EXPECT_FALSE(named("PNG")->paged);
  EXPECT_EQ(named("TIFF")->extensions.front(), ".tif");
  const auto& options = named("TIFF")->options;
  const auto compression =
      std::find_if(options.begin(), options.end(), [](const FormatOption& o) { return o.key == "Compression"; });
  ASSERT_NE(compression, options.end());
  EXPECT_EQ(compression->choices.front(), "auto");
}

TEST(FormatModules, ColourSpacesAndNamesThatNoModuleTakes) {
  const TempFolder folder;
  const auto channel = new_FileChanel(nullptr, folder.file("a.TIFF"), nullptr, nullptr);  // letters of any case
  const auto save = channel.as<IKxRasterSaveFileChanel>();
  EXPECT_TRUE(save->AcceptColorSpace(KxColorSpace::Bitonal));
  EXPECT_TRUE(save->AcceptColorSpace(KxColorSpace::Bgra));
  EXPECT_FALSE(save->AcceptColorSpace(KxColorSpace::Four));
  EXPECT_FALSE(save->AcceptColorSpace(KxColorSpace::None));
  EXPECT_THROW(new_FileChanel(nullptr, folder.file("a.xyz"), nullptr, nullptr), CXFileException);
  EXPECT_THROW(new_FileChanel(nullptr, folder.file("none/a.tif"), nullptr, nullptr), CXFileException);
}

}  // namespace
}  // namespace quillbay::test
