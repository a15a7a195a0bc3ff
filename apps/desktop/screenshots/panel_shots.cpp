#include "screenshots/panel_shots.h"

#include <QApplication>
#include <QPushButton>
#include <memory>

#include "quillbay/app.h"
#include "quillbay/bw_points.h"
#include "quillbay/preview_control.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"
#include "quillbay/tools.h"
#include "scanner/panel_dock.h"

namespace desktop {

namespace {

constexpr int kSecondTab = 1, kThirdTab = 2;
constexpr int kPanelWidth = 352;
constexpr quillbay::tagRRECT kMiddle{240, 0, 660, 297};  // of the bed, where the document lies

/// A page around a tool, without a picture.
struct ToolPage final : quillbay::IToolSite {
  void ToolChanged() override {}
  int GetPicture(quillbay::ToolPicture*) override { return 0; }
  int Pick() override { return 0; }
  void EndPick() override {}
};

/// The simulated scanner has no points of its own: the tool alone.
bool shootPoints(Stage& stage) {
  const auto factory = quillbay::query<quillbay::IToolsFactory>(stage.window().app());
  if (!factory) return false;
  const auto made =
      quillbay::KxPtr<quillbay::IKxUnknown>::adopt(factory->MakeTool(quillbay::tool_name::BWPointSetup));
  const auto tool = quillbay::query<quillbay::IPanelTool>(made.get());
  ToolPage site;
  QWidget page;
  QWidget* window = tool ? tool->Create(&page, &site) : nullptr;
  if (!window) return false;
  const auto values = quillbay::new_MemParam();
  values->SetValue(quillbay::key::HardBwPoint, quillbay::bwPointBytes({{18, 16, 21, 0}, {236, 231, 214, 0}}));
  tool->Load(values.get());
  tool->Refresh();
  const QSize size(kPanelWidth, window->sizeHint().height());
  page.resize(size);
  tool->Place({0, 0, size.width(), size.height()});
  page.show();
  const bool saved = stage.save(page, "panel-points");
  tool->Close();
  return saved;
}

}  // namespace

bool shootPreview(Stage& stage) {
  using quillbay::PreviewCommand;
  PanelDock& dock = stage.window().panelDock();
  const auto preview = dock.preview();
  if (!preview) return false;
  // Setting the units hides the fragment.
  const auto showIn = [&](int units) {
    stage.set(quillbay::key::Units, units);
    stage.set(quillbay::key::CustomScanValid, 1);
  };
  preview->PreviewCommand(PreviewCommand::DisableUpdating);
  stage.set(quillbay::key::RcScan, kMiddle);
  const bool done = stage.preview();
  stage.set(quillbay::key::RcPreview, quillbay::tagRRECT{270, 20, 450, 110});
  stage.set(quillbay::key::RcCustomScan, quillbay::tagRRECT{410, 130, 630, 270});
  stage.set(quillbay::key::CustomScanValid, 1);
  if (!done || !stage.save(stage.window(), "preview-tab")) return false;
  const int width = dock.width();
  stage.window().resizeDocks({&dock}, {960}, Qt::Horizontal);
  showIn(quillbay::kInches);
  if (!stage.save(stage.window(), "preview-column")) return false;
  showIn(quillbay::kMillimetres);
  preview->PreviewCommand(PreviewCommand::Float);
  auto* window = stage.panel()->findChild<QWidget*>("PreviewDlgForm");
  bool saved = window && stage.save(*window, "preview-window");
  showIn(quillbay::kInches);
  saved = saved && stage.save(*window, "preview-window-inch");
  stage.set(quillbay::key::Units, quillbay::kMillimetres);
  preview->PreviewCommand(PreviewCommand::Dock);
  preview->PreviewCommand(PreviewCommand::DisableUpdating);
  stage.set(quillbay::key::CustomScanValid, 0);
  stage.window().resizeDocks({&dock}, {width}, Qt::Horizontal);
  return saved;
}

bool shootPages(Stage& stage) {
  const int before = stage.modeNow();
  stage.set(quillbay::key::CurrMode, quillbay::kModeBwAdaptive);
  const bool saved = stage.saveTab(kSecondTab, "panel-bw") && stage.saveTab(kThirdTab, "panel-setup");
  stage.set(quillbay::key::CurrMode, before);
  return saved;
}

bool shootColours(Stage& stage) {
  const int before = stage.modeNow();
  stage.set(quillbay::key::CurrMode, quillbay::kModeRgb);
  stage.apply({{quillbay::key::Brightness, 20}, {quillbay::key::Saturation, 60}, {quillbay::key::RedBalance, 15}});
  bool saved = stage.saveTab(kSecondTab, "panel-colour");
  stage.apply(
      {{quillbay::key::IsGamma, 1},
       {quillbay::key::CurvePoints, "quillbay-curves 1\ncommon 0,0 70,40 180,215 255,255\nblue 0,0 230,255"}});
  saved = saved && stage.saveTab(kSecondTab, "panel-curves");
  stage.apply({{quillbay::key::ResetMark, 1}});
  stage.set(quillbay::key::CurrMode, before);
  return saved && shootPoints(stage);
}

bool shootPalette(Stage& stage) {
  const int before = stage.modeNow();
  stage.choose({kMiddle.width(), kMiddle.height()}, quillbay::kModePalette, 200);
  stage.set(quillbay::key::RcScan, kMiddle);
  stage.apply({{quillbay::key::PaletteMethod, quillbay::kPaletteMaps}, {quillbay::key::PaletteColors, 64}});
  const bool saved = stage.preview() && stage.saveTab(kSecondTab, "panel-palette");
  stage.apply({{quillbay::key::ResetMark, 1}});
  stage.set(quillbay::key::CurrMode, before);
  return saved;
}

bool shootFound(Stage& stage) {
  using quillbay::PreviewCommand;
  if (!stage.use("sim:drawing=map,size=420x297,at=60x40,skew=3,width=600,source=flatbed,seed=7")) return false;
  PanelDock& dock = stage.window().panelDock();
  const auto preview = dock.preview();
  auto* detect = stage.panel()->findChild<QPushButton*>("detect");
  if (!preview || !detect) return false;
  std::vector<std::pair<const char*, quillbay::CKxVariant>> before;
  for (const char* key : {quillbay::key::ScanAreaType, quillbay::key::Autodetect, quillbay::key::Deskew})
    before.emplace_back(key, stage.get(key));
  stage.set(quillbay::key::ScanAreaType, quillbay::kAreaAuto);
  stage.set(quillbay::key::Autodetect, 30);
  stage.set(quillbay::key::Deskew, 1);
  preview->PreviewCommand(PreviewCommand::DisableUpdating);
  const int width = dock.width();
  stage.window().resizeDocks({&dock}, {960}, Qt::Horizontal);
  detect->click();
  preview->PreviewCommand(PreviewCommand::Show);
  const bool saved = stage.save(*stage.panel(), "preview-found");
  preview->PreviewCommand(PreviewCommand::DisableUpdating);
  for (const auto& [key, value] : before) stage.set(key, value);
  stage.window().resizeDocks({&dock}, {width}, Qt::Horizontal);
  return saved;
}

}  // namespace desktop
