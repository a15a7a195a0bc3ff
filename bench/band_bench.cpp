/// From the pointer's move to the picture: a running rubber band over a colour raster of 600 megapixels, its lines
/// in a scratch file, in a window of 1920 x 1080 pixels. usage: band_bench [BUDGET_MIB]   the memory that rasters
/// may hold (64)
#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "bench_tools.h"
#include "quillbay/choosers.h"
#include "quillbay/raster.h"
#include "quillbay/view.h"

namespace quillbay {
namespace {

using bench::Series;
using bench::Times;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr std::int32_t kRasterWidth = 20000, kRasterHeight = 30000;
constexpr double kMmPerPixel = kMmPerInch / 300;
constexpr int kMoves = 400;
constexpr double kMedianAimMs = 4, kWorstAimMs = 16;

KxPtr<IRStor> newRaster() {
  auto raster = new_IRStor(KxColorSpace::Rgb, kRasterWidth, kRasterHeight, 300);
  const auto lines = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  std::vector<std::uint8_t> line(std::size_t{kRasterWidth} * 3);
  for (std::int32_t y = 0; y < kRasterHeight; ++y) {
    for (std::size_t i = 0; i < line.size(); ++i)
      line[i] = static_cast<std::uint8_t>(i * 7 + static_cast<std::size_t>(y) * 13 + i / 977);
    lines->WriteLine(y, 0, kRasterWidth, line.data());
  }
  raster.as<IRStorLevels>()->MakeLevels(-1);
  return raster;
}

class Screen {
 public:
  explicit Screen(IRStor* raster) {
    m_host.resize(kWidth, kHeight);
    m_view = new_ViewPort(nullptr, &m_host);
    window()->resize(kWidth, kHeight);
    m_painter = new_RasterPainter(m_view.get());
    m_painter->Add(raster, {0, 0}, 300);
    m_host.show();
    QCoreApplication::processEvents();
  }
  void zoom(double zoom) {
    CRTfm t;
    t.scaleX = zoom / kMmPerPixel;
    t.scaleY = -t.scaleX;
    t.offsetX = std::min(0.0, (kWidth - kRasterWidth * zoom) / 2);
    t.offsetY = std::min(0.0, (kHeight - kRasterHeight * zoom) / 2);
    if (!m_view->SetTransform(t, 0)) std::exit(1);
    m_view->Invalidate(nullptr);
    m_view->Update();
    QCoreApplication::processEvents();
  }
  /// The pointer goes to a place of the window: from its event until the window is painted.
  Times move(const QPointF& at) {
    QMouseEvent event(QEvent::MouseMove, at, window()->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    const Times start = bench::now();
    QCoreApplication::sendEvent(window(), &event);
    m_view->Update();
    return bench::since(start);
  }
  [[nodiscard]] IKxViewPort& view() { return *m_view; }

 private:
  [[nodiscard]] QWidget* window() const { return m_view->GetWindow(); }
  QWidget m_host;
  KxPtr<IKxViewPort> m_view;
  KxPtr<IKxRasterPainter> m_painter;
};

struct Band {
  const char* name;
  std::function<IChoose*(IToolCtxEx&)> make;
  int corners;  // fixed before the pointer moves
};

void measure(Screen& screen, const Band& band) {
  Series all;
  for (const double zoom : {0.036, 0.25, 1.0}) {
    screen.zoom(zoom);
    const auto tools = new_ToolCtx(nullptr, &screen.view()).as<IToolCtxEx>();
    const auto chooser = KxPtr<IChoose>::adopt(band.make(*tools));
    for (int i = band.corners - 1; i >= 0; --i) {
      const double angle = i * 0.7, reach = i * 400.0 / band.corners;
      chooser->FixPoint(band.corners == 1 ? screen.view().ToDocument(20, 20)
                                          : screen.view().ToDocument(kWidth / 2 + reach * std::cos(angle),
                                                                     kHeight / 2 + reach * std::sin(angle)));
    }
    Series moves;
    for (int i = 0; i < kMoves; ++i) {
      // In small steps along the window's far part, now and then across it.
      const double t = i * 0.02 + (i % 50 == 0 ? 2 : 0);
      moves.add(screen.move({kWidth * (0.75 + 0.22 * std::sin(t)), kHeight * (0.75 + 0.22 * std::cos(t * 1.3))}));
    }
    std::printf("  %-24s zoom %5.3f  median %5.2f  worst %5.2f ms  (its thread %5.2f / %5.2f)\n", band.name, zoom,
                moves.median(&Times::wall), moves.worst(&Times::wall), moves.median(&Times::thread),
                moves.worst(&Times::thread));
    all.add(moves);
  }
  const std::string name = std::string("band: ") + band.name;
  bench::aim(name + ", median", all.median(&Times::wall), "ms", kMedianAimMs, all.median(&Times::thread));
  bench::aim(name + ", worst", all.worst(&Times::wall), "ms", kWorstAimMs, all.worst(&Times::thread));
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  using namespace quillbay;
  SetRasterBudget({(argc > 1 ? std::atoll(argv[1]) : 64) << 20, {}, false});
  const auto raster = newRaster();
  Screen screen(raster.get());
  std::printf("Window of %d x %d pixels, raster of %d x %d (load %s)\n", kWidth, kHeight, kRasterWidth,
              kRasterHeight, bench::load().c_str());
  const Band bands[] = {
      {"frame", [](IToolCtxEx& t) { return t.ChooseFrame(0, 1, nullptr); }, 1},
      {"diagonal line", [](IToolCtxEx& t) { return t.ChooseLine(0, 1, nullptr); }, 1},
      {"circle", [](IToolCtxEx& t) { return t.ChooseCircleByRadius(0, 1, nullptr); }, 1},
      {"polygon of 1,000 points", [](IToolCtxEx& t) { return t.ChoosePolygon(0, 1, nullptr); }, 1000},
  };
  for (const Band& band : bands) measure(screen, band);
}
