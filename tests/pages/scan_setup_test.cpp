#include "pages/scan_setup.h"

#include <gtest/gtest.h>

#include <QtWidgets>

#include "support/panel_world.h"
#include "widgets/length_spin.h"
#include "widgets/number_spin.h"

namespace quillbay {
namespace {

/// A unit's own setup that notes what it is asked.
class NotedSetup final : public CKxUnknownImpl<IQuillbayUnitSetup> {
 public:
  int Load(IParam* set) override {
    loaded = paramString(set, "own");
    return loads;
  }
  int Save(IParam* set) override { return set->SetValue("own", "kept"); }
  int Show(HWND parent) override {
    shownOver = parent;
    if (onShow) onShow();
    return changes;
  }
  std::string loaded;
  HWND shownOver = nullptr;
  int loads = 0, changes = 0;
  std::function<void()> onShow;
};

/// Notes the keys that are broadcast.
class KeyNotes final : public CKxUnknownImpl<IChangeParams> {
 public:
  int OnParamChanging(const char*) override { return 1; }
  int OnParamChanged(const char* key) override { return keys.emplace_back(key), 1; }
  [[nodiscard]] std::ptrdiff_t count(const char* key) const { return std::count(keys.begin(), keys.end(), key); }
  std::vector<std::string> keys;
};

struct SetupWorld : test::PanelWorld {
  SetupWorld() {
    controller.unit->setup = KxPtr<IQuillbayUnitSetup>::share(setup.get());
    params->connectionPoint()->Subscribe(notes.get());
  }
  ~SetupWorld() { params->connectionPoint()->Unsubscribe(notes.get()); }
  SetupWorld(const SetupWorld&) = delete;
  SetupWorld& operator=(const SetupWorld&) = delete;
  void open() {
    page = new CScanSetup(controller, params);
    page->Create(&window, kAllModes);
  }
  void load(const std::vector<std::pair<const char*, CKxVariant>>& values) const {
    const auto set = new_MemParam();
    for (const auto& [key, value] : values) set->SetValue(key, value);
    page->Load(set.get());
  }
  template <class T>
  T* find(int id) const {
    return page->control<T>(id);
  }
  void type(int id, const char* text) const {
    auto* edit = find<UnitSpin>(id)->findChild<QLineEdit*>();
    edit->setText(text);
    Q_EMIT edit->textEdited(text);
  }
  [[nodiscard]] const ScanValues& v() const { return params->values(); }
  KxPtr<NotedSetup> setup = KxPtr<NotedSetup>::adopt(new NotedSetup);
  KxPtr<KeyNotes> notes = KxPtr<KeyNotes>::adopt(new KeyNotes);
  QWidget window;
  CScanSetup* page = nullptr;
};

TEST(ScanSetup, SavesItsKeysInOrderAndTheUnitsAfterThem) {
  SetupWorld w;
  w.params->quiet().fileFate = 2;
  w.open();
  const auto set = new_MemParam();
  EXPECT_EQ(w.page->Save(set.get()), 1);
  const std::vector<std::string> wanted{
      "SCAN_SPEED",        "m_nUnits",           "m_Rewind",  "m_Edit",      "m_Auto", "m_StandardPapers",
      "m_AutoAnswerDelay", "m_AutoAnswerEnable", "m_fDeskew", "m_fFileFate", "own"};
  EXPECT_EQ(set->GetKeys(), wanted);
  EXPECT_EQ(paramDouble(set.get(), "m_Edit"), 200);
  EXPECT_EQ(paramInt(set.get(), "m_Auto"), 127);
  EXPECT_EQ(paramInt(set.get(), "m_AutoAnswerDelay"), 5);
  EXPECT_EQ(paramInt(set.get(), "m_AutoAnswerEnable"), 1);
  EXPECT_EQ(paramInt(set.get(), "m_fFileFate"), 2);
}

TEST(ScanSetup, LoadsWhatIsThere) {
  SetupWorld w;
  w.open();
  w.load({{"m_nUnits", 1},
          {"m_Rewind", 1},
          {"m_Edit", 508.0},
          {"m_Auto", 40},
          {"m_StandardPapers", 1},
          {"m_AutoAnswerDelay", 7},
          {"m_AutoAnswerEnable", 0},
          {"m_fDeskew", 1},
          {"m_fFileFate", 1},
          {"own", "of the unit"}});
  EXPECT_EQ(w.notes->count("m_nUnits"), 1) << "the shared units are switched";
  EXPECT_EQ(w.params->units().index(), 1);
  EXPECT_EQ(w.find<UnitSpin>(CScanSetup::kPrescanLength)->text(), QLocale().toString(20.0, 'f', 2)) << "inches";
  EXPECT_EQ(std::make_tuple(w.v().rewind, w.v().paperLength, w.v().autoPaper, w.v().standardPapers),
            std::make_tuple(1, 508.0, 40, 1));
  EXPECT_EQ(std::make_tuple(w.v().autoAnswerDelay, w.v().autoAnswer, w.v().deskew), std::make_tuple(7, 0, 1));
  EXPECT_EQ(w.v().fileFate, kFateIncrement) << "another page's";
  EXPECT_EQ(w.setup->loaded, "of the unit");
  EXPECT_FALSE(w.find<QCheckBox>(CScanSetup::kStandardPapers)->isEnabled())
      << "straightened documents keep their size";
  EXPECT_EQ(w.controller.pageChanges, 0);

  w.load({});
  EXPECT_EQ(w.v().autoPaper, 40) << "a missing key leaves its control";
  EXPECT_EQ(w.notes->count("m_nUnits"), 1);
  w.load({{"m_Edit", 5.0}, {"m_Auto", 255}, {"m_AutoAnswerDelay", 0}, {"m_Rewind", 7}});
  EXPECT_EQ(std::make_tuple(w.v().paperLength, w.v().autoPaper, w.v().autoAnswerDelay),
            std::make_tuple(50.0, 192, 1));
  EXPECT_EQ(w.find<QComboBox>(CScanSetup::kEject)->currentIndex(), 2) << "neither forward nor back";
  EXPECT_EQ(w.v().rewind, 7);

  w.page->OnCommand(CTab::kResetPage, kCodeClicked, 0);
  const ScanValues defaults;
  EXPECT_EQ(std::make_tuple(w.v().rewind, w.v().paperLength, w.v().autoPaper, w.v().standardPapers),
            std::make_tuple(defaults.rewind, 200.0, 127, 0));
  EXPECT_EQ(std::make_tuple(w.v().units, w.v().autoAnswerDelay, w.v().autoAnswer, w.v().deskew),
            std::make_tuple(0, 5, 1, 0));
}

TEST(ScanSetup, DirectModeAnswersNothing) {
  SetupWorld w;
  w.params->quiet().currMode = kModeDirect;
  w.params->quiet().autoAnswer = 0;
  w.open();
  w.load({{"m_AutoAnswerEnable", 1}});
  EXPECT_EQ(w.v().autoAnswer, 0);
}

TEST(ScanSetup, EditsHoldAtOnceAndWhatWasFoundIsLookedForAgain) {
  SetupWorld w;
  w.open();
  w.params->quiet().boundDetectDirty = 0;
  w.type(CScanSetup::kThreshold, "60");
  EXPECT_EQ(w.v().autoPaper, 60);
  EXPECT_EQ(w.v().boundDetectDirty, 1);
  w.find<LengthSpin>(CScanSetup::kPrescanLength)->stepBy(3);
  EXPECT_EQ(w.v().paperLength, 230);
  w.find<QCheckBox>(CScanSetup::kDeskew)->click();
  EXPECT_EQ(w.v().deskew, 1);
  EXPECT_FALSE(w.find<QCheckBox>(CScanSetup::kStandardPapers)->isEnabled());
  w.find<QCheckBox>(CScanSetup::kAutoAnswer)->click();
  EXPECT_EQ(w.v().autoAnswer, 0);
  EXPECT_FALSE(w.find<UnitSpin>(CScanSetup::kAnswerDelay)->isEnabled());
  EXPECT_EQ(w.controller.pageChanges, 4);

  w.type(CScanSetup::kThreshold, "255");
  EXPECT_EQ(w.v().autoPaper, 192);
  w.type(CScanSetup::kThreshold, "dark");
  EXPECT_NE(w.page->GetRefusal(), "");

  w.params->quiet().deskew = 0;
  w.params->NotifyParam("m_fDeskew");  // as a host sets it
  EXPECT_FALSE(w.find<QCheckBox>(CScanSetup::kDeskew)->isChecked());
}

TEST(ScanSetup, TheSpeedIsTheUnitsOrDisabled) {
  SetupWorld w;
  w.open();
  EXPECT_FALSE(w.find<QSlider>(CScanSetup::kSpeed)->isEnabled());
  w.controller.unit->ranges["SCAN_SPEED"] = {80, 20, 80, 20};
  w.open();
  auto* speed = w.find<QSlider>(CScanSetup::kSpeed);
  EXPECT_TRUE(speed->isEnabled());
  EXPECT_EQ(std::make_tuple(speed->minimum(), speed->maximum(), speed->value()), std::make_tuple(20, 80, 80));
  w.load({{"SCAN_SPEED", 40}});
  const auto set = new_MemParam();
  w.page->Save(set.get());
  EXPECT_EQ(paramInt(set.get(), "SCAN_SPEED"), 40);
}

TEST(ScanSetup, ModelSetupIsTheUnits) {
  SetupWorld w;
  w.open();
  w.setup->onShow = [&] { EXPECT_EQ(w.controller.unit->commands, std::vector<int>{4}) << "given before"; };
  w.page->OnCommand(CScanSetup::kModelSetup, kCodeClicked, 0);
  EXPECT_EQ(w.setup->shownOver, w.page);
  EXPECT_EQ(w.notes->count("OnSelchangeScanmode"), 0) << "nothing was changed";
  w.setup->onShow = {};
  w.setup->changes = 1;
  w.page->OnCommand(CScanSetup::kModelSetup, kCodeClicked, 0);
  EXPECT_EQ(w.notes->count("OnSelchangeScanmode"), 1);

  w.controller.unit->setup = nullptr;
  w.controller.unit->describesOptions = false;
  w.open();
  EXPECT_FALSE(w.find<QPushButton>(CScanSetup::kModelSetup)->isEnabled());
  const auto set = new_MemParam();
  w.page->Save(set.get());
  EXPECT_EQ(set->GetKeys().back(), "m_fFileFate") << "no keys of the unit";
}

}  // namespace
}  // namespace quillbay
