/// Paints a view of 1920 x 1080 pixels over large rasters at ten zoom levels: while stripes arrive from another
/// thread, while the levels of a raster that is there are being made, and afterwards. Frames jump to parts that
/// were not shown before ("jump"), move by an eighth of the view ("pan") or show the same again ("same"). usage:
/// view_bench [BUDGET_MIB]    the memory that rasters may hold before their lines go to a scratch file (64)
#include <QApplication>
#include <QImage>
#include <QWidget>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "bench_tools.h"
#include "quillbay/view.h"

namespace quillbay {
namespace {

using bench::Series;
using bench::Times;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr double kMmPerPixel = kMmPerInch / 300;
constexpr double kZooms[] = {0.036, 0.06, 0.124, 0.126, 0.2, 0.249, 0.251, 0.51, 1.0, 3.0};
constexpr int kFrames = 12;
constexpr double kFrameAimMs = 16, kMakingAimMs = 50, kMemoryAimMib = 300;

/// A stripe of a picture with noise in it; bitonal: of slanted and upright strokes.
class Stripe final : public CKxUnknownImpl<IScanBuffer, IContiguousLines> {
 public:
  static constexpr std::int32_t kLines = 16;
  Stripe(KxColorSpace colorSpace, std::int32_t width) : m_colorSpace(colorSpace), m_width(width) {
    if (isRunList(colorSpace)) {
      const auto w = static_cast<std::uint32_t>(width);
      for (std::uint32_t x = 40; x + 200 < w; x += 130) m_runs.insert(m_runs.end(), {x, x + 3 + x % 11});
      m_runs.insert(m_runs.end(), {RunEnd, 0U});
      return;
    }
    m_bytes.resize(GetStride() * kLines);
    for (std::size_t i = 0; i < m_bytes.size(); ++i) m_bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 977);
    for (std::size_t i = 0; i < m_colors.size(); ++i) {
      const auto v = static_cast<std::uint8_t>(i);
      m_colors[i] = {v, static_cast<std::uint8_t>(255 - v), static_cast<std::uint8_t>(v / 2), 0};
    }
  }
  KxSize* GetSize(KxSize* out) override { return *out = {m_width, kLines}, out; }
  const std::uint8_t* GetLine(std::int32_t i) override {
    return m_bytes.empty() ? reinterpret_cast<const std::uint8_t*>(m_runs.data())
                           : m_bytes.data() + static_cast<std::size_t>(i) * GetStride();
  }
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  int GetColorCount() override { return paletteSize(m_colorSpace); }
  const KXRGBQUAD* GetPalette() override { return m_colors.data(); }
  std::uint32_t GetResolution() override { return 300; }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }
  const std::uint8_t* GetBytes() override { return m_bytes.data(); }
  std::size_t GetStride() override { return fixedLineBytes(m_colorSpace, m_width); }

 private:
  const KxColorSpace m_colorSpace;
  const std::int32_t m_width;
  std::vector<std::uint8_t> m_bytes;
  std::vector<std::uint32_t> m_runs;
  std::vector<KXRGBQUAD> m_colors = std::vector<KXRGBQUAD>(256);
};

struct Case {
  const char* name;
  KxColorSpace colorSpace;
  std::int32_t width, height;
};

/// The view with one raster in it.
class Screen {
 public:
  Screen() : m_image(kWidth, kHeight, QImage::Format_RGB32) {
    m_host.resize(kWidth, kHeight);
    m_view = new_ViewPort(nullptr, &m_host);
    m_view->GetWindow()->resize(kWidth, kHeight);
    painter = new_RasterPainter(m_view.get());
  }

