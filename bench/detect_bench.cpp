/// Bound detection beside leptonica and a crop by ImageMagick: speed on a prescan of 18 megapixels, and how far off
/// its edges and angles are on many sheets. usage: detect_bench FOLDER [SHEETS]
#include <leptonica/allheaders.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

#include "analysis/auto_detector.h"
#include "analysis/bound_detect.h"
#include "bed_sheets.h"
#include "bench_tools.h"
#include "platform/binarization.h"
#include "stores/scan_buffer.h"

namespace quillbay {
namespace {

using bench::BedSheet;
using bench::GreyPicture;

constexpr std::uint32_t kDpi = 100;
constexpr int kRuns = 9, kSheets = 60, kStripeLines = 128;
constexpr int kMostSensitive = 192;  // the end of the range of thresholds
constexpr double kLost = 1000;       // millimetres or degrees: nothing was found

struct PixDeleter {
  void operator()(PIX* p) const noexcept { pixDestroy(&p); }
};
using PixPtr = std::unique_ptr<PIX, PixDeleter>;

BoundSettings s_settings;

double serviceAngle(IRStor* bitonal) {
  const auto service = query<IRSDeskew>(bitonal);
  double angle = 0;
  return service && service->GetSkewAngle(&angle, nullptr) ? angle : 0;
}

using Stripes = std::vector<KxPtr<IScanBuffer>>;

Stripes stripesOf(const GreyPicture& picture) {
  Stripes stripes;
  for (std::int32_t top = 0; top < picture.height; top += kStripeLines) {
    const std::int32_t lines = std::min(kStripeLines, picture.height - top);
    auto stripe = KxPtr<CIScanBuffer>::adopt(
        new CIScanBuffer(picture.dpi, {picture.width, lines}, KxColorSpace::Grey, nullptr));
    for (std::int32_t y = 0; y < lines; ++y) stripe->AddLine(y, picture.row(top + y));
    stripes.push_back(KxPtr<IScanBuffer>::share(stripe.get()));
  }
  return stripes;
}

struct Found {
  std::optional<KxRect> bounds;
  double angle = 0;
};

Found detect(const Stripes& stripes) {
  const auto detector = KxPtr<IBoundDetect>::adopt(
      new CIBoundDetect({[] { return s_settings; }, new_IRStor, AutoBinarizing, serviceAngle}));
  for (const auto& stripe : stripes) detector->AddStripe(stripe.get());
  std::int32_t bounds[4], height = 0;
  Found found;
  if (detector->Detect(bounds, &found.angle, &height)) found.bounds = {bounds[0], bounds[1], bounds[2], bounds[3]};
  return found;
}

/// What the panel makes of a prescan: bound detection, and the second look where that finds less.
std::optional<FoundBounds> detectAutomatically(const Stripes& stripes) {
  static const BoundServices services{[] { return s_settings; }, new_IRStor, AutoBinarizing, serviceAngle};
  CAutoDetector detector(KxPtr<IBoundDetect>::adopt(new CIBoundDetect(services)));
  detector.begin(kDpi, nullptr);
  for (const auto& stripe : stripes) detector.sink()->StripeArrived(0, stripe.get(), 0);
  detector.sink()->ScanEnded(1);
  return detector.detect(&services, s_settings.deskew);
}

PixPtr toPix(const GreyPicture& picture) {
  PixPtr pix(pixCreate(picture.width, picture.height, 8));
  for (std::int32_t y = 0; y < picture.height; ++y) {
    l_uint32* line = pixGetData(pix.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(pix.get());
    for (std::int32_t x = 0; x < picture.width; ++x) SET_DATA_BYTE(line, x, picture.row(y)[x]);
  }
  return pix;
}

PixPtr otsu(PIX* grey) {
  PIX* bits = nullptr;
  pixOtsuAdaptiveThreshold(grey, pixGetWidth(grey), pixGetHeight(grey), 0, 0, 0.1F, nullptr, &bits);
  return PixPtr(bits);
}

/// Degrees clockwise that straighten the content, or nothing.
std::optional<double> leptonicaSkew(PIX* bits) {
  l_float32 angle = 0, confidence = 0;
  if (!bits || pixFindSkew(bits, &angle, &confidence) || confidence < 1) return std::nullopt;
  return static_cast<double>(angle);
}

/// The box of the largest light component.
std::optional<KxRect> leptonicaSheet(PIX* bits) {
  if (!bits) return std::nullopt;
  const PixPtr light(pixInvert(nullptr, bits));
  BOXA* boxes = pixConnCompBB(light.get(), 8);
  std::optional<KxRect> largest;
  for (l_int32 i = 0; i < boxaGetCount(boxes); ++i) {
    l_int32 x = 0, y = 0, w = 0, h = 0;
    boxaGetBoxGeometry(boxes, i, &x, &y, &w, &h);
    const auto area = [](const KxRect& r) { return std::int64_t{r.right - r.left} * (r.bottom - r.top); };
    const KxRect box{x, y, x + w, y + h};
    if (!largest || area(box) > area(*largest)) largest = box;
  }
  boxaDestroy(&boxes);
  return largest;
}

std::optional<KxRect> imageMagickCrop(const GreyPicture& picture, const std::string& folder) {
  const std::string path = folder + "/bed.pgm";
  {
    std::ofstream out(path, std::ios::binary);
    out << "P5\n" << picture.width << ' ' << picture.height << "\n255\n";
    out.write(reinterpret_cast<const char*>(picture.pixels.data()),
              static_cast<std::streamsize>(picture.pixels.size()));
  }
  const std::string command =
      "convert " + path + " -blur 0x2 -fuzz 12% -trim -format '%w %h %X %Y' info: 2>/dev/null";
  FILE* answer = popen(command.c_str(), "r");
  int w = 0, h = 0, x = 0, y = 0;
  const int read = answer ? std::fscanf(answer, "%d %d %d %d", &w, &h, &x, &y) : 0;
  if (answer) pclose(answer);
  std::filesystem::remove(path);
  if (read != 4 || (w >= picture.width && h >= picture.height)) return std::nullopt;
  return KxRect{x, y, x + w, y + h};
}

/// How far the worst edge is off, in millimetres.
double edgeError(const tagRRECT& found, const BedSheet& sheet) {
  const tagRRECT box = sheet.box();
  return std::max({std::abs(found.left - box.left), std::abs(found.top - box.top),
                   std::abs(found.right - box.right), std::abs(found.bottom - box.bottom)});
}

double edgeError(const std::optional<KxRect>& found, const BedSheet& sheet) {
  constexpr double kMm = kMmPerInch / kDpi;
  if (!found) return kLost;
  return edgeError({found->left * kMm, found->top * kMm, found->right * kMm, found->bottom * kMm}, sheet);
}

class Errors {
 public:
  void add(double error) { m_all.push_back(error); }
  [[nodiscard]] double at(double part) const {
    auto sorted = m_all;
    std::sort(sorted.begin(), sorted.end());
    return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1) + 0.5)];
  }
  [[nodiscard]] double percentWithin(double limit) const {
    return 100.0 *
           static_cast<double>(std::count_if(m_all.begin(), m_all.end(), [=](double e) { return e <= limit; })) /
           static_cast<double>(m_all.size());
  }
  void print(const char* what, const char* unit, double limit) const {
    std::printf("  %-34s median %7.3f  95 %% %7.3f  worst %7.3f %s  within %.2f: %3.0f %%\n", what, at(0.5),
                at(0.95), at(1), unit, limit, percentWithin(limit));
  }

