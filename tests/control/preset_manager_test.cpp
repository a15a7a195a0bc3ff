// Presets of the profile: how they are made, applied, followed and deleted, and how files of them are met.
#include "control/preset_manager.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <fstream>

#include "pages/pres_dlg.h"
#include "quillbay/host_files.h"
#include "quillbay/scan_keys.h"
#include "support/panel_world.h"
#include "widgets/tab.h"

namespace quillbay {
namespace {

/// A page with one value, 7 by default, that changes a parameter when it loads.
class ValuePage final : public CTab {
 public:
  ValuePage(IPanelController& controller, KxPtr<CSharedScanParams> shared, int number)
      : CTab(controller, std::move(shared), number) {}
  int Load(IParam* set) override {
    if (paramInt(set, key::ResetMark)) value = 7;
    value = paramInt(set, "value", value);
    ++loads;
    params().set(scan_key::Dpi, 100 + value);
    return 1;
  }
  int Save(IParam* set) override { return set->SetValue("value", value); }
  std::string GetTitle() override { return "Page " + std::to_string(GetNumber()); }
  std::string GetLoadNote() override { return note; }
  int value = 7, loads = 0;
  std::string note;

 protected:
  void createForm(int) override {}
  bool OnPageCommand(int, int, std::int64_t) override { return false; }
};

struct PresetWorld : test::PanelWorld {
  PresetWorld() {
    for (int number : {0, 1, 8}) {
      pages.push_back(new ValuePage(controller, params, number));
      pages.back()->Create(&panel, kAllModes);
      controller.pages.push_back(pages.back());
    }
    controller.presets = &presets;
  }
  /// Answers the dialog that `Create` shows.
  template <class Fill>
  int create(Fill fill, int page = IPresetManager::kAnyPage) {
    QTimer::singleShot(0, &panel, [&] {
      CPresDlg* dialog = nullptr;
      for (QWidget* child : window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (auto* found = dynamic_cast<CPresDlg*>(child)) dialog = found;
      }
      ASSERT_NE(dialog, nullptr);
      fill(*dialog);
    });
    return presets.Create(page);
  }
  int store(const char* name, const std::vector<int>& leftOut = {}) {
    return create([&](CPresDlg& dialog) {
      dialog.control<QLineEdit>(CPresDlg::kName)->setText(name);
      for (const int row : leftOut)
        dialog.control<QListWidget>(CPresDlg::kPages)->item(row)->setCheckState(Qt::Unchecked);
      press(dialog, kAnswerOk);
    });
  }
  static void press(CPresDlg& dialog, int button) { dialog.control<QAbstractButton>(button)->click(); }
  [[nodiscard]] std::vector<std::string> names(int page = IPresetManager::kAnyPage) {
    std::vector<std::string> list;
    for (const auto& preset : presets.List(page)) list.push_back(preset.name);
    return list;
  }
  [[nodiscard]] std::string chosen() {
    std::int32_t id = 0;
    if (!presets.GetChosen(&id)) return {};
    Preset preset;
    return GetPreset(app.get(), id, &preset) ? preset.name : "?";
  }
  void setAll(int value) {
    for (ValuePage* page : pages) page->value = value;
  }
  QWidget window;
  QWidget panel{&window};
  CPResetManager presets{controller, &panel, params};
  std::vector<ValuePage*> pages;
};
using Names = std::vector<std::string>;

TEST(Presets, AreStoredAsTheProfileHasThem) {
  PresetWorld w;
  ASSERT_EQ(w.create([](CPresDlg& dialog) {
    dialog.control<QLineEdit>(CPresDlg::kName)->setText("  A ");
    dialog.control<QPlainTextEdit>(CPresDlg::kComment)->setPlainText("maps");
    dialog.control<QListWidget>(CPresDlg::kPages)->item(1)->setCheckState(Qt::Unchecked);
    PresetWorld::press(dialog, kAnswerOk);
  }),
            1);
  const auto panel = KxPtr<IParam>::adopt(query<IProfile>(w.app.get())->GetSection("quillbay2.0", 0));
  ASSERT_TRUE(panel);
  const auto preset = KxPtr<IParam>::adopt(panel->GetSubStore("presets/Preset65", 0));
  ASSERT_TRUE(preset);
  EXPECT_EQ(paramString(preset.get(), "DispName"), "A");
  EXPECT_EQ(paramString(preset.get(), "Comment"), "maps");
  EXPECT_EQ(paramInt(preset.get(), "ID"), 65);
  EXPECT_EQ(paramInt(preset.get(), "fUser"), 1);
  const auto data = KxPtr<IParam>::adopt(preset->GetSubStore("data", 0));
  ASSERT_TRUE(data);
  EXPECT_EQ(data->GetSubStores(), (Names{"page0", "page8"}));
  EXPECT_EQ(paramInt(KxPtr<IParam>::adopt(data->GetSubStore("page8", 0)).get(), "value"), 7);
  EXPECT_EQ(w.chosen(), "A");
  EXPECT_EQ(w.names(1), Names{});
  EXPECT_EQ(w.names(8), Names{"A"});
}

TEST(Presets, TheDialogStaysUntilItHasANameAndEndsWithThePanel) {
  PresetWorld w;
  EXPECT_EQ(w.create([](CPresDlg& dialog) {
    dialog.control<QLineEdit>(CPresDlg::kName)->setText("  ");
    PresetWorld::press(dialog, kAnswerOk);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_TRUE(dialog.control<QLineEdit>(CPresDlg::kName)->hasFocus() || !dialog.isActiveWindow());
    PresetWorld::press(dialog, kAnswerCancel);
  }),
            0);
  EXPECT_EQ(w.create([](CPresDlg& dialog) { delete &dialog; }), 0);
  EXPECT_EQ(w.names(), Names{});
  EXPECT_EQ(w.create(
                [](CPresDlg& dialog) {
                  EXPECT_EQ(dialog.control<QListWidget>(CPresDlg::kPages)->count(), 1) << "of one page";
                  PresetWorld::press(dialog, kAnswerCancel);
                },
                8),
            0);
}

TEST(Presets, OneOfTheSameNumberIsReplacedWhenTheUserAgrees) {
  PresetWorld w;
  ASSERT_EQ(w.store("maps"), 1);
  ASSERT_EQ(w.store("LrfvaraE"), 1);
  ASSERT_EQ(w.store("plans"), 1);
  w.setAll(3);
  int asked = 0;
  EXPECT_EQ(w.create([&](CPresDlg& dialog) {
    dialog.control<QLineEdit>(CPresDlg::kName)->setText("wSiPevcR");
    PresetWorld::press(dialog, kAnswerOk);  // no
    asked = static_cast<int>(w.messages.size());
    EXPECT_TRUE(dialog.isVisible());
    w.answer = EventAnswer::Yes;
    dialog.control<QListWidget>(CPresDlg::kPages)->item(0)->setCheckState(Qt::Unchecked);
    PresetWorld::press(dialog, kAnswerOk);
  }),
            1);
  ASSERT_EQ(asked, 1);
  EXPECT_NE(w.messages[0].text.find("LrfvaraE"), std::string::npos) << w.messages[0].text;
  EXPECT_EQ(w.names(), (Names{"maps", "wSiPevcR", "plans"})) << "in its place";
  EXPECT_EQ(w.names(0), (Names{"maps", "plans"})) << "no page of the old one stays";
}

TEST(Presets, ApplyLoadsWhatTheyHoldAndLeavesTheRest) {
  PresetWorld w;
  w.setAll(1);
  ASSERT_EQ(w.store("maps", {1}), 1);
  w.setAll(2);
  ASSERT_EQ(w.store("plans"), 1);
  w.pages[2]->note = "no such format";
  const std::int32_t maps = PresetId("maps");
  EXPECT_EQ(w.presets.Apply(maps, IPresetManager::kAnyPage), 1);
  EXPECT_EQ((std::vector{w.pages[0]->value, w.pages[1]->value, w.pages[2]->value}), (std::vector{1, 2, 1}));
  EXPECT_EQ(w.chosen(), "maps") << "what it sets does not unchoose it";
  ASSERT_EQ(w.messages.size(), 1U);
  EXPECT_EQ(w.messages[0].text, "no such format");

  const int loads = w.pages[1]->loads;
  EXPECT_EQ(w.presets.Apply(maps, 1), 0) << "it holds nothing for this page";
  EXPECT_EQ(w.pages[1]->loads, loads);
  EXPECT_EQ(w.chosen(), "maps");
  EXPECT_EQ(w.presets.Apply(maps, 0), 1);
  EXPECT_EQ(w.chosen(), "maps");
  EXPECT_EQ(w.presets.Apply(PresetId("plans"), 0), 1);
  EXPECT_EQ(w.pages[0]->value, 2);
  EXPECT_EQ(w.chosen(), "") << "the settings are neither's";
  EXPECT_EQ(w.presets.Apply(4711, IPresetManager::kAnyPage), 0);
  EXPECT_EQ(w.names(), (Names{"maps", "plans"}));

  ASSERT_EQ(w.presets.OnMenuCommand(1, IPresetManager::kResetPage), 1);
  EXPECT_EQ((std::vector{w.pages[0]->value, w.pages[1]->value, w.pages[2]->value}), (std::vector{2, 7, 1}));
  EXPECT_EQ(w.presets.OnMenuCommand(8, PresetId("plans")), 1);
  EXPECT_EQ(w.pages[2]->value, 2);
}

TEST(Presets, OnlySettingsThatTheyFollowUnchooseThem) {
  PresetWorld w;
  const std::pair<const char*, bool> cases[] = {
      {"m_PaperName", true},    {"m_nCounter", true},  {"m_CounterFormat", true}, {"m_fUseAutoCounter", true},
      {"m_fMultiPage", true},   {"m_CurrMode", true},  {"m_fCenter", true},       {"m_bPortrait", true},
      {"m_dwAutodetect", true}, {"m_rcScan", true},    {"m_uiDPI", true},         {"m_eScanType", true},
      {"m_eEjectType", true},   {"m_fBursting", true}, {"m_fFileFate", true},     {"M_UIdpi", true},
      {"m_Dir", false},         {"m_Mask", false},     {"m_nUnits", false},       {"m_rcPreview", false},
      {"m_fRectValid", false},  {"m_nMinDPI", false},  {"m_Rewind", false},       {"presets", false}};
  for (const auto& [key, follows] : cases) {
    if (w.chosen().empty()) w.store("maps"), w.answer = EventAnswer::Yes;
    ASSERT_EQ(w.chosen(), "maps");
    w.params->NotifyParam(key);
    EXPECT_EQ(w.chosen().empty(), follows) << key;
  }
}

TEST(Presets, GoForGood) {
  PresetWorld w;
  ASSERT_EQ(w.store("maps"), 1);
  ASSERT_EQ(w.store("plans"), 1);
  EXPECT_EQ(w.presets.Delete(PresetId("plans")), 1);
  EXPECT_EQ(w.presets.Delete(PresetId("plans")), 0);
  EXPECT_EQ(w.names(), Names{"maps"});
  EXPECT_EQ(w.chosen(), "");
  w.presets.OnMenuCommand(0, IPresetManager::kDisablePreview);
  EXPECT_EQ(w.params->values().disablePreview, 1);
}

TEST(Presets, GoFromOneComputerToAnother) {
  const test::TempDir carried;
  const std::string file = carried.file("maps.qbpreset");
  {  // the scan parameters are the process's: one world at a time
    PresetWorld w;
    w.setAll(4);
    ASSERT_EQ(w.store("maps/A0"), 1);
    w.chosenFile = file;
    ASSERT_EQ(w.presets.Export(PresetId("maps/A0")), 1);
    EXPECT_EQ(w.askedChannel, kPresetFileChannel);
  }
  PresetWorld other;
  other.chosenFile = file;
  ASSERT_EQ(other.presets.Import(), 1);
  EXPECT_EQ(other.chosen(), "") << "it is not applied";
  EXPECT_EQ(other.presets.Apply(PresetId("maps/A0"), IPresetManager::kAnyPage), 1);
  EXPECT_EQ(other.pages[2]->value, 4);
  EXPECT_EQ(other.presets.Import(), 0) << "there is one already";
  EXPECT_EQ(other.messages.size(), 1U);
  std::ofstream(other.chosenFile) << R"({"format":"quillbay-preset","version":1,"name":"x","pages":[{"page":77}]})";
  EXPECT_EQ(other.presets.Import(), 0);
  ASSERT_EQ(other.messages.size(), 2U);
  EXPECT_NE(other.messages[1].text.find("page 77"), std::string::npos) << other.messages[1].text;
  EXPECT_EQ(other.names(), Names{"maps/A0"});
}

/// The texts of a menu, separators as "-".
QStringList entriesOf(const QMenu& menu) {
  QStringList texts;
  for (const QAction* action : menu.actions()) texts += action->isSeparator() ? "-" : action->text().remove('&');
  return texts;
}

TEST(Presets, EveryPagesMenuHasThoseThatHoldIt) {
  PresetWorld w;
  ValuePage& page = *w.pages[1];
  const auto open = [&] {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {1, 1}, {1, 1});
    QApplication::sendEvent(&page, &event);
    return page.findChild<QMenu*>();
  };
  QMenu* menu = open();
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(entriesOf(*menu), QStringList({"Disable Preview Updating", "-", "Reset Page", "-", "Add preset..."}));
  delete menu;
  w.setAll(5);
  w.store("A & B");
  w.store("other", {1});
  w.setAll(6);
  menu = open();
  EXPECT_EQ(entriesOf(*menu),
            QStringList({"Disable Preview Updating", "-", "Reset Page", "-", "A  B", "-", "Add preset..."}));
  EXPECT_EQ(menu->actions()[4]->text(), "A && B");
  page.setEnabled(false);
  menu->actions()[4]->trigger();
  EXPECT_EQ(page.value, 6) << "a page is being scanned";
  page.setEnabled(true);
  menu->actions()[4]->trigger();
  EXPECT_EQ((std::vector{w.pages[0]->value, page.value}), (std::vector{6, 5}));
  delete menu;
  w.params->quiet().currMode = kModeDirect;
  EXPECT_EQ(open(), nullptr);
}

}  // namespace
}  // namespace quillbay
