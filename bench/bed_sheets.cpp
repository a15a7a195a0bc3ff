#include "bed_sheets.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>

#include "scanners/sim/sim_config.h"
#include "scanners/sim/sim_drawing.h"
#include "scanners/sim/sim_pen.h"

namespace quillbay::bench {

namespace {

constexpr double kShadowMm = 1.6;
constexpr double kPerDegree = std::numbers::pi / 180;

struct Tones {
  int bed, paper, noise;
  double shadow;  // how much darker the bed is right beside the sheet
};

Tones tonesOf(const BedSheet& sheet, SimRandom& random) {
  const int paper = 226 + random.below(22);
  switch (sheet.ground) {
    case Bed::Dark: return {14 + random.below(25), paper, 4, 0.3};
    case Bed::Dirty: return {35 + random.below(45), paper, 9, 0.3};
    case Bed::Grey: return {110 + random.below(50), paper, 5, 0.3};
    case Bed::Light: return {paper - 25 - random.below(25), paper, 4, 0.15 + 0.2 * random.unit()};
    default: return {paper + 3 - random.below(12), paper, 3, 0.04 + 0.16 * random.unit()};
  }
}

// Noise that repeats after so long that no two rows look alike.
class Noise {
 public:
  explicit Noise(SimRandom& random) : m_values(kCount) {
    for (auto& v : m_values) v = static_cast<float>(random.unit() + random.unit() + random.unit() - 1.5);
  }
  void add(std::uint8_t* row, std::int32_t width, int strength, SimRandom& random) const {
    auto at = static_cast<std::size_t>(random.next() % kCount);
    for (std::int32_t x = 0; x < width; ++x, at = (at + 1) % kCount) {
      const float value = static_cast<float>(row[x]) + static_cast<float>(strength) * m_values[at];
      row[x] = static_cast<std::uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
    }
  }

 private:
  static constexpr std::size_t kCount = 1 << 17;
  std::vector<float> m_values;
};

// Dust up to 0.5 mm and streaks along the feed, on the bed.
void soil(GreyPicture* picture, double perMm, SimRandom& random) {
  const auto dab = [&](std::int32_t x, std::int32_t y, int tone) {
    if (x < 0 || y < 0 || x >= picture->width || y >= picture->height) return;
    auto& p = picture->pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture->width) +
                              static_cast<std::size_t>(x)];
    p = static_cast<std::uint8_t>(std::clamp(p + tone, 0, 255));
  };
  for (int streak = 0; streak < 12; ++streak) {
    const auto x = static_cast<std::int32_t>(random.between(0, picture->width));
    const int tone = random.below(25) - 10;
    for (std::int32_t y = 0; y < picture->height; ++y) dab(x, y, tone);
  }
  const double area = picture->width / perMm * picture->height / perMm;
  for (double left = area / 600; left > 0; --left) {
    const double x = random.between(0, picture->width), y = random.between(0, picture->height);
    const double radius = random.between(0.05, 0.25) * perMm;
    const int tone = 15 + random.below(65);
    for (double dy = -radius; dy <= radius; ++dy) {
      for (double dx = -radius; dx <= radius; ++dx) {
        if (dx * dx + dy * dy <= radius * radius)
          dab(static_cast<std::int32_t>(x + dx), static_cast<std::int32_t>(y + dy), tone);
      }
    }
  }
}

void drawText(SimDisplayList& list, const BedSheet& sheet, SimRandom& random, bool full) {
  const double margin = std::min(sheet.size.cx, sheet.size.cy) / 9;
  const double end = full ? sheet.size.cy - margin : margin + 12;
  for (double y = margin; y < end; y += 7) {
    std::string words;
    const double width = (sheet.size.cx - 2 * margin) * (full ? random.between(0.6, 1) : 0.3);
    while (sim::textWidth(3, words) < width) {
      for (int n = 2 + random.below(7); n > 0; --n) words += static_cast<char>('A' + random.below(26));
      words += ' ';
    }
    sim::text(list, {margin, y}, 3, words, sim::kBlack);
  }
}

