/// Reduces stripes 20,000 pixels wide to a screen of 1920, beside libvips on the same pixels, and measures how much
/// of a scan to a file is spent in it. usage: reduction_bench FOLDER [MILLIMETRES]
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "bench_tools.h"
#include "quillbay/run_list.h"
#include "sim_pages.h"
#include "stores/scan_buffer.h"
#include "stores/scan_to_file_stor.h"
#include "stores/view_stor.h"
#include "view/image_dc.h"

namespace quillbay {
namespace {

using Stripes = std::vector<KxPtr<IScanBuffer>>;

constexpr std::int32_t kScreen = 1920;
constexpr int kWideDpi = 577, kRuns = 5;  // 880 mm are 20,000 pixels
constexpr double kMostShare = 5, kFrameMs = 16;

KxSize sizeOf(const Stripes& stripes) {
  KxSize all;
  for (const auto& stripe : stripes) {
    KxSize s;
    stripe->GetSize(&s);
    all = {s.width, all.height + s.height};
  }
  return all;
}

double pixelsOf(const Stripes& stripes) {
  const KxSize s = sizeOf(stripes);
  return static_cast<double>(s.width) * s.height;
}

/// The same lines as run lists, however the scanner delivered them.
Stripes asRunLists(const Stripes& stripes) {
  Stripes out;
  for (const auto& stripe : stripes) {
    KxSize s;
    stripe->GetSize(&s);
    const auto buffer = KxPtr<CIScanBuffer>::adopt(
        new CIScanBuffer(stripe->GetResolution(), s, stripe->GetColorSpace(), stripe->GetPalette()));
    for (std::int32_t i = 0; i < s.height; ++i) buffer->AddLine(i, stripe->GetLine(i));
    out.push_back(KxPtr<IScanBuffer>::share(buffer.get()));
  }
  return out;
}

/// Gigapixels a second of one thread, the median of some runs.
double reduced(const Stripes& stripes) {
  std::vector<double> rates;
  for (int run = 0; run < kRuns; ++run) {
    const auto store = KxPtr<CPreviewStor>::adopt(new CPreviewStor(kScreen));
    const auto start = bench::now();
    for (const auto& stripe : stripes) store->AddStripe(stripe.get());
    store->Finish(nullptr, 0, 0);
    rates.push_back(pixelsOf(stripes) / 1e6 / bench::since(start).thread);
  }
  return bench::median(rates);
}

/// The same stripe again and again: it lies in the processor's caches, as one does that has just been delivered.
double reducedWarm(const Stripes& stripes) { return reduced(Stripes(stripes.size(), stripes[stripes.size() / 2])); }

/// The whole picture of a page of 2 m in a window of 1920 x 1080, and its lower part pixel by pixel.
void paint(const char* name, const Stripes& stripes) {
  constexpr KxSize kWindow{1920, 1080};
  const auto store = KxPtr<CPreviewStor>::adopt(new CPreviewStor(kScreen));
  const double share = 2000 * kWideDpi / 25.4 / sizeOf(stripes).height;
  for (int i = 0; i < share; ++i)
    for (const auto& stripe : stripes) store->AddStripe(stripe.get());
  double rect[4];
  store->GetRect(rect);
  std::vector<std::uint32_t> pixels(std::size_t{kWindow.width} * kWindow.height);
  const auto target =
      KxPtr<CImageDC>::adopt(new CImageDC(pixels.data(), kWindow, {0, 0, kWindow.width, kWindow.height}, 8));
  const double whole = kWindow.height / rect[3];
  double worst = 0;
  for (const CRDirectTfm& tfm : {CRDirectTfm{whole, whole, 0, 0}, CRDirectTfm{1, 1, 0, kWindow.height - rect[3]}}) {
    std::vector<double> times;
    for (int run = 0; run < kRuns; ++run) {
      const auto start = bench::now();
      store->Paint(target.get(), &tfm);
      times.push_back(bench::since(start).thread);
    }
    worst = std::max(worst, bench::median(times));
  }
  bench::aim(std::string("painting of the picture of a page: ") + name, worst, "ms", kFrameMs);
}

void writeNetpbm(const Stripes& stripes, const std::string& path) {
  const KxSize size = sizeOf(stripes);
  const KxColorSpace cs = stripes[0]->GetColorSpace();
  const std::size_t bytes =
      isRunList(cs) ? (static_cast<std::size_t>(size.width) + 7) / 8 : fixedLineBytes(cs, size.width);
  std::ofstream out(path, std::ios::binary);
  out << (isRunList(cs)             ? "P4"
          : cs == KxColorSpace::Rgb ? "P6"
                                    : "P5")
      << '\n'
      << size.width << ' ' << size.height << '\n';
  if (!isRunList(cs)) out << "255\n";
  std::vector<std::uint8_t> bits(bytes);
  for (const auto& stripe : stripes) {
    KxSize s;
    stripe->GetSize(&s);
    for (std::int32_t i = 0; i < s.height; ++i) {
      const std::uint8_t* line = stripe->GetLine(i);
      if (isRunList(cs)) {
        runsToBits(reinterpret_cast<const std::uint32_t*>(line), size.width, bits.data());
        line = bits.data();
      }
      out.write(reinterpret_cast<const char*>(line), static_cast<std::streamsize>(bytes));
    }
  }
}

/// Gigapixels a second of processor time that a command takes, all of its threads together; 0 when it failed.
double commandRate(const std::string& command, double pixels) {
  std::vector<double> rates;
  for (int run = 0; run < 3; ++run) {
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) return 0;
    getrusage(RUSAGE_CHILDREN, &after);
    const auto seconds = [](const timeval& t) {
      return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    rates.push_back(
        pixels / 1e9 /
        (seconds(after.ru_utime) - seconds(before.ru_utime) + seconds(after.ru_stime) - seconds(before.ru_stime)));
  }
  return bench::median(rates);
}

/// libvips reads its own format from memory without decoding, and writes it: what it takes is the reduction, a
/// start of some hundredths of a second, and pages that the system maps.
void compare(const char* name, const Stripes& stripes, const std::string& folder, double least) {
  const double ours = reduced(stripes), warm = reducedWarm(stripes), pixels = pixelsOf(stripes);
  const KxSize size = sizeOf(stripes);
  const std::string source = folder + "/reduce.pnm", vips = folder + "/reduce.v", out = folder + "/reduced.v";
  writeNetpbm(stripes, source);
  const std::string by = std::to_string(static_cast<double>(size.width) / kScreen);
  double shrink = 0, thumbnail = 0;
  if (std::system(("vips copy " + source + " " + vips).c_str()) == 0) {
    ::unlink(source.c_str());
    shrink = commandRate("VIPS_CONCURRENCY=1 vips shrink " + vips + " " + out + " " + by + " " + by, pixels);
    thumbnail = commandRate("VIPS_CONCURRENCY=1 vipsthumbnail " + vips + " -s 1920x100000 -o " + out, pixels);
  }
  for (const std::string& file : {source, vips, out}) ::unlink(file.c_str());
  std::printf("%-22s %6.0f MP   store %5.2f GP/s (cached stripe %5.2f)   vips shrink %5.2f   vipsthumbnail %5.2f\n",
              name, pixels / 1e6, ours, warm, shrink, thumbnail);
  if (least > 0) paint(name, stripes);
  if (least > 0) bench::aimAtLeast(std::string("reduction of ") + name, ours, "GP/s", least);
  if (shrink == 0) std::printf("  vips failed or is missing: nothing to compare with\n");
  std::fflush(stdout);
}

/// Options of the file format: none.
class BenchApp final : public CKxUnknownImpl<IApp, IIOParams> {
 public:
  std::string GetProductName() override { return "bench"; }
  IParam* GetFormatOptions(std::string_view) override { return nullptr; }
  std::string GetSoftware() override { return "bench"; }
};

/// A page on its way to a file, and to the view as well when there is one.
class PageSink final : public CKxUnknownImpl<IScanSink> {
 public:
  PageSink(ISStripStor* file, ISStripStor* view) : m_file(file), m_view(view) {}
  int ScanEnded(int) override {
    m_done.set();
    return 1;
  }
  int QueryContinue() override { return 1; }
  int ScanStarted(KxColorSpace, std::int64_t, std::int64_t, std::uint32_t) override { return 1; }
  int StripeArrived(std::int64_t, IScanBuffer* stripe, std::int64_t) override {
    m_file->AddStripe(stripe);
    if (!m_view) return 1;
    const auto start = bench::now();
    m_view->AddStripe(stripe);
    inView += bench::since(start).thread;
    return 1;
  }
  void wait() { m_done.wait(); }
  double inView = 0;  ///< milliseconds of the scanner's thread

