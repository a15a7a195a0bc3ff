/// The running dashes of the preview control: frames per second and processor time, over the picture of a prescan
/// that fills the control. And the colour page: from a moved slider to the painted picture of a prescan.
/// usage: preview_bench [SECONDS]    how long the dashes run (10)
#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <cstdlib>
#include <vector>

#include "bench_tools.h"
#include "pages/live_picture.h"
#include "pages/rgb_dlg.h"
#include "pages/rgb_main.h"
#include "preview/pv_static.h"
#include "quillbay/scan_keys.h"
#include "stores/preview_stor.h"
#include "stores/scan_buffer.h"
#include "stores/simple_stor.h"
#include "widgets/spin_scroll_edit.h"

namespace quillbay {
namespace {

using bench::Times;

constexpr double kAimPercent = 2, kAimFrames = 5, kAimSliderMs = 30;
constexpr int kWidth = 1600, kHeight = 1000;

/// The control does not need one while nobody touches it.
class NoController final : public IPanelController {
 public:
  bool Guarded(const std::function<bool()>& command) override { return command(); }
  IQuillbayUnit* Unit() override { return nullptr; }
  void PageChanged() override {}
  void ForgetPalette() override {}
  void AreaChanged() override {}
  int OffersDetection() override { return 0; }
  int DetectArea(int) override { return 0; }
  void RunPostProcessing() override {}
  int ExecCommand(const char*, IParam*) override { return 0; }
  int Message(EventKind, const std::string&, EventButtons) override { return 0; }
  void PostPanelCommand(int) override {}
  int IsCommandEnabled(int) override { return 0; }
  void RestartPreview() override {}
  int DockPreview() override { return 0; }
  int FloatPreview() override { return 0; }
  std::vector<IUIScanPage*> PagesOf(int) override { return {}; }
  std::vector<IUIScanPage*> AllPages() override { return {}; }
  int LoadPage(IUIScanPage*, IParam*) override { return 0; }
};

class PaintCount final : public QObject {
 public:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++count;
    return false;
  }
  int count = 0;
};

void fill(ISStripStor& store, KxColorSpace space = KxColorSpace::Grey) {
  constexpr std::int32_t kPixels = 3600;
  std::vector<std::uint8_t> line(kPixels * (space == KxColorSpace::Grey ? 1 : 3));
  for (int stripe = 0; stripe < 20; ++stripe) {
    const auto buffer = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(100, {kPixels, 100}, space, nullptr));
    for (int y = 0; y < 100; ++y) {
      for (std::size_t x = 0; x < line.size(); ++x)
        line[x] = static_cast<std::uint8_t>(x ^ std::size_t(stripe * y));
      buffer->AddLine(0, line.data());
    }
    store.AddStripe(buffer.get());
  }
  store.Finish(nullptr, 0, 0);
}

void run(int milliseconds) {
  QEventLoop loop;
  QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
  loop.exec();
}

double percent(const Times& t) { return 100 * t.process / t.wall; }

/// Every step moves a slider, has the picture computed and painted.
void measureSlider(const char* what, QSize size) {
  NoController controller;
  const auto params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  params->previewStore = KxPtr<ISStripStor>::adopt(new CPreviewStor(kWidth));
  fill(*params->previewStore, KxColorSpace::Rgb);
  params->quiet().currMode = kModeRgb;
  QWidget window;
  auto* page = new CRGBMain(controller, params);
  page->Create(&window, kModeRgb);
  page->resize(size);
  window.resize(size);
  window.show();
  run(100);
  auto* slider = page->simple().control<CSpinScrollEdit>(CRGBDlg::kContrast);
  bench::Series times;
  for (int i = -100; i <= 100; ++i) {
    const Times start = bench::now();
    slider->setValue(i);
    page->simple().OnCommand(CRGBDlg::kContrast, kCodeEdited, 0);
    page->picture().repaint();
    times.add(bench::since(start));
  }
  const QSize shown = page->picture().adjusted().size();
  std::printf("slider to picture, %s, %d x %d: %.2f / %.2f ms (median / worst)\n", what, shown.width(),
              shown.height(), times.median(&Times::wall), times.worst(&Times::wall));
  bench::aim(std::string("slider to picture, ") + what, times.worst(&Times::wall), "ms", kAimSliderMs);
}

int measure(int seconds) {
  measureSlider("narrow panel", {360, 760});
  measureSlider("half a screen", {1600, 1000});
  NoController controller;
  const auto params = CSharedScanParams::acquire(nullptr, &makeEmptyStore);
  params->previewStore = KxPtr<ISStripStor>::adopt(new CPreviewStor(kWidth));
  fill(*params->previewStore);
  params->quiet().rcScan = {0, 0, 900, 500};
  params->quiet().rcPreview = {50, 50, 800, 450};
  params->quiet().rcCustomScan = {100, 100, 700, 400};
  params->quiet().rectValid = params->quiet().customScanValid = 1;
  CPVStatic control(params, controller, nullptr);
  control.resize(kWidth, kHeight);
  control.rasterPlaced(params->values().rcScan);
  PaintCount paints;
  control.installEventFilter(&paints);
  control.show();
  run(500);

  paints.count = 0;
  Times start = bench::now();
  run(seconds * 1000);
  const Times running = bench::since(start);
  const double frames = paints.count * 1000.0 / running.wall;
  bench::Series whole;
  for (int i = 0; i < 30; ++i) {
    control.rasterPlaced(params->values().rcScan);
    start = bench::now();
    control.repaint();
    whole.add(bench::since(start));
  }
  control.hide();
  start = bench::now();
  run(2000);
  const Times hidden = bench::since(start);
  std::printf("Control of %d x %d pixels, both frames, for %d s (load %s)\n", kWidth, kHeight, seconds,
              bench::load().c_str());
  std::printf("shown   %5.1f frames/s  %6.2f %% of a core  %5.2f ms a frame\n", frames, percent(running),
              running.process / paints.count);
  std::printf("the picture after a stripe: %.1f / %.1f ms (median / worst)\n", whole.median(&Times::wall),
              whole.worst(&Times::wall));
  std::printf("hidden                  %6.2f %% of a core\n", percent(hidden));
  bench::aim("running dashes: processor time, all threads", percent(running), "%", kAimPercent);
  bench::aimAtLeast("running dashes", frames, "fps", kAimFrames);
  return 0;
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  return quillbay::measure(argc > 1 ? std::atoi(argv[1]) : 10);
}
