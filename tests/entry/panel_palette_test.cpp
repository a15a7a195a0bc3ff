/// The prescan that computes a palette, and the lookup file made of one, on the panel.
#include <gtest/gtest.h>

#include <QPushButton>
#include <set>
#include <stdexcept>

#include "fake_scanner.h"
#include "panel_fixture.h"
#include "quillbay/preview_control.h"

namespace quillbay {
namespace {

/// A view that shows nothing.
class StillView final : public CKxUnknownImpl<IKxView> {
 public:
  int Invalidate() override { return 1; }
  QWidget* GetWindow() override { return nullptr; }
};

class PanelPaletteTest : public PanelTest {
 protected:
  /// A panel on a fake scanner in the palette mode, with 16 colours from a prescan.
  void openFake() {
    unit = KxPtr<FakeUnit>::adopt(new FakeUnit);
    unit->palette = true;
    front = KxPtr<IApp>::adopt(static_cast<IApp*>(new FakeScannerApp(app(), unit)));
    ASSERT_TRUE(openOn(front.get()));
    usePalette(kPaletteMaps);
  }
  void usePalette(int method) {
    smallPages(400);
    set("m_CurrMode", kModePalette);
    apply(method, 16);
  }
  void apply(int method, int colors) {
    const auto values = new_MemParam();
    values->SetValue(key::PaletteMethod, method);
    values->SetValue(key::PaletteColors, colors);
    sink()->ApplyParams(values.get());
    QCoreApplication::processEvents();
    if (unit) unit->ran.clear();
  }
  /// The modes of what the scanner ran since it was asked last.
  std::vector<int> ranModes() {
    std::vector<int> modes;
    for (const auto& request : unit->ran) modes.push_back(paramInt(request.get(), key::Mode));
    last = unit->ran.empty() ? nullptr : unit->ran.back();
    first = unit->ran.empty() ? nullptr : unit->ran.front();
    unit->ran.clear();
    return modes;
  }
  /// Without a view there is no part of the document to preview: the next scan makes the file.
  void createLut() {
    window()->findChild<QPushButton*>("createLut")->click();
    QCoreApplication::processEvents();
  }
  [[nodiscard]] std::string lutPath() const { return settings.file("data/templates/auto.lut"); }
  void TearDown() override {
    PanelTest::TearDown();
    front = nullptr;
  }