// Soft forms of all tones inside a border.
void drawPhotograph(GreyPicture* picture, const SimTransform& t, const BedSheet& sheet, SimRandom& random) {
  double wave[6][4];
  for (auto& w : wave) {
    w[0] = random.between(-0.05, 0.05);
    w[1] = random.between(-0.05, 0.05);
    w[2] = random.between(0, 7);
    w[3] = random.between(8, 25);
  }
  const double border = 8;
  for (std::int32_t y = 0; y < picture->height; ++y) {
    auto* row = picture->pixels.data() + static_cast<std::ptrdiff_t>(y) * picture->width;
    for (std::int32_t x = 0; x < picture->width; ++x) {
      const double dx = (x + 0.5 - t.originX) / t.scale, dy = (y + 0.5 - t.originY) / t.scale;
      const double u = dx * t.cosine + dy * t.sine, v = dy * t.cosine - dx * t.sine;
      if (u < border || v < border || u > sheet.size.cx - border || v > sheet.size.cy - border) continue;
      double tone = 125;
      for (const auto& w : wave) tone += w[3] * std::sin(u * w[0] + v * w[1] + w[2]);
      row[x] = static_cast<std::uint8_t>(std::clamp(tone, 10.0, 240.0));
    }
  }
}

// The bed's tone beside the sheet: darker, more so on the sides away from the lamp.
double shaded(const SimBox& paper, double x, double y, const Tones& tones, double reach) {
  const double dx = x - paper.cx, dy = y - paper.cy;
  const double u = dx * paper.ux + dy * paper.uy, v = dy * paper.ux - dx * paper.uy;
  const double beyondU = std::max(std::abs(u) - paper.hu, 0.0), beyondV = std::max(std::abs(v) - paper.hv, 0.0);
  const double near = std::max(0.0, 1 - std::hypot(beyondU, beyondV) / reach);
  const bool away = beyondU > beyondV ? u > 0 : v > 0;
  return tones.bed * (1 - tones.shadow * (away ? 1 : 0.4) * near * near);
}

void drawPaper(GreyPicture* picture, const SimTransform& t, const BedSheet& sheet, const Tones& tones) {
  const double halfWidth = sheet.size.cx / 2 * t.scale, halfHeight = sheet.size.cy / 2 * t.scale;
  const SimPoint middle = t.map({sheet.size.cx / 2, sheet.size.cy / 2});
  const SimBox paper{middle.x, middle.y, t.cosine, t.sine, halfWidth, halfHeight};
  const double reach = kShadowMm * t.scale;
  const SimBox shadow{middle.x, middle.y, t.cosine, t.sine, halfWidth + reach, halfHeight + reach};
  for (std::int32_t y = 0; y < picture->height; ++y) {
    const SimRow row{picture->pixels.data() + static_cast<std::ptrdiff_t>(y) * picture->width, 0, picture->width,
                     1};
    const SimSpan around = spanOf(shadow, y, row);
    SimSpan inside = spanOf(paper, y, row);
    if (inside.inner0 >= inside.inner1) inside.inner0 = inside.inner1 = around.outer1;
    const auto edge = [&](std::int32_t from, std::int32_t to) {
      for (std::int32_t x = from; x < to; ++x) {
        const double covered = coverageOf(paper, x, y);
        const double bed = shaded(paper, x + 0.5, static_cast<double>(y) + 0.5, tones, reach);
        *row.at(x) = static_cast<std::uint8_t>(bed + covered * (tones.paper - bed));
      }
    };
    edge(around.outer0, std::min(inside.inner0, around.outer1));
    std::fill(row.at(inside.inner0), row.at(inside.inner1), static_cast<std::uint8_t>(tones.paper));
    edge(std::max(inside.inner1, around.outer0), around.outer1);
  }
}

