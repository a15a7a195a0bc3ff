#include "pages/main_settings.h"

#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>

#include "pages/paper_delegate.h"
#include "pages/paper_list.h"
#include "platform/base_services.h"
#include "support/panel_world.h"
#include "widgets/length_spin.h"

namespace quillbay {
namespace {

struct Page : test::PanelWorld {
  explicit Page(std::int32_t centring = 0, const char* dpiRange = "", std::int32_t mode = kModeBwThreshold) {
    params->quiet().centring = centring;
    params->quiet().currMode = mode;
    controller.unit->dpiRange = dpiRange;
    page = new CMainSettings(controller, params);
    page->Create(&window, kAllModes);
    load([](IParam&) {});
    controller.pageChanges = 0;
  }
  template <class Fill>
  void load(Fill fill) {
    const auto store = new_MemParam();
    fill(*store);
    page->Load(store.get());
  }
  [[nodiscard]] KxPtr<IParam> save() const {
    auto store = new_MemParam();
    EXPECT_EQ(page->Save(store.get()), 1);
    return store;
  }
  [[nodiscard]] QComboBox* list(int id) const { return page->control<QComboBox>(id); }
  [[nodiscard]] QAbstractButton* button(int id) const { return page->control<QAbstractButton>(id); }
  [[nodiscard]] LengthSpin* field(int id) const { return page->control<LengthSpin>(id); }
  void pick(int id, int index) const {
    list(id)->setCurrentIndex(index);
    page->OnCommand(id, kCodeSelected, index);
  }
  void pickPaper(const char* name) const {
    const PaperRecord* paper = findPaper(params->papers, name);
    ASSERT_TRUE(paper) << name;
    const int data = static_cast<int>(paper - params->papers.data()) + kAreaPaper;
    pick(CMainSettings::kAreaList, list(CMainSettings::kAreaList)->findData(data));
  }
  void key(int code) const {
    params->set(scan_key::ScannerKeyPressed, code);
    QApplication::processEvents();
  }
  /// Types into a field and ends the edit there, as Return does.
  void enter(int id, const char* text) const {
    auto* edit = field(id)->findChild<QLineEdit*>();
    edit->setText(text);
    Q_EMIT edit->textEdited(text);
    std::ignore = save();  // the controller takes the settings at every key
    field(id)->finishEdit();
    std::ignore = save();
  }
  /// What stands beside the fields; empty while nothing does.
  [[nodiscard]] std::string note() const {
    const auto* label = page->findChild<QLabel*>("note");
    return label->isHidden() ? std::string() : label->text().toStdString();
  }
  /// Types into a field of the shown page, the controller taking the settings at every key as it does.
  void type(int id, const char* text) {
    controller.onPageChanged = [this] { std::ignore = save(); };
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    field(id)->setFocus();
    field(id)->selectAll();
    QTest::keyClicks(field(id), text);
  }
  [[nodiscard]] const ScanValues& v() const { return params->values(); }
  QWidget window;
  CMainSettings* page = nullptr;
};

TEST(MainSettings, ChoicesGoIntoTheParametersAndTheRequest) {
  Page p;
  p.pick(CMainSettings::kModeList, 5);
  EXPECT_EQ(p.v().currMode, kModeGrey);
  EXPECT_EQ(p.v().minDpi, 75) << "the first resolution of the new mode";
  EXPECT_EQ(p.v().previewDpi, 75);
  EXPECT_EQ(p.v().dpi, 75) << "100 is not offered any more";
  p.pick(CMainSettings::kResolutionList, 1);
  EXPECT_EQ(p.v().dpi, 200);
  p.pick(CMainSettings::kModeList, 0);
  EXPECT_EQ(p.v().dpi, 200) << "still offered";
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  EXPECT_EQ(p.v().scanType, kAreaCustom);
  EXPECT_GE(p.controller.palettesForgotten, 3);
  EXPECT_EQ(p.controller.pageChanges, 4);

  const auto request = p.save();
  EXPECT_EQ(paramInt(request.get(), "MODE", -1), 0);
  EXPECT_EQ(paramInt(request.get(), "ImageDPI"), 200);
  EXPECT_EQ(paramInt(request.get(), "m_ctrlDPI"), 1);
  const std::string& summary = p.v().summary;
  EXPECT_NE(summary.find("Mode: \tBW Threshold\rPaper: \tCustom Size\rDPI: \t200\r"), std::string::npos) << summary;
}

TEST(MainSettings, SaveAndLoadAgree) {
  Page first;
  first.pick(CMainSettings::kModeList, 7);
  first.pick(CMainSettings::kResolutionList, 2);
  first.pickPaper("A4");
  first.page->OnCommand(CMainSettings::kPortrait, kCodeClicked, 1);
  CDialog::setSpinValue(first.page->control<QSpinBox>(CMainSettings::kAddedWidth), 10);
  first.params->quiet().saveSettings[3] = "fourth";
  first.params->set(scan_key::Autodetect, 0);
  const auto store = first.save();
  const ScanValues before = first.v();

  Page second;
  EXPECT_EQ(second.page->Load(store.get()), 1);
  EXPECT_EQ(second.controller.pageChanges, 0) << "loading is nobody's change";
  const ScanValues& v = second.v();
  EXPECT_EQ(v.currMode, kModeRgb);
  EXPECT_EQ(v.dpi, 600);
  EXPECT_EQ(v.scanType, kAreaPaper);
  EXPECT_TRUE(sameKey(v.paperName, before.paperName));
  EXPECT_EQ(v.portrait, 1);
  EXPECT_EQ(v.rcScan, before.rcScan);
  EXPECT_EQ(v.addWidthPercent, 10);
  EXPECT_EQ(v.saveSettings[3], "fourth");
  EXPECT_EQ(v.autodetect, 0);
}

TEST(MainSettings, LoadWithoutCentring) {
  const std::pair<std::int32_t, int> cases[] = {{0, 1}, {kAlwaysCentres, 1}, {kNeverCentres, 0}};
  for (const auto& [centring, want] : cases) {
    Page p(centring);
    p.load([](IParam&) {});
    EXPECT_EQ(p.v().center, want) << centring;
    p.load([](IParam& s) { s.SetValue("m_fCenter", 0); });
    EXPECT_EQ(p.v().center, centring == kAlwaysCentres ? 1 : 0) << centring;
    EXPECT_EQ(p.button(CMainSettings::kCentre)->isChecked(), p.v().center != 0);
  }
}

TEST(MainSettings, ScannerKeysStepTheListsAndWrap) {
  Page p;
  const int papers = p.list(CMainSettings::kAreaList)->count() - 1;  // "More papers" is none
  struct Case {
    int key, list, from, want;
  };
  const Case cases[] = {{12, CMainSettings::kModeList, 7, 0},       {18, CMainSettings::kModeList, 0, 7},
                        {11, CMainSettings::kAreaList, 2, 3},       {17, CMainSettings::kAreaList, 0, papers - 1},
                        {13, CMainSettings::kResolutionList, 2, 0}, {19, CMainSettings::kResolutionList, 0, 2},
                        {10, CMainSettings::kModeList, 3, 3},       {16, CMainSettings::kModeList, 3, 3}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    p.pick(c.list, c.from);
    p.key(c.key);
    EXPECT_EQ(p.list(c.list)->currentIndex(), c.want);
    EXPECT_EQ(p.v().scannerKeyPressed, 0);
  }
  p.pick(CMainSettings::kModeList, 7);
  p.key(12);
  EXPECT_EQ(p.v().currMode, 0) << "as if the person had chosen it";
  p.page->Enable(0);
  p.key(12);
  EXPECT_EQ(p.v().currMode, 0) << "not while a page is scanned with it";
}

TEST(MainSettings, FollowsChangesMadeElsewhere) {
  Page p;
  p.params->set(scan_key::ScanType, kAreaCustom);
  EXPECT_EQ(p.list(CMainSettings::kAreaList)->currentIndex(), kAreaCustom);
  p.params->set(scan_key::Center, 0);
  EXPECT_TRUE(p.field(CMainSettings::kOffset)->isEnabled());
  p.params->set(scan_key::RcScan, {100, 20, 500, 317});
  EXPECT_DOUBLE_EQ(p.field(CMainSettings::kOffset)->millimetres(), 100);
  EXPECT_DOUBLE_EQ(p.field(CMainSettings::kLength)->millimetres(), 297);
  p.params->set(scan_key::Center, 1);
  EXPECT_FALSE(p.field(CMainSettings::kOffset)->isEnabled());
  EXPECT_DOUBLE_EQ(p.field(CMainSettings::kOffset)->millimetres(), 250);

  p.params->set(scan_key::Autodetect, 0);
  EXPECT_TRUE(p.button(CMainSettings::kBursting)->isEnabled());
  p.params->set(scan_key::Bursting, 1);
  p.params->quiet().boundDetectDirty = 0;
  p.params->set(scan_key::Autodetect, 8);
  EXPECT_EQ(p.v().bursting, 0);
  EXPECT_EQ(p.v().center, 0);
  EXPECT_EQ(p.v().boundDetectDirty, 1);
  EXPECT_FALSE(p.button(CMainSettings::kBursting)->isEnabled());
  p.params->set(scan_key::Bursting, 1);
  EXPECT_EQ(p.v().bursting, 0) << "what the box cannot show is not done";
  EXPECT_FALSE(p.button(CMainSettings::kCentre)->isEnabled());

  p.params->set(scan_key::CurrMode, kModeRgb);
  EXPECT_EQ(p.list(CMainSettings::kModeList)->currentData().toInt(), kModeRgb);
  p.params->set(scan_key::Dpi, 600);
  EXPECT_EQ(paramInt(p.save().get(), "ImageDPI"), 600) << "the request has what was set";
  EXPECT_EQ(p.controller.pageChanges, 0);
}

TEST(MainSettings, ReactsByItselfWhereNothingIsBroadcast) {
  Page p;
  p.params->set(scan_key::Autodetect, 0);
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  p.params->set(scan_key::Bursting, 1);
  p.params->set(scan_key::Center, 1);
  p.params->quiet().boundDetectDirty = 0;
  {
    const NotifyGuard silent;
    p.load([](IParam& s) {
      s.SetValue("AUTO_SET", 8);
      s.SetValue("m_fBursting", 1);
    });
  }
  EXPECT_EQ(p.v().bursting, 0);
  EXPECT_EQ(p.v().center, 0);
  EXPECT_EQ(p.v().boundDetectDirty, 1);
}

TEST(MainSettings, ListsAreRestoredByValueThenByIndex) {
  struct Case {
    const char* why;
    std::function<void(IParam&)> fill;
    int mode, dpi, type;
    const char* paper;
  };
  const int a5 = kAreaPaper + 5;
  const Case cases[] = {
      {"indices that no list has",
       [](IParam& s) {
         s.SetValue("m_ctrlModes", 99), s.SetValue("m_ctrlDPI", -7), s.SetValue("m_ctrlPaperList", "text");
       },
       0, 100, kAreaFixedWidth, ""},
      {"values over indices",
       [&](IParam& s) {
         s.SetValue("MODE", 5), s.SetValue("m_ctrlModes", 0);
         s.SetValue("ImageDPI", 600), s.SetValue("m_ctrlDPI", 1);
         s.SetValue("m_PaperName", "A3"), s.SetValue("m_ctrlPaperList", a5);
       },
       kModeGrey, 600, kAreaPaper, "A3"},
      {"indices alone",
       [&](IParam& s) {
         s.SetValue("m_ctrlModes", 7), s.SetValue("m_ctrlDPI", 1), s.SetValue("m_ctrlPaperList", a5);
       },
       kModeRgb, 200, kAreaPaper, "A5"},
      {"a paper's name alone", [](IParam& s) { s.SetValue("m_PaperName", "Letter"); }, 0, 100, kAreaPaper,
       "Letter"},
      {"a paper behind More", [](IParam& s) { s.SetValue("m_PaperName", "B4"); }, 0, 100, kAreaPaper, "B4"},
      {"no paper, whatever its name",
       [](IParam& s) { s.SetValue("m_PaperName", "A3"), s.SetValue("m_ctrlPaperList", kAreaCustom); }, 0, 100,
       kAreaCustom, ""},
      {"a paper that is gone leaves its size",
       [&](IParam& s) { s.SetValue("m_PaperName", "Roll 7"), s.SetValue("m_ctrlPaperList", a5); }, 0, 100,
       kAreaCustom, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    Page p;
    p.load(c.fill);
    EXPECT_EQ(p.v().currMode, c.mode);
    EXPECT_EQ(p.v().dpi, c.dpi);
    EXPECT_EQ(p.v().scanType, c.type);
    if (c.type == kAreaPaper) {
      EXPECT_EQ(p.v().paperName, c.paper);
      EXPECT_EQ(paramString(p.save().get(), "m_PaperName"), c.paper);
    }
  }
}

TEST(MainSettings, InDirectModeNothingChoosesAModeOrAnArea) {
  Page p(0, "", kModeDirect);
  const auto fill = [](IParam& s) {
    s.SetValue("MODE", 5), s.SetValue("m_ctrlModes", 5);
    s.SetValue("m_PaperName", "A4"), s.SetValue("m_ctrlPaperList", 8);
    s.SetValue("ImageDPI", 600);
    s.SetValue("__reset", 1);
  };
  for (const int key : {0, 12, 18, 11, 17}) {
    if (key == 0)
      p.load(fill);
    else
      p.key(key);
    EXPECT_EQ(p.v().currMode, kModeDirect) << key;
    EXPECT_EQ(p.v().scanType, kAreaFixedWidth) << key;
    EXPECT_EQ(paramInt(p.save().get(), "MODE"), kModeDirect) << key;
  }
  EXPECT_EQ(p.v().dpi, 600);
}

TEST(MainSettings, ResetPageBringsTheDefaults) {
  Page p;
  p.pick(CMainSettings::kModeList, 7);
  p.pickPaper("A4");
  p.page->OnCommand(CMainSettings::kPortrait, kCodeClicked, 1);
  p.params->set(scan_key::Autodetect, 0);
  p.params->set(scan_key::Center, 0);
  p.params->quiet().disablePreview = 1;
  p.load([](IParam&) {});
  EXPECT_EQ(p.v().currMode, kModeRgb) << "a missing key leaves its control";
  EXPECT_EQ(p.v().scanType, kAreaPaper);

  p.page->OnCommand(CTab::kResetPage, kCodeClicked, 0);
  const ScanValues defaults;
  EXPECT_EQ(p.v().currMode, 0);
  EXPECT_EQ(p.v().dpi, 100);
  EXPECT_EQ(p.v().scanType, defaults.scanType);
  EXPECT_EQ(p.v().portrait, defaults.portrait);
  EXPECT_EQ(p.v().autodetect, defaults.autodetect);
  EXPECT_EQ(p.v().rcScan, defaults.rcScan);
  EXPECT_EQ(p.v().disablePreview, 0);
  EXPECT_GT(p.controller.pageChanges, 0);
}

TEST(MainSettings, WhatIsNoLengthRestoresTheValueBeforeAndSaysWhy) {
  struct Case {
    const char* locale;
    int units;
    const char* text;
    double want;         // millimetres; 300 stood there before
    const char* saying;  // a part of the note; empty: no note
  };
  const Case cases[] = {
      {"en_US", 0, "1 189", 900, "900.0 mm is used"},
      {"en_US", 0, "841 x 1189", 300, "\"841 x 1189\" is not a length. 300.0 mm is kept."},
      {"en_US", 0, "36.5 in", 900, "outside the range from 110.0 mm to 900.0 mm. 900.0 mm is used."},
      {"en_US", 1, "36.5", 900, "outside the range from 4.33 inch to 35.43 inch"},
      {"en_US", 1, "20 cm", 200, ""},
      {"en_US", 1, "wide", 300, "11.81 inch is kept"},
      {"en_US", 0, "", 110, "110.0 mm is used"},
      {"de_DE", 0, "589,5", 589.5, ""},
      {"de_DE", 0, "1.189", 900, "900,0 mm is used"},
      {"de_DE", 1, "8.189", 300, "can mean 8,189 or 8189"},
  };
  const QLocale before;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " " + c.text);
    QLocale::setDefault(QLocale(c.locale));
    Page p;
    p.params->set(scan_key::Autodetect, 0);
    p.params->set(scan_key::Units, c.units);
    p.pick(CMainSettings::kAreaList, kAreaCustom);
    p.params->set(scan_key::RcScan, {0, 0, 300, 400});
    p.enter(CMainSettings::kWidth, c.text);
    EXPECT_NEAR(p.v().rcScan.width(), c.want, 1e-6);
    EXPECT_EQ(p.note().empty(), *c.saying == 0) << p.note();
    EXPECT_NE(p.note().find(c.saying), std::string::npos) << p.note();
    p.enter(CMainSettings::kWidth, "200 mm");
    EXPECT_EQ(p.note(), "") << "the reason goes with the next length";
  }
  QLocale::setDefault(before);
}

TEST(MainSettings, ARunIsRefusedByNameAndNothingElse) {
  Page p;
  p.params->set(scan_key::Autodetect, 0);
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  p.params->set(scan_key::RcScan, {0, 0, 300, 400});
  EXPECT_EQ(p.page->GetRefusal(), "");
  p.enter(CMainSettings::kLength, "0");
  EXPECT_NE(p.note().find("length above 0"), std::string::npos) << "told in the page at once";
  EXPECT_TRUE(p.messages.empty()) << "without a window";
  EXPECT_NE(p.page->GetRefusal().find("custom size has a length of 0"), std::string::npos);
  p.pick(CMainSettings::kAreaList, kAreaFixedWidth);
  EXPECT_EQ(p.page->GetRefusal(), "") << "to the end of the document";
  EXPECT_EQ(p.note(), "");

  auto* edit = p.field(CMainSettings::kWidth)->findChild<QLineEdit*>();
  edit->setText("841 x 1189");
  Q_EMIT edit->textEdited("841 x 1189");
  EXPECT_NE(p.page->GetRefusal().find("is not a length"), std::string::npos) << "still being typed";
  EXPECT_EQ(p.page->GetRefusal(), "") << "what is shown now is what is scanned";
  EXPECT_NEAR(p.field(CMainSettings::kWidth)->millimetres(), 300, 1e-9);
}

TEST(MainSettings, DetectionCountsOnlyWhereItIsOffered) {
  Page p;
  p.controller.offersDetection = 0;
  p.load([](IParam&) {});
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  EXPECT_EQ(p.v().autodetect, 8) << "the default stays";
  EXPECT_TRUE(p.button(CMainSettings::kCentre)->isEnabled());
  EXPECT_TRUE(p.button(CMainSettings::kBursting)->isEnabled());
  p.params->set(scan_key::Bursting, 1);
  EXPECT_EQ(p.v().bursting, 1);
  p.controller.offersDetection = 1;
  p.load([](IParam&) {});
  EXPECT_FALSE(p.button(CMainSettings::kBursting)->isEnabled());

  const std::pair<int, int> bits[] = {{CMainSettings::kDetectWidth, 2},
                                      {CMainSettings::kDetectLength, 4},
                                      {CMainSettings::kDetectPosition, 8},
                                      {CMainSettings::kDetectSkew, 16}};
  for (const auto& [id, bit] : bits) {
    const std::int32_t mask = p.v().autodetect;
    p.page->OnCommand(id, kCodeClicked, 0);
    EXPECT_EQ(p.v().autodetect, mask ^ bit);
  }
}

TEST(MainSettings, AnAreaThatTheUserNamesIsNotLookedFor) {
  Page p;
  p.load([](IParam&) {});
  EXPECT_EQ(p.v().autodetect, 8) << "nobody has chosen";
  const std::pair<int, int> cases[] = {
      {kAreaAuto, 8}, {kAreaCustom, 0}, {kAreaAutoWidth, 30}, {kAreaFixedWidth, 0}, {kAreaAuto, 30}};
  for (const auto& [area, mask] : cases) {
    p.pick(CMainSettings::kAreaList, area);
    EXPECT_EQ(p.v().autodetect, mask) << area;
    EXPECT_EQ(p.v().scanType, area);
  }
  p.page->OnCommand(CMainSettings::kDetectSkew, kCodeClicked, 0);
  p.pick(CMainSettings::kAreaList, kAreaAuto);
  EXPECT_EQ(p.v().autodetect, 14) << "bits that the user chose stay";
  p.pickPaper("A4");
  EXPECT_EQ(p.v().autodetect, 0);
  EXPECT_TRUE(p.button(CMainSettings::kBursting)->isEnabled());

  // A search that found nothing, or was cancelled, has said so.
  p.page->OnCommand(CMainSettings::kDetect, kCodeClicked, 0);
  EXPECT_EQ(p.controller.detectMask, 30);
  EXPECT_TRUE(p.messages.empty());
  ScanValues& v = p.params->quiet();
  v.rectValid = 1;
  v.found = {DetectedBy::Prescan, v.rcScan, 0.0349, {297, 210}, "A4"};
  p.params->NotifyParam(scan_key::RcScan.name);
  EXPECT_NE(p.v().summary.find("Document: \t297 x 210 mm (A4), turned by 2"), std::string::npos) << p.v().summary;
  p.params->set(scan_key::RcScan, {0, 0, 300, 200});
  EXPECT_EQ(p.v().summary.find("Document"), std::string::npos) << "another area is none that was found";
}

TEST(MainSettings, SeldomUsedPapersComeWithMore) {
  Page p;
  auto* list = p.list(CMainSettings::kAreaList);
  EXPECT_LT(list->findText("B4"), 0);
  EXPECT_LT(list->findText("A8"), 0);
  const int letter = list->findText("Letter"), more = list->findData(kMorePapers);
  ASSERT_GE(letter, 0);
  ASSERT_GE(more, 0);
  const auto size = [&](const char* name) {
    return list->itemData(list->findText(name), PaperDelegate::kDetailRole);
  };
  EXPECT_EQ(size("A4"), "210 × 297 mm");
  EXPECT_EQ(size("Letter"),
            QString("215") + QLocale().decimalPoint() + "9 × 279" + QLocale().decimalPoint() + "4 mm");
  p.params->set(scan_key::Units, kInches);
  EXPECT_EQ(size("Tabloid"), "11 × 17 inch");
  p.pickPaper("A4");
  p.pick(CMainSettings::kAreaList, more);
  EXPECT_EQ(p.v().paperName, "A4") << "is no area";
  EXPECT_EQ(list->currentText(), "A4");
  EXPECT_GE(list->findText("B4"), 0);
  EXPECT_LT(list->findData(kMorePapers), 0);
  EXPECT_EQ(list->findText("Letter"), letter + 14) << "papers keep their order";
}

TEST(MainSettings, WhereNothingFindsDocumentsNoAutomaticAreaIsChosen) {
  Page p;
  p.controller.offersDetection = 0;
  p.load([](IParam&) {});
  EXPECT_FALSE(p.button(CMainSettings::kDetect)->isEnabled());
  p.pick(CMainSettings::kAreaList, kAreaFixedWidth);
  p.key(17);
  EXPECT_EQ(p.v().scanType, kAreaPaper) << "the key goes round, over the automatic areas";
  EXPECT_FALSE(p.v().offersDetection);
  EXPECT_EQ(p.list(CMainSettings::kAreaList)->model()->index(kAreaPaper, 0).flags() & Qt::ItemIsEnabled,
            Qt::ItemIsEnabled);
  p.pickPaper("A0");
  EXPECT_EQ(p.v().portrait, 1) << "it fits only upright";
  EXPECT_FALSE(p.button(CMainSettings::kLandscape)->isEnabled());
  p.params->quiet().bedWidth = 200;
  p.load([](IParam&) {});
  EXPECT_EQ(p.list(CMainSettings::kAreaList)->model()->index(kAreaPaper, 0).flags() & Qt::ItemIsEnabled, 0)
      << "no paper that is wider than the bed both ways";
}

TEST(MainSettings, TypedLengthsAreTakenInTheUnitsShown) {
  Page p;
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  p.params->set(scan_key::Center, 0);
  p.params->set(scan_key::Units, 1);
  auto* edit = p.field(CMainSettings::kWidth)->findChild<QLineEdit*>();
  edit->setText("10");
  Q_EMIT edit->textEdited("10");
  EXPECT_NE(p.v().rcScan.width(), 254) << "a moment later";
  const auto request = p.save();
  EXPECT_NEAR(p.v().rcScan.width(), 254, 1e-9) << "or with the next request";
  p.page->OnCommand(CMainSettings::kApplyArea, 1, 0);
  EXPECT_EQ(p.v().updateRect, 1);
  EXPECT_EQ(p.controller.areaChanges, 1);

  Q_EMIT edit->textEdited("12");
  p.params->set(scan_key::RcScan, {0, 0, 50, 60});
  std::ignore = p.save();
  EXPECT_EQ(p.v().rcScan, (tagRRECT{0, 0, 50, 60})) << "another area took the place of what was typed";
}

TEST(MainSettings, NothingIsPutUnderTheFingersOfWhoTypes) {
  Page p;
  p.params->quiet().bedWidth = 914.4;  // centred here, 210 mm come back as 210.00000000000006
  p.params->set(scan_key::Autodetect, 0);
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  p.type(CMainSettings::kWidth, "210.5");
  EXPECT_NEAR(p.v().rcScan.width(), 210.5, 1e-9);
  QTest::keyClicks(p.field(CMainSettings::kWidth), "x");
  EXPECT_TRUE(p.field(CMainSettings::kWidth)->text().endsWith("x"));
  QTest::keyClicks(p.field(CMainSettings::kWidth), "\r");
  EXPECT_EQ(p.field(CMainSettings::kWidth)->text(), QLocale().toString(110.0, 'f', 1))
      << "the value before the edit, not the beginning of the text";
}

TEST(MainSettings, APaperKeepsItsSizeWhateverItsPlaceAndTheUnits) {
  Page p;
  p.params->set(scan_key::Autodetect, 0);
  p.params->set(scan_key::Portrait, 1);
  p.params->set(scan_key::Center, 0);
  p.pickPaper("A6");
  p.params->set(scan_key::Units, 1);
  p.type(CMainSettings::kTop, "1");
  p.params->set(scan_key::Units, 0);
  EXPECT_EQ(p.v().rcScan, (tagRRECT{0, 25.4, 105, 173.4})) << "narrower than the least width of a scan";
  EXPECT_EQ(p.field(CMainSettings::kWidth)->text(), QLocale().toString(105.0, 'f', 1));
  p.params->quiet().disablePreview = 1;  // nobody takes the settings at every key
  p.type(CMainSettings::kTop, "20");
  p.pickPaper("A4");
  EXPECT_EQ(p.v().rcScan, (tagRRECT{0, 20, 210, 317})) << "what was typed counts before the next choice";
}

TEST(MainSettings, TypedResolutionsWithinTheDevicesRange) {
  Page p(0, "50..1200");
  auto* list = p.list(CMainSettings::kResolutionList);
  ASSERT_TRUE(list->isEditable());
  for (const auto& [text, want] : {std::pair{"275", 275}, {"9999", 275}, {"x", 275}, {"200", 200}}) {
    list->setEditText(text);
    p.page->OnCommand(CMainSettings::kResolutionList, kCodeComboEdited, 0);
    EXPECT_EQ(p.v().dpi, want) << text;
    EXPECT_EQ(paramInt(p.save().get(), "ImageDPI"), want) << text;
    Q_EMIT list->lineEdit()->editingFinished();
    EXPECT_EQ(list->currentText(), QString::number(want)) << "no field shows what is not scanned with";
  }
  p.params->set(scan_key::Dpi, 275);
  const auto typed = p.save();
  p.pick(CMainSettings::kResolutionList, 0);
  p.page->Load(typed.get());
  EXPECT_EQ(p.v().dpi, 275);
}

}  // namespace
}  // namespace quillbay
