#include "destinations/page_draft.h"

#include <gtest/gtest.h>

#include "destinations/file_names.h"
#include "destinations/macro_list.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

TEST(PageTarget, IsMadeOfTheDraftAndOfWhatTheScannerSays) {
  struct Case {
    const char* why;
    std::int32_t fate;
    std::uint32_t dpi;
    bool agreed, taken;  ///< a file may be replaced; one stands under the name that comes out
    std::string openPart;
    const char* name;  ///< in the folder
    bool mayReplace, refused;
    std::int64_t lines, expected;
    std::int32_t least;
  };
  const Case cases[] = {
      {"as prepared", kFateIncrement, 100, false, false, "", "100.tif", false, false, -1, 77, 393},
      {"the scanner knows its lines", kFateIncrement, 100, false, false, "", "100.tif", false, false, 90, 90, 393},
      {"another resolution", kFateIncrement, 254, false, false, "", "254.tif", false, false, -1, 77, 1000},
      {"agreed to for this name", kFateAsk, 100, true, true, "", "100.tif", true, false, -1, 77, 393},
      {"but not for another one", kFateAsk, 254, true, true, "", "", false, true, -1, 77, 1000},
      {"any may be replaced", kFateOverwrite, 254, true, true, "", "254.tif", true, false, -1, 77, 1000},
      {"joins the run's file", kFateIncrement, 254, false, false, "first.tif", "first.tif", false, false, -1, 77,
       1000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const test::TempDir dir;
    PageDraft draft;
    ScanValues& v = draft.names.values;
    v.dir = dir.path();
    v.mask = "<DPI>";
    v.useAutoCounter = 0;
    v.fileFate = c.fate;
    v.scanType = kAreaCustom;
    v.rcScan = {0, 0, 50, 100};
    draft.names.macros = std::make_shared<MacroList>("ann", true);
    draft.mayReplace = c.agreed;
    draft.expectedLines = 77;
    draft.isLast = false;
    v.outputFile = buildOutputPath(draft.names);
    if (!c.openPart.empty()) draft.openPart = dir.file(c.openPart);
    if (c.taken) test::writeFile(dir.file(std::to_string(c.dpi) + ".tif"), "old");
    const NamedPage page = makePageTarget(draft, {KxColorSpace::Grey, c.dpi, c.lines});
    EXPECT_EQ(!page.refused.empty(), c.refused) << page.refused;
    EXPECT_EQ(page.target.path, *c.name ? dir.file(c.name) : "");
    EXPECT_EQ(page.target.mayReplace, c.mayReplace);
    EXPECT_EQ(page.target.expectedLines, c.expected);
    EXPECT_EQ(page.target.leastLines, c.least);
    EXPECT_FALSE(page.target.isLast);
  }
}

}  // namespace
}  // namespace quillbay