void drawContent(GreyPicture* picture, const SimTransform& t, const BedSheet& sheet, SimRandom& random) {
  if (sheet.content == SheetContent::Photograph) return drawPhotograph(picture, t, sheet, random);
  SimConfig config;
  config.paperWidth = sheet.size.cx;
  config.paperLength = sheet.size.cy;
  config.seed = static_cast<std::int64_t>(sheet.seed);
  config.drawing = sheet.content == SheetContent::Map ? SimConfig::Drawing::Map : SimConfig::Drawing::Plan;
  const bool isDrawing = sheet.content == SheetContent::Map || sheet.content == SheetContent::Lines;
  SimDrawing drawing(config, 0, t, 0, picture->width);
  SimDisplayList list(t);
  if (!isDrawing) drawText(list, sheet, random, sheet.content == SheetContent::Text);
  list.seal();
  for (std::int32_t y = 0; y < picture->height; ++y) {
    const SimRow row{picture->pixels.data() + static_cast<std::ptrdiff_t>(y) * picture->width, 0, picture->width,
                     1};
    if (isDrawing)
      drawing.paint(row, y);
    else
      list.paint(row, y);
  }
}

}  // namespace

const char* nameOf(Bed bed) noexcept {
  constexpr const char* kNames[] = {"dark", "dirty", "grey", "light", "nearly white"};
  return kNames[static_cast<int>(bed)];
}

double BedSheet::angle() const noexcept { return -degrees * kPerDegree; }

tagRRECT BedSheet::box() const noexcept {
  const double c = std::cos(degrees * kPerDegree), s = std::abs(std::sin(degrees * kPerDegree));
  const double halfWidth = (size.cx * c + size.cy * s) / 2, halfHeight = (size.cx * s + size.cy * c) / 2;
  return {middle.x - halfWidth, middle.y - halfHeight, middle.x + halfWidth, middle.y + halfHeight};
}

GreyPicture drawBed(const BedSheet& sheet, std::uint32_t dpi) {
  const double perMm = dpi * kInchPerMm;
  SimRandom random(mixSeeds(sheet.seed, 0x73686574));
  const Tones tones = tonesOf(sheet, random);
  GreyPicture picture{
      static_cast<std::int32_t>(sheet.bed.cx * perMm), static_cast<std::int32_t>(sheet.bed.cy * perMm), dpi, {}};
  picture.pixels.assign(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height),
                        static_cast<std::uint8_t>(tones.bed));
  if (sheet.ground == Bed::Dirty) soil(&picture, perMm, random);
  const double c = std::cos(sheet.degrees * kPerDegree), s = std::sin(sheet.degrees * kPerDegree);
  const double halfWidth = sheet.size.cx / 2, halfHeight = sheet.size.cy / 2;
  const SimTransform t{(sheet.middle.x - halfWidth * c + halfHeight * s) * perMm,
                       (sheet.middle.y - halfWidth * s - halfHeight * c) * perMm, c, s, perMm};
  drawPaper(&picture, t, sheet, tones);
  drawContent(&picture, t, sheet, random);
  const Noise noise(random);
  for (std::int32_t y = 0; y < picture.height; ++y) {
    noise.add(picture.pixels.data() + static_cast<std::ptrdiff_t>(y) * picture.width, picture.width, tones.noise,
              random);
  }
  return picture;
}

std::vector<BedSheet> manySheets(int count) {
  constexpr tagRSIZE kSizes[] = {{210, 297}, {297, 420}, {420, 594}, {594, 841}, {841, 1189}};
  std::vector<BedSheet> sheets;
  for (int n = 0; n < count; ++n) {
    SimRandom random(mixSeeds(7, static_cast<std::uint64_t>(n)));
    BedSheet sheet;
    sheet.ground = static_cast<Bed>(n % kBeds);
    sheet.content = static_cast<SheetContent>(n / kBeds % kContents);
    // A prime beside the two counts: every ground and content meets every size sooner or later.
    sheet.size = kSizes[n * 3 % 7 % 5];
    if (random.below(2) == 0) std::swap(sheet.size.cx, sheet.size.cy);
    sheet.degrees = random.between(-5, 5);
    sheet.seed = static_cast<std::uint64_t>(n) + 1;
    const tagRRECT box = sheet.box();
    sheet.bed = {box.width() + random.between(30, 90), box.height() + random.between(30, 90)};
    sheet.middle = {box.width() / 2 + random.between(12, sheet.bed.cx - box.width() - 12),
                    box.height() / 2 + random.between(12, sheet.bed.cy - box.height() - 12)};
    sheets.push_back(sheet);
  }
  return sheets;
}

}  // namespace quillbay::bench
