// The palette page: what it asks of a scan, what it keeps, what it enables, and the lookup file.
#include "pages/pal_dlg.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <tuple>

#include "pages/palette_swatches.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "support/panel_world.h"
#include "widgets/number_spin.h"

namespace quillbay {
namespace {

/// Computes greys; notes what it was asked for.
class GreyCalculator final : public CKxUnknownImpl<IPalCalculator> {
 public:
  int Clear() override { return 1; }
  int AddRaster(IRStor*, const KxRect*) override { return 1; }
  int Calculate(int count, KXRGBQUAD* palette, void*, int) override {
    for (int i = 0; i < count; ++i) {
      const auto v = static_cast<std::uint8_t>(i);
      palette[i] = {v, v, v, 0};
    }
    return 1;
  }
};

struct PalettePage : test::PanelWorld {
  PalettePage() {
    page = new CPalDlg(controller, params, KxPtr<IPalCalculator>::adopt(new GreyCalculator));
    page->Create(&window, 9);
    load({});
    controller.pageChanges = 0;
  }
  ~PalettePage() { delete page; }
  void load(const std::vector<std::pair<const char*, CKxVariant>>& values) const {
    const auto store = new_MemParam();
    for (const auto& [key, value] : values) store->SetValue(key, value);
    page->Load(store.get());
  }
  [[nodiscard]] KxPtr<IParam> save(int expected = 1) const {
    auto store = new_MemParam();
    EXPECT_EQ(page->Save(store.get()), expected);
    return store;
  }
  /// A palette as a prescan computes it, kept for a method.
  void keep(int colors) const {
    KXRGBQUAD palette[256] = {};
    page->detector()->Calculate(colors, palette);
    page->detector()->Keep(new_MemParam().get(), palette, colors);
  }
  void click(int id) const { page->control<QAbstractButton>(id)->click(); }
  [[nodiscard]] bool isEnabled(int id) const { return page->GetDlgItem(id)->isEnabled(); }
  [[nodiscard]] std::string note() const { return page->findChild<QLabel*>("note")->text().toStdString(); }
  [[nodiscard]] std::size_t swatches() const { return page->findChild<PaletteSwatches*>()->colors().size(); }
  /// A lookup file of two classes.
  [[nodiscard]] std::string lutFile() const {
    std::string bytes = "MORVANE-LUT\r\n0402\r\n3\r\n1 2 3\r\n4 5 6\r\n7 8 9\r\n0\r\n" + std::string(32768, '\0');
    bytes.back() = 2;
    test::writeFile(dir.file("map.lut"), bytes);
    return dir.file("map.lut");
  }

