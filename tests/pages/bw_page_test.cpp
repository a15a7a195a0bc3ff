#include <gtest/gtest.h>

#include <QtWidgets>

#include "pages/bw_adapt.h"
#include "pages/bw_thresh.h"
#include "support/panel_world.h"
#include "widgets/number_spin.h"
#include "widgets/spin_scroll_edit.h"

namespace quillbay {
namespace {

struct BwWorld : test::PanelWorld {
  BwWorld() {
    for (int mode = 0; mode <= 4; ++mode) {
      const auto key = [mode](const char* stem) { return stem + std::to_string(mode); };
      controller.unit->ranges[key("LEVEL")] = {mode == 1 ? 64.0 : 128.0, 0, 255, 1};
      controller.unit->ranges[key("SOFTEN_SHARPEN")] = {0, -8, 8, 1};
      controller.unit->ranges[key("BLUR")] = {1, 0, 4, 1};
      if (mode == 1 || mode == 4) controller.unit->ranges[key("BACKGROUNDSUPP")] = {85, 0, 100, 1};
    }
  }
  BwPage* page(int mode) {
    BwPage* made = mode == 1 || mode == 4 ? static_cast<BwPage*>(new CBWAdapt(controller, params, mode))
                                          : new CBWThresh(controller, params, mode);
    made->Create(&window, mode);
    return made;
  }
  static CSpinScrollEdit* slider(BwPage* page, int id) { return page->control<CSpinScrollEdit>(id); }
  static std::string saved(BwPage* page) {
    const auto set = new_MemParam();
    EXPECT_EQ(page->Save(set.get()), 1);
    std::string text;
    for (const std::string& key : set->GetKeys())
      text += key + "=" + std::to_string(paramInt(set.get(), key, -99)) + " ";
    return text;
  }
  static void load(BwPage* page, const std::vector<std::pair<const char*, CKxVariant>>& values) {
    const auto set = new_MemParam();
    for (const auto& [key, value] : values) set->SetValue(key, value);
    page->Load(set.get());
  }
  QWidget window;
};

TEST(BwPages, EachModeHasItsOwnKeysWithTheUnitsDefaults) {
  BwWorld w;
  const char* const wanted[] = {"LEVEL0=128 SOFTEN_SHARPEN0=0 BLUR0=1 ",
                                "LEVEL1=64 BACKGROUNDSUPP1=85 SOFTEN_SHARPEN1=0 BLUR1=1 ",
                                "LEVEL2=128 SOFTEN_SHARPEN2=0 BLUR2=1 ", "LEVEL3=128 SOFTEN_SHARPEN3=0 BLUR3=1 ",
                                "LEVEL4=128 BACKGROUNDSUPP4=85 SOFTEN_SHARPEN4=0 BLUR4=1 "};
  for (int mode = 0; mode <= 4; ++mode) {
    BwPage* page = w.page(mode);
    EXPECT_EQ(w.saved(page), wanted[mode]);
    EXPECT_EQ(page->GetNumber(), 2 + mode);
    EXPECT_EQ(w.slider(page, BwPage::kSharpness)->slider()->minimum(), -8);
    EXPECT_EQ(w.slider(page, BwPage::kSharpness)->slider()->maximum(), 8);
  }
}

TEST(BwPages, AFilterThatTheUnitDoesNotKnowIsDisabledForItsModeAlone) {
  BwWorld w;
  w.controller.unit->ranges.erase("BLUR3");
  w.controller.unit->ranges.erase("LEVEL4");
  w.controller.unit->ranges.erase("BACKGROUNDSUPP4");
  struct Case {
    int mode, control;
    bool isEnabled;
  };
  for (const Case& c : {Case{3, BwPage::kBlur, false},
                        {3, BwPage::kSharpness, true},
                        {3, BwPage::kLevel, true},
                        {2, BwPage::kBlur, true},
                        {4, BwPage::kLevel, true},
                        {4, BwPage::kSuppression, true}}) {
    CSpinScrollEdit* control = w.slider(w.page(c.mode), c.control);
    EXPECT_EQ(control->field()->isEnabled(), c.isEnabled) << c.mode << ' ' << c.control;
    EXPECT_EQ(control->slider()->isEnabled(), c.isEnabled) << c.mode << ' ' << c.control;
  }
  EXPECT_EQ(w.slider(w.page(4), BwPage::kLevel)->slider()->maximum(), 1) << "what an unknown key takes";

  BwPage* page = w.page(3);
  w.load(page, {{"LEVEL3", 200}});
  w.controller.unit->ranges["BLUR3"] = {2, 0, 2, 1};
  w.controller.unit->ranges["LEVEL3"] = {90, 0, 99, 1};
  w.params->NotifyParam("OnSelchangeScanmode");
  EXPECT_TRUE(w.slider(page, BwPage::kBlur)->field()->isEnabled()) << "the scanner was set up";
  EXPECT_EQ(w.saved(page), "LEVEL3=99 SOFTEN_SHARPEN3=0 BLUR3=2 ")
      << "a filter that is new begins with the unit's default";
}

TEST(BwPages, LoadTakesWhatIsThereAndResetTheRest) {
  BwWorld w;
  BwPage* page = w.page(1);
  w.load(page, {{"LEVEL1", 30}, {"BLUR1", 2.9}, {"LEVEL0", 77}});
  EXPECT_EQ(w.saved(page), "LEVEL1=30 BACKGROUNDSUPP1=85 SOFTEN_SHARPEN1=0 BLUR1=2 ");
  w.load(page, {{"BACKGROUNDSUPP1", 40}});
  EXPECT_EQ(w.saved(page), "LEVEL1=30 BACKGROUNDSUPP1=40 SOFTEN_SHARPEN1=0 BLUR1=2 ");
  w.load(page, {{"LEVEL1", 999}, {"SOFTEN_SHARPEN1", -99}, {"BLUR1", "text"}});
  EXPECT_EQ(w.saved(page), "LEVEL1=255 BACKGROUNDSUPP1=40 SOFTEN_SHARPEN1=-8 BLUR1=2 ") << "held to the ranges";
  EXPECT_EQ(w.controller.pageChanges, 0);
  page->OnCommand(CTab::kResetPage, kCodeClicked, 0);
  EXPECT_EQ(w.saved(page), "LEVEL1=64 BACKGROUNDSUPP1=85 SOFTEN_SHARPEN1=0 BLUR1=1 ");
}

TEST(BwPages, FractionsAreTruncatedTowardZero) {
  BwWorld w;
  BwPage* page = w.page(0);
  const auto type = [&](int id, const char* text) {
    auto* edit = w.slider(page, id)->field()->findChild<QLineEdit*>();
    edit->setText(text);
    Q_EMIT edit->textEdited(text);
  };
  type(BwPage::kLevel, "12.7");
  type(BwPage::kSharpness, "-2.7");
  EXPECT_EQ(w.saved(page), "LEVEL0=12 SOFTEN_SHARPEN0=-2 BLUR0=1 ");
  EXPECT_EQ(w.controller.pageChanges, 2);
  EXPECT_EQ(page->GetRefusal(), "");
  EXPECT_EQ(w.slider(page, BwPage::kLevel)->field()->text(), "12") << "the field shows what is scanned with";
  type(BwPage::kBlur, "much");
  EXPECT_NE(page->GetRefusal(), "");
  EXPECT_EQ(w.saved(page), "LEVEL0=12 SOFTEN_SHARPEN0=-2 BLUR0=1 ");
}

}  // namespace
}  // namespace quillbay
