/// Erasing a polygon of 1,000 points on pages of A0 beside leptonica: both make a new picture of a scanned map, one
/// thread each, in turn. usage: erase_bench
#include <leptonica/allheaders.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <numbers>

#include "bench_tools.h"
#include "quillbay/raster_edit.h"
#include "quillbay/run_list.h"
#include "sim_pages.h"

namespace quillbay {
namespace {

constexpr int kRuns = 5;
constexpr double kLengthMm = 1189;
constexpr KXRGBQUAD kWhite{255, 255, 255, 0};

struct PixDeleter {
  void operator()(PIX* p) const { pixDestroy(&p); }
};
using PixPtr = std::unique_ptr<PIX, PixDeleter>;

KxPtr<IRStor> scannedMap(int mode, int dpi) {
  KxPtr<IRStor> page;
  for (const auto& stripe : bench::drawing(mode, dpi, kLengthMm)) {
    if (page) {
      stripe->AddToRaster(page->GetHeight(), page.get());
    } else {
      IRStor* made = nullptr;
      stripe->CreateRaster(&made);
      page = KxPtr<IRStor>::adopt(made);
    }
  }
  return page;
}

/// A wavy outline around some two fifths of a page.
CRPolygon outlineOn(KxSize size) {
  constexpr int kPoints = 1000;
  CRPolygon outline;
  outline.points.reserve(kPoints);
  for (int i = 0; i < kPoints; ++i) {
    const double angle = 2 * std::numbers::pi * i / kPoints, r = 0.36 + 0.05 * std::sin(angle * 37);
    outline.points.push_back({size.width * (0.5 + r * std::cos(angle)), size.height * (0.5 + r * std::sin(angle))});
  }
  return outline;
}

PixPtr toPix(IRStor& page) {
  const KxSize size = page.GetSize();
  const bool isBitonal = isRunList(page.GetColorSpace());
  PixPtr pix(pixCreate(size.width, size.height, isBitonal ? 1 : 32));
  const auto lines = KxPtr<IAccessContext>::adopt(page.GetAccessContext(0, 0));
  std::vector<std::uint8_t> line(3 * static_cast<std::size_t>(size.width));
  for (std::int32_t y = 0; y < size.height; ++y) {
    l_uint32* row = pixGetData(pix.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(pix.get());
    if (isBitonal) {
      eachRun(lines.as<IARSContext>()->GetLinePointer(y), size.width,
              [row](std::uint32_t first, std::uint32_t last) { setBits(row, first, last); });
      continue;
    }
    lines->ReadLine(y, 0, size.width, line.data());
    for (std::size_t x = 0; x < static_cast<std::size_t>(size.width); ++x)
      composeRGBPixel(line[3 * x], line[3 * x + 1], line[3 * x + 2], row + x);
  }
  return pix;
}

/// The mask that leptonica fills through, of the polygon's bounds, its making included in what is measured.
void eraseByLeptonica(PIX* source, const CRPolygon& outline) {
  PTA* points = ptaCreate(static_cast<l_int32>(outline.points.size()));
  for (const CRPoint& p : outline.points)
    ptaAddPt(points, static_cast<l_float32>(p.x), static_cast<l_float32>(p.y));
  l_int32 left = 0, top = 0;
  const PixPtr edge(pixRenderPolygon(points, 1, &left, &top));
  const PixPtr mask(pixFillPolygon(edge.get(), points, left, top));
  const PixPtr made(pixCopy(nullptr, source));
  pixPaintThroughMask(made.get(), mask.get(), left, top, pixGetDepth(source) == 1 ? 0 : 0xFFFFFF00);
  ptaDestroy(&points);
}

void timed(const std::function<void()>& work, bench::Series* series) {
  const auto start = bench::now();
  work();
  series->add(bench::since(start));
}

void measure(const char* what, int mode, int dpi) {
  const auto page = scannedMap(mode, dpi);
  const KxSize size = page->GetSize();
  const double megapixels = static_cast<double>(size.width) * size.height / 1e6;
  const CRPolygon outline = outlineOn(size);
  const PixPtr pix = toPix(*page);
  const CRCircle spot{{size.width / 3.0, size.height / 3.0}, 100};
  bench::Series own, outside, small, theirs;
  std::int64_t bytes = 0;
  for (int run = 0; run < kRuns; ++run) {
    timed([&] { (void)FillShape(page.get(), outline, ShapePart::Inside, kWhite, nullptr); }, &own);
    timed([&] { eraseByLeptonica(pix.get(), outline); }, &theirs);
    timed([&] { (void)FillShape(page.get(), outline, ShapePart::Outside, kWhite, nullptr); }, &outside);
    timed([&] { bytes = FillShape(page.get(), spot, ShapePart::Inside, kWhite, nullptr)->GetByteCount(); }, &small);
  }
  const auto speed = [&](const bench::Series& s) { return megapixels * 1e3 / s.median(&bench::Times::thread); };
  std::printf("%-8s %d dpi, %.0f MP   MP/s  quillbay inside %.0f, outside %.0f   leptonica inside %.0f\n", what,
              dpi, megapixels, speed(own), speed(outside), speed(theirs));
  std::printf("%-8s a spot of 200 pixels: %.1f ms; the new page takes %.1f MB more, the page %.0f MB\n", what,
              small.median(&bench::Times::thread), static_cast<double>(bytes) / 1e6,
              static_cast<double>(page->GetByteCount()) / 1e6);
  bench::aimAtLeast(std::string("erasing a polygon over leptonica, ") + what, speed(own) / speed(theirs), "", 1);
}

/// Notes the longest time between two questions whether the user has cancelled, and the memory meanwhile.
class Watch final : public CKxUnknownImplStatic<IProgress> {
 public:
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int) override {
    m_memory.look();
    return 0;
  }
  void Reset() override {}
  int IsCancelled() override {
    m_longest = std::max(m_longest, bench::since(m_last).wall);
    m_last = bench::now();
    return 0;
  }
  [[nodiscard]] double longestMs() const { return m_longest; }
  [[nodiscard]] double memoryMib() const { return m_memory.mib(); }

 private:
  bench::Times m_last = bench::now();
  double m_longest = 0;
  bench::PeakMemory m_memory;
};

/// Rasters whose lines live in scratch files, as those larger than memory do.
void measureScratch() {
  SetRasterBudget({std::int64_t{64} << 20, {}, false});
  const auto page = scannedMap(kModeRgb, 300);
  const KxSize size = page->GetSize();
  Watch watch;
  bench::Series series;
  timed([&] { (void)FillShape(page.get(), outlineOn(size), ShapePart::Outside, kWhite, &watch); }, &series);
  std::printf("colour   300 dpi in scratch files: outside %.0f MP/s\n",
              static_cast<double>(size.width) * size.height / 1e3 / series.median(&bench::Times::wall));
  bench::aim("erasing in scratch files: memory of the process", watch.memoryMib(), "MiB", 200);
  bench::aim("erasing in scratch files: longest wait of Cancel", watch.longestMs(), "ms", 200);
}

}  // namespace
}  // namespace quillbay

int main() {
  std::printf("Erasing a polygon of 1,000 points on A0, one thread each; load %s\n",
              quillbay::bench::load().c_str());
  quillbay::measure("bitonal", quillbay::kModeBwThreshold, 600);
  quillbay::measure("colour", quillbay::kModeRgb, 300);
  quillbay::measureScratch();
  return 0;
}