  const std::vector<int> withPrescan{kModeRgb, kModePalette}, without{kModePalette};
  KxPtr<FakeUnit> unit;
  KxPtr<IApp> front;
  KxPtr<IParam> first, last;
};

TEST_F(PanelPaletteTest, ThePrescanComputesThePaletteOfTheScan) {
  openFake();
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(ranModes(), withPrescan);
  EXPECT_EQ(paramInt(first.get(), key::ImageDpi), 100) << "the resolution of previews";
  EXPECT_EQ(paramInt(first.get(), key::RequestType, -1), kRequestPrescan);
  EXPECT_EQ(*paramValue(first.get(), key::Rect).get<tagRRECT>(), (tagRRECT{0, 0, 254, 127})) << "of the scan";
  EXPECT_EQ(paramInt(last.get(), key::ImageDpi), 400);
  EXPECT_EQ(paramInt(last.get(), key::PaletteCount), 16);
  const CKxVariant palette = paramValue(last.get(), key::Palette);
  ASSERT_TRUE(palette.get<CKxBlob>());
  ASSERT_EQ(palette.get<CKxBlob>()->size(), 1024U);
  const auto* colors = reinterpret_cast<const KXRGBQUAD*>(palette.get<CKxBlob>()->data());
  EXPECT_EQ(std::count(colors, colors + 16, KXRGBQUAD{128, 128, 128, 0}), 1) << "the one grey of the document";
  EXPECT_TRUE(std::all_of(palette.get<CKxBlob>()->begin() + 64, palette.get<CKxBlob>()->end(),
                          [](std::uint8_t byte) { return byte == 0; }))
      << "16 colours, and nothing behind them";
}

TEST_F(PanelPaletteTest, OnePrescanServesADocument) {
  openFake();
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
  EXPECT_EQ(ranModes(), withPrescan);
  EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
  EXPECT_EQ(ranModes(), without);
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(ranModes(), without);
  EXPECT_FALSE(paramValue(last.get(), key::Palette).isEmpty());
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(ranModes(), withPrescan) << "another document lies there";

  const std::pair<const char*, std::function<void()>> changes[] = {
      {"the mode", [&] { set("m_CurrMode", kModeGrey), set("m_CurrMode", kModePalette); }},
      {"the kind of area", [&] { set("m_eScanType", 2), set("m_eScanType", 3); }},
      {"the method", [&] { apply(kPalettePhotos, 16); }},
      {"the number of colours", [&] { apply(kPalettePhotos, 17); }},
      {"the brightness",
       [&] {
         const auto values = new_MemParam();
         values->SetValue(key::Brightness, 20);
         sink()->ApplyParams(values.get());
       }},
      {"the document", [&] { control->Eject(); }},
  };
  for (const auto& [what, change] : changes) {
    EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
    EXPECT_EQ(ranModes(), withPrescan) << what;
    change();
    EXPECT_EQ(run(StartKind::Prescan), EndCause::Done);
    EXPECT_EQ(ranModes(), withPrescan) << what;
    control->Eject();
  }
  apply(kPaletteLinear, 16);
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(ranModes(), without);
  EXPECT_EQ(paramInt(last.get(), key::PaletteCount), 16);
  EXPECT_TRUE(paramValue(last.get(), key::Palette).isEmpty());
}

TEST_F(PanelPaletteTest, APrescanThatFailsEndsTheRun) {
  openFake();
  unit->fault = {UnitFaultCode::Jammed, "The paper is stuck."};
  EXPECT_EQ(run(), EndCause::Device);
  EXPECT_EQ(recorder->fault.text, "The paper is stuck.");
  EXPECT_EQ(ranModes(), std::vector{int{kModeRgb}}) << "nothing was scanned";

  unit->fault = {};
  unit->pause = std::chrono::milliseconds(50);
  unit->onCall = [&](const std::string& call) {
    if (call == "Command 0") QTimer::singleShot(0, [&] { control->Stop(StopKind::Now); });
  };
  unit->commands.clear();
  EXPECT_EQ(run(), EndCause::Stopped);
  EXPECT_EQ(ranModes(), std::vector{int{kModeRgb}});
  EXPECT_EQ(std::count(unit->commands.begin(), unit->commands.end(), 2), 1) << "the prescan was cancelled";

  unit->pause = {};
  unit->onCall = [](const std::string& call) {
    if (call == "Command 0") throw std::runtime_error("the driver broke");
  };
  EXPECT_EQ(run(), EndCause::Refused);
  EXPECT_NE(messages.back().find("the driver broke"), std::string::npos) << messages.back();

  unit->onCall = nullptr;
  unit->ran.clear();
  EXPECT_EQ(run(), EndCause::Done) << "the panel works on";
  EXPECT_EQ(ranModes(), withPrescan);
  EXPECT_EQ(filesIn(out.path()).size(), 1U);
}

TEST_F(PanelPaletteTest, TheWindowMayCloseInThePrescan) {
  openFake();
  unit->pause = std::chrono::milliseconds(20);
  unit->onCall = [&](const std::string& call) {
    if (call == "Command 0") QTimer::singleShot(0, [&] { close(); });
  };
  EXPECT_TRUE(control->Start(StartKind::Scan, 1));
  QTimer::singleShot(200, &recorder->loop, &QEventLoop::quit);
  recorder->loop.exec();
  EXPECT_EQ(window(), nullptr);
  EXPECT_TRUE(filesIn(out.path()).empty());
}

TEST_F(PanelPaletteTest, ALookupFileThatCannotBeWrittenEndsTheRun) {
  openFake();
  test::writeFile(settings.file("data"), "in the way");
  createLut();
  EXPECT_EQ(run(), EndCause::Output);
  ASSERT_FALSE(messages.empty());
  EXPECT_NE(messages.back().find("auto.lut"), std::string::npos) << messages.back();
  EXPECT_EQ(ranModes(), std::vector{int{kModeRgb}});
  EXPECT_EQ(run(), EndCause::Done) << "with the method that stands";
  EXPECT_EQ(ranModes(), withPrescan);
}

TEST_F(PanelPaletteTest, TheAreaThatAViewShowsGivesALookupFile) {
  hostView = KxPtr<IKxView>::adopt(new StillView);
  openFake();
  sink()->EnableViewSync(1);
  query<IPreviewControl>(sink())->PreviewCommand(PreviewCommand::DisableUpdating);  // no other preview follows
  const tagRRECT shown{40, 10, 190, 110};
  set("m_rcPreview", shown);
  createLut();
  ASSERT_TRUE(recorder->waitEnded());
  EXPECT_EQ(recorder->cause, EndCause::Done);
  EXPECT_EQ(recorder->starts.back().kind, StartKind::AreaPrescan);
  EXPECT_EQ(ranModes(), withPrescan);
  EXPECT_EQ(*paramValue(first.get(), key::Rect).get<tagRRECT>(), shown) << "colours of what is seen";
  EXPECT_EQ(paramInt(first.get(), key::ImageDpi), 100);
  const CKxVariant lut = paramValue(last.get(), key::Lut);
  ASSERT_TRUE(lut.get<CKxBlob>()) << "the picture is classified";
  EXPECT_EQ(lut.get<CKxBlob>()->size(), 33792U);
  EXPECT_TRUE(paramValue(last.get(), key::Palette).isEmpty());
  EXPECT_TRUE(std::filesystem::exists(lutPath()));
  EXPECT_TRUE(filesIn(out.path()).empty()) << "no page";
  const auto page = new_MemParam();
  control->GetPageParams(page.get());
  EXPECT_EQ(paramInt(page.get(), key::PaletteMethod), kPaletteClassified);
  EXPECT_EQ(paramString(page.get(), key::LutFileName), lutPath());
  EXPECT_EQ(run(), EndCause::Done);
  EXPECT_EQ(ranModes(), without) << "the file is there";
}

TEST_F(PanelPaletteTest, ALookupFileMadeFromTheDocumentClassifiesIt) {
  ASSERT_TRUE(open("sim:drawing=map,size=254x127,at=0x0,width=300,seed=5"));
  usePalette(kPaletteMaps);
  set("m_uiDPI", 100);
  createLut();
  EXPECT_EQ(run(), EndCause::Done);
  const std::string lut = test::readFile(lutPath());
  ASSERT_GT(lut.size(), 32768U);
  const auto page = new_MemParam();
  control->GetPageParams(page.get());
  EXPECT_EQ(paramInt(page.get(), key::PaletteMethod), kPaletteClassified);
  EXPECT_EQ(paramString(page.get(), key::LutFileName), lutPath());
  EXPECT_EQ(run(), EndCause::Done) << "now from the file";
  EXPECT_EQ(test::readFile(lutPath()), lut);

  const std::set<std::uint8_t> classes(lut.end() - 32768, lut.end());
  EXPECT_EQ(recorder->starts.back().paletteColors, static_cast<int>(classes.size()));
  for (const std::string& name : filesIn(out.path())) {
    const auto raster = new_OpenFileChanel(nullptr, file(name)).as<IKxRasterLoadFileChanel>()->Load(0, nullptr);
    ASSERT_EQ(raster->GetColorSpace(), KxColorSpace::Palette) << name;
    const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0));
    std::vector<std::uint8_t> line(static_cast<std::size_t>(raster->GetWidth()));
    std::set<std::uint8_t> used;
    for (int y = 0; y < raster->GetHeight(); ++y) {
      lines->ReadLine(y, 0, raster->GetWidth(), line.data());
      used.insert(line.begin(), line.end());
    }
    EXPECT_GT(used.size(), 8U) << name;
    EXPECT_TRUE(std::includes(classes.begin(), classes.end(), used.begin(), used.end())) << name;
  }
  EXPECT_EQ(filesIn(out.path()).size(), 2U);
}

}  // namespace
}  // namespace quillbay
