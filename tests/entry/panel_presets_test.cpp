// Presets of a whole panel: its list, a host that applies one, and one that comes while a page is scanned.
#include "panel_fixture.h"
#include "quillbay/presets.h"

namespace quillbay {
namespace {

class PanelPresetsTest : public PanelTest {
 protected:
  void savePreset(const char* name) {
    Preset preset;
    ASSERT_EQ(presets()->TakePreset(&preset), 1);
    preset.name = name;
    ASSERT_EQ(StorePreset(app(), preset), 1);
  }
  [[nodiscard]] KxPtr<IQuillbayPresets> presets() { return query<IQuillbayPresets>(sink()); }
  [[nodiscard]] QComboBox* list() { return window()->findChild<QComboBox*>("presetList"); }
};

TEST_F(PanelPresetsTest, AHostAppliesOneAndTheListShowsItUntilASettingChanges) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  savePreset("small grey");
  set("m_CurrMode", 7);
  set("m_uiDPI", 200);
  set("m_eScanType", 2);
  savePreset("colour");
  EXPECT_EQ(presets()->ApplyPreset(4711), 0);
  ASSERT_EQ(presets()->ApplyPreset(PresetId("small grey")), 1);
  EXPECT_EQ(get("m_CurrMode").toInt(), 5);
  EXPECT_EQ(get("m_uiDPI").toInt(), 50);
  EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), (tagRRECT{0, 0, 254, 127}));
  EXPECT_EQ(list()->currentText(), "small grey");
  EXPECT_EQ(list()->count(), 2);
  QApplication::processEvents();
  EXPECT_EQ(list()->currentText(), "small grey") << "nothing that follows counts as a change";
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(list()->currentIndex(), -1) << "the counter went on";
  EXPECT_EQ(control->GetNextFileName(), file("page001.tif"));

  ASSERT_EQ(presets()->ApplyPreset(PresetId("colour")), 1);
  EXPECT_EQ(list()->currentText(), "colour");
  const auto given = new_MemParam();
  given->SetValue("m_ctrlDPI", 0);
  sink()->ApplyParams(given.get());
  QApplication::processEvents();
  EXPECT_EQ(list()->currentIndex(), -1) << "a host's set is not broadcast";
  EXPECT_TRUE(messages.empty()) << messages[0];
}

TEST_F(PanelPresetsTest, TheUserPicksOneFromTheListAlsoBehindATypedLength) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  savePreset("small grey");
  set("m_uiDPI", 100);
  savePreset("finer");
  Preset empty;
  empty.name = "empty";
  ASSERT_EQ(StorePreset(app(), empty), 1);
  ASSERT_EQ(presets()->ApplyPreset(PresetId("finer")), 1);
  auto* width = window()->findChild<QWidget*>("width")->findChild<QLineEdit*>();
  width->setText("100");
  Q_EMIT width->textEdited("100");
  list()->setCurrentIndex(0);
  Q_EMIT list()->activated(0);
  EXPECT_EQ(get("m_uiDPI").toInt(), 50);
  EXPECT_EQ(list()->currentText(), "small grey");
  EXPECT_EQ(*get("m_rcScan").get<tagRRECT>(), (tagRRECT{0, 0, 254, 127}));
  list()->setCurrentIndex(2);
  Q_EMIT list()->activated(2);
  EXPECT_EQ(list()->currentText(), "small grey");
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_NE(messages[0].find("empty"), std::string::npos) << messages[0];
  messages.clear();
  answer = EventAnswer::Yes;
  auto* more = window()->findChild<QToolButton*>("presetMore")->menu();
  Q_EMIT more->aboutToShow();
  more->actions()[0]->menu()->actions()[1]->trigger();  // delete "finer"
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_NE(messages[0].find("finer"), std::string::npos) << messages[0];
  EXPECT_EQ(list()->count(), 2);
}

TEST_F(PanelPresetsTest, WhatThisScannerLacksIsTold) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  Preset preset;
  ASSERT_EQ(presets()->TakePreset(&preset), 1);
  preset.name = "of another scanner";
  preset.pages[0].values->SetValue("ImageDPI", 99999);
  preset.pages[0].values->SetValue("m_ctrlPaperList", 4);
  preset.pages[0].values->SetValue("m_PaperName", "Town map");
  ASSERT_EQ(StorePreset(app(), preset), 1);
  ASSERT_EQ(presets()->ApplyPreset(PresetId(preset.name)), 1);
  ASSERT_EQ(messages.size(), 1U);
  for (const char* word : {"99999", "Town map"})
    EXPECT_NE(messages[0].find(word), std::string::npos) << messages[0];
}

TEST_F(PanelPresetsTest, WhileAPageIsScannedItWaits) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3"));
  savePreset("small grey");
  set("m_uiDPI", 100);
  int during = 0;
  recorder->onStarted = [&] {
    EXPECT_EQ(presets()->ApplyPreset(PresetId("small grey")), 1);
    during = get("m_uiDPI").toInt();
  };
  EXPECT_EQ(run(), EndCause::Done);
  recorder->onStarted = nullptr;
  EXPECT_EQ(during, 100);
  ASSERT_EQ(recorder->pages.size(), 1U);
  EXPECT_EQ(recorder->pages[0].dpi, 100U);
  QApplication::processEvents();
  EXPECT_EQ(get("m_uiDPI").toInt(), 50);
  EXPECT_EQ(list()->currentText(), "small grey");
}

TEST_F(PanelPresetsTest, EveryPageHasATitleInFilesAndComesBackFromOne) {
  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3", ScanToView));
  for (int mode = 0; mode < 8; ++mode) {
    set("m_CurrMode", mode);
    Preset preset, read;
    std::string why;
    ASSERT_EQ(presets()->TakePreset(&preset), 1);
    preset.name = "mode " + std::to_string(mode);
    EXPECT_GE(preset.pages.size(), 3U);
    ASSERT_EQ(ReadPresetText(WritePresetText(preset), &read, &why), 1) << why;
    ASSERT_EQ(StorePreset(app(), read), 1);
  }
  for (int mode = 0; mode < 8; ++mode) {
    ASSERT_EQ(presets()->ApplyPreset(PresetId("mode " + std::to_string(mode))), 1);
    EXPECT_EQ(get("m_CurrMode").toInt(), mode);
  }
}

}  // namespace
}  // namespace quillbay