 private:
  ISStripStor* const m_file;
  ISStripStor* const m_view;
  Event m_done{Event::Kind::Manual};
};

struct ScanTime {
  double wall = 0, inView = 0;
};

ScanTime scanToFile(int mode, int dpi, double lengthMm, const std::string& path, bool seen) {
  const auto app = KxPtr<BenchApp>::adopt(new BenchApp);
  const auto file = KxPtr<CScanToFileStor>::adopt(new CScanToFileStor(app.get(), nullptr));
  PageTarget target;
  target.path = path;
  target.mayReplace = true;
  file->SetTarget(target);
  const auto view = KxPtr<CViewStor>::adopt(
      new CViewStor(CViewStor::Raster::None, KxPtr<CPreviewStor>::adopt(new CPreviewStor(kScreen))));
  const auto sink = KxPtr<PageSink>::adopt(new PageSink(file.get(), seen ? view.get() : nullptr));
  const auto start = bench::now();
  const auto unit = bench::scanMap(sink.get(), mode, dpi, lengthMm);
  sink->wait();
  file->Finish(nullptr, 0, 1);
  const ScanTime took{bench::since(start).wall, sink->inView};
  if (!file->GetError().empty()) std::fprintf(stderr, "store: %s\n", file->GetError().c_str());
  return took;
}

void share(const char* name, int mode, int dpi, double lengthMm, const std::string& folder) {
  const std::string path = folder + "/scan.tif";
  std::vector<double> with, without, shares;
  for (int run = 0; run < kRuns; ++run) {
    without.push_back(scanToFile(mode, dpi, lengthMm, path, false).wall);
    const ScanTime seen = scanToFile(mode, dpi, lengthMm, path, true);
    with.push_back(seen.wall);
    shares.push_back(100 * seen.inView / seen.wall);
    ::unlink(path.c_str());
  }
  std::printf("%-22s %d dpi: %.0f ms with the view store, %.0f ms without\n", name, dpi, bench::median(with),
              bench::median(without));
  bench::aim(std::string("part of a scan to a file that the view store takes: ") + name, bench::median(shares), "%",
             kMostShare);
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  using namespace quillbay;
  if (argc < 2) {
    std::fprintf(stderr, "usage: reduction_bench FOLDER [MILLIMETRES]\n");
    return 1;
  }
  const std::string folder = argv[1];
  const double length = argc > 2 ? std::atof(argv[2]) : 300;
  compare("colour", bench::drawing(kModeRgb, kWideDpi, length), folder, 1.5);
  compare("grey", bench::drawing(kModeGrey, kWideDpi, length), folder, 3);
  {
    const Stripes bitonal = bench::drawing(kModeBwThreshold, kWideDpi, length);
    compare("run lists of a drawing", asRunLists(bitonal), folder, 3);
    compare("packed bits of one", bitonal, folder, 0);
  }
  compare("palette", bench::drawing(kModePalette, kWideDpi, length), folder, 0);
  share("colour", kModeRgb, 300, length * 3, folder);
  share("grey", kModeGrey, 300, length * 3, folder);
  share("bitonal", kModeBwThreshold, 400, length * 3, folder);
  return 0;
}