 private:
  std::vector<double> m_all;
};

template <class Work>
double millisecondsOf(Work&& work) {
  const auto start = bench::now();
  work();
  return bench::since(start).thread;
}

void measureSpeed() {
  BedSheet sheet;
  sheet.degrees = 2;
  sheet.content = bench::SheetContent::Map;
  const GreyPicture picture = bench::drawBed(sheet, kDpi);
  const double megapixels = picture.width * 1e-6 * picture.height;
  const Stripes stripes = stripesOf(picture);
  const PixPtr pix = toPix(picture);
  std::array<std::vector<double>, 5> took;
  for (int run = 0; run < kRuns; ++run) {
    s_settings.deskew = false;
    took[0].push_back(millisecondsOf([&] { detect(stripes); }));
    s_settings.deskew = true;
    took[1].push_back(millisecondsOf([&] { detect(stripes); }));
    took[4].push_back(millisecondsOf([&] { detectAutomatically(stripes); }));
    took[2].push_back(millisecondsOf([&] { leptonicaSkew(otsu(pix.get()).get()); }));
    took[3].push_back(millisecondsOf([&] { leptonicaSheet(otsu(pix.get()).get()); }));
  }
  constexpr const char* kNames[] = {"bounds", "bounds and skew", "leptonica, Otsu and skew",
                                    "leptonica, Otsu and largest component", "the panel: both, and a second look"};
  std::printf("%.1f megapixels, grey, one thread\n", megapixels);
  for (std::size_t i = 0; i < took.size(); ++i) {
    const double ms = bench::median(took[i]);
    std::printf("  %-38s %7.1f ms  %6.0f MP/s\n", kNames[i], ms, megapixels * 1e3 / ms);
  }
  bench::aimAtLeast("bounds in a grey prescan of 18 megapixels", megapixels * 1e3 / bench::median(took[0]), "MP/s",
                    500);
  bench::aim("bounds and skew in that prescan", bench::median(took[1]), "ms", 60);
}

