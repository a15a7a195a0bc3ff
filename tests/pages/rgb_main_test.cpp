// The colour page: what its sliders take and save, which filters are shown, the host's tools, and the live picture.
#include "pages/rgb_main.h"

#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>
#include <numeric>

#include "pages/gamma_hold.h"
#include "pages/live_picture.h"
#include "pages/rgb_dlg.h"
#include "quillbay/bw_points.h"
#include "quillbay/scan_keys.h"
#include "stores/preview_stor.h"
#include "support/panel_world.h"
#include "support/test_stripe.h"
#include "widgets/number_spin.h"
#include "widgets/spin_scroll_edit.h"

namespace quillbay {
namespace {

struct ColourPage : test::PanelWorld {
  using Ranges = std::map<std::string, UnitKeyRange>;
  explicit ColourPage(const Ranges& ranges = {}, std::int32_t mode = kModeRgb, bool hasTools = true) {
    controller.unit->ranges = ranges;
    params->quiet().currMode = mode;
    if (!hasTools) params->setApp(nullptr);
    page = new CRGBMain(controller, params);
    page->Create(&window, kModeRgb);
    page->resize(360, 700);
  }
  [[nodiscard]] CSpinScrollEdit& slider(int id) const { return *page->simple().control<CSpinScrollEdit>(id); }
  [[nodiscard]] KxPtr<IParam> save() const {
    auto store = new_MemParam();
    EXPECT_EQ(page->Save(store.get()), 1);
    return store;
  }
  void load(const std::vector<std::pair<std::string, CKxVariant>>& values) const {
    const auto store = new_MemParam();
    for (const auto& [key, value] : values) store->SetValue(key, value);
    EXPECT_EQ(page->Load(store.get()), 1);
  }
  void choose(int tab) const { page->OnCommand(CRGBMain::kTabs, kCodeSelected, tab); }
  /// A preview of one colour, a quarter of it another.
  void preview(const test::Bytes& line, KxColorSpace space = KxColorSpace::Rgb) const {
    const auto store = KxPtr<ISStripStor>::adopt(new CPreviewStor(320));
    const auto stripe = test::newStripe(space, 320);
    for (int i = 0; i < 240; ++i) stripe->add(line);
    store->AddStripe(stripe.get());
    store->Finish(nullptr, 0, 0);
    params->previewStore = store;
    page->Enable(1);
    page->OnCommand(CTab::kControlChanged, kCodeClicked, 0);
  }
  QWidget window;
  CRGBMain* page = nullptr;
};

const ColourPage::Ranges kFilters{{"BLUR7", {1, 0, 4, 1}},
                                  {"BLUR5", {2, 0, 3, 1}},
                                  {"SOFTEN_SHARPEN7", {0, -8, 8, 1}},
                                  {"SOFTEN_SHARPEN5", {3, -5, 5, 1}}};

TEST(ColourSetup, SlidersHaveTheirRangesAndSaveWholeNumbers) {
  ColourPage p(kFilters);
  struct Case {
    int id;
    const char* key;
    int least, most, fallback;
  };
  const Case cases[] = {{CRGBDlg::kBrightness, "SCAN_BRIGHTNESS", -100, 100, 0},
                        {CRGBDlg::kContrast, "SCAN_CONTRAST", -100, 100, 0},
                        {CRGBDlg::kHue, "SCAN_HUE", -180, 180, 0},
                        {CRGBDlg::kSaturation, "SCAN_SATURATION", -100, 100, 0},
                        {CRGBDlg::kRed, "SCAN_REDBALANCE", -100, 100, 0},
                        {CRGBDlg::kGreen, "SCAN_GREENBALANCE", -100, 100, 0},
                        {CRGBDlg::kBlue, "SCAN_BLUEBALANCE", -100, 100, 0},
                        {CRGBDlg::kSharpen, "SOFTEN_SHARPEN7", -8, 8, 0},
                        {CRGBDlg::kBlur, "BLUR7", 0, 4, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    CSpinScrollEdit& s = p.slider(c.id);
    EXPECT_EQ(s.slider()->minimum(), c.least);
    EXPECT_EQ(s.slider()->maximum(), c.most);
    EXPECT_EQ(paramInt(p.save().get(), c.key, -999), c.fallback);
    p.load({{c.key, c.most}});
    EXPECT_EQ(paramInt(p.save().get(), c.key), c.most);
    p.load({{c.key, 2.9}});
    EXPECT_EQ(paramInt(p.save().get(), c.key), 2) << "truncated";
    p.load({{c.key, 5000}});
    EXPECT_EQ(paramInt(p.save().get(), c.key), c.most);
  }
  const auto saved = p.save();
  EXPECT_EQ(saved->GetKeys().size(), 10U) << "nine values, and which tab it is";
  EXPECT_EQ(paramInt(saved.get(), "IsGamma", -1), 0);
  EXPECT_EQ(p.controller.pageChanges, 0) << "loading is nobody's change";
}

TEST(ColourSetup, MissingKeysSetSlidersToZeroAndLeaveFilters) {
  ColourPage p(kFilters);
  p.load({{"SCAN_HUE", -77}, {"BLUR7", 4}, {"SOFTEN_SHARPEN7", -3}});
  p.load({});
  const auto saved = p.save();
  EXPECT_EQ(paramInt(saved.get(), "SCAN_HUE", -1), 0);
  EXPECT_EQ(paramInt(saved.get(), "BLUR7", -1), 4);
  EXPECT_EQ(paramInt(saved.get(), "SOFTEN_SHARPEN7", -1), -3);
  p.load({{"__reset", 1}});
  EXPECT_EQ(paramInt(p.save().get(), "BLUR7", -1), 1) << "the unit's";
  EXPECT_EQ(paramInt(p.save().get(), "SOFTEN_SHARPEN7", -1), 0);
}

TEST(ColourSetup, FiltersThatTheUnitDoesNotKnowAreHiddenAndLaterDisabled) {
  struct Case {
    const char* why;
    ColourPage::Ranges ranges;
    bool blur, sharpen;
  };
  const Case cases[] = {{"neither", {}, false, false},
                        {"both", kFilters, true, true},
                        {"blur alone", {{"BLUR7", {0, 0, 4, 1}}}, true, false},
                        {"another mode's", {{"BLUR5", {0, 0, 4, 1}}}, false, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    ColourPage p(c.ranges);
    EXPECT_EQ(p.slider(CRGBDlg::kBlur).isHidden(), !c.blur);
    EXPECT_EQ(p.slider(CRGBDlg::kSharpen).isHidden(), !c.sharpen);
    EXPECT_EQ(p.page->findChild<QLabel*>("blurLabel")->isHidden(), !c.blur);
    EXPECT_EQ(p.page->findChild<QLabel*>("sharpenLabel")->isHidden(), !c.sharpen);
    EXPECT_EQ(p.page->findChild<QGroupBox*>("filters")->isHidden(), !c.blur && !c.sharpen);
    if (c.blur) continue;
    EXPECT_EQ(p.slider(CRGBDlg::kBlur).slider()->minimum(), 1);
    EXPECT_EQ(p.slider(CRGBDlg::kBlur).slider()->maximum(), 2);
    EXPECT_EQ(p.slider(CRGBDlg::kBlur).value(), 1);
  }
  ColourPage other;
  EXPECT_EQ(paramInt(other.save().get(), "BLUR7", -1), 1);
  other.load({{"BLUR7", 3}});
  EXPECT_EQ(paramInt(other.save().get(), "BLUR7", -1), 3) << "it may be for what the unit knows another time";

  ColourPage p({{"BLUR7", {1, 0, 4, 1}}, {"SOFTEN_SHARPEN7", {0, -8, 8, 1}}, {"BLUR5", {2, 0, 3, 1}}});
  p.params->set(scan_key::CurrMode, kModeGrey);
  EXPECT_TRUE(p.slider(CRGBDlg::kBlur).isEnabled());
  EXPECT_FALSE(p.slider(CRGBDlg::kSharpen).isEnabled());
  EXPECT_FALSE(p.slider(CRGBDlg::kSharpen).isHidden()) << "disabled, not hidden";
}

TEST(ColourSetup, EveryModeKeepsItsFilters) {
  ColourPage p(kFilters);
  p.load({{"BLUR7", 4}, {"BLUR5", 1}});
  EXPECT_EQ(p.slider(CRGBDlg::kBlur).value(), 4);
  p.params->set(scan_key::CurrMode, kModeGrey);
  EXPECT_EQ(p.slider(CRGBDlg::kBlur).value(), 1);
  EXPECT_EQ(p.slider(CRGBDlg::kSharpen).value(), 3) << "the unit's default in this mode";
  EXPECT_EQ(p.slider(CRGBDlg::kSharpen).slider()->maximum(), 5);
  p.slider(CRGBDlg::kBlur).setValue(3);
  p.params->set(scan_key::CurrMode, kModeBwThreshold);  // has no such page
  p.params->set(scan_key::CurrMode, kModeRgb);
  EXPECT_EQ(p.slider(CRGBDlg::kBlur).value(), 4);
  const auto saved = p.save();
  EXPECT_EQ(paramInt(saved.get(), "BLUR5", -1), 3);
  EXPECT_EQ(paramInt(saved.get(), "BLUR7", -1), 4);
}

TEST(ColourSetup, TheChosenTabDecidesWhatIsSaved) {
  ColourPage p;
  p.load({{"SCAN_BRIGHTNESS", 40}});
  p.choose(CRGBMain::kGamma);
  EXPECT_EQ(p.controller.pageChanges, 1);
  auto saved = p.save();
  EXPECT_EQ(paramInt(saved.get(), "IsGamma", -1), 1);
  EXPECT_TRUE(paramValue(saved.get(), "SCAN_BRIGHTNESS").isEmpty());
  EXPECT_TRUE(paramValue(saved.get(), "BLUR7").isEmpty());
  ASSERT_TRUE(paramValue(saved.get(), "SCAN_GAMMA").get<CKxBlob>());
  EXPECT_EQ(paramValue(saved.get(), "SCAN_GAMMA").get<CKxBlob>()->size(), 1024U);
  p.load({{"IsGamma", 0}});
  saved = p.save();
  EXPECT_TRUE(paramValue(saved.get(), "SCAN_GAMMA").isEmpty());
  EXPECT_FALSE(paramValue(saved.get(), "SCAN_BRIGHTNESS").isEmpty());
  p.load({{"SCAN_HUE", 33}});
  p.load({{"IsGamma", 1}});
  p.load({});
  EXPECT_EQ(paramInt(p.save().get(), "IsGamma", -1), 1) << "a missing key leaves the tab";
  EXPECT_EQ(p.slider(CRGBDlg::kHue).value(), 33) << "and the sliders, which adjust nothing now";
  p.load({{"__reset", 1}});
  EXPECT_EQ(p.slider(CRGBDlg::kHue).value(), 0);
  EXPECT_EQ(paramInt(p.save().get(), "IsGamma", -1), 0);
}

TEST(ColourSetup, PointsAreOfferedWhereTheUnitSetsThem) {
  ColourPage without, with({{"HARDBWPOINT", {0, 0, 255, 1}}});
  auto* button = without.page->control<QPushButton>(CRGBMain::kSetPoint);
  EXPECT_TRUE(button->isHidden());
  EXPECT_TRUE(paramValue(without.save().get(), "HARDBWPOINT").isEmpty());
  button = with.page->control<QPushButton>(CRGBMain::kSetPoint);
  EXPECT_FALSE(button->isHidden());
  auto* place = with.page->findChild<QWidget*>("pointPlace");
  EXPECT_TRUE(place->isHidden());
  button->click();
  EXPECT_FALSE(place->isHidden());
  const BwPoints points{{9, 8, 7, 0}, {200, 201, 202, 0}};
  with.load({{"HARDBWPOINT", bwPointBytes(points)}});
  for (const int tab : {CRGBMain::kSimple, CRGBMain::kGamma}) {
    with.choose(tab);
    const CKxVariant stored = paramValue(with.save().get(), "HARDBWPOINT");
    BwPoints read;
    ASSERT_TRUE(stored.get<CKxBlob>() && readBwPoints(*stored.get<CKxBlob>(), &read));
    EXPECT_EQ(read, points);
  }
}

TEST(ColourSetup, TabGoesFromTopToBottom) {
  ColourPage p({{"HARDBWPOINT", {0, 0, 255, 1}}});
  const auto placeOf = [&](const QWidget* wanted) {
    int place = 0;
    for (const QWidget* w = p.page->nextInFocusChain(); w != wanted && place < 1000; w = w->nextInFocusChain())
      ++place;
    return place;
  };
  const QWidget* const order[] = {p.page->findChild<QTabBar*>("tabs"),
                                  p.slider(CRGBDlg::kBrightness).slider(),
                                  p.slider(CRGBDlg::kBlue).field(),
                                  p.page->gamma().findChild<QSpinBox*>(),
                                  p.page->control<QPushButton>(CRGBMain::kSetPoint),
                                  p.page->findChild<QWidget*>("pointPlace")->findChild<QSpinBox*>(),
                                  &p.page->picture()};
  for (std::size_t i = 1; i < std::size(order); ++i) EXPECT_LT(placeOf(order[i - 1]), placeOf(order[i])) << i;
}

TEST(ColourSetup, WithoutToolsTheTabSaysSoAndNothingIsBlocked) {
  ColourPage p({{"HARDBWPOINT", {0, 0, 255, 1}}}, kModeRgb, false);
  const auto set = new_MemParam();
  EXPECT_EQ(p.page->gamma().Load(set.get()), 0);
  EXPECT_EQ(p.page->gamma().Save(set.get()), 0);
  EXPECT_FALSE(p.page->gamma().findChild<QLabel*>()->text().isEmpty());
  p.choose(CRGBMain::kGamma);
  const auto saved = p.save();
  EXPECT_EQ(saved->GetKeys().size(), 1U);
  EXPECT_EQ(paramInt(saved.get(), "IsGamma"), 1);
}

TEST(LivePictures, ShowWhatTheSettingsDo) {
  ColourPage p;
  p.window.resize(400, 900);
  p.window.show();
  EXPECT_FALSE(p.page->picture().hasPicture());
  test::Bytes line(320 * 3);
  for (std::size_t i = 0; i < line.size(); i += 3) line[i] = 100, line[i + 1] = 50, line[i + 2] = 200;
  p.preview(line);
  LivePicture& live = p.page->picture();
  ASSERT_TRUE(live.hasPicture());
  EXPECT_EQ(live.adjusted().pixelColor(5, 5), QColor(100, 50, 200)) << "no adjustments";
  auto* field = p.slider(CRGBDlg::kBrightness).field();
  field->setFocus();
  p.slider(CRGBDlg::kBrightness).setValue(30);
  Q_EMIT p.slider(CRGBDlg::kBrightness).edited();
  EXPECT_EQ(live.adjusted().pixelColor(5, 5), QColor(130, 80, 230));
  p.choose(CRGBMain::kGamma);
  EXPECT_EQ(live.adjusted().pixelColor(5, 5), QColor(100, 50, 200)) << "the curves are straight";
  p.params->set(scan_key::CurrMode, kModeGrey);
  const QColor grey = live.adjusted().pixelColor(5, 5);
  EXPECT_EQ(grey, QColor(82, 82, 82)) << "0.299, 0.587, 0.114";

  KXRGBQUAD picked;
  live.setPicking(true);
  live.onPicked = [&](KXRGBQUAD c) { picked = c; };
  QTest::mouseClick(&live, Qt::LeftButton, {}, live.rect().center());
  EXPECT_EQ(picked, (KXRGBQUAD{100, 50, 200, 0})) << "without adjustments";
  live.setPicking(true);
  QTest::keyClick(&live, Qt::Key_Right);
  EXPECT_TRUE(live.isPicking());
  picked = {};
  QTest::keyClick(&live, Qt::Key_Return);
  EXPECT_EQ(picked, (KXRGBQUAD{100, 50, 200, 0})) << "by the keyboard";
  EXPECT_FALSE(live.isPicking());
  live.setPicture(nullptr, "none");
  EXPECT_FALSE(live.hasPicture());
}

TEST(LivePictures, SayThatASearchLeftNoColours) {
  ColourPage p;
  p.window.resize(400, 900);
  p.window.show();
  p.controller.previewSettings = new_MemParam();
  p.controller.previewSettings->SetValue("MODE", kModeGrey);
  p.preview(test::Bytes(320, 100), KxColorSpace::Grey);
  auto* note = p.page->findChild<QLabel*>("pictureNote");
  EXPECT_FALSE(note->isHidden());
  EXPECT_NE(note->text().indexOf("is grey"), -1);
  p.params->set(scan_key::CurrMode, kModeGrey);
  EXPECT_TRUE(note->isHidden()) << "a grey scan looks so";
}

std::shared_ptr<Picture> onePixel(std::uint32_t pixel) {
  auto p = std::make_shared<Picture>();
  p->width = p->height = 1;
  p->stride = 4;
  p->bytes.resize(4);
  std::memcpy(p->bytes.data(), &pixel, 4);
  return p;
}

std::uint32_t pixelOf(const Unadjusted& u) {
  std::uint32_t pixel = 0;
  if (u.picture) std::memcpy(&pixel, u.picture->bytes.data(), 4);
  return pixel;
}

TEST(LivePictures, TakeTheAdjustmentsOutOfAnAdjustedPreview) {
  const auto request = new_MemParam();
  const auto shown = onePixel(0xff6432c8);
  EXPECT_EQ(unadjusted(shown, nullptr).picture, shown);
  EXPECT_EQ(unadjusted(shown, request.get()).picture, shown) << "it is not copied";
  CKxBlob gamma(1024);
  for (std::size_t i = 0; i < 256; ++i) {  // red 1 lighter, green inverted, blue as it is
    gamma[4 * i] = static_cast<std::uint8_t>(std::min<std::size_t>(i + 1, 255));
    gamma[4 * i + 1] = static_cast<std::uint8_t>(255 - i);
    gamma[4 * i + 2] = static_cast<std::uint8_t>(i);
  }
  request->SetValue("SCAN_GAMMA", gamma);
  Unadjusted u = unadjusted(shown, request.get());
  EXPECT_EQ(pixelOf(u), 0xff63cdc8U);
  EXPECT_TRUE(u.isExact);
  request->SetValue("HARDBWPOINT", bwPointBytes({{0, 0, 100, 0}, {255, 255, 200, 0}}));
  u = unadjusted(shown, request.get());
  EXPECT_EQ(pixelOf(u) & 0xff, 179U) << "178 gives 199 and 179 gives 201: their middle, upwards";
  EXPECT_FALSE(u.isExact) << "a hundred levels were spread";
  request->SetValue("HARDBWPOINT", CKxVariant());
  request->SetValue("SCAN_SATURATION", 10);
  EXPECT_FALSE(unadjusted(shown, request.get()).isExact);
  request->SetValue("MODE", kModeBwThreshold);
  EXPECT_FALSE(unadjusted(shown, request.get()).picture);
  EXPECT_FALSE(unadjusted(nullptr, nullptr).picture);
}

}  // namespace
}  // namespace quillbay