  /// A frame of the raster of this size with its pixel `x`, `y` in the corner; the picture is centred where it is
  /// smaller than the view.
  Times paint(KxSize size, double zoom, double x, double y) {
    CRTfm t;
    t.scaleX = zoom / kMmPerPixel;
    t.scaleY = -t.scaleX;
    const auto place = [&](double at, double length, int side) {
      const double room = length * zoom - side;
      return room > 0 ? -std::min(at * zoom, room) : -room / 2;
    };
    t.offsetX = place(x, size.width, kWidth);
    t.offsetY = place(y, size.height, kHeight);
    if (!m_view->SetTransform(t, 0)) std::exit(1);
    const Times start = bench::now();
    m_view->GetWindow()->render(&m_image);
    const Times took = bench::since(start);
    memory.look();
    return took;
  }
  /// Frame `i` of `count` across the raster.
  Times jump(KxSize size, double zoom, int i, int count) {
    return paint(size, zoom, double(size.width) * i / count, double(size.height) * (i * 5 % count) / count);
  }

  KxPtr<IKxRasterPainter> painter;
  bench::PeakMemory memory;

 private:
  QWidget m_host;
  KxPtr<IKxViewPort> m_view;
  QImage m_image;
};

void print(const char* what, const Series& s) {
  std::printf("  %-44s median %5.1f  worst %5.1f ms  (its thread %5.1f, all cores %5.1f)  %zu frames\n", what,
              s.median(&Times::wall), s.worst(&Times::wall), s.worst(&Times::thread), s.worst(&Times::process),
              s.count());
}

void aim(const Case& c, const char* what, const Series& s, double limit) {
  bench::aim(std::string(c.name) + ": " + what, s.worst(&Times::wall), "ms", limit, s.worst(&Times::thread));
}

/// Stripes arrive from another thread as fast as they can; the view shows them meanwhile, at all zooms in turn.
KxPtr<IRStor> grow(const Case& c, Screen& screen) {
  const auto stripe = KxPtr<Stripe>::adopt(new Stripe(c.colorSpace, c.width));
  KxPtr<IRStor> raster;
  stripe->CreateRaster(raster.put());
  screen.painter->Add(raster.get(), {0, 0}, 300);
  std::atomic<bool> done = false;
  std::thread scanner([&] {
    while (raster->GetHeight() < c.height) stripe->AddToRaster(raster->GetHeight(), raster.get());
    done = true;
  });
  Series frames;
  const Times start = bench::now();
  for (int i = 0; !done; ++i) {
    QCoreApplication::processEvents();
    screen.painter->Refresh();
    frames.add(screen.jump(raster->GetSize(), kZooms[static_cast<std::size_t>(i) % 10], i % kFrames, kFrames));
  }
  scanner.join();
  print("while stripes arrive", frames);
  aim(c, "worst frame while stripes arrive", frames, kMakingAimMs);
  std::printf("  %.0f MiB arrived in %.0f ms\n", static_cast<double>(raster->GetByteCount()) / (1 << 20),
              bench::since(start).wall);
  return raster;
}

/// A raster that is there and has no levels yet: the view makes them between its frames.
void makeLevels(const Case& c, Screen& screen) {
  const auto stripe = KxPtr<Stripe>::adopt(new Stripe(c.colorSpace, c.width));
  KxPtr<IRStor> raster;
  stripe->CreateRaster(raster.put());
  while (raster->GetHeight() < c.height) stripe->AddToRaster(raster->GetHeight(), raster.get());
  screen.painter->Add(raster.get(), {0, 0}, 300);
  const auto levels = raster.as<IRStorLevels>();
  Series frames, turns;
  for (int i = 0; i == 0 || levels->GetLevelLines() < c.height; ++i) {
    frames.add(screen.jump({c.width, c.height}, kZooms[static_cast<std::size_t>(i) % 10], i % kFrames, kFrames));
    const Times start = bench::now();
    QCoreApplication::processEvents();
    turns.add(bench::since(start));
  }
  print("while the levels of a whole one are made", frames);
  aim(c, "worst frame while levels are made", frames, kMakingAimMs);
  print("event-loop turns between those frames", turns);
  std::printf("  %d levels, %.1f MiB\n", raster->GetLevelCount(),
              static_cast<double>(levels->GetLevelBytes()) / (1 << 20));
  screen.painter->Remove(raster.get());
}