struct Table {
  Errors edges, automatic, sensitive, component, crop;
};

void measureAccuracy(const std::string& folder, int count) {
  const bool hasCrop = std::system("command -v convert >/dev/null 2>&1") == 0;
  Errors angles, automaticAngles, leptonicaAngles;
  std::array<Table, bench::kBeds> beds;
  for (const BedSheet& sheet : bench::manySheets(count)) {
    const GreyPicture picture = bench::drawBed(sheet, kDpi);
    const PixPtr bits = otsu(toPix(picture).get());
    const Stripes stripes = stripesOf(picture);
    s_settings = {kMostSensitive, false, kAreaFixedWidth};
    const double sensitive = edgeError(detect(stripes).bounds, sheet);
    s_settings = {};
    s_settings.deskew = true;
    const Found found = detect(stripes);
    const auto automatic = detectAutomatically(stripes);
    const auto skew = leptonicaSkew(bits.get());
    const double degrees = -sheet.degrees, edges = edgeError(found.bounds, sheet);
    const double component = edgeError(leptonicaSheet(bits.get()), sheet);
    const double crop = hasCrop ? edgeError(imageMagickCrop(picture, folder), sheet) : kLost;
    angles.add(found.bounds ? std::abs(found.angle * 180 / std::numbers::pi - degrees) : kLost);
    automaticAngles.add(automatic ? std::abs(automatic->angle * 180 / std::numbers::pi - degrees) : kLost);
    leptonicaAngles.add(skew ? std::abs(*skew - degrees) : kLost);
    Table& table = beds[static_cast<std::size_t>(sheet.ground)];
    table.edges.add(edges);
    table.automatic.add(automatic ? edgeError(automatic->box, sheet) : kLost);
    table.sensitive.add(sensitive);
    table.component.add(component);
    table.crop.add(crop);
  }
  std::printf("%d sheets; %.0f: nothing was found\n", count, kLost);
  angles.print("angle", "deg", 0.05);
  automaticAngles.print("  the panel", "deg", 0.05);
  leptonicaAngles.print("  leptonica", "deg", 0.05);
  for (std::size_t i = 0; i < beds.size(); ++i) {
    const std::string bed = std::string("worst edge, ") + nameOf(static_cast<bench::Bed>(i)) + " bed";
    beds[i].edges.print(bed.c_str(), "mm", 1.5);
    beds[i].automatic.print("  the panel", "mm", 1.5);
    beds[i].sensitive.print("  at the highest threshold", "mm", 1.5);
    beds[i].component.print("  leptonica's component", "mm", 1.5);
    if (hasCrop) beds[i].crop.print("  ImageMagick's crop", "mm", 1.5);
  }
  bench::aim("angle, 95 % of the sheets, in 1/1000 degrees", automaticAngles.at(0.95) * 1000, "", 50);
  double within = 100;
  for (std::size_t i = 0; i < 3; ++i) within = std::min(within, beds[i].automatic.percentWithin(1.5));
  bench::aimAtLeast("sheets on the worst of dark, dirty, grey within 1.5 mm", within, "%", 95);
  if (!hasCrop) return;
  const auto lightOnes = [&](Errors Table::*which) {
    return (beds[3].*which).percentWithin(1.5) + (beds[4].*which).percentWithin(1.5);
  };
  bench::aimAtLeast("sheets right on light beds, more than the crop", lightOnes(&Table::automatic) / 2, "%",
                    lightOnes(&Table::crop) / 2);
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : "/tmp";
  quillbay::measureSpeed();
  quillbay::measureAccuracy(folder,
                            argc > 2 ? std::max(std::atoi(argv[2]), quillbay::bench::kBeds) : quillbay::kSheets);
  return 0;
}
