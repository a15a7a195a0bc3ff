/// Palettes of a map and of photographs beside pngquant, ImageMagick and leptonica: how long they take, and how
/// good the picture is with each pixel at its nearest entry, without dither. usage: palette_bench FOLDER
/// [PICTURE]...
#include <leptonica/allheaders.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "bench_tools.h"
#include "palettes/nearest_colors.h"
#include "platform/pal_calculator.h"
#include "quillbay/palette.h"
#include "sim_pages.h"

namespace quillbay {
namespace {

using Palette = std::vector<KXRGBQUAD>;
constexpr int kRuns = 5;
constexpr KXRGBQUAD kRed{200, 40, 50, 0};

struct PixDeleter {
  void operator()(PIX* p) const noexcept { pixDestroy(&p); }
};
using PixPtr = std::unique_ptr<PIX, PixDeleter>;

/// Pixels R, G, B.
struct ColorPicture {
  std::string name;
  std::size_t width = 0, height = 0;
  std::vector<std::uint8_t> rgb;
  [[nodiscard]] double megapixels() const { return static_cast<double>(rgb.size()) / 3e6; }
  [[nodiscard]] const std::uint8_t* row(std::size_t y) const { return rgb.data() + y * width * 3; }
};

/// A map of 20 megapixels from a scanner that averages what a pixel covers and adds noise; a red line has a
/// thousandth of its pixels.
ColorPicture scannedMap() {
  constexpr int kDpi = 160;
  constexpr double kLength = 582, kNoise = 3;
  const auto stripes = bench::drawing(7, 2 * kDpi, kLength);
  std::vector<const std::uint8_t*> lines;
  KxSize size{};
  for (const auto& stripe : stripes) {
    stripe->GetSize(&size);
    for (std::int32_t i = 0; i < size.height; ++i) lines.push_back(stripe->GetLine(i));
  }
  ColorPicture map{"map", static_cast<std::size_t>(size.width) / 2, lines.size() / 2, {}};
  std::mt19937 random(5);
  std::normal_distribution<double> grain(0, kNoise);
  std::vector<int> noise(1 << 16);
  for (int& n : noise) n = static_cast<int>(std::lround(grain(random)));
  constexpr int red[] = {kRed.red, kRed.green, kRed.blue};
  map.rgb.resize(map.width * map.height * 3);
  for (std::size_t y = 0; y < map.height; ++y) {
    const std::uint8_t *above = lines[2 * y], *below = lines[2 * y + 1];
    const std::size_t first = random();
    std::uint8_t* out = map.rgb.data() + y * map.width * 3;
    for (std::size_t i = 0; i < map.width * 3; ++i) {
      const std::size_t left = i / 3 * 6 + i % 3;
      const int level = (above[left] + above[left + 3] + below[left] + below[left + 3] + 2) / 4;
      const bool isRed = i / 3 - map.width / 3 < map.width / 1000;
      const int seen = isRed ? red[i % 3] : level * 9 / 10 + 12;
      out[i] = static_cast<std::uint8_t>(std::clamp(seen + noise[(first + i) % noise.size()], 0, 255));
    }
  }
  return map;
}

std::optional<ColorPicture> readPpm(const std::string& path, const std::string& name) {
  std::ifstream in(path, std::ios::binary);
  std::string magic;
  int most = 0;
  ColorPicture picture;
  picture.name = name;
  if (!(in >> magic >> picture.width >> picture.height >> most) || magic != "P6" || most != 255)
    return std::nullopt;
  in.get();
  picture.rgb.resize(picture.width * picture.height * 3);
  in.read(reinterpret_cast<char*>(picture.rgb.data()), static_cast<std::streamsize>(picture.rgb.size()));
  return in ? std::optional(std::move(picture)) : std::nullopt;
}

void writePpm(const ColorPicture& picture, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  out << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  out.write(reinterpret_cast<const char*>(picture.rgb.data()), static_cast<std::streamsize>(picture.rgb.size()));
}

/// Runs a command. Returns the milliseconds that it took on a core, or nothing when it failed.
std::optional<double> commandTime(const std::string& command) {
  const auto used = [] {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto ms = [](const timeval& t) {
      return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
  };
  const double before = used();
  if (std::system(command.c_str()) != 0) return std::nullopt;
  return used() - before;
}

/// Photographs as one picture, through ImageMagick.
std::optional<ColorPicture> photographs(const std::string& folder, const std::vector<std::string>& paths) {
  std::string command = "convert";
  for (const std::string& path : paths) command += " '" + path + "'";
  const std::string ppm = folder + "/photo.ppm";
  if (!commandTime(command + " -append -depth 8 -strip +set comment '" + ppm + "' 2>/dev/null"))
    return std::nullopt;
  auto picture = readPpm(ppm, "photographs");
  std::filesystem::remove(ppm);
  return picture;
}

double qualityOf(const ColorPicture& picture, const Palette& palette) {
  NearestColors nearest(palette);
  std::vector<std::uint8_t> indices(picture.width);
  std::int64_t error = 0;
  for (std::size_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* p = picture.row(y);
    nearest.mapRgb(p, picture.width, indices.data());
    for (std::size_t x = 0; x < picture.width; ++x, p += 3)
      error += colorDistance(palette[indices[x]], {p[0], p[1], p[2], 0});
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(picture.rgb.size()) / static_cast<double>(error));
}

struct Result {
  double ms = 0, quality = 0;
  Palette palette;
};

void print(const ColorPicture& picture, const char* who, int count, const Result& r) {
  std::printf("  %-12s %3d colours  %-22s %8.0f ms  %6.2f dB", picture.name.c_str(), count, who, r.ms, r.quality);
  if (picture.name == "map") {
    const auto red = NearestColors(r.palette).nearest(kRed);
    std::printf("  red is %5.1f levels off", std::sqrt(colorDistance(r.palette[red], kRed)));
  }
  std::printf("\n");
  std::fflush(stdout);
}

/// Counts the stripes of a picture; the milliseconds of each run go into `counting`.
Result ownPalette(const ColorPicture& picture, int count, std::vector<double>& counting) {
  const auto width = static_cast<std::int32_t>(picture.width), height = static_cast<std::int32_t>(picture.height);
  const auto raster = new_IRStor(KxColorSpace::Rgb, width, height, 160);
  const auto writer = KxPtr<IAccessContext>::adopt(raster->GetAccessContext(1, 0));
  for (std::int32_t y = 0; y < height; ++y)
    writer->WriteLine(y, 0, width, picture.row(static_cast<std::size_t>(y)));
  Result result;
  result.palette.resize(static_cast<std::size_t>(count));
  std::vector<double> all;
  for (int run = 0; run < kRuns; ++run) {
    const auto calculator = new_PalCalculator();
    const auto start = bench::now();
    constexpr std::int32_t kStripeLines = 64;
    for (std::int32_t top = 0; top < height; top += kStripeLines) {
      const KxRect area{0, top, width, top + kStripeLines};
      calculator->AddRaster(raster.get(), &area);
    }
    counting.push_back(bench::since(start).thread);
    calculator->Calculate(count, result.palette.data(), nullptr, 0);
    all.push_back(bench::since(start).thread);
  }
  result.ms = bench::median(all);
  result.quality = qualityOf(picture, result.palette);
  return result;
}

/// What another program makes of a file: its time with reading and writing, and the colours of its picture.
std::optional<Result> othersPalette(const ColorPicture& picture, const std::string& command, const std::string& out,
                                    const std::string& folder) {
  const auto ms = commandTime(command + " 2>/dev/null");
  const std::string colors = folder + "/colors.ppm";
  if (!ms || !commandTime("convert '" + out + "' -unique-colors -depth 8 '" + colors + "'")) return std::nullopt;
  const auto row = readPpm(colors, "");
  if (!row) return std::nullopt;
  Result result;
  result.ms = *ms;
  for (std::size_t i = 0; i < row->rgb.size(); i += 3)
    result.palette.push_back({row->rgb[i], row->rgb[i + 1], row->rgb[i + 2], 0});
  result.quality = qualityOf(picture, result.palette);
  return result;
}

Result leptonicaPalette(const ColorPicture& picture, int count) {
  const PixPtr pix(pixCreate(static_cast<l_int32>(picture.width), static_cast<l_int32>(picture.height), 32));
  for (std::size_t y = 0; y < picture.height; ++y) {
    l_uint32* line = pixGetData(pix.get()) + y * static_cast<std::size_t>(pixGetWpl(pix.get()));
    const std::uint8_t* p = picture.row(y);
    for (std::size_t x = 0; x < picture.width; ++x, p += 3) composeRGBPixel(p[0], p[1], p[2], line + x);
  }
  Result result;
  const auto start = bench::now();
  const PixPtr mapped(pixMedianCutQuantGeneral(pix.get(), 0, 8, count, 5, 1, 0));
  result.ms = bench::since(start).thread;
  PIXCMAP* colors = mapped ? pixGetColormap(mapped.get()) : nullptr;
  for (l_int32 i = 0; colors && i < pixcmapGetCount(colors); ++i) {
    l_int32 red = 0, green = 0, blue = 0;
    pixcmapGetColor(colors, i, &red, &green, &blue);
    const auto byte = [](l_int32 v) { return static_cast<std::uint8_t>(v); };
    result.palette.push_back({byte(red), byte(green), byte(blue), 0});
  }
  result.quality = qualityOf(picture, result.palette);
  return result;
}

void measureMapping(const ColorPicture& picture, const Palette& palette) {
  std::vector<std::uint8_t> indices(picture.width);
  std::vector<double> took;
  for (int run = 0; run < kRuns; ++run) {
    const auto start = bench::now();
    NearestColors nearest(palette);
    for (std::size_t y = 0; y < picture.height; ++y) nearest.mapRgb(picture.row(y), picture.width, indices.data());
    took.push_back(bench::since(start).thread);
  }
  const double speed = picture.megapixels() * 3e3 / bench::median(took);
  std::printf("  %-12s exact nearest colours %6.0f MB/s\n", picture.name.c_str(), speed);
}

void compare(const ColorPicture& picture, int count, const std::string& folder) {
  const std::string ppm = folder + "/in.ppm", png = folder + "/in.png", out = folder + "/out",
                    n = std::to_string(count);
  std::vector<double> counting;
  const Result own = ownPalette(picture, count, counting);
  print(picture, "this library", count, own);
  double best = 0, bestTime = 0;
  const auto add = [&](const char* who, const std::optional<Result>& r) {
    if (!r) return;
    print(picture, who, count, *r);
    if (r->quality < best) return;
    best = r->quality;
    bestTime = r->ms;
  };
  const std::string quant = "pngquant --nofs --force -o '" + out + ".png' --speed ";
  add("pngquant, speed 1", othersPalette(picture, quant + "1 " + n + " '" + png + "'", out + ".png", folder));
  add("pngquant, speed 4", othersPalette(picture, quant + "4 " + n + " '" + png + "'", out + ".png", folder));
  add("ImageMagick", othersPalette(picture, "convert '" + ppm + "' +dither -colors " + n + " '" + out + ".ppm'",
                                   out + ".ppm", folder));
  add("leptonica, median cut", leptonicaPalette(picture, count));
  const std::string what = picture.name + ", " + n + " colours: ";
  bench::aimAtLeast(what + "dB above the best other", own.quality - best, "dB", -0.2);
  bench::aimAtLeast(what + "times as fast as that", bestTime / own.ms, "", 5);
  if (count < 256) return;
  const double countingMs = bench::median(counting);
  bench::aimAtLeast(what + "counting", picture.megapixels() * 3e3 / countingMs, "MB/s", 400);
  bench::aim(what + "counting beside the rest", countingMs, "ms", own.ms - countingMs);
  measureMapping(picture, own.palette);
}

void measure(const ColorPicture& picture, const std::string& folder) {
  std::printf("%s: %zu x %zu, %.1f megapixels\n", picture.name.c_str(), picture.width, picture.height,
              picture.megapixels());
  writePpm(picture, folder + "/in.ppm");
  commandTime("convert '" + folder + "/in.ppm' -define png:compression-level=1 '" + folder +
              "/in.png' 2>/dev/null");
  for (const int count : {256, 16}) compare(picture, count, folder);
  for (const char* file : {"/in.ppm", "/in.png", "/out.ppm", "/out.png", "/colors.ppm"})
    std::filesystem::remove(folder + file);
}

std::vector<std::string> usualPhotographs() {
  const std::string folder = "/usr/share/backgrounds/mate/nature/";
  std::vector<std::string> paths;
  for (const char* name : {"Aqua", "Garden", "LadyBird", "TwoWings", "YellowFlower"})
    paths.push_back(folder + name + ".jpg");
  return paths;
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : "/tmp";
  quillbay::measure(quillbay::scannedMap(), folder);
  const auto photographs = quillbay::photographs(
      folder, argc > 2 ? std::vector<std::string>(argv + 2, argv + argc) : quillbay::usualPhotographs());
  if (photographs) {
    quillbay::measure(*photographs, folder);
  } else {
    std::printf(
        "The photographs cannot be read. Install ImageMagick and mate-backgrounds (packaging/install-deps.sh "
        "bench), or name pictures after the folder.\n");
  }
  return 0;
}