  QWidget window;
  CPalDlg* page = nullptr;
};

TEST(PalDlg, MethodsAskForWhatTheyNeed) {
  struct Case {
    int button;
    bool kept;
    int adaptive, count;  // -1: not in the request
    bool hasPalette;
  };
  for (const Case& c : {Case{CPalDlg::kLinear, false, -1, 64, false}, Case{CPalDlg::kLinear, true, -1, 64, false},
                        Case{CPalDlg::kPhotos, false, 1, 256, false}, Case{CPalDlg::kPhotos, true, -1, -1, true},
                        Case{CPalDlg::kMaps, false, 1, 64, false}, Case{CPalDlg::kMaps, true, -1, -1, true},
                        Case{CPalDlg::kClassified, false, -1, -1, false}}) {
    PalettePage p;
    p.load({{key::PaletteColors, 64}});
    p.click(c.button);
    if (c.kept) p.keep(64);
    const auto request = p.save();
    const std::string what = std::to_string(c.button) + (c.kept ? " with a palette" : "");
    EXPECT_EQ(paramInt(request.get(), key::Adaptive, -1), c.adaptive) << what;
    EXPECT_EQ(paramInt(request.get(), key::PaletteCount, -1), c.count) << what;
    EXPECT_EQ(paramValue(request.get(), key::Palette).isEmpty(), !c.hasPalette) << what;
    EXPECT_EQ(paramInt(request.get(), key::PaletteMethod, -1), c.button - CPalDlg::kLinear) << what;
    EXPECT_EQ(paramInt(request.get(), key::PaletteColors, -1), 64) << what;
    EXPECT_EQ(p.isEnabled(CPalDlg::kColors), c.button == CPalDlg::kLinear || c.button == CPalDlg::kMaps) << what;
    EXPECT_EQ(p.isEnabled(CPalDlg::kLoadLut), c.button == CPalDlg::kClassified) << what;
    EXPECT_EQ(p.isEnabled(CPalDlg::kLutFile), c.button == CPalDlg::kClassified) << what;
    EXPECT_EQ(p.controller.pageChanges, 1) << what;
    EXPECT_EQ(p.swatches(), c.hasPalette ? 64U : 0U) << what;
  }
}

TEST(PalDlg, ThePaletteGoesWithTheMethodAndTheNumber) {
  PalettePage p;
  p.load({{key::PaletteMethod, kPaletteMaps}, {key::PaletteColors, 16}});
  p.keep(16);
  p.load({{key::PaletteMethod, kPaletteMaps}, {key::PaletteColors, 16}});
  EXPECT_EQ(p.swatches(), 16U) << "the same settings";
  p.load({{key::PaletteColors, 17}});
  EXPECT_EQ(p.swatches(), 0U);
  p.keep(17);
  p.click(CPalDlg::kPhotos);
  EXPECT_EQ(p.swatches(), 0U);
  EXPECT_EQ(paramInt(p.save().get(), key::Adaptive), 1);
  p.load({{key::PaletteMethod, kPaletteMaps}, {key::PaletteColors, 17}});
  p.keep(17);
  auto* colors = p.page->control<NumberSpin>(CPalDlg::kColors);
  Q_EMIT colors->findChild<QLineEdit*>()->textEdited("17");
  EXPECT_EQ(paramInt(p.save().get(), key::Adaptive), 0) << "the same number was typed";
  colors->stepBy(1);
  EXPECT_EQ(paramInt(p.save().get(), key::Adaptive), 1);
}

TEST(PalDlg, LoadTakesWhatItKnows) {
  PalettePage p;
  p.load({{key::PaletteMethod, kPaletteMaps}, {key::PaletteColors, 32}, {key::LutFileName, "a.lut"}});
  const auto values = [&] {
    const auto s = p.save(p.page->control<QRadioButton>(CPalDlg::kClassified)->isChecked() ? 0 : 1);
    return std::tuple(paramInt(s.get(), key::PaletteMethod), paramInt(s.get(), key::PaletteColors),
                      paramString(s.get(), key::LutFileName));
  };
  const std::tuple loaded(int{kPaletteMaps}, 32, std::string("a.lut"));
  EXPECT_EQ(values(), loaded);
  p.load({});
  EXPECT_EQ(values(), loaded) << "missing keys";
  for (const int wrong : {-1, 4, 100000})
    p.load({{key::PaletteMethod, wrong}, {key::PaletteColors, wrong}, {key::LutFileName, wrong}});
  p.load({{key::PaletteColors, 7}});
  p.load({{key::PaletteColors, 257}});
  EXPECT_EQ(values(), loaded) << "what is out of range";
  auto* typed = p.page->control<QWidget>(CPalDlg::kColors)->findChild<QLineEdit*>();
  typed->setText("many");
  Q_EMIT typed->textEdited("many");
  EXPECT_NE(p.page->GetRefusal(), "") << "no scan with a number that the user did not type";
  EXPECT_EQ(p.page->GetRefusal(), "") << "the field has its value again";
  p.load({{key::ResetMark, 1}});
  EXPECT_EQ(values(), std::tuple(0, 256, std::string()));
}

TEST(PalDlg, ClassesComeFromTheFile) {
  PalettePage p;
  const std::string file = p.lutFile();
  p.load({{key::PaletteMethod, kPaletteClassified}, {key::LutFileName, file}});
  EXPECT_EQ(p.page->GetRefusal(), "");
  const CKxVariant lut = paramValue(p.save().get(), key::Lut);
  ASSERT_TRUE(lut.get<CKxBlob>());
  EXPECT_EQ(lut.get<CKxBlob>()->size(), kLutBytes);
  const auto& shown = p.page->findChild<PaletteSwatches*>()->colors();
  EXPECT_EQ(shown, (std::vector<KXRGBQUAD>{{1, 2, 3, 0}, {7, 8, 9, 0}})) << "the second is no class";

  std::filesystem::remove(file);
  const auto request = p.save(0);
  EXPECT_TRUE(paramValue(request.get(), key::Lut).isEmpty());
  EXPECT_EQ(paramString(request.get(), key::LutFileName), file) << "values are stored all the same";
  EXPECT_EQ(p.page->GetRefusal(), "LUT file " + file + " not found.$QBHelp:IDH_LutError$");
  EXPECT_TRUE(p.messages.empty()) << "settings are pushed without windows";
  p.page->Show(1);
  p.window.show();
  EXPECT_NE(p.note().find("LUT file " + file + " not found. The file cannot be read"), std::string::npos)
      << p.note();
  EXPECT_EQ(p.swatches(), 0U);

  p.page->detector()->RequestLut();
  EXPECT_EQ(p.page->GetRefusal(), "") << "it is about to be made";
  EXPECT_EQ(p.save()->GetKeys().size(), 3U);
}

TEST(PalDlg, ButtonsLoadAndCreate) {
  PalettePage p;
  p.load({{key::PaletteMethod, kPaletteClassified}});
  p.click(CPalDlg::kLoadLut);
  EXPECT_EQ(p.askedChannel, "LUTFile");
  EXPECT_EQ(p.save()->GetKeys().size(), 3U) << "cancelled";
  p.chosenFile = p.lutFile();
  p.click(CPalDlg::kLoadLut);
  EXPECT_EQ(paramString(p.save().get(), key::LutFileName), p.chosenFile);
  EXPECT_EQ(p.swatches(), 2U);

  p.window.show();
  p.controller.enablesCommands = 0;  // a run computes a palette
  p.page->PaletteChanged();
  EXPECT_FALSE(p.isEnabled(CPalDlg::kCreateLut));
  p.controller.enablesCommands = 1;
  p.page->Enable(1);
  EXPECT_TRUE(p.isEnabled(CPalDlg::kCreateLut)) << "it has ended";
  p.click(CPalDlg::kCreateLut);
  EXPECT_TRUE(p.page->detector()->isLutRequested());
  EXPECT_EQ(p.controller.posted, std::vector{32813});
  EXPECT_EQ(p.page->ToolTemplatesDir(), p.dir.file("data/templates"));
  p.load({{key::PaletteMethod, kPaletteMaps}});
  p.page->ClassifyBy("/made/auto.lut");
  EXPECT_TRUE(p.page->control<QRadioButton>(CPalDlg::kClassified)->isChecked());
  EXPECT_EQ(p.page->control<QLineEdit>(CPalDlg::kLutFile)->text(), "/made/auto.lut");
}

}  // namespace
}  // namespace quillbay
