#include "rasters/straighten/run_painter.h"

#include <algorithm>
#include <cstdlib>

namespace quillbay {
namespace {

constexpr std::int64_t kOne = std::int64_t{1} << 32, kHalf = kOne / 2;
/// An angle below this shifts no pixel of the widest line by half of one: lines stay lines.
constexpr double kLeastSine = 1e-6;

[[nodiscard]] std::int64_t fixed(double v) noexcept {
  return static_cast<std::int64_t>(std::floor(v * static_cast<double>(kOne) + 0.5));
}
[[nodiscard]] std::int64_t rounded(std::int64_t v) noexcept { return (v + kHalf) >> 32; }
[[nodiscard]] std::int64_t roundedUp(std::int64_t v) noexcept { return (v + kOne - 1) >> 32; }
[[nodiscard]] std::int64_t roundedDown(std::int64_t v) noexcept { return v >> 32; }
/// `factor` has `kFactorBits` of fraction and is below 2^21; a result is precise to 2^-20 of it.
constexpr int kFactorBits = 20, kDropped = 12;
[[nodiscard]] std::int64_t scaled(std::int64_t v, std::int64_t factor) noexcept {
  return (v >> kDropped) * factor >> (kFactorBits - kDropped);
}
[[nodiscard]] std::int64_t factorOf(double v) noexcept {
  return static_cast<std::int64_t>(std::floor(v * (1 << kFactorBits) + 0.5));
}

}  // namespace

RunPainter::RunPainter(const StraightenFrame& frame, BitBand& band)
    : m_frame(frame), m_band(band), m_cos(fixed(frame.cosine)), m_sin(fixed(frame.sine)) {
  const bool slants = std::abs(frame.sine) >= kLeastSine;
  const double cot = slants ? frame.cosine / frame.sine : 0, tan = slants ? frame.sine / frame.cosine : 0;
  m_cot = factorOf(cot);
  m_tan = factorOf(tan);
  m_cotStep = fixed(cot);
  m_tanStep = fixed(tan);
  // Of a run this long the lines through its ends reach two lines of the output at most.
  if (slants)
    m_few = std::min(BitBand::kFew - 4, static_cast<std::int64_t>(0.4 / std::max(std::abs(frame.sine), 1e-3)));
  m_halfLength = slants ? fixed(0.5 / std::abs(frame.sine)) : fixed(1e8);
  m_halfWidth = fixed(0.5 / frame.cosine);
  m_reach = fixed((frame.cosine + (slants ? std::abs(frame.sine) : 0)) / 2);
}

void RunPainter::paint(std::int64_t row, std::span<const Run> above, std::span<const Run> runs) noexcept {
  const double dx = -m_frame.x0, dy = static_cast<double>(row) - m_frame.y0;
  m_rowX = fixed(dx * m_frame.cosine - dy * m_frame.sine);
  m_rowY = fixed(dx * m_frame.sine + dy * m_frame.cosine);
  std::size_t touching = 0;
  for (const Run& run : runs) {
    const Place from = placeOf(run.first), to = placeOf(run.last);
    paintRun(run, from, to);
    while (touching < above.size() && above[touching].last + 1 < run.first) ++touching;
    for (std::size_t i = touching; i < above.size() && above[i].first <= run.last + 1; ++i) join(above[i], run);
  }
}

void RunPainter::setNearest(const Place& p) noexcept { m_band.setPixel(rounded(p.y), rounded(p.x)); }

/// The pixels within the turned rectangle of the run's pixels, and those nearest to its ends.
void RunPainter::paintRun(const Run& run, const Place& from, const Place& to) noexcept {
  const std::int64_t first = roundedUp(std::min(from.y, to.y) - m_reach);
  const std::int64_t down = first * kOne - from.y;
  // Where the line of the output meets the run's middle line, and the lines through its ends.
  Crossing at{from.x + scaled(down, m_cot), from.x - m_halfWidth - scaled(down, m_tan),
              to.x + m_halfWidth - scaled(first * kOne - to.y, m_tan)};
  setNearest(from);
  setNearest(to);
  if (run.last - run.first < m_few) {
    for (std::int64_t y = first; y < first + 2; ++y, next(at)) {
      const Part part = within(at);
      m_band.setFew(y, part.from, part.to);
    }
    return;
  }
  const std::int64_t last = roundedDown(std::max(from.y, to.y) + m_reach);
  for (std::int64_t y = first; y <= last; ++y, next(at)) {
    const Part part = within(at);
    m_band.set(y, part.from, part.to);
  }
}

RunPainter::Part RunPainter::within(const Crossing& at) const noexcept {
  return {roundedUp(std::max(at.left, at.middle - m_halfLength)),
          roundedDown(std::min(at.right, at.middle + m_halfLength))};
}

void RunPainter::next(Crossing& at) const noexcept {
  at.middle += m_cotStep;
  at.left -= m_tanStep;
  at.right -= m_tanStep;
}

void RunPainter::join(const Run& upper, const Run& lower) noexcept {
  const std::int32_t shared = std::max(upper.first, lower.first);
  if (shared <= std::min(upper.last, lower.last)) {
    // One of the two is the start of its run, and was set with it.
    const Place place = placeOf(shared);
    setNearest(shared == lower.first ? above(place) : place);
  } else if (upper.last < lower.first) {
    bridge(above(placeOf(upper.last)), placeOf(lower.first));
  } else {
    bridge(above(placeOf(upper.first)), placeOf(lower.last));
  }
}

void RunPainter::bridge(const Place& a, const Place& b) noexcept {
  const std::int64_t x = rounded(a.x), y = rounded(a.y);
  const std::int64_t stepX = rounded(b.x) - x, stepY = rounded(b.y) - y;
  if (std::abs(stepX) > 1 || std::abs(stepY) > 1) m_band.setPixel(y + stepY / 2, x + stepX / 2);
}

}  // namespace quillbay
