/// Paints a view of 1920 x 1080 pixels over a raster of 20,000 x 30,000 pixels at ten zoom levels, with and without
/// its reduced levels, and tells the median and the worst frame. usage: view_bench [BUDGET_MIB] BUDGET_MIB is the
/// memory that rasters may hold before their lines go to a scratch file (64).
#include <QApplication>
#include <QImage>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "quillbay/view.h"

namespace quillbay {
namespace {

constexpr std::int32_t kWidth = 20000, kHeight = 30000;
constexpr double kMmPerPixel = kMmPerInch / 300;
constexpr int kFrames = 15;

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Memory of the process that no file backs, in MiB.
double memoryMib(const char* key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key, 0) == 0) return std::atof(line.c_str() + std::string(key).size() + 1) / 1024;
  }
  return 0;
}

/// A stripe of lines that lie in one piece of memory.
class Stripe final : public CKxUnknownImpl<IScanBuffer, IContiguousLines> {
 public:
  static constexpr std::int32_t kLines = 16;
  explicit Stripe(bool bitonal) : m_bitonal(bitonal), m_bytes(std::size_t{kWidth} * 3 * kLines) {
    for (std::size_t i = 0; i < m_bytes.size(); ++i) m_bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 977);
    for (std::uint32_t x = 40; x + 200 < kWidth; x += 130) m_runs.insert(m_runs.end(), {x, x + 3 + x % 11});
    m_runs.insert(m_runs.end(), {RunEnd, 0U});
  }
  KxSize* GetSize(KxSize* out) override { return *out = {kWidth, kLines}, out; }
  const std::uint8_t* GetLine(std::int32_t i) override {
    return m_bitonal ? reinterpret_cast<const std::uint8_t*>(m_runs.data())
                     : m_bytes.data() + static_cast<std::size_t>(i) * GetStride();
  }
  KxColorSpace GetColorSpace() override { return m_bitonal ? KxColorSpace::Bitonal : KxColorSpace::Rgb; }
  int GetColorCount() override { return 0; }
  const KXRGBQUAD* GetPalette() override { return nullptr; }
  std::uint32_t GetResolution() override { return 300; }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }
  const std::uint8_t* GetBytes() override { return m_bytes.data(); }
  std::size_t GetStride() override { return std::size_t{kWidth} * 3; }

 private:
  bool m_bitonal;
  std::vector<std::uint8_t> m_bytes;
  std::vector<std::uint32_t> m_runs;
};

KxPtr<IRStor> newRaster(bool bitonal) {
  const auto stripe = KxPtr<Stripe>::adopt(new Stripe(bitonal));
  KxPtr<IRStor> raster;
  stripe->CreateRaster(raster.put());
  while (raster->GetHeight() < kHeight) stripe->AddToRaster(raster->GetHeight(), raster.get());
  return raster;
}

/// Frames of one zoom, each over another part.
struct Frames {
  double median, worst;
  double processor;  // milliseconds of all cores together, a frame
};
Frames paintFrames(IKxViewPort& view, double pixelsPerPixel, QImage& screen) {
  const KxSize client = view.GetClientSize();
  std::vector<double> times;
  const std::clock_t before = std::clock();
  for (int i = 0; i < kFrames; ++i) {
    CRTfm t;
    t.scaleX = pixelsPerPixel / kMmPerPixel;
    t.scaleY = -t.scaleX;
    const auto place = [&](double length, int side) {
      const double free = length * pixelsPerPixel - side;
      return free > 0 ? -free * i / kFrames : -free / 2;
    };
    t.offsetX = place(kWidth, client.width);
    t.offsetY = place(kHeight, client.height);
    if (!view.SetTransform(t, 0)) std::exit(1);
    const auto start = Clock::now();
    view.GetWindow()->render(&screen);
    times.push_back(msSince(start));
  }
  std::sort(times.begin(), times.end());
  const double processor = 1000.0 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC / kFrames;
  return {times[times.size() / 2], times.back(), processor};
}

void measure(bool bitonal) {
  constexpr double kZooms[] = {0.036, 0.06, 0.124, 0.126, 0.2, 0.249, 0.251, 0.51, 1.0, 3.0};
  const auto started = Clock::now();
  const auto raster = newRaster(bitonal);
  std::printf("\n%s, %d x %d, %.0f MiB (made in %.0f ms)\n", bitonal ? "bitonal" : "colour", kWidth, kHeight,
              static_cast<double>(raster->GetByteCount()) / (1 << 20), msSince(started));
  QWidget host;
  host.resize(1920, 1080);
  const auto view = new_ViewPort(nullptr, &host);
  view->GetWindow()->resize(1920, 1080);
  QImage screen(1920, 1080, QImage::Format_RGB32);
  const auto painter = new_RasterPainter(view.get());
  painter->Add(raster.get(), {0, 0}, 300);

  const auto levels = raster.as<IRStorLevels>();
  double making = 0, worstWhileMaking = 0, worstSlice = 0;
  int frames = 0;
  for (bool done = false; !done;) {
    const auto slice = Clock::now();
    done = levels->MakeLevels(8) != 0;
    worstSlice = std::max(worstSlice, msSince(slice));
    making += msSince(slice);
    if (++frames % 8 != 0) continue;
    worstWhileMaking = std::max(worstWhileMaking, paintFrames(*view, 0.036, screen).worst);
  }
  std::printf("levels: %d, %.1f MiB, made in %.0f ms in slices of at most %.1f ms; worst frame meanwhile %.1f ms\n",
              raster->GetLevelCount(), static_cast<double>(levels->GetLevelBytes()) / (1 << 20), making, worstSlice,
              worstWhileMaking);
  double worst = 0;
  for (const double zoom : kZooms) {
    const Frames f = paintFrames(*view, zoom, screen);
    worst = std::max(worst, f.worst);
    std::printf("  zoom %5.3f: median %5.1f ms, worst %5.1f ms, processor %5.1f ms\n", zoom, f.median, f.worst,
                f.processor);
  }
  std::printf("worst frame %.1f ms; memory now %.0f MiB without files\n", worst, memoryMib("RssAnon:"));
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  quillbay::SetRasterBudget({(argc > 1 ? std::atoll(argv[1]) : 64) << 20, {}, false});
  quillbay::measure(false);
  quillbay::measure(true);
  std::printf("\nmost memory at any time: %.0f MiB, scratch files included\n", quillbay::memoryMib("VmHWM:"));
}
