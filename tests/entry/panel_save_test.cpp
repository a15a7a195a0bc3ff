// The save page in a whole panel: files of each kind of page get its format, in this panel and in the next.
#include "panel_fixture.h"
#include "quillbay/format_settings.h"

namespace quillbay {
namespace {

class PanelSaveTest : public PanelTest {
 protected:
  void push(const std::vector<std::pair<std::string, CKxVariant>>& values) {
    const auto chosen = new_MemParam();
    for (const auto& [key, value] : values) chosen->SetValue(key, value);
    query<IQuillbaySink>(control.get())->ApplyParams(chosen.get());
    QApplication::processEvents();
  }
};

TEST_F(PanelSaveTest, EachKindOfPageHasItsFormatAndHostsMayOverrideIt) {
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  EXPECT_EQ(control->ShowPage(kSavePage), 1);
  EXPECT_EQ(control->ShowPage(99), 0);
  const auto* grey = window()->findChild<QComboBox*>("grey");
  ASSERT_TRUE(grey);
  EXPECT_TRUE(grey->isVisibleTo(window())) << "in front";
  push({{"m_ExtSelName1", "(*.png)"}, {"m_Chars", 5}, {"m_fFileFate", kFateIncrement}});
  EXPECT_EQ(run(), EndCause::Done);
  set("m_CurrMode", kModeBwThreshold);
  EXPECT_EQ(run(), EndCause::Done);
  set("m_CurrMode", kModeGrey);
  set("m_Ext", ".jpg");
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(filesIn(out.path()), (std::vector<std::string>{"page00000.png", "page00001.tif", "page00002.jpg"}));
  close();
  ASSERT_TRUE(openSmall("sim:size=210x290,at=10x0"));
  EXPECT_EQ(*get("m_Ext").get<std::string>(), ".png") << "what the host asked for is not kept";
  EXPECT_EQ(*get("m_CounterFormat").get<std::string>(), "%.5d");
  set("m_fMultiPage", 1);
  EXPECT_EQ(*get("m_Ext").get<std::string>(), ".tif") << "PNG holds one page";
  EXPECT_EQ(run(StartKind::Batch, 2), EndCause::Done);
  EXPECT_EQ(pagesIn(out.file("page.tif")), 2);
}

}  // namespace
}  // namespace quillbay
