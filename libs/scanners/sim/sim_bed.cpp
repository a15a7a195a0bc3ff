#include "scanners/sim/sim_bed.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "quillbay/geometry.h"

namespace quillbay {

namespace {

constexpr double kShadowMm = 1.6;
constexpr double kShadowStrength = 0.45;
constexpr std::int32_t kGrainWidth = 2048;  // pixels of a row of the grain, a power of two
constexpr std::size_t kGrainRows = 32;
constexpr int kPaperColor[3] = {244, 242, 236};

// The paper of a page as it lies on the bed, in millimetres.
struct Paper {
  double width, length, x, y, cosine, sine;
  std::string image;  // empty: a drawing
  double imageDpi = 0;
};

Paper paperOf(const SimConfig& config, std::int64_t page) {
  Paper paper{config.paperWidth, config.paperLength, config.x, config.y, 1, 0, {}, 0};
  if (!config.images.empty()) {
    paper.image = config.images[static_cast<std::size_t>(page) % config.images.size()];
    const SimImageRows rows(paper.image);
    paper.imageDpi = rows.dpi() > 0 ? rows.dpi() : config.imageDpi;
    paper.width = rows.width() * kMmPerInch / paper.imageDpi;
    paper.length = rows.height() * kMmPerInch / paper.imageDpi;
  }
  if (!config.placed) {
    paper.x = std::max(0.0, (config.width - paper.width) / 2);
    paper.y = 0;
  }
  if (config.skew != 0) {
    const double angle = config.skew * std::numbers::pi / 180;
    paper.cosine = std::cos(angle);
    paper.sine = std::sin(angle);
  }
  return paper;
}

SimBox boxOf(const Paper& paper, const SimTransform& t, double grow) {
  const SimPoint c = t.map({paper.width / 2, paper.length / 2});
  return {c.x, c.y, t.cosine, t.sine, paper.width / 2 * t.scale + grow, paper.length / 2 * t.scale + grow};
}

std::uint8_t bedLevel(SimConfig::Background background) noexcept {
  switch (background) {
    case SimConfig::Background::Light: return 200;
    case SimConfig::Background::White: return 252;
    case SimConfig::Background::Grey: return 135;
    case SimConfig::Background::Dirty: return 58;
    default: return 22;
  }
}

SimSoil::Kind soilOf(SimConfig::Background background) noexcept {
  switch (background) {
    case SimConfig::Background::Grey: return {5, false};
    case SimConfig::Background::Dirty: return {9, true};
    default: return {};
  }
}

}  // namespace

SimBed::SimBed(const SimConfig& config, std::int64_t page, std::uint32_t dpi, std::int32_t left, std::int32_t right,
               int channels)
    : m_left(left),
      m_right(right),
      m_channels(channels),
      m_scale(dpi / kMmPerInch),
      m_bed(bedLevel(config.background)) {
  const Paper paper = paperOf(config, page);
  SimTransform transform{paper.x * m_scale, paper.y * m_scale, paper.cosine, paper.sine, m_scale};
  if (!paper.image.empty() && config.skew == 0) {
    // On the grid, so that an image at its own resolution is reproduced pixel by pixel.
    transform.originX = std::floor(transform.originX + 0.5);
    transform.originY = std::floor(transform.originY + 0.5);
  }
  m_paper = boxOf(paper, transform, 0);
  m_shadow = boxOf(paper, transform, kShadowMm * m_scale);
  const auto seed = static_cast<std::uint64_t>(config.seed);
  makeGrain(seed);
  if (const auto soil = soilOf(config.background); soil.noise > 0 || soil.dust) {
    m_soil = std::make_unique<SimSoil>(soil, seed, m_scale, left, right);
  }
  if (paper.image.empty())
    m_drawing = std::make_unique<SimDrawing>(config, page, transform, left, right);
  else
    m_image = std::make_unique<SimImage>(paper.image, paper.imageDpi, transform);
}

double SimBed::paperEnd(const SimConfig& config, std::int64_t page) {
  const Paper paper = paperOf(config, page);
  return paper.y + paper.length * paper.cosine + std::max(0.0, paper.width * paper.sine);
}

// Noise that is a little alike from pixel to pixel, as the fibres of paper are.
void SimBed::makeGrain(std::uint64_t seed) {
  SimRandom random(mixSeeds(seed, 0x67726169));
  const auto channels = static_cast<std::size_t>(m_channels);
  m_grain.resize(kGrainRows * kGrainWidth * channels);
  const int grey = (77 * kPaperColor[0] + 150 * kPaperColor[1] + 29 * kPaperColor[2] + 128) / 256;
  double fibre = 0;
  for (std::size_t i = 0; i < kGrainRows * kGrainWidth; ++i) {
    fibre = 0.6 * fibre + random.between(-3, 3);
    const int noise = static_cast<int>(std::lround(fibre));
    for (std::size_t c = 0; c < channels; ++c)
      m_grain[i * channels + c] =
          static_cast<std::uint8_t>(std::clamp((channels == 1 ? grey : kPaperColor[c]) + noise, 0, 255));
  }
}

void SimBed::grain(std::uint8_t* out, std::int32_t x, std::int32_t count, std::int64_t y) const noexcept {
  // Each row starts elsewhere in one of the grain's rows, so that no pattern shows.
  const std::uint64_t h = static_cast<std::uint64_t>(y) * 0x9E3779B97F4A7C15U;
  const std::uint8_t* row =
      m_grain.data() + (h >> 59) % kGrainRows * kGrainWidth * static_cast<std::size_t>(m_channels);
  auto place = static_cast<std::int32_t>((static_cast<std::uint32_t>(x) + static_cast<std::uint32_t>(h >> 32)) %
                                         kGrainWidth);
  while (count > 0) {
    const std::int32_t n = std::min(count, kGrainWidth - place);
    const auto bytes = static_cast<std::size_t>(n) * static_cast<std::size_t>(m_channels);
    std::memcpy(out, row + static_cast<std::ptrdiff_t>(place) * m_channels, bytes);
    out += bytes;
    count -= n;
    place = 0;
  }
}

void SimBed::paintShadow(const SimRow& row, std::int64_t y, const SimSpan& paper) const {
  const SimSpan shadow = spanOf(m_shadow, y, row);
  const double reach = kShadowMm * m_scale;
  const double dy = static_cast<double>(y) + 0.5 - m_paper.cy;
  const auto part = [&](std::int32_t from, std::int32_t to) {
    for (std::int32_t x = from; x < to; ++x) {
      const double dx = x + 0.5 - m_paper.cx;
      const double u = std::max(std::abs(dx * m_paper.ux + dy * m_paper.uy) - m_paper.hu, 0.0);
      const double v = std::max(std::abs(dy * m_paper.ux - dx * m_paper.uy) - m_paper.hv, 0.0);
      const double near = std::max(0.0, 1 - std::sqrt(u * u + v * v) / reach);
      const auto level =
          static_cast<std::uint8_t>(m_bed - ((m_bed * steps256(kShadowStrength * near * near)) >> 8));
      std::memset(row.at(x), level, static_cast<std::size_t>(m_channels));
    }
  };
  if (paper.outer0 >= paper.outer1) {
    part(shadow.outer0, shadow.outer1);
  } else {
    // Under the paper's soft edge as well.
    part(shadow.outer0, paper.inner0);
    part(std::max(paper.inner1, paper.inner0), shadow.outer1);
  }
}

void SimBed::paintPaper(const SimRow& row, std::int64_t y, const SimSpan& paper) const {
  const auto edge = [&](std::int32_t from, std::int32_t to) {
    for (std::int32_t x = from; x < to; ++x) {
      std::uint8_t sheet[3];
      grain(sheet, x, 1, y);
      const int covered = steps256(coverageOf(m_paper, x, y));
      std::uint8_t* p = row.at(x);
      for (int c = 0; c < m_channels; ++c)
        p[c] = static_cast<std::uint8_t>(p[c] + (((sheet[c] - p[c]) * covered + 128) >> 8));
    }
  };
  edge(paper.outer0, paper.inner0);
  grain(row.at(paper.inner0), paper.inner0, paper.inner1 - paper.inner0, y);
  edge(paper.inner1, paper.outer1);
}

void SimBed::paint(std::int64_t y, std::uint8_t* out) {
  const SimRow row{out, m_left, m_right, m_channels};
  const SimSpan paper = spanOf(m_paper, y, row);
  const auto bytes = static_cast<std::size_t>(m_channels);
  const auto fill = [&](std::int32_t from, std::int32_t to) {
    if (from < to) std::memset(row.at(from), m_bed, static_cast<std::size_t>(to - from) * bytes);
  };
  if (paper.inner0 < paper.inner1) {
    fill(m_left, paper.inner0);
    fill(paper.inner1, m_right);
  } else {
    fill(m_left, m_right);
  }
  paintShadow(row, y, paper);
  if (m_soil) {
    const bool covers = paper.inner0 < paper.inner1;
    m_soil->paint(row, y, m_left, covers ? paper.inner0 : m_right);
    if (covers) m_soil->paint(row, y, paper.inner1, m_right);
  }
  if (paper.outer0 >= paper.outer1) return;
  if (m_image) {
    // Pixels whose middle lies on the image.
    const SimBox whole{m_paper.cx, m_paper.cy, m_paper.ux, m_paper.uy, m_paper.hu - 0.5, m_paper.hv - 0.5};
    const SimSpan span = spanOf(whole, y, row);
    m_image->paint(row, y, span.outer0, span.outer1);
    return;
  }
  paintPaper(row, y, paper);
  m_drawing->paint({row.at(paper.outer0), paper.outer0, paper.outer1, m_channels}, y);
}

}  // namespace quillbay
