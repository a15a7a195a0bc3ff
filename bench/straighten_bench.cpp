/// Straightening by 2 degrees on one core beside leptonica, and libvips where it is installed: the same picture, in
/// turn. Quality is measured against bilinear interpolation in doubles and against the drawn original.
/// usage: straighten_bench FOLDER
#include <leptonica/allheaders.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "analysis/deskew_stage.h"
#include "bench_tools.h"
#include "platform/binarization.h"
#include "quillbay/run_list.h"
#include "sim_pages.h"
#include "stores/scan_buffer.h"

namespace quillbay {
namespace {

constexpr std::int32_t kWidth = 9000, kHeight = 5000;
constexpr double kAngle = 2 * std::numbers::pi / 180, kMegapixels = kWidth * 1e-6 * kHeight;
constexpr int kRuns = 5;

struct PixDeleter {
  void operator()(PIX* pix) const noexcept { pixDestroy(&pix); }
};
using PixPtr = std::unique_ptr<PIX, PixDeleter>;

/// A map: shading, contour lines and a grid; brightness at a place between pixels. Edges are a pixel wide.
double mapTone(double x, double y) {
  const double hills = std::sin(x / 190) + std::cos(y / 230) + 0.5 * std::sin((x + 2 * y) / 310);
  const double contour = std::abs(std::remainder(hills * 14, 1)) / 14 / 0.0062;  // pixels from a line
  const double grid = std::min(std::abs(std::remainder(x, 500)), std::abs(std::remainder(y, 500)));
  const double ink = std::clamp(std::min(contour, grid) - 0.7, 0.0, 1.0);
  return (170 + 25 * hills) * ink + 20 * (1 - ink);
}

struct Picture {
  std::size_t bytes;  // of a pixel: 1 or 3
  std::vector<std::uint8_t> pixels;
  [[nodiscard]] const std::uint8_t* row(std::int32_t y) const {
    return pixels.data() + static_cast<std::size_t>(y) * kWidth * bytes;
  }
};

Picture drawMap(std::size_t bytes) {
  Picture p{bytes, std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight * bytes)};
  std::uint8_t* out = p.pixels.data();
  for (std::int32_t y = 0; y < kHeight; ++y) {
    for (std::int32_t x = 0; x < kWidth; ++x) {
      const double tone = mapTone(x, y);
      for (std::size_t k = 0; k < bytes; ++k)
        *out++ = static_cast<std::uint8_t>(tone * (1 - 0.12 * double(k)) + 0.5);
    }
  }
  return p;
}

PixPtr toPix(const Picture& p) {
  PixPtr pix(pixCreate(kWidth, kHeight, p.bytes == 1 ? 8 : 32));
  for (std::int32_t y = 0; y < kHeight; ++y) {
    l_uint32* line = pixGetData(pix.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(pix.get());
    const std::uint8_t* from = p.row(y);
    for (std::int32_t x = 0; x < kWidth; ++x, from += p.bytes) {
      if (p.bytes == 1) {
        SET_DATA_BYTE(line, x, from[0]);
      } else {
        composeRGBPixel(from[0], from[1], from[2], line + x);
      }
    }
  }
  return pix;
}

/// Takes lines as a stripe does: a copy of each.
class Stripe final : public CKxUnknownImplStatic<IRasterFiller> {
 public:
  explicit Stripe(std::size_t lineBytes) : m_bytes(lineBytes), m_lines(lineBytes * kLines) {}
  int AddLine(std::int32_t line, const std::uint8_t* bytes) override {
    std::size_t count = m_bytes;
    if (m_runs) count = std::min(count, runListBytes(runCount(reinterpret_cast<const std::uint32_t*>(bytes))));
    std::memcpy(m_lines.data() + static_cast<std::size_t>(line) % kLines * m_bytes, bytes, count);
    if (see) see(line, bytes);
    return 1;
  }
  void takeRuns() { m_runs = true; }
  std::function<void(std::int32_t line, const std::uint8_t* bytes)> see;

 private:
  static constexpr std::size_t kLines = 128;
  const std::size_t m_bytes;
  bool m_runs = false;
  std::vector<std::uint8_t> m_lines;
};

/// Straightens `lines` lines; those of the picture begin again after the last one.
void straighten(KxColorSpace code, std::int32_t lines, const std::function<const std::uint8_t*(std::int32_t)>& row,
                Stripe& out) {
  const auto rotator = CreateDynamicRasterRotator(code, kWidth, {0, 0}, kAngle, &out, nullptr);
  for (std::int32_t y = 0; y < lines; ++y) rotator->AddRow(row(y % kHeight), 0);
  rotator->AddRow(nullptr, 1);
}

/// Megapixels a second of the thread's time, the median of some runs taken in turn.
std::vector<double> inTurn(const std::vector<std::function<void()>>& works) {
  std::vector<bench::Series> series(works.size());
  for (int run = 0; run < kRuns; ++run) {
    for (std::size_t i = 0; i < works.size(); ++i) {
      const auto start = bench::now();
      works[i]();
      series[i].add(bench::since(start));
    }
  }
  std::vector<double> speeds;
  for (const bench::Series& s : series) speeds.push_back(kMegapixels * 1e3 / s.median(&bench::Times::thread));
  return speeds;
}

/// libvips on one thread, with the time that it needs to read and write; 0 where it is not installed.
double vipsSpeed(const Picture& p, const std::string& folder) {
  if (std::system("command -v vips >/dev/null 2>&1") != 0) return 0;
  const std::string in = folder + "/turn.pnm", out = folder + "/turned.v";
  if (FILE* file = std::fopen(in.c_str(), "wb")) {
    std::fprintf(file, "P%d %d %d 255\n", p.bytes == 1 ? 5 : 6, kWidth, kHeight);
    std::fwrite(p.pixels.data(), 1, p.pixels.size(), file);
    std::fclose(file);
  }
  const auto start = bench::now();
  const std::string command = "VIPS_CONCURRENCY=1 vips rotate " + in + " " + out + " 2 --interpolate bilinear";
  const bool works = std::system(command.c_str()) == 0;
  const double took = bench::since(start).wall;
  std::filesystem::remove(in);
  std::filesystem::remove(out);
  return works ? kMegapixels * 1e3 / took : 0;
}

/// Signal to noise of samples away from the picture's borders.
class Quality {
 public:
  /// `x`, `y`: the sample's place in the source.
  void add(const Picture& p, double x, double y, int got) {
    if (x < 2 || y < 2 || x > kWidth - 3 || y > kHeight - 3) return;
    const double left = std::floor(x), top = std::floor(y), fx = x - left, fy = y - top;
    const std::uint8_t* a = p.row(static_cast<std::int32_t>(top)) + static_cast<std::size_t>(left);
    const std::uint8_t* b = a + kWidth;
    const double plain = (a[0] * (1 - fx) + a[1] * fx) * (1 - fy) + (b[0] * (1 - fx) + b[1] * fx) * fy;
    m_plain += (plain - got) * (plain - got);
    const double drawn = mapTone(x, y);
    m_drawn += (drawn - got) * (drawn - got);
    ++m_count;
  }
  [[nodiscard]] double toPlain() const { return decibels(m_plain); }
  [[nodiscard]] double toDrawn() const { return decibels(m_drawn); }

 private:
  [[nodiscard]] double decibels(double squares) const {
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(m_count) / std::max(squares, 1e-9));
  }
  double m_plain = 0, m_drawn = 0;
  std::int64_t m_count = 0;
};

constexpr std::int32_t kQualityStep = 37;  // of the lines that are compared

Quality ownQuality(const Picture& grey) {
  Quality q;
  Stripe out(kWidth);
  const double c = std::cos(kAngle), s = std::sin(kAngle);
  out.see = [&](std::int32_t line, const std::uint8_t* bytes) {
    if (line % kQualityStep != 0) return;
    for (std::int32_t x = 0; x < kWidth; ++x) {
      const double column = x + 0.5, row = line + 0.5;
      q.add(grey, column * c + row * s - 0.5, kWidth * s - column * s + row * c - 0.5, bytes[x]);
    }
  };
  straighten(
      KxColorSpace::Grey, kHeight, [&](std::int32_t y) { return grey.row(y); }, out);
  return q;
}

Quality areaMapQuality(const Picture& grey, PIX* pix) {
  Quality q;
  const PixPtr turned(pixRotateAMGray(pix, static_cast<l_float32>(kAngle), 255));
  const double c = std::cos(kAngle), s = std::sin(kAngle), midX = kWidth / 2, midY = kHeight / 2;
  for (std::int32_t y = 0; y < kHeight; y += kQualityStep) {
    l_uint32* line = pixGetData(turned.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(turned.get());
    for (std::int32_t x = 0; x < kWidth; ++x) {
      const double dx = x - midX, dy = y - midY;
      q.add(grey, midX + dx * c + dy * s, midY + dy * c - dx * s, GET_DATA_BYTE(line, x));
    }
  }
  return q;
}

void measureTones(const char* name, const Picture& p, const std::string& folder, double least) {
  const bool isGrey = p.bytes == 1;
  const KxColorSpace code = isGrey ? KxColorSpace::Grey : KxColorSpace::Rgb;
  const PixPtr pix = toPix(p);
  Stripe out(kWidth * p.bytes);
  const auto angle = static_cast<l_float32>(kAngle);
  const auto speeds = inTurn({
      [&] {
        straighten(
            code, kHeight, [&](std::int32_t y) { return p.row(y); }, out);
      },
      [&] {
        PixPtr(isGrey ? pixRotateAMGray(pix.get(), angle, 255) : pixRotateAMColor(pix.get(), angle, 0xFFFFFF00));
      },
      [&] { PixPtr(pixRotateShear(pix.get(), kWidth / 2, kHeight / 2, angle, L_BRING_IN_WHITE)); },
  });
  std::printf("%-8s MP/s  quillbay %7.0f   leptonica: area map %5.0f, shear %5.0f   libvips bilinear", name,
              speeds[0], speeds[1], speeds[2]);
  const double vips = vipsSpeed(p, folder);
  std::printf(vips > 0 ? " %5.0f\n" : ": not installed\n", vips);
  bench::aimAtLeast(std::string("straightening by 2 degrees, ") + name, speeds[0], "MP/s", least);
  if (!isGrey) return;
  const Quality own = ownQuality(p), theirs = areaMapQuality(p, pix.get());
  std::printf("grey     dB to bilinear in doubles: quillbay %.1f, area map %.1f; to the drawn map: %.1f, %.1f\n",
              own.toPlain(), theirs.toPlain(), own.toDrawn(), theirs.toDrawn());
  bench::aimAtLeast("quality of straightening over the area map's", own.toPlain() - theirs.toPlain(), "dB", 0);
}

using RunLists = std::vector<std::vector<std::uint32_t>>;

/// The drawn map's lines as run lists: far denser than a drawing.
RunLists mapLists(const Picture& grey) {
  RunLists rows;
  for (std::int32_t y = 0; y < kHeight; ++y) {
    std::vector<std::uint8_t> bits(kWidth / 8 + 1);
    std::vector<std::uint32_t> list(kWidth + 3);
    for (std::uint32_t x = 0; x < kWidth; ++x) {
      if (grey.row(y)[x] < 80) setBits(bits.data(), x, x);
    }
    list.resize(2 * bitsToRuns(bits.data(), kWidth, list.data()) + 2);
    rows.push_back(std::move(list));
  }
  return rows;
}

/// The left part of a scanned map, at 400 dpi.
RunLists scannedLists() {
  RunLists rows;
  for (const auto& stripe : bench::drawing(kModeBwThreshold, 400, kHeight * 25.4 / 400)) {
    KxSize size;
    stripe->GetSize(&size);
    for (std::int32_t i = 0; i < size.height; ++i) {
      const auto* runs = reinterpret_cast<const std::uint32_t*>(stripe->GetLine(i));
      std::vector<std::uint32_t> list;
      eachRun(runs, kWidth, [&list](std::uint32_t first, std::uint32_t last) {
        list.push_back(first);
        list.push_back(last);
      });
      list.insert(list.end(), {RunEnd, 0});
      rows.push_back(std::move(list));
    }
  }
  return rows;
}

/// Answers megapixels a second.
double measureRuns(const char* what, const RunLists& rows) {
  std::size_t words = 0;
  for (const auto& list : rows) words += list.size() - 2;
  const auto row = [&](std::int32_t y) {
    return reinterpret_cast<const std::uint8_t*>(rows[static_cast<std::size_t>(y) % rows.size()].data());
  };
  Stripe out(kWidth);
  out.takeRuns();
  const double speed = inTurn({[&] { straighten(KxColorSpace::Bitonal, kHeight, row, out); }})[0];
  std::printf("bitonal  MP/s  quillbay %7.0f   (%s, %.0f runs a line)\n", speed, what,
              static_cast<double>(words) / 2 / static_cast<double>(rows.size()));
  return speed;
}

/// A roll ten times as long takes no more memory.
void measureMemory(const Picture& color) {
  const auto peak = [&](std::int32_t lines) {
    bench::PeakMemory memory;
    Stripe out(kWidth * color.bytes);
    out.see = [&](std::int32_t line, const std::uint8_t*) {
      if (line % 500 == 0) memory.look();
    };
    straighten(
        KxColorSpace::Rgb, lines, [&](std::int32_t y) { return color.row(y); }, out);
    return memory.mib();
  };
  const double before = bench::memoryMib("RssAnon:"), page = peak(3000) - before, roll = peak(30000) - before;
  std::printf("colour   memory %.1f MiB for 3,000 lines, %.1f MiB for 30,000\n", page, roll);
  bench::aim("memory of a roll over that of a page, straightening", roll - page, "MiB", 2);
}

/// The whole stage: stripes of a megabyte in, stripes out.
void measureStage(const Picture& color) {
  const double mm = 25.4 / 400;
  DeskewStage stage(newScanBuffer);
  const auto speeds = inTurn({[&] {
    stage.Begin({kAngle, {0, 0, kWidth * mm, kHeight * mm}, 0});
    constexpr std::int32_t kLines = 40;
    for (std::int32_t y = 0; y < kHeight; y += kLines) {
      const auto stripe = newScanBuffer(400, {kWidth, kLines}, KxColorSpace::Rgb, nullptr);
      const auto filler = stripe.as<IRasterFiller>();
      for (std::int32_t i = 0; i < kLines; ++i) filler->AddLine(i, color.row(y + i));
      (void)stage.Pass(stripe.get(), 0);
    }
    (void)stage.Pass(nullptr, 0);
  }});
  std::printf("colour   MP/s through the stage, stripes made and dropped: %.0f\n", speeds[0]);
}

void measure(const std::string& folder) {
  std::printf("Straightening by 2 degrees, %.0f megapixels, one core; load %s\n", kMegapixels,
              bench::load().c_str());
  const Picture grey = drawMap(1), color = drawMap(3);
  measureTones("colour", color, folder, 250);
  measureTones("grey", grey, folder, 700);
  const auto row = [&](std::int32_t y) { return grey.row(y); };
  Stripe out(kWidth);
  const double greySpeed = inTurn({[&] { straighten(KxColorSpace::Grey, kHeight, row, out); }})[0];
  measureRuns("the drawn map", mapLists(grey));
  bench::aimAtLeast("straightening by 2 degrees, run lists of a scanned map over grey",
                    measureRuns("a scanned map", scannedLists()) / greySpeed, "", 1);
  measureMemory(color);
  measureStage(color);
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: straighten_bench FOLDER\n");
    return 2;
  }
  quillbay::measure(argv[1]);
  return 0;
}