void paintZooms(const Case& c, Screen& screen) {
  const KxSize size{c.width, c.height};
  Series all;
  for (const double zoom : kZooms) {
    Series jumps, pans, same;
    for (int i = 0; i < kFrames; ++i) jumps.add(screen.jump(size, zoom, i, kFrames));
    double x = size.width / 3.0, y = size.height / 2.0;
    screen.paint(size, zoom, x, y);
    for (int i = 0; i < kFrames; ++i) {
      x += kWidth / 8.0 / zoom;
      if (i % 3 == 2) y += kHeight / 8.0 / zoom;
      pans.add(screen.paint(size, zoom, x, y));
    }
    for (int i = 0; i < kFrames; ++i) same.add(screen.paint(size, zoom, x, y));
    std::printf("  zoom %5.3f  jump %5.1f / %5.1f  pan %5.1f / %5.1f  same %5.1f / %5.1f ms  all cores %5.1f\n",
                zoom, jumps.median(&Times::wall), jumps.worst(&Times::wall), pans.median(&Times::wall),
                pans.worst(&Times::wall), same.median(&Times::wall), same.worst(&Times::wall),
                jumps.median(&Times::process));
    all.add(jumps);
    all.add(pans);
    all.add(same);
  }
  print("all zooms, levels made", all);
  aim(c, "worst frame after that", all, kFrameAimMs);
}

/// The same visible parts, cut out of a picture in memory and scaled by the toolkit.
void compareWithToolkit(const Case& c) {
  QImage picture(c.width, c.height, QImage::Format_RGB888);
  if (picture.isNull()) return;
  const Stripe stripe(c.colorSpace, c.width);
  auto& lines = const_cast<Stripe&>(stripe);
  for (std::int32_t y = 0; y < c.height; ++y)
    std::copy_n(lines.GetLine(y % Stripe::kLines), lines.GetStride(), picture.scanLine(y));
  std::printf("\nThe same parts by QImage::copy and QImage::scaled (smooth), the picture in memory, no levels\n ");
  for (const double zoom : kZooms) {
    const QSize part(std::min(c.width, static_cast<int>(kWidth / zoom)),
                     std::min(c.height, static_cast<int>(kHeight / zoom)));
    Series frames;
    for (int i = 0; i < (zoom < 0.1 ? 1 : 3); ++i) {
      const QPoint at((c.width - part.width()) * i / 3, (c.height - part.height()) * i / 3);
      const Times start = bench::now();
      const QImage shown =
          picture.copy(QRect(at, part)).scaled(part * zoom, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
      frames.add(bench::since(start));
      if (shown.isNull()) std::exit(1);
    }
    std::printf(" %.3f: %.0f ms ", zoom, frames.median(&Times::wall));
  }
  std::printf("\n");
}

void measure(const Case& c) {
  std::printf("\n%s, %d x %d (load %s)\n", c.name, c.width, c.height, bench::load().c_str());
  Screen screen;
  makeLevels(c, screen);
  const auto raster = grow(c, screen);
  while (raster.as<IRStorLevels>()->GetLevelLines() < c.height) QCoreApplication::processEvents();
  paintZooms(c, screen);
  bench::aim(std::string(c.name) + ": most memory that no file backs", screen.memory.mib(), "MiB", kMemoryAimMib);
  std::fflush(stdout);
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  using namespace quillbay;
  const Case cases[] = {{"colour", KxColorSpace::Rgb, 20000, 30000},
                        {"grey", KxColorSpace::Grey, 20000, 30000},
                        {"palette", KxColorSpace::Palette, 20000, 30000},
                        {"bitonal", KxColorSpace::Bitonal, 40000, 56000}};
  SetRasterBudget({(argc > 1 ? std::atoll(argv[1]) : 64) << 20, {}, false});
  std::printf("View of %d x %d pixels. Pairs are median / worst, wall time.\n", kWidth, kHeight);
  for (const Case& c : cases) measure(c);
  compareWithToolkit(cases[0]);
}
