#include "pages/main_settings.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QSpinBox>
#include <QTest>
#include <set>

#include "pages/paper_list.h"
#include "platform/base_services.h"
#include "support/panel_world.h"
#include "widgets/length_spin.h"

namespace quillbay {
namespace {

struct Page : test::PanelWorld {
  explicit Page(std::int32_t centring = 0, const char* dpiRange = "") {
    params->quiet().centring = centring;
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
    pick(CMainSettings::kAreaList, static_cast<int>(paper - params->papers.data()) + kAreaPaper);
  }
  void key(int code) const {
    params->set(scan_key::ScannerKeyPressed, code);
    QApplication::processEvents();
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

TEST(MainSettings, LoadIgnoresIndicesThatNoListHas) {
  Page p;
  p.load([](IParam& s) {
    s.SetValue("m_ctrlModes", 99);
    s.SetValue("m_ctrlDPI", -7);
    s.SetValue("m_ctrlPaperList", "text");
  });
  EXPECT_EQ(p.v().currMode, 0);
  EXPECT_EQ(p.v().dpi, 100);
  EXPECT_EQ(p.v().scanType, kAreaFixedWidth);
}

TEST(MainSettings, ScannerKeysStepTheListsAndWrap) {
  Page p;
  const int papers = p.list(CMainSettings::kAreaList)->count();
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

  p.params->set(scan_key::Autodetect, 0);
  p.params->set(scan_key::Bursting, 1);
  p.pick(CMainSettings::kAreaList, kAreaFixedWidth);
  EXPECT_EQ(p.v().bursting, 0) << "to the end of the document there is one piece";
}

TEST(MainSettings, APaperThatFitsOnlyOneWayTurns) {
  Page p;
  ASSERT_EQ(p.v().portrait, 0);
  p.pickPaper("A0");
  EXPECT_EQ(p.v().scanType, kAreaPaper);
  EXPECT_EQ(p.v().portrait, 1);
  EXPECT_FALSE(p.button(CMainSettings::kLandscape)->isEnabled());
  EXPECT_NEAR(p.v().rcScan.width(), 841, 0.5);
  p.pickPaper("A4");
  EXPECT_TRUE(p.button(CMainSettings::kLandscape)->isEnabled());
  p.page->OnCommand(CMainSettings::kLandscape, kCodeClicked, 1);
  EXPECT_NEAR(p.v().rcScan.width(), 297, 0.5);
}

TEST(MainSettings, WhereNothingFindsDocumentsNoAutomaticAreaIsChosen) {
  Page p;
  p.controller.offersDetection = 0;
  p.load([](IParam&) {});
  EXPECT_FALSE(p.button(CMainSettings::kDetect)->isEnabled());
  p.pick(CMainSettings::kAreaList, kAreaFixedWidth);
  p.key(17);
  EXPECT_EQ(p.v().scanType, kAreaPaper) << "the key goes round, over the automatic areas";
  EXPECT_EQ(p.list(CMainSettings::kAreaList)->model()->index(kAreaPaper, 0).flags() & Qt::ItemIsEnabled,
            Qt::ItemIsEnabled);
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
  EXPECT_TRUE(p.page->awaitsArea()) << "the view hears of it all the same";
  p.page->OnCommand(CMainSettings::kApplyArea, 1, 0);
  EXPECT_EQ(p.v().updateRect, 1);
  EXPECT_EQ(p.controller.areaChanges, 1);
  EXPECT_FALSE(p.page->awaitsArea());

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
  QTest::keyClicks(p.field(CMainSettings::kWidth), "x\r");
  EXPECT_EQ(p.field(CMainSettings::kWidth)->text(), QLocale().toString(210.5, 'f', 1))
      << "what is no length gives way";
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

TEST(MainSettings, LengthsFollowTheLocale) {
  Page p;
  p.pick(CMainSettings::kAreaList, kAreaCustom);
  const QLocale before;
  QLocale::setDefault(QLocale("de_DE"));
  p.params->set(scan_key::RcScan, {0, 0, 210.5, 297});
  auto* edit = p.field(CMainSettings::kWidth)->findChild<QLineEdit*>();
  EXPECT_EQ(edit->text(), "210,5");
  for (const auto& [text, want] : {std::pair{"400,25", 400.25}, {"500.5", 500.5}, {"20 in", 508.0}, {"x", 508.0}}) {
    Q_EMIT edit->textEdited(text);
    EXPECT_NEAR(p.field(CMainSettings::kWidth)->millimetres(), want, 1e-9) << text;
  }
  QLocale::setDefault(before);
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
  typed->SetValue("m_ctrlDPI", 2);  // as a host asks for an entry of the list
  p.page->Load(typed.get());
  EXPECT_EQ(p.v().dpi, 300);
}

TEST(MainSettings, TheDetectionButtonAsksTheController) {
  Page p;
  p.params->set(scan_key::ScanType, kAreaFixedWidth);
  p.page->OnCommand(CMainSettings::kDetect, kCodeClicked, 0);
  EXPECT_EQ(p.controller.detectMask, 8);
  EXPECT_EQ(p.v().center, 1) << "nothing was found";
  p.params->set(scan_key::ScanType, kAreaCustom);
  p.controller.detects = 1;
  p.page->OnCommand(CMainSettings::kDetect, kCodeClicked, 0);
  EXPECT_EQ(p.controller.detectMask, 30);
  EXPECT_EQ(p.v().center, 0);
}

TEST(MainSettings, EveryControlHasANameAndItsOwnMnemonic) {
  const Page p;
  std::set<QString> mnemonics;
  for (const QWidget* control : p.page->findChildren<QWidget*>()) {
    if (control->property("controlId").isValid()) {
      EXPECT_FALSE(control->accessibleName().isEmpty()) << control->objectName().toStdString();
    }
    const QString text = control->property("text").toString();
    const auto at = text.indexOf('&');
    if (at < 0 || at + 1 >= text.size()) continue;
    EXPECT_TRUE(mnemonics.insert(text.mid(at + 1, 1).toLower()).second) << text.toStdString();
  }
}

}  // namespace
}  // namespace quillbay
