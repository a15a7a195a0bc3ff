/// The grey and colour modes of the line pipeline, megabytes of device lines a second of one thread, beside libvips
/// and ImageMagick doing the same on the same pixels in memory. usage: color_bench FOLDER
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "bench_tools.h"
#include "quillbay/color_curves.h"
#include "scanners/lines/line_pipeline.h"
#include "sim_pages.h"

namespace quillbay {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kColorDpi = 400, kColorRuns = 7;
constexpr double kColorMm = 92;  // 20 megapixels
constexpr double kLeastCurves = 1000, kLeastClasses = 400;

/// Releases stripes at once, so that the pool's blocks come back.
class NoSink final : public CKxUnknownImpl<IScanSink> {
 public:
  int ScanEnded(int) override { return 1; }
  int QueryContinue() override { return 1; }
  int ScanStarted(KxColorSpace, std::int64_t, std::int64_t, std::uint32_t) override { return 1; }
  int StripeArrived(std::int64_t, IScanBuffer*, std::int64_t) override { return 1; }
};

/// What a device delivers: a map in colour.
struct Lines {
  std::int32_t width = 0, height = 0;
  Bytes bytes;
  [[nodiscard]] double mb() const { return static_cast<double>(bytes.size()) / 1e6; }
};

Lines mapLines() {
  Lines lines;
  for (const auto& stripe : bench::drawing(kModeRgb, kColorDpi, kColorMm)) {
    KxSize s;
    stripe->GetSize(&s);
    for (std::int32_t i = 0; i < s.height; ++i) {
      const std::uint8_t* line = stripe->GetLine(i);
      lines.bytes.insert(lines.bytes.end(), line, line + 3 * static_cast<std::size_t>(s.width));
    }
    lines.width = s.width;
    lines.height += s.height;
  }
  return lines;
}

double rateOf(const Lines& lines, LinePipeline::Setup setup) {
  setup.samples = DeviceSamples::Rgb8;
  setup.width = lines.width;
  setup.dpi = kColorDpi;
  const auto sink = KxPtr<NoSink>::adopt(new NoSink);
  std::vector<double> rates;
  for (int run = 0; run < kColorRuns; ++run) {
    LinePipeline pipeline(setup, sink.get());
    const auto start = bench::now();
    pipeline.push(lines.bytes.data(), 3 * static_cast<std::size_t>(lines.width), lines.height);
    pipeline.flush();
    rates.push_back(lines.mb() * 1000 / bench::since(start).thread);
  }
  return bench::median(rates);
}

/// Megabytes a second of processor time of a command, its reading and writing included; 0 when it failed.
double commandMb(const std::string& command, double mb) {
  std::vector<double> rates;
  for (int run = 0; run < 3; ++run) {
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) return 0;
    getrusage(RUSAGE_CHILDREN, &after);
    const auto seconds = [](const timeval& t) {
      return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    rates.push_back(mb / (seconds(after.ru_utime) - seconds(before.ru_utime) + seconds(after.ru_stime) -
                          seconds(before.ru_stime)));
  }
  return bench::median(rates);
}

void writePpm(const std::string& path, std::int32_t width, std::int32_t height, const std::uint8_t* rgb) {
  std::ofstream out(path, std::ios::binary);
  out << "P6\n" << width << ' ' << height << "\n255\n";
  out.write(reinterpret_cast<const char*>(rgb), std::streamsize{3} * width * height);
}

/// The same work of other programs.
struct Others {
  double vips = 0, magick = 0;
};

void tell(const char* what, double ours, const Others& others = {}) {
  std::printf("%-34s MB/s  quillbay %7.0f", what, ours);
  if (others.vips > 0) std::printf("   libvips %6.0f", others.vips);
  if (others.magick > 0) std::printf("   ImageMagick %6.0f", others.magick);
  std::printf("\n");
  std::fflush(stdout);
}

Bytes rgbOf(const KXRGBQUAD* entries, std::size_t count) {
  Bytes rgb;
  for (std::size_t i = 0; i < count; ++i)
    rgb.insert(rgb.end(), {entries[i].red, entries[i].green, entries[i].blue});
  return rgb;
}

void run(const std::string& folder) {
  const Lines lines = mapLines();
  const std::string source = folder + "/color.ppm", vips = folder + "/color.v", out = folder + "/made.v",
                    table = folder + "/table.ppm", made = folder + "/made.ppm";
  writePpm(source, lines.width, lines.height, lines.bytes.data());
  const bool hasVips = std::system(("vips copy " + source + " " + vips + " >/dev/null 2>&1").c_str()) == 0;
  const auto vipsDoes = [&](const std::string& arguments) {
    return hasVips ? commandMb("VIPS_CONCURRENCY=1 vips " + arguments, lines.mb()) : 0;
  };
  const auto magickDoes = [&](const std::string& arguments) {
    return commandMb("MAGICK_THREAD_LIMIT=1 convert " + source + ' ' + arguments + ' ' + made, lines.mb());
  };
  std::printf("%d x %d pixels, %.0f MB\n", lines.width, lines.height, lines.mb());

  KXRGBQUAD curves[256] = {};
  CalculateColorCurves(10, 20, 15, 0, 5, -5, 10, 1, 1, 1, {}, {255, 255, 255, 0}, curves);
  writePpm(table, 256, 1, rgbOf(curves, 256).data());
  LinePipeline::Setup setup;
  setup.mode = kModeRgb;
  setup.curves = curves;
  const double withCurves = rateOf(lines, setup);
  tell("curves", withCurves, {vipsDoes("maplut " + vips + ' ' + out + ' ' + table), magickDoes(table + " -clut")});
  setup.color = {30, 0, 0};
  tell("curves, saturation", rateOf(lines, setup));
  setup.curves = nullptr;
  setup.color = {0, 3, 0};
  tell("sharpen", rateOf(lines, setup));
  setup.color = {0, 0, 2};
  tell("blur by 2", rateOf(lines, setup),
       {0, magickDoes("-define convolve:scale='!' -morphology Convolve Square:2")});
  setup.color = {30, 3, 2};
  setup.curves = curves;
  tell("all four", rateOf(lines, setup));
  LinePipeline::Setup grey;
  grey.mode = kModeGrey;
  tell("grey of colour", rateOf(lines, grey), {vipsDoes("colourspace " + vips + ' ' + out + " b-w"), 0});

  LinePipeline::Setup palette;
  palette.mode = kModePalette;
  const auto entries = linearPalette(256);
  palette.palette = PaletteMap::nearest(entries);
  writePpm(table, 256, 1, rgbOf(entries.data(), 256).data());
  tell("palette, nearest of 256", rateOf(lines, palette), {0, magickDoes("+dither -remap " + table)});
  const Bytes classes(PaletteMap::kClasses, 7);
  palette.palette = PaletteMap::classified(entries.data(), classes.data());
  const double withClasses = rateOf(lines, palette);
  tell("palette, class table", withClasses);
  palette.curves = curves;
  tell("curves, palette, class table", rateOf(lines, palette));
  bench::aimAtLeast("tone curves, colour", withCurves, "MB/s", kLeastCurves);
  bench::aimAtLeast("palette by class table", withClasses, "MB/s", kLeastClasses);
  for (const std::string& file : {source, vips, out, table, made}) ::unlink(file.c_str());
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: color_bench FOLDER\n");
    return 1;
  }
  std::printf("load %s\n", quillbay::bench::load().c_str());
  quillbay::run(argv[1]);
}
