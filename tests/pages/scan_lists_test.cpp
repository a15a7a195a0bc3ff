#include "pages/scan_lists.h"

#include <gtest/gtest.h>

#include "pages/paper_list.h"
#include "pages/settings_text.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

TEST(ScanLists, AScannerWithoutColourHasFiveModes) {
  const test::NotingController controller;
  EXPECT_EQ(modeEntries(*controller.unit, false).size(), 5U);
  const ListEntries all = modeEntries(*controller.unit, true);
  ASSERT_EQ(all.size(), 8U);
  EXPECT_EQ(all[6], (ListEntry{"Palette", 6}));
}

TEST(ScanLists, ResolutionRanges) {
  const std::tuple<const char*, bool, int, int> cases[] = {{"50..1200", true, 50, 1200},
                                                           {"50..1200 (in steps of 1)", true, 50, 1200},
                                                           {"0.5..9600", true, 1, 9600},
                                                           {"", false, 0, 0},
                                                           {"many", false, 0, 0}};
  for (const auto& [text, has, least, greatest] : cases) {
    SCOPED_TRACE(text);
    const test::NotingController controller;
    controller.unit->dpiRange = text;
    const auto range = resolutionRange(*controller.unit);
    ASSERT_EQ(range.has_value(), has);
    if (range) {
      EXPECT_TRUE(range->least == least && range->greatest == greatest);
    }
  }
}

/// A host with a paper list of three, one of them unused and one in a unit that nobody knows.
class Papers final : public CKxUnknownImpl<IApp, IStdPapersParam, IStyleManager> {
 public:
  Papers() {
    add("a", "Sheet", {10, 20}, "mm", 1);
    add("b", "Unused", {10, 20}, "mm", 0);
    add("c", "Strange", {10, 20}, "furlong", 1);
  }
  std::string GetProductName() override { return "test"; }
  IParam* GetPapers() override { return KxPtr(m_papers).detach(); }
  ILinearUnit* GetLinearUnit(const char* name) override { return m_host.units->GetLinearUnit(name); }

 private:
  struct Host {
    test::PanelWorld world;
    KxPtr<IStyleManager> units = world.app.as<IStyleManager>();
  };
  void add(const char* id, const char* name, const tagRPOINT& size, const char* unit, int used) {
    const auto paper = KxPtr<IParam>::adopt(m_papers->GetSubStore(id, 1));
    paper->SetValue("Used", used);
    paper->SetValue("Name", name);
    paper->SetValue("Size", size);
    paper->SetValue("Units", unit);
  }
  Host m_host;
  KxPtr<IParam> m_papers = new_MemParam();
};

TEST(PaperList, TakesUsedPapersInMillimetres) {
  const auto strange = KxPtr<Papers>::adopt(new Papers);
  const auto few = loadPapers(strange.get());
  ASSERT_EQ(few.size(), 1U);
  EXPECT_EQ(few[0].name, "Sheet");
}

TEST(SettingsText, NamesEveryPaperOfAFoundSize) {
  const std::vector<PaperRecord> papers{{"A4", {210, 297}}, {"A3", {297, 420}}, {"Square", {300, 300}}};
  struct Case {
    const char* why;
    double width, length;
    bool widthOnly;
    const char* want;
  };
  const Case cases[] = {
      {"upright", 210, 297, false, "Detected:A4  Portrait\n\r"},
      {"lying", 297, 210, false, "Detected:A4 Landscape\n\r"},
      {"a width that two papers have", 297.0009, 5, true, "Detected:A4  Landscape\n\ror   \tA3   Portrait\n\r"},
      {"a square is both", 300, 300, false, "Detected:Square  Portrait\n\ror   \tSquare Landscape\n\r"},
      {"nothing keeps the text before", 210.002, 297, false, "before"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(detectionText(papers, c.width, c.length, c.widthOnly, "before"), c.want) << c.why;
}

TEST(SettingsText, Summary) {
  SummaryParts parts{"/out/scan.tif", "", "RGB", "A0", "Detected:A0  Portrait\n\r", 300};
  EXPECT_EQ(settingsSummary(parts),
            "/out/scan.tif\rMode: \tRGB\rPaper: \tA0\rDetected:A0  Portrait\n\rDPI: \t300\r");
  parts.preset = "Maps";
  EXPECT_NE(settingsSummary(parts).find("\rPreset: \tMaps\rMode: "), std::string::npos);
}

}  // namespace
}  // namespace quillbay
